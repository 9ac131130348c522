#include "kdf/PBKDF2.h"

#include "support/Allocations.h"
#include "support/Bytes.h"
#include "support/FaultTables.h"
#include "support/Provider.h"
#include "support/Throws.h"

#include <foundation/crypto/openssl/CryptoProvider.h>
#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/evp.h>

#include <algorithm>
#include <new>
#include <stdexcept>
#include <string>

namespace {

using namespace support;
using namespace foundation::crypto;
using utils::InternalException;

std::string const unsuccessful = "Key derivation is unsuccessful.";

void derive() {
    provider.deriveKeyUsingPBKDF2("password", "salt", 16, 1);
}

TEST(PBKDF2Fault, OfLibcryptoIsReportedWithoutItsErrorText) {
    expectReported<InternalException>({"Derive", "PKCS5_PBKDF2_HMAC", 1, derive, unsuccessful, {0, made(0)}});
}

TEST(PBKDF2Fault, OfAllocationPassesUnchanged) {
    FailingAllocation const failing;
    EXPECT_THROWS(std::bad_alloc, "std::bad_alloc", derive());
    EXPECT_TRUE(failing.happened());
}

TEST(PBKDF2Fault, LeavesNoPartOfTheKeyInMemory) {
    ByteArray const part = pseudoRandomBytes(32);
    Replacing<decltype(PKCS5_PBKDF2_HMAC)> const half(
        "PKCS5_PBKDF2_HMAC",
        [&](auto /*real*/, char const*, int, unsigned char const*, int, int, EVP_MD const*, int, unsigned char* key) {
            std::copy(part.begin(), part.end(), key);
            return 0;
        });
    ReleaseWatch const watch(part);
    EXPECT_THROWS(InternalException, unsuccessful, provider.deriveKeyUsingPBKDF2("password", "salt", 64, 1));
    EXPECT_GT(watch.blocks(), 0U);
    EXPECT_EQ(watch.blocksWithSecret(), 0U);
}

TEST(PBKDF2, LeavesNoCopyOfPasswordAndKeyInMemory) {
    std::string const password = "correct horse battery staple";
    ByteArray const expected = provider.deriveKeyUsingPBKDF2(password, "salt", 32, 1);
    for (ByteArray const& secret : {bytes(password), expected}) {
        ReleaseWatch const watch(secret);
        ByteArray key = provider.deriveKeyUsingPBKDF2(password, "salt", 32, 1);
        std::fill(key.begin(), key.end(), '\0');
        EXPECT_EQ(watch.blocksWithSecret(), 0U);
    }
}

TEST(PBKDF2Calls, HandOverWhatTheHostGave) {
    std::string const password("pass\0word", 9);
    std::string const salt("sa\0lt", 5);
    Recording const recording;
    provider.deriveKeyUsingPBKDF2(password, salt, 100, 3);
    ASSERT_EQ(recording.functions(), std::vector<std::string>{"PKCS5_PBKDF2_HMAC"});
    auto const& arguments = recording.calls().at(0).arguments;
    EXPECT_EQ(arguments.at(0), asNumber(password.data()));
    EXPECT_EQ(arguments.at(1), 9);
    EXPECT_EQ(arguments.at(2), asNumber(salt.data()));
    EXPECT_EQ(arguments.at(3), 5);
    EXPECT_EQ(arguments.at(4), 3);
    EXPECT_EQ(arguments.at(5), asNumber(EVP_sha512()));
    EXPECT_EQ(arguments.at(6), 100);
}

TEST(PBKDF2Calls, HandOverEmptyInputsAsSuch) {
    Recording const recording;
    provider.deriveKeyUsingPBKDF2("", "", 16, 1);
    auto const& arguments = recording.calls().at(0).arguments;
    EXPECT_NE(arguments.at(0), 0);
    EXPECT_EQ(arguments.at(1), 0);
    EXPECT_NE(arguments.at(2), 0);
    EXPECT_EQ(arguments.at(3), 0);
}

TEST(PBKDF2Calls, AreNotMadeForRefusedArguments) {
    Recording const recording;
    std::string const longer(65536, 'p');
    EXPECT_THROW(provider.deriveKeyUsingPBKDF2(longer, "salt", 16, 1), utils::InvalidArgument);
    EXPECT_THROW(provider.deriveKeyUsingPBKDF2("password", longer, 16, 1), utils::InvalidArgument);
    EXPECT_THROW(provider.deriveKeyUsingPBKDF2("password", "salt", -1, 1), std::length_error);
    EXPECT_THROW(provider.deriveKeyUsingPBKDF2("password", "salt", 0, 1), InternalException);
    EXPECT_TRUE(recording.calls().empty());
}

} // namespace
