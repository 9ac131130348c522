#ifndef ZRFL_EXAMPLES_FILES_H
#define ZRFL_EXAMPLES_FILES_H

#include <foundation/crypto/utils/ByteArray.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <istream>
#include <iterator>
#include <optional>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

/// What the examples do with files; whatever does not succeed is an exception.
namespace files {

using foundation::crypto::utils::ByteArray;

// Reading

inline std::ifstream open(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::system_error(errno, std::generic_category(), "cannot open " + path);
    }
    return file;
}

/// A file that breaks off in mid-read ends there as far as the library can see: ask after each file that it has read.
inline void requireReadToItsEnd(std::istream const& file, std::string const& path) {
    if (file.bad()) {
        throw std::runtime_error("cannot read " + path + " to its end");
    }
}

inline ByteArray read(std::string const& path) {
    std::ifstream file = open(path);
    try {
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    } catch (std::ios_base::failure const&) {
        throw std::runtime_error("cannot read " + path + " to its end");
    }
}

/// What `load` makes of a key file, given as a stream. A failure names the file, the key that it was to hold, and a
/// command that shows what it does hold.
template <class Load>
auto loadKey(std::string const& path, std::string const& wanted, std::string const& command, Load&& load) {
    std::ifstream file = open(path);
    try {
        return std::forward<Load>(load)(file);
    } catch (std::exception const& error) {
        requireReadToItsEnd(file, path);
        throw std::runtime_error(path + ": " + error.what() + "; is it " + wanted + "? try: " + command + " " + path);
    }
}

/// Does `work` with a file; a failure names the file.
template <class Work> void named(std::string const& path, Work&& work) {
    try {
        std::forward<Work>(work)();
    } catch (std::exception const& error) {
        throw std::runtime_error(path + ": " + error.what());
    }
}

// Writing. A file is written whole under a name of its own beside its target, and then renamed to it, so that the
// target is the old file or the new one at every moment: when the disk is full, when the program is killed (a file
// ".new-..." may stay then), and for the one who reads it meanwhile. It may be the file that was read. The folder must
// be writable; other hard links to the old file keep the old content. A symbolic link stays, and the file that it leads
// to is replaced; one that leads nowhere is refused, as are a folder and a file that may not be written. A device, a
// FIFO and the program's own standard output (/dev/stdout, wherever it leads) are written to as they are.

enum class Access {
    usual,     // a new file gets what the umask leaves; one that is replaced hands its owner, group and mode on
    ownerAlone // mode 0600 from the first byte on, whatever was there before
};

/// Where `path` leads, over symbolic links, whether there is a file or not; an error for a link that leads nowhere.
inline std::filesystem::path destination(std::filesystem::path const& path, std::error_code& error) {
    std::filesystem::path found = std::filesystem::canonical(path, error);
    std::error_code ignored;
    if (error == std::errc::no_such_file_or_directory && !std::filesystem::is_symlink(path, ignored)) {
        found = std::filesystem::canonical(path.has_parent_path() ? path.parent_path() : ".", error) / path.filename();
    }
    return found;
}

/// Refuses one file under two names, by whatever spelling or link: writing the one would destroy the other.
inline void requireDistinct(std::string const& left, std::string const& right) {
    std::error_code noLeft;
    std::error_code noRight;
    bool const isOne = std::filesystem::equivalent(left, right, noLeft) || // hard links, too
                       (destination(left, noLeft) == destination(right, noRight) && !noLeft && !noRight);
    if (isOne) {
        throw std::runtime_error(left + " and " + right + " are the same file");
    }
}

/// A file descriptor, closed when the object goes.
class Descriptor {
public:
    explicit Descriptor(int number) noexcept : number_(number) {}

    ~Descriptor() {
        if (isOpen()) {
            ::close(number_);
        }
    }

    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;

    bool isOpen() const noexcept { return number_ >= 0; }

    int number() const noexcept { return number_; }

private:
    int number_;
};

/// A new, empty file in a folder; removed with the object unless it was renamed.
class TemporaryFile {
public:
    TemporaryFile(std::filesystem::path const& folder, mode_t mode)
        : path_(folder / (".new-" + std::to_string(std::random_device()()))),
          // With O_EXCL it is a file that was not there before, whatever another user plants under the name.
          descriptor_(::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode)) {}

    ~TemporaryFile() {
        if (descriptor_.isOpen() && !isRenamed_) {
            ::unlink(path_.c_str());
        }
    }

    TemporaryFile(TemporaryFile const&) = delete;
    TemporaryFile& operator=(TemporaryFile const&) = delete;

    Descriptor const& descriptor() const noexcept { return descriptor_; }

    bool rename(std::filesystem::path const& target) noexcept {
        isRenamed_ = ::rename(path_.c_str(), target.c_str()) == 0;
        return isRenamed_;
    }

private:
    std::filesystem::path path_;
    Descriptor descriptor_;
    bool isRenamed_ = false;
};

/// Content on its way to a file: written by the constructor, seen under the file's name after `publish()`.
class Output {
public:
    Output(std::string path, std::string_view content, Access access) : path_(std::move(path)) {
        if (isStandardOutput()) {
            require(std::fflush(stdout) == 0);
            write(STDOUT_FILENO, content);
            return;
        }
        // The system judges whether the old file may be written; nothing in it is changed.
        Descriptor const old(::open(path_.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC));
        require(old.isOpen() || errno == ENOENT);
        struct stat oldStatus{};
        if (old.isOpen()) {
            require(::fstat(old.number(), &oldStatus) == 0);
            if (!S_ISREG(oldStatus.st_mode)) {
                write(old.number(), content);
                return;
            }
        }
        std::error_code error;
        target_ = destination(path_, error);
        if (error) {
            fail(error.value());
        }
        bool const isAsUsual = access == Access::usual && !old.isOpen();
        temporary_.emplace(target_.parent_path(), isAsUsual ? 0666 : 0600);
        require(temporary_->descriptor().isOpen());
        int const file = temporary_->descriptor().number();
        if (!isAsUsual) {
            require(::fchmod(file, access == Access::usual ? handOn(oldStatus, file) : 0600) == 0);
        }
        write(file, content);
        require(::fsync(file) == 0);
    }

    void publish() {
        if (temporary_) {
            require(temporary_->rename(target_));
        }
    }

private:
    void require(bool succeeded) const {
        if (!succeeded) {
            fail(errno);
        }
    }

    [[noreturn]] void fail(int error) const {
        throw std::system_error(error, std::generic_category(), "cannot write " + path_);
    }

    bool isStandardOutput() const {
        struct stat named{};
        struct stat standard{};
        return ::stat(path_.c_str(), &named) == 0 && ::fstat(STDOUT_FILENO, &standard) == 0 &&
               named.st_dev == standard.st_dev && named.st_ino == standard.st_ino;
    }

    /// Gives `file` the old one's owner and group, and returns the mode that goes with them: where only others may give
    /// files away, the old group's rights are nobody's.
    static mode_t handOn(struct stat const& old, int file) {
        bool const isHandedOn = ::fchown(file, old.st_uid, old.st_gid) == 0;
        return old.st_mode & (isHandedOn ? S_IRWXU | S_IRWXG | S_IRWXO : S_IRWXU | S_IRWXO);
    }

    void write(int file, std::string_view content) const {
        while (!content.empty()) {
            ssize_t const written = ::write(file, content.data(), content.size());
            require(written >= 0 || errno == EINTR);
            content.remove_prefix(static_cast<std::size_t>(written < 0 ? 0 : written));
        }
    }

    std::string path_;
    std::filesystem::path target_;
    std::optional<TemporaryFile> temporary_; // none where the content is written to what was there
};

inline std::string_view view(ByteArray const& bytes) {
    return {reinterpret_cast<char const*>(bytes.data()), bytes.size()};
}

inline void write(std::string const& path, ByteArray const& content) {
    Output(path, view(content), Access::usual).publish();
}

/// Writes what was collected in memory, so that nothing is written of what does not come to its end.
inline void write(std::string const& path, std::ostringstream const& content) {
    if (!content) {
        throw std::runtime_error("cannot keep what is to be written to " + path);
    }
    Output(path, content.str(), Access::usual).publish();
}

/// Writes a file that only its owner may read.
inline void writeSecret(std::string const& path, ByteArray const& content) {
    Output(path, view(content), Access::ownerAlone).publish();
}

/// Writes both halves of a key pair, or neither where one of them cannot be written.
inline void writeKeyPair(std::string const& privatePath, ByteArray const& privateKey, std::string const& publicPath,
                         ByteArray const& publicKey) {
    requireDistinct(privatePath, publicPath);
    Output privateFile(privatePath, view(privateKey), Access::ownerAlone);
    Output publicFile(publicPath, view(publicKey), Access::usual);
    publicFile.publish(); // first: a private key is replaced where nothing else can fail any more
    privateFile.publish();
}

/// Bytes as the examples print them.
inline std::string hex(ByteArray const& bytes) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (unsigned char const byte : bytes) {
        text += digits[byte >> 4U];
        text += digits[byte & 0x0fU];
    }
    return text;
}

/// In lines of 64 characters (RFC 7468).
inline std::string base64(ByteArray const& bytes) {
    static constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        unsigned long group = 0;
        for (std::size_t byte = at; byte < at + 3; ++byte) {
            group = group << 8U | (byte < bytes.size() ? bytes[byte] : 0U);
        }
        for (std::size_t digit = 0; digit < 4; ++digit) {
            text += at + digit <= bytes.size() ? digits[group >> (18 - 6 * digit) & 63U] : '=';
        }
        if (at % 48 == 45 && at + 3 < bytes.size()) {
            text += '\n';
        }
    }
    return text + '\n';
}

/// DER (ITU-T X.690): what it is, how long, and the parts one after the other.
inline ByteArray der(unsigned char tag, std::initializer_list<ByteArray> parts) {
    ByteArray content;
    for (ByteArray const& part : parts) {
        content.insert(content.end(), part.begin(), part.end());
    }
    ByteArray encoded{tag};
    std::size_t const size = content.size();
    if (size > 255) { // two bytes of length do for every key there is
        encoded.insert(encoded.end(), {0x82, static_cast<unsigned char>(size >> 8U)});
    } else if (size > 127) {
        encoded.push_back(0x81);
    }
    encoded.push_back(static_cast<unsigned char>(size));
    encoded.insert(encoded.end(), content.begin(), content.end());
    return encoded;
}

/// DER in its armour (RFC 7468).
inline std::string pem(std::string const& label, ByteArray const& der) {
    return "-----BEGIN " + label + "-----\n" + base64(der) + "-----END " + label + "-----\n";
}

} // namespace files

#endif
