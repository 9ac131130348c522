#include "support/Bytes.h"
#include "support/Provider.h"
#include "support/Threads.h"
#include "support/Throws.h"

#include <foundation/crypto/openssl/CryptoProvider.h>
#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace support;
using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::InternalException;

/// The factory of one key size as a type, so that one test serves them all.
template <unsigned long Bits, auto Factory> struct Member {
    static constexpr std::size_t bits = Bits;
    static constexpr std::size_t size = Bits / 8;

    static auto create(ByteArray const& bytes) { return (provider.*Factory)(bytes); }
};

template <class Member> class AESKeys : public testing::Test {};

using Members =
    testing::Types<Member<128, &CryptoProvider::createAES128Key>, Member<192, &CryptoProvider::createAES192Key>,
                   Member<256, &CryptoProvider::createAES256Key>>;
TYPED_TEST_SUITE(AESKeys, Members);

TYPED_TEST(AESKeys, KeepTheFirstBytesOfWhatTheyAreGiven) {
    for (std::size_t const size : {TypeParam::size, TypeParam::size + 1, std::size_t(40), std::size_t(100000)}) {
        ByteArray const given = pseudoRandomBytes(size);
        ByteArray const kept(given.begin(), given.begin() + TypeParam::size);
        EXPECT_EQ(TypeParam::create(given)->getKeyBytes(), kept) << size;
    }
}

TYPED_TEST(AESKeys, RefuseFewerBytes) {
    std::string const text = "AES " + std::to_string(TypeParam::bits) + "-bit key data must contain at least " +
                             std::to_string(TypeParam::size) + " bytes.";
    for (std::size_t size = 0; size < TypeParam::size; ++size) {
        EXPECT_THROWS(InternalException, text, TypeParam::create(ByteArray(size)));
    }
}

TYPED_TEST(AESKeys, TellTheirSizeInBits) {
    EXPECT_EQ(TypeParam::create(ByteArray(32))->getKeySize(), TypeParam::bits);
}

TYPED_TEST(AESKeys, TakeAnyBytes) {
    EXPECT_EQ(TypeParam::create(ByteArray(TypeParam::size, 0))->getKeyBytes(), ByteArray(TypeParam::size, 0));
    EXPECT_EQ(TypeParam::create(ByteArray(TypeParam::size, 0xff))->getKeyBytes(), ByteArray(TypeParam::size, 0xff));
}

TYPED_TEST(AESKeys, HandOutCopies) {
    ByteArray given = pseudoRandomBytes(TypeParam::size);
    ByteArray const expected = given;
    auto const key = TypeParam::create(given);
    given[0] ^= 1U;
    ByteArray copy = key->getKeyBytes();
    copy[1] ^= 1U;
    EXPECT_EQ(key->getKeyBytes(), expected);
}

TYPED_TEST(AESKeys, ServeSeveralThreadsAtOnce) {
    ByteArray const expected = pseudoRandomBytes(TypeParam::size);
    auto const key = TypeParam::create(expected);
    onThreads(4, [&](std::size_t /*thread*/) {
        for (int round = 0; round < 1000; ++round) {
            EXPECT_EQ(key->getKeyBytes(), expected);
            EXPECT_EQ(key->getKeySize(), TypeParam::bits);
        }
    });
}

TEST(AESKeyTexts, AreTheseToTheByte) {
    EXPECT_THROWS(InternalException, "AES 128-bit key data must contain at least 16 bytes.",
                  provider.createAES128Key(ByteArray(15)));
    EXPECT_THROWS(InternalException, "AES 192-bit key data must contain at least 24 bytes.",
                  provider.createAES192Key(ByteArray(16)));
    EXPECT_THROWS(InternalException, "AES 256-bit key data must contain at least 32 bytes.",
                  provider.createAES256Key(ByteArray(24)));
    EXPECT_NO_THROW(provider.createAES192Key(ByteArray(24)));
}

} // namespace
