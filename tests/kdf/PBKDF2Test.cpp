#include "support/Bytes.h"
#include "support/Provider.h"
#include "support/Threads.h"
#include "support/Throws.h"
#include "support/Vectors.h"

#include <foundation/crypto/openssl/CryptoProvider.h>
#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/err.h>

#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace support;
using foundation::crypto::utils::InternalException;
using foundation::crypto::utils::InvalidArgument;

std::string const passwordTooLong = "Password is longer than the allowed size of 65535";
std::string const saltTooLong = "Salt is longer than the allowed size of 65535";
std::string const unsuccessful = "Key derivation is unsuccessful.";
std::string const negativeLength = "cannot create std::vector larger than max_size()";

std::string derive(std::string const& password, std::string const& salt, int keyLength, int iterations) {
    return hex(provider.deriveKeyUsingPBKDF2(password, salt, keyLength, iterations));
}

class PBKDF2Vectors : public testing::TestWithParam<char const*> {};

INSTANTIATE_TEST_SUITE_P(, PBKDF2Vectors, testing::Values("pbkdf2_published.txt", "pbkdf2.txt"),
                         [](auto const& row) { return row.index == 0 ? "Published" : "Collected"; });

TEST_P(PBKDF2Vectors, Agree) {
    for (Vector const& vector : readVectors(GetParam())) {
        SCOPED_TRACE(vector.id());
        EXPECT_EQ(derive(text(vector.bytes("password")), text(vector.bytes("salt")), vector.number("dklen"),
                         vector.number("iterations")),
                  vector.word("dk"));
    }
}

TEST(PBKDF2, GivesAsManyBytesAsAskedFor) {
    std::string const longest = derive("password", "salt", 200, 3);
    for (int const length : {1, 63, 64, 65, 127, 128, 129, 199}) {
        EXPECT_EQ(derive("password", "salt", length, 3), longest.substr(0, static_cast<std::size_t>(2 * length)));
    }
    EXPECT_EQ(provider.deriveKeyUsingPBKDF2("password", "salt", 1000000, 1).size(), 1000000U);
}

// The answers of RFC 8018's definition written out over CPython's hmac module.
TEST(PBKDF2, TakesAnEmptyPasswordAndAnEmptySalt) {
    EXPECT_EQ(derive("", "", 16, 1), "6d2ecbbbfb2e6dcd7056faf9af6aa06e");
    EXPECT_EQ(derive("", "salt", 16, 1), "00ef42cdbfc98d29db20976608e45556");
    EXPECT_EQ(derive("password", "", 16, 1), "ae16ce6dfd4a6a0c20421ff80eb3ba4a");
}

TEST(PBKDF2, CountsEveryByteOfPasswordAndSalt) {
    using namespace std::string_literals;
    std::string const reference = derive("password"s, "salt"s, 16, 1);
    EXPECT_NE(derive("password\0"s + "x", "salt"s, 16, 1), reference);
    EXPECT_NE(derive("pass\0word"s, "salt"s, 16, 1), derive("pass"s, "salt"s, 16, 1));
    EXPECT_NE(derive("password"s, "salt\0"s, 16, 1), reference);
    EXPECT_NE(derive("\xff\xfe"s, "salt"s, 16, 1), derive("\xff"s, "salt"s, 16, 1));
}

TEST(PBKDF2, TakesPasswordsAndSaltsOfUpTo65535Bytes) {
    std::string const longest(65535, 'p');
    std::string const longer(65536, 'p');
    EXPECT_NO_THROW(derive(longest, longest, 16, 1));
    EXPECT_THROWS(InvalidArgument, passwordTooLong, derive(longer, "salt", 16, 1));
    EXPECT_THROWS(InvalidArgument, saltTooLong, derive("password", longer, 16, 1));
}

TEST(PBKDF2, ChecksThePasswordThenTheSaltThenTheLength) {
    std::string const longer(65536, 'p');
    EXPECT_THROWS(InvalidArgument, passwordTooLong, derive(longer, longer, -1, 0));
    EXPECT_THROWS(InvalidArgument, saltTooLong, derive("password", longer, -1, 0));
    EXPECT_THROWS(std::length_error, negativeLength, derive("password", "salt", -1, 0));
    EXPECT_THROWS(InternalException, unsuccessful, derive("password", "salt", 0, 0));
}

TEST(PBKDF2, RefusesNegativeLengthsWithTheStandardLengthError) {
    for (int const length : {-1, -64, std::numeric_limits<int>::min()}) {
        EXPECT_THROWS(std::length_error, negativeLength, derive("password", "salt", length, 1));
    }
}

TEST(PBKDF2, RefusesAKeyOfNoBytes) {
    EXPECT_THROWS(InternalException, unsuccessful, derive("password", "salt", 0, 1));
}

TEST(PBKDF2, RefusesFewerThanOneIteration) {
    for (int const iterations : {0, -1, std::numeric_limits<int>::min()}) {
        EXPECT_THROWS(InternalException, unsuccessful, derive("password", "salt", 16, iterations));
    }
}

TEST(PBKDF2, LeavesTheErrorQueueAsItWas) {
    ERR_raise(ERR_LIB_USER, 7);
    derive("password", "salt", 16, 1);
    EXPECT_EQ(ERR_GET_REASON(ERR_get_error()), 7);
    EXPECT_EQ(ERR_get_error(), 0U);
}

TEST(PBKDF2, RunsOnSeveralThreadsAtOnce) {
    std::string const expected = derive("password", "salt", 64, 1000);
    std::vector<std::string> found(4);
    onThreads(found.size(), [&](std::size_t thread) { found[thread] = derive("password", "salt", 64, 1000); });
    EXPECT_EQ(found, std::vector<std::string>(4, expected));
}

} // namespace
