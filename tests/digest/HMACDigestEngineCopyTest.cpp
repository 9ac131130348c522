// Copies of engines, which the provider's interface does not hand out, and what becomes of the key.
#include "digest/HMACDigestEngine.h"

#include "EngineCopyTests.h"
#include "support/Allocations.h"

#include <gtest/gtest.h>

#include <string>

namespace support {

namespace {

using namespace foundation::crypto;
using utils::InternalException;

template <class Algorithm> struct HMACKind {
    using Engine = openssl::HMACDigestEngine<Algorithm>;
    static constexpr auto restart = "EVP_MAC_fetch";
    static constexpr auto notUpdated = "Could not update data to the digest state. No OpenSSL errors.";
    static constexpr auto notFinalized = "Failed to perform the final computation. ";

    static Engine create() { return Engine(bytes("key")); }

    /// The code that libcrypto computes in a finalize() whose start into a new message fails for want of a key.
    static std::string finish(Engine& copy) {
        std::string code;
        Replacing<decltype(EVP_MAC_final)> const watching(
            "EVP_MAC_final",
            [&](auto real, EVP_MAC_CTX* context, unsigned char* out, std::size_t* size, std::size_t capacity) {
                int const result = real(context, out, size, capacity);
                code = hex(ByteArray(out, out + *size));
                return result;
            });
        EXPECT_THROWS(InternalException, "Could not initialize the digest context. No OpenSSL errors.",
                      copy.finalize());
        return code;
    }
};

using Kinds = testing::Types<HMACKind<utils::HMACSHA1DigestAlgorithm>, HMACKind<utils::HMACSHA256DigestAlgorithm>,
                             HMACKind<utils::HMACSHA512DigestAlgorithm>>;
INSTANTIATE_TYPED_TEST_SUITE_P(HMAC, Copies, Kinds);

template <class Kind> class HMACCopies : public testing::Test {
protected:
    using Engine = typename Kind::Engine;

    static std::string codeOf(std::string const& message, std::string const& key = "key") {
        return hex(Engine(bytes(key)).computeDigest(bytes(message)));
    }
};

TYPED_TEST_SUITE(HMACCopies, Kinds);

TYPED_TEST(HMACCopies, HaveNoKeyForTheNextMessage) {
    typename TestFixture::Engine const source(bytes("key"));
    typename TestFixture::Engine copy(source);
    bool asked = false;
    {
        Replacing<decltype(EVP_MAC_init)> const watching("EVP_MAC_init",
                                                         [&](auto real, EVP_MAC_CTX* context, unsigned char const* key,
                                                             std::size_t size, OSSL_PARAM const* parameters) {
                                                             asked = true;
                                                             EXPECT_STREQ(parameters[0].key, "key");
                                                             EXPECT_EQ(parameters[0].data, nullptr);
                                                             EXPECT_EQ(parameters[0].data_size, 0U);
                                                             return real(context, key, size, parameters);
                                                         });
        EXPECT_THROWS_PREFIX(InternalException, "Could not initialize the digest context. ",
                             copy.computeDigest(bytes("abc")));
    }
    EXPECT_TRUE(asked);
    EXPECT_THROWS_PREFIX(InternalException, "Could not update data to the digest state. ", copy.update(bytes("abc")));
    EXPECT_THROWS(InternalException, "Failed to perform the final computation. ", copy.finalize());
}

TYPED_TEST(HMACCopies, StartTheNextMessageIfLibcryptoTakesAnEmptyKey) {
    typename TestFixture::Engine source(bytes("key"));
    source.update(bytes("ab"));
    typename TestFixture::Engine copy(source);
    std::string const whole = this->codeOf("abc");
    std::string const underZeros = this->codeOf("", std::string(1, '\0')); // zeros fill the block in any case
    Replacing<decltype(EVP_MAC_init)> const lenient(
        "EVP_MAC_init",
        [](auto real, EVP_MAC_CTX* context, unsigned char const*, std::size_t, OSSL_PARAM const* parameters) {
            OSSL_PARAM const withAddress[] = {OSSL_PARAM_construct_octet_string("key", const_cast<char*>(""), 0),
                                              parameters[1], OSSL_PARAM_construct_end()};
            return real(context, nullptr, 0, withAddress);
        });
    EXPECT_EQ(hex(copy.computeDigest(bytes("c"))), whole);
    EXPECT_EQ(hex(copy.finalize()), underZeros);
}

TYPED_TEST(HMACCopies, ByAssignmentKeepTheKeyOfTheirTarget) {
    typename TestFixture::Engine source(bytes("key"));
    typename TestFixture::Engine target(bytes("other"));
    source.update(bytes("ab"));
    target.update(bytes("forgotten"));
    target = source;
    EXPECT_EQ(hex(target.computeDigest(bytes("c"))), this->codeOf("abc"));
    EXPECT_EQ(hex(target.computeDigest(bytes("abc"))), this->codeOf("abc", "other"));
    EXPECT_EQ(hex(source.finalize()), this->codeOf("ab"));
}

TYPED_TEST(HMACCopies, FreeTheContextOfTheirTargetOnlyWhenTheyHaveTheirOwn) {
    typename TestFixture::Engine const source(bytes("key"));
    typename TestFixture::Engine target(bytes("other"));
    Recording const recording;
    target = source;
    EXPECT_EQ(recording.functions(), (std::vector<std::string>{"EVP_MAC_CTX_dup", "EVP_MAC_CTX_free"}));
}

// The key in memory

ByteArray const secret = pseudoRandomBytes(48, 6);

TYPED_TEST(HMACCopies, AndSourcesWipeTheKeyWhenTheyGo) {
    ReleaseWatch const watch(secret);
    {
        typename TestFixture::Engine engine(secret);
        engine.computeDigest(bytes("abc"));
        typename TestFixture::Engine const copy(engine);
        typename TestFixture::Engine target(bytes("other"));
        target = engine;
    }
    EXPECT_GT(watch.blocks(), 0U);
    EXPECT_EQ(watch.blocksWithSecret(), 0U);
}

TYPED_TEST(HMACCopies, ThatCannotBeMadeWipeTheKeyToo) {
    Failing const failing("EVP_MAC_init");
    ReleaseWatch const watch(secret);
    EXPECT_THROW(typename TestFixture::Engine engine(secret), InternalException);
    EXPECT_GT(watch.blocks(), 0U);
    EXPECT_EQ(watch.blocksWithSecret(), 0U);
}

} // namespace

} // namespace support
