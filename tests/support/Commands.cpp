#include "Commands.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <sys/wait.h>

namespace support {

TemporaryDirectory::TemporaryDirectory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "zrflcrypto-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("no temporary folder " + pattern);
    }
    path_ = pattern;
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

CommandResult run(std::string const& command) {
    FILE* const pipe = popen(("exec </dev/null; " + command).c_str(), "r");
    if (pipe == nullptr) {
        throw std::runtime_error("cannot run " + command);
    }
    CommandResult result{-1, {}};
    char buffer[4096];
    while (std::size_t const size = std::fread(buffer, 1, sizeof buffer, pipe)) {
        result.output.append(buffer, size);
    }
    int const status = pclose(pipe);
    if (WIFEXITED(status)) {
        result.status = WEXITSTATUS(status);
    }
    return result;
}

void writeFile(std::string const& path, ByteArray const& content) {
    std::ofstream output(path, std::ios::binary);
    output.write(reinterpret_cast<char const*>(content.data()), static_cast<std::streamsize>(content.size()));
    if (!output.flush()) {
        throw std::runtime_error("cannot write " + path);
    }
}

ByteArray readFile(std::string const& path) {
    std::ifstream input(path, std::ios::binary);
    if (!input) {
        throw std::runtime_error("cannot read " + path);
    }
    return {std::istreambuf_iterator<char>(input), std::istreambuf_iterator<char>()};
}

} // namespace support
