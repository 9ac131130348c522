#ifndef ZRFL_EXAMPLES_PROGRAM_H
#define ZRFL_EXAMPLES_PROGRAM_H

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

/// What the examples' main() functions have in common.
namespace program {

using Arguments = std::vector<std::string>;

/// Not the arguments that the program takes.
class Misuse : public std::exception {};

inline void require(bool areTaken) {
    if (!areTaken) {
        throw Misuse();
    }
}

/// A failure that scripts are to tell from others: the program ends with a status of its own.
class Failure : public std::runtime_error {
public:
    Failure(int status, std::string const& text) : std::runtime_error(text), status_(status) {}

    int status() const noexcept { return status_; }

private:
    int status_;
};

/// A program that was started without a standard input, output or error gets something in their place that can neither
/// be read nor written: the next files that it opens would be taken for them, and what it prints would go into those.
inline void occupyStandardDescriptors() noexcept {
    for (int const descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(descriptor, F_GETFD) < 0) {
            [[maybe_unused]] int const occupied = ::open("/", O_PATH); // the lowest number that is free
        }
    }
}

/// Runs `work(arguments)` and returns what the program is to end with: the result, 1 for a failure, which is reported,
/// or 2 for arguments that it does not take. Whoever asks for help gets the usage and `help`, and nothing else.
template <class Work> int run(int count, char** arguments, char const* usage, char const* help, Work&& work) {
    occupyStandardDescriptors();
    try {
        Arguments const given(arguments + std::min(count, 1), arguments + count);
        bool const asksForHelp = std::any_of(given.begin(), given.end(), [](std::string const& argument) {
            return argument == "--help" || argument == "-h";
        });
        if (asksForHelp) {
            std::printf("%s\n%s"
                        "Exit status: 0 all is well, 1 it is not (the standard error tells why), 2 other arguments.\n",
                        usage, help);
        }
        int const result = asksForHelp ? 0 : std::forward<Work>(work)(given);
        if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
            throw std::system_error(errno, std::generic_category(), "cannot write to the standard output");
        }
        return result;
    } catch (Misuse const&) {
        std::fputs(usage, stderr);
        return 2;
    } catch (Failure const& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return failure.status();
    } catch (std::exception const& error) { // the library's own family among them
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}

} // namespace program

#endif
