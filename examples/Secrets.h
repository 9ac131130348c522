#ifndef ZRFL_EXAMPLES_SECRETS_H
#define ZRFL_EXAMPLES_SECRETS_H

#include "Files.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

/// What the examples do with passwords and keys.
namespace secrets {

/// A string or an array that is overwritten when it goes, by a call that no optimiser takes out. A string has to be of
/// a size that is kept on the heap (`reserve`), since moving a shorter one leaves a copy behind.
template <class Bytes> class Wiped {
public:
    explicit Wiped(Bytes bytes) noexcept : bytes_(std::move(bytes)) {}

    ~Wiped() {
        if (!bytes_.empty()) { // an array that was moved has no address
            ::explicit_bzero(bytes_.data(), bytes_.size());
        }
    }

    Wiped(Wiped&&) noexcept = default;
    Wiped& operator=(Wiped&&) = delete;
    Wiped(Wiped const&) = delete;
    Wiped& operator=(Wiped const&) = delete;

    Bytes& operator*() noexcept { return bytes_; }

    Bytes const& operator*() const noexcept { return bytes_; }

private:
    Bytes bytes_;
};

/// Takes the same time wherever the two differ, so that nobody can guess a code piece by piece.
template <class Bytes> bool equal(Bytes const& left, Bytes const& right) {
    unsigned difference = left.size() == right.size() ? 0 : 1;
    for (std::size_t i = 0; i < left.size() && i < right.size(); ++i) {
        difference |= static_cast<unsigned>(left[i]) ^ static_cast<unsigned>(right[i]);
    }
    return difference == 0;
}

using Password = Wiped<std::string>;

/// The longest that opens a key file, too: what comes behind is ignored there, and so is what comes behind a NUL.
constexpr std::size_t longestPassword = 1024;

/// The bytes up to the end of the line or of the file; read one by one, since what stands behind is for others. The
/// byte `interruption`, unless it is NUL, ends the program's wait for a password.
inline Password readLine(int file, std::string const& name, char interruption = '\0') {
    Password line{std::string()};
    (*line).reserve(longestPassword);
    for (char byte = 0;;) {
        ssize_t const count = ::read(file, &byte, 1);
        if (count < 0) {
            throw std::system_error(errno, std::generic_category(), "cannot read the password from " + name);
        }
        if (count == 0 || byte == '\n') {
            break;
        }
        if (byte == '\0') {
            throw std::runtime_error(name + ": a password has no NUL in it");
        }
        if (byte == interruption) {
            throw std::runtime_error("interrupted");
        }
        if ((*line).size() == longestPassword) {
            throw std::runtime_error(name + ": the password has more than 1024 bytes");
        }
        (*line).push_back(byte);
    }
    if ((*line).empty()) { // everybody guesses that one first
        throw std::runtime_error(name + ": there is no password");
    }
    return line;
}

/// The terminal that the program was started from. As long as the object lives it shows nothing of what is typed, and
/// the keys that would end the program end a line instead, so that no terminal is left behind without its echo.
class SilentTerminal {
public:
    SilentTerminal() : descriptor_(::open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        if (!descriptor_.isOpen() || ::tcgetattr(descriptor_.number(), &before_) != 0) {
            throw std::runtime_error("there is no terminal to ask for the password at; name a PASSWORDFILE");
        }
        termios silent = before_;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO | ISIG);
        silent.c_lflag |= ECHONL;
        silent.c_cc[VEOL] = before_.c_cc[VINTR];
        set(silent);
    }

    ~SilentTerminal() { set(before_); }

    SilentTerminal(SilentTerminal const&) = delete;
    SilentTerminal& operator=(SilentTerminal const&) = delete;

    Password ask(std::string_view question) const {
        [[maybe_unused]] ssize_t const shown = ::write(descriptor_.number(), question.data(), question.size());
        return readLine(descriptor_.number(), "the terminal", static_cast<char>(before_.c_cc[VINTR]));
    }

private:
    /// What was typed ahead, or behind a password that is too long, goes to nobody.
    void set(termios const& attributes) const noexcept { ::tcsetattr(descriptor_.number(), TCSAFLUSH, &attributes); }

    files::Descriptor descriptor_;
    termios before_{};
};

enum class Use { toOpen, toSeal };

/// The password for `what`: the first line of a file, which may be /dev/stdin or a descriptor's /dev/fd/N, or without
/// one what is typed at the terminal; twice where a slip would close something for good. Never an argument of the
/// program, which everybody on the machine can read.
inline Password password(Use use, std::string const& what, std::string const* passwordFile) {
    if (passwordFile != nullptr) {
        files::Descriptor const file(::open(passwordFile->c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC));
        if (!file.isOpen()) {
            throw std::system_error(errno, std::generic_category(), "cannot open " + *passwordFile);
        }
        if (::isatty(file.number()) == 0) { // it would show what is typed
            return readLine(file.number(), *passwordFile);
        }
    }
    SilentTerminal const terminal;
    Password given = terminal.ask("Password for " + what + ": ");
    if (use == Use::toSeal && !equal(*given, *terminal.ask("The same again: "))) {
        throw std::runtime_error("the two passwords differ");
    }
    return given;
}

} // namespace secrets

#endif
