// Runs a host that is kept as a shared object, with the libraries of this build.
// Usage: run_host HOST KEYS SEED [RECORD]: writes what the host got, or compares it with what it got before.
#include "Host.h"

#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>

#include <dlfcn.h>

namespace {

/// The number of lines that differ; each is written.
int compare(std::istream& expected, std::istream& got) {
    std::string expectedLine;
    std::string gotLine;
    int differences = 0;
    int compared = 0;
    for (;;) {
        bool const hasExpected = static_cast<bool>(std::getline(expected, expectedLine));
        bool const hasGot = static_cast<bool>(std::getline(got, gotLine));
        if (!hasExpected && !hasGot) {
            break;
        }
        ++compared;
        if (hasExpected != hasGot || expectedLine != gotLine) {
            ++differences;
            std::cout << "- " << (hasExpected ? expectedLine : "") << "\n+ " << (hasGot ? gotLine : "") << '\n';
        }
    }
    std::cout << compared << " lines, " << differences << " different\n";
    return compared == 0 ? 1 : differences;
}

int run(int argc, char** argv) {
    if (argc < 4) {
        throw std::runtime_error("usage: run_host HOST KEYS SEED [RECORD]");
    }
    void* const host = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (host == nullptr) {
        throw std::runtime_error(dlerror());
    }
    auto* const use = reinterpret_cast<decltype(&useEverything)>(dlsym(host, "useEverything"));
    if (use == nullptr) {
        throw std::runtime_error(dlerror());
    }
    unsigned long const seed = std::stoul(argv[3]);
    if (argc == 4) {
        use(argv[2], seed, std::cout);
        return EXIT_SUCCESS;
    }
    std::stringstream got;
    use(argv[2], seed, got);
    std::ifstream expected(argv[4]);
    return compare(expected, got) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (std::exception const& error) {
        std::cerr << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
