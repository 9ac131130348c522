#include "Vectors.h"

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <mutex>
#include <set>
#include <stdexcept>
#include <unistd.h>

namespace support {

namespace {

std::string const directory = ZRFL_TEST_VECTORS;

std::ifstream openVectors(std::string const& file) {
    std::ifstream input(directory + "/" + file, std::ios::binary);
    if (!input) {
        throw std::runtime_error("no vector file " + file);
    }
    return input;
}

/// The cases that this program ran, which at its end go to the file `vectors` in the folder that ZRFL_CENSUS names.
class CasesRun {
public:
    ~CasesRun() {
        char const* const folder = std::getenv("ZRFL_CENSUS");
        if (folder != nullptr && !lines_.empty()) {
            std::string all;
            for (std::string const& line : lines_) {
                all += line + '\n';
            }
            // In one write, which the system does not mix with those of other programs.
            int const file = open((folder + std::string("/vectors")).c_str(), O_WRONLY | O_APPEND | O_CREAT, 0666);
            bool const isWritten = write(file, all.data(), all.size()) == static_cast<ssize_t>(all.size());
            close(file);
            if (!isWritten) {
                std::abort();
            }
        }
    }

    void add(std::string const& file, std::string const& id) {
        std::lock_guard<std::mutex> const lock(mutex_);
        lines_.insert(file + ' ' + id);
    }

private:
    std::mutex mutex_;
    std::set<std::string> lines_;
} casesRun;

} // namespace

std::string const& Vector::id() const {
    std::string const& value = word("id");
    casesRun.add(file_, value);
    return value;
}

std::string const& Vector::word(std::string const& name) const {
    auto const found = fields_.find(name);
    if (found == fields_.end()) {
        throw std::out_of_range("a vector without the field " + name);
    }
    return found->second;
}

ByteArray Vector::bytes(std::string const& name) const {
    return unhex(word(name));
}

std::vector<Vector> readVectors(std::string const& file) {
    static std::string const countMark = "# cases: ";
    std::ifstream input = openVectors(file);
    std::vector<Vector> vectors;
    Vector current;
    std::size_t expected = 0;
    auto const finish = [&] {
        if (!current.fields_.empty()) {
            current.file_ = file;
            vectors.push_back(std::move(current));
            current = Vector();
        }
    };
    for (std::string line; std::getline(input, line);) {
        if (line.empty()) {
            finish();
        } else if (line.front() == '#') {
            if (line.compare(0, countMark.size(), countMark) == 0) {
                expected = std::stoul(line.substr(countMark.size()));
            }
        } else {
            std::size_t const equals = line.find('=');
            if (equals == std::string::npos) {
                throw std::runtime_error(file + ": not a field: " + line);
            }
            current.fields_[line.substr(0, equals)] = line.substr(equals + 1);
        }
    }
    finish();
    if (vectors.empty() || vectors.size() != expected) {
        throw std::runtime_error(file + ": " + std::to_string(vectors.size()) + " cases, but the file announces " +
                                 std::to_string(expected));
    }
    return vectors;
}

ByteArray readVectorFile(std::string const& file) {
    std::ifstream input = openVectors(file);
    return {std::istreambuf_iterator<char>(input), std::istreambuf_iterator<char>()};
}

} // namespace support
