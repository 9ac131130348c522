#ifndef ZRFL_TESTS_SUPPORT_COMMANDS_H
#define ZRFL_TESTS_SUPPORT_COMMANDS_H

#include "Bytes.h"

#include <filesystem>
#include <string>

namespace support {

/// A new empty folder below the system's temporary folder, removed with all its content at the end.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(TemporaryDirectory const&) = delete;
    TemporaryDirectory& operator=(TemporaryDirectory const&) = delete;

    std::filesystem::path const& path() const { return path_; }

    /// The path of `name` in it.
    std::string operator/(std::string const& name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

struct CommandResult {
    int status;         ///< The exit status; -1 when it did not exit by itself.
    std::string output; ///< What it wrote on standard output.
};

/// Runs `command` by the shell, with nothing on its standard input.
CommandResult run(std::string const& command);

void writeFile(std::string const& path, ByteArray const& content);
ByteArray readFile(std::string const& path);

} // namespace support

#endif
