// What the examples keep secret is overwritten before its memory is released, on every way out.
#include "examples/Secrets.h"

#include "support/Allocations.h"
#include "support/Bytes.h"
#include "support/Throws.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

using foundation::crypto::utils::ByteArray;
using support::bytes;
using support::ReleaseWatch;

class Secrets : public testing::Test {
protected:
    Secrets() {
        std::string pattern = (std::filesystem::temp_directory_path() / "zrflcrypto-secrets-XXXXXX").string();
        folder_ = mkdtemp(pattern.data());
        path = folder_ / "password";
    }

    ~Secrets() override { std::filesystem::remove_all(folder_); }

    Secrets(Secrets const&) = delete;
    Secrets& operator=(Secrets const&) = delete;

    void write(std::string const& content) const {
        char* const buffer = nullptr;
        std::ofstream file;
        file.rdbuf()->pubsetbuf(buffer, 0); // which would keep the password as well
        file.open(path, std::ios::binary);
        file << content;
    }

    std::string path;

private:
    std::filesystem::path folder_;
};

TEST_F(Secrets, ArePasswordsThatAreOverwritten) {
    for (std::string const password : {"short", "a password that no string keeps inside itself"}) {
        write(password + "\nsecond line");
        ReleaseWatch const watch(bytes(password));
        {
            secrets::Password const read = secrets::password(secrets::Use::toOpen, "file", &path);
            EXPECT_TRUE(*read == password);
        }
        EXPECT_EQ(watch.blocksWithSecret(), 0U);
        EXPECT_GT(watch.blocks(), 0U);
    }
}

TEST_F(Secrets, AreOverwrittenWhereThePasswordIsRefused) {
    write(std::string("refused\0", 8));
    ReleaseWatch const watch(bytes("refused"));
    EXPECT_THROWS(std::runtime_error, path + ": a password has no NUL in it",
                  secrets::password(secrets::Use::toOpen, "file", &path));
    EXPECT_EQ(watch.blocksWithSecret(), 0U);
    EXPECT_GT(watch.blocks(), 0U);
}

TEST_F(Secrets, AreOverwrittenAfterTheyWereMoved) {
    ReleaseWatch const watch(bytes("secret bytes"));
    {
        secrets::Wiped first(bytes("secret bytes"));
        secrets::Wiped const second(std::move(first));
        EXPECT_TRUE(*second == bytes("secret bytes"));
    }
    EXPECT_EQ(watch.blocksWithSecret(), 1U); // that of what is compared with
}

TEST(Equal, IsWhatEqualsInSizeAndInEachByte) {
    EXPECT_TRUE(secrets::equal(bytes("same"), bytes("same")));
    EXPECT_TRUE(secrets::equal(ByteArray(), ByteArray()));
    for (std::string const other : {"Same", "samE", "sam", "same!", ""}) {
        EXPECT_FALSE(secrets::equal(bytes("same"), bytes(other))) << other;
    }
}

} // namespace
