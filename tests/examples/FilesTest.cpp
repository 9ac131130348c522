// How the examples write files, with each call of the operating system seen and made to fail.
#include "examples/Files.h"

#include "support/Bytes.h"
#include "support/Throws.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace {

/// What the calls below do while a test looks.
struct Calls {
    std::string failing; // the call that fails, once
    std::vector<std::string> made;
    int flags = 0; // of the file that was created
    mode_t mode = 0;
};

Calls* calls = nullptr;

bool fails(char const* name) {
    if (calls == nullptr) {
        return false;
    }
    calls->made.emplace_back(name);
    if (calls->failing != name) {
        return false;
    }
    calls->failing.clear();
    return true;
}

template <class Function> Function* real(char const* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

// They stand before the C library's own.
extern "C" {
int open(char const* path, int flags, ...) {
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0) {
        va_list arguments;
        va_start(arguments, flags);
        mode = va_arg(arguments, mode_t);
        va_end(arguments);
        if (fails("open")) {
            errno = EDQUOT;
            return -1;
        }
        if (calls != nullptr) {
            calls->flags = flags;
            calls->mode = mode;
        }
    }
    return real<int(char const*, int, ...)>("open")(path, flags, mode);
}

int fchmod(int file, mode_t mode) noexcept {
    if (fails("fchmod")) {
        errno = EPERM;
        return -1;
    }
    return real<int(int, mode_t)>("fchmod")(file, mode);
}

int fchown(int file, uid_t owner, gid_t group) noexcept {
    if (fails("fchown")) {
        errno = EPERM;
        return -1;
    }
    return real<int(int, uid_t, gid_t)>("fchown")(file, owner, group);
}

ssize_t write(int file, void const* data, size_t size) {
    auto* const next = real<ssize_t(int, void const*, size_t)>("write");
    if (calls == nullptr) {
        return next(file, data, size);
    }
    if (calls->failing == "interrupted write" && fails("interrupted write")) {
        errno = EINTR;
        return -1;
    }
    if (fails("write")) {
        errno = ENOSPC;
        return -1;
    }
    return next(file, data, size > 1 ? size / 2 : size); // what a write takes is up to the system
}

int fsync(int file) {
    if (fails("fsync")) {
        errno = EIO;
        return -1;
    }
    return real<int(int)>("fsync")(file);
}

int rename(char const* from, char const* to) noexcept {
    std::string const target = std::string("rename to ") + std::filesystem::path(to).filename().c_str();
    if (calls != nullptr && fails(calls->failing == target ? target.c_str() : "rename")) {
        errno = EXDEV;
        return -1;
    }
    return real<int(char const*, char const*)>("rename")(from, to);
}
}

namespace {

using foundation::crypto::utils::ByteArray;
using support::bytes;
using Names = std::vector<std::string>;

/// Each test in a folder of its own, with a file "there".
class Files : public testing::Test {
protected:
    Files() {
        std::string pattern = (std::filesystem::temp_directory_path() / "zrflcrypto-files-XXXXXX").string();
        folder_ = mkdtemp(pattern.data());
        std::filesystem::current_path(folder_);
        umask(0);
        files::write("there", earlier);
        chmod("there", 0640);
        calls = &seen;
    }

    ~Files() override {
        calls = nullptr;
        umask(oldUmask_);
        std::filesystem::current_path("/");
        std::filesystem::remove_all(folder_);
    }

    Files(Files const&) = delete;
    Files& operator=(Files const&) = delete;

    static Names names() {
        Names names;
        for (auto const& entry : std::filesystem::directory_iterator(".")) {
            names.push_back(entry.path().filename());
        }
        return names;
    }

    static mode_t modeOf(char const* path) {
        struct stat status{};
        return stat(path, &status) == 0 ? status.st_mode & 07777U : 0;
    }

    ByteArray const earlier = bytes("what was there before");
    ByteArray const content = bytes("what is written");
    Calls seen;

private:
    std::filesystem::path folder_;
    mode_t oldUmask_ = umask(0);
};

TEST_F(Files, AreCreatedBesideTheirTargetAndNeverOpenToMoreReadersThanInTheEnd) {
    constexpr int safely = O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;

    files::writeSecret("secret", content);
    EXPECT_EQ(seen.flags & safely, safely);
    EXPECT_EQ(seen.mode, 0600U);
    EXPECT_EQ(seen.made.front(), "open");
    EXPECT_EQ(seen.made.back(), "rename");
    EXPECT_EQ(seen.made[seen.made.size() - 2], "fsync");
    EXPECT_EQ(modeOf("secret"), 0600U);
    EXPECT_EQ(files::read("secret"), content);

    files::write("there", content); // until it has its owner's group, its mode does not fit it
    EXPECT_EQ(seen.flags & safely, safely);
    EXPECT_EQ(seen.mode, 0600U);
    EXPECT_EQ(modeOf("there"), 0640U);
    EXPECT_EQ(files::read("there"), content);

    files::write("usual", content);
    EXPECT_EQ(seen.flags & safely, safely);
    EXPECT_EQ(seen.mode, 0666U);
    EXPECT_EQ(modeOf("usual"), 0666U);
}

TEST_F(Files, AreWholeWhereWritingIsInterrupted) {
    seen.failing = "interrupted write";
    files::write("there", content);
    EXPECT_EQ(seen.failing, "");
    EXPECT_EQ(files::read("there"), content);
}

TEST_F(Files, KeepFromTheNewGroupWhatTheOldOneMightDo) {
    seen.failing = "fchown";
    files::write("there", content);
    EXPECT_EQ(seen.failing, "");
    EXPECT_EQ(modeOf("there"), 0600U);
}

struct Failure {
    char const* call;
    int error;
};

class FilesFailures : public Files, public testing::WithParamInterface<Failure> {};

TEST_P(FilesFailures, LeaveWhatWasThereAndNothingElse) {
    auto const text = [](std::string const& path) -> std::string {
        return std::system_error(GetParam().error, std::generic_category(), "cannot write " + path).what();
    };
    seen.failing = GetParam().call;
    EXPECT_THROWS(std::system_error, text("there"), files::write("there", content));
    EXPECT_EQ(seen.failing, "");
    seen.failing = GetParam().call;
    EXPECT_THROWS(std::system_error, text("there"), files::writeSecret("there", content));
    seen.failing = GetParam().call;
    EXPECT_THROWS(std::system_error, text("new"), files::writeSecret("new", content));
    seen.failing = GetParam().call;
    EXPECT_THROWS(std::system_error, text(seen.failing == "rename" ? "new" : "there"), // the public half's is first
                  files::writeKeyPair("there", content, "new", content));
    EXPECT_EQ(names(), Names{"there"});
    EXPECT_EQ(files::read("there"), earlier);
    EXPECT_EQ(modeOf("there"), 0640U);
}

INSTANTIATE_TEST_SUITE_P(Calls, FilesFailures,
                         testing::Values(Failure{"open", EDQUOT}, Failure{"fchmod", EPERM}, Failure{"write", ENOSPC},
                                         Failure{"fsync", EIO}, Failure{"rename", EXDEV}),
                         [](auto const& row) { return std::string(row.param.call); });

TEST_F(Files, KeepAPrivateKeyWhoseNewPublicHalfCannotBeWritten) {
    files::write("public", earlier);
    seen.failing = "rename to public"; // as in a folder where everybody may replace his own files alone
    EXPECT_THROWS(std::system_error, std::system_error(EXDEV, std::generic_category(), "cannot write public").what(),
                  files::writeKeyPair("there", content, "public", content));
    EXPECT_EQ(seen.failing, "");
    EXPECT_EQ(files::read("there"), earlier);
    EXPECT_EQ(files::read("public"), earlier);
}

TEST_F(Files, RefuseContentThatCouldNotBeCollected) {
    std::ostringstream collected;
    collected.setstate(std::ios::badbit);
    EXPECT_THROWS(std::runtime_error, "cannot keep what is to be written to there", files::write("there", collected));
    EXPECT_EQ(files::read("there"), earlier);
}

TEST(Der, TellsItsLengthInAsFewBytesAsItTakes) {
    auto const beginOf = [](std::size_t size) {
        ByteArray encoded = files::der(0x04, {ByteArray(size - 1), ByteArray(1)});
        encoded.resize(encoded.size() - size);
        return encoded;
    };
    EXPECT_EQ(beginOf(127), (ByteArray{0x04, 0x7f}));
    EXPECT_EQ(beginOf(128), (ByteArray{0x04, 0x81, 0x80}));
    EXPECT_EQ(beginOf(255), (ByteArray{0x04, 0x81, 0xff}));
    EXPECT_EQ(beginOf(256), (ByteArray{0x04, 0x82, 0x01, 0x00}));
    EXPECT_EQ(beginOf(65535), (ByteArray{0x04, 0x82, 0xff, 0xff}));
}

} // namespace
