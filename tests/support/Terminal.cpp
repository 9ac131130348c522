#include "Terminal.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace support {

namespace {

constexpr std::chrono::minutes patience(3); // with a busy machine, a sanitizer, an emulator
constexpr int failedSetup = 99;

/// Appends what `descriptor` delivers within `milliseconds`.
void collect(int descriptor, int milliseconds, std::string& text) {
    pollfd waiting{descriptor, POLLIN, 0};
    if (poll(&waiting, 1, milliseconds) > 0 && (waiting.revents & POLLIN) != 0) {
        char buffer[512];
        ssize_t const size = read(descriptor, buffer, sizeof buffer);
        if (size > 0) {
            text.append(buffer, static_cast<std::size_t>(size));
        }
    }
}

/// Waits for `child`; whoever has written a question waits for an answer, and is stopped.
bool finishes(pid_t child, int terminal, std::string& written) {
    int status = 0;
    auto const end = std::chrono::steady_clock::now() + patience;
    while (waitpid(child, &status, WNOHANG) == 0) {
        if (!written.empty() || std::chrono::steady_clock::now() > end) {
            kill(child, SIGKILL);
            waitpid(child, &status, 0);
            return false;
        }
        if (terminal >= 0) {
            collect(terminal, 10, written);
        } else {
            usleep(10000);
        }
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == failedSetup) {
        throw std::runtime_error("the process could not be set up");
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
}

[[noreturn]] void perform(std::function<void()> const& work) {
    int status = EXIT_FAILURE;
    try {
        work();
        status = EXIT_SUCCESS;
        // NOLINTNEXTLINE(bugprone-empty-catch): its end tells; an exception that is still held there looks like a leak
    } catch (...) {
    }
    _exit(status);
}

pid_t startSession() {
    pid_t const child = fork();
    if (child < 0) {
        throw std::runtime_error("no process");
    }
    if (child == 0 && setsid() < 0) {
        _exit(failedSetup);
    }
    return child;
}

/// The typing end of a new pseudo-terminal, or -1.
int openTerminal() {
    int const terminal = posix_openpt(O_RDWR | O_NOCTTY);
    if (terminal >= 0 && (grantpt(terminal) != 0 || unlockpt(terminal) != 0)) {
        close(terminal);
        return -1;
    }
    return terminal;
}

} // namespace

bool hasPseudoTerminals() {
    int const terminal = openTerminal();
    if (terminal >= 0) {
        close(terminal);
    }
    return terminal >= 0;
}

TerminalUse runAtTerminal(std::function<void()> const& work) {
    int const terminal = openTerminal();
    if (terminal < 0) {
        throw std::runtime_error("no pseudo-terminal");
    }
    std::string const name = ptsname(terminal);
    pid_t const child = startSession();
    if (child == 0) {
        int const own = open(name.c_str(), O_RDWR);
        int const controlling = open("/dev/tty", O_RDWR);
        if (own < 0 || controlling < 0 || dup2(own, STDIN_FILENO) < 0) {
            _exit(failedSetup);
        }
        perform(work);
    }
    TerminalUse use{};
    use.finished = finishes(child, terminal, use.written);
    collect(terminal, 0, use.written);
    close(terminal);
    return use;
}

TerminalUse runWithInput(std::string const& input, std::function<void()> const& work) {
    int ends[2];
    if (pipe(ends) != 0 || write(ends[1], input.data(), input.size()) != static_cast<ssize_t>(input.size())) {
        throw std::runtime_error("no pipe");
    }
    pid_t const child = startSession();
    if (child == 0) {
        if (dup2(ends[0], STDIN_FILENO) < 0) {
            _exit(failedSetup);
        }
        close(ends[1]);
        perform(work);
    }
    TerminalUse use{};
    use.finished = finishes(child, -1, use.written);
    collect(ends[0], 0, use.unread);
    close(ends[0]);
    close(ends[1]);
    return use;
}

} // namespace support
