#include "common/Secrets.h"

#include "support/Allocations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

namespace {

using namespace support;
using namespace foundation::crypto::openssl;

ByteArray const password = bytes("the password of the day");

TEST(SecretBytes, AreWipedWhenReleased) {
    ReleaseWatch const watch(password);
    {
        SecretBytes const held(password.begin(), password.end());
    }
    EXPECT_GT(watch.blocks(), 0U);
    EXPECT_EQ(watch.blocksWithSecret(), 0U);
}

TEST(SecretBytes, AreWipedWhereTheyGrewFrom) {
    ReleaseWatch const watch(password);
    {
        SecretBytes held(password.begin(), password.end());
        held.resize(100000);
    }
    EXPECT_GT(watch.blocks(), 1U);
    EXPECT_EQ(watch.blocksWithSecret(), 0U);
}

TEST(Wiped, WipesWhenTheScopeEnds) {
    ByteArray held = password;
    {
        Wiped<ByteArray> const wiped(held);
    }
    EXPECT_EQ(held, ByteArray(password.size()));
}

TEST(Wiped, WipesWhenAnExceptionEndsTheScope) {
    ByteArray held = password;
    EXPECT_THROW(
        {
            Wiped<ByteArray> const wiped(held);
            throw std::runtime_error("out");
        },
        std::runtime_error);
    EXPECT_EQ(held, ByteArray(password.size()));
}

TEST(WipingOnFailure, WipesWhatFailsAndNothingElse) {
    ByteArray held = password;
    EXPECT_EQ(wipingOnFailure(held, [] { return 7; }), 7);
    EXPECT_EQ(held, password);
    EXPECT_THROW(wipingOnFailure(held, [] { throw std::runtime_error("out"); }), std::runtime_error);
    EXPECT_EQ(held, ByteArray(password.size()));
    held = password;
    EXPECT_THROW(wipingOnFailure(held, [] { throw 7; }), int);
    EXPECT_EQ(held, ByteArray(password.size()));
}

TEST(UnfilledSecretBytes, AreWipedWhenTheyGrowAndWhenTheyGo) {
    ReleaseWatch const watch(password);
    {
        UnfilledSecretBytes held(password.begin(), password.end());
        held.resize(1000);
        EXPECT_TRUE(std::equal(password.begin(), password.end(), held.begin()));
    }
    EXPECT_EQ(watch.blocks(), 2U);
    EXPECT_EQ(watch.blocksWithSecret(), 0U);
}

} // namespace
