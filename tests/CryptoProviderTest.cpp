#include "support/Bytes.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

namespace {

using namespace support;
using foundation::crypto::interfaces::ICryptoProvider;
using foundation::crypto::openssl::CryptoProvider;

TEST(Provider, HoldsNoState) {
    EXPECT_EQ(sizeof(CryptoProvider), sizeof(void*));
    static_assert(std::is_base_of_v<ICryptoProvider, CryptoProvider>);
}

TEST(Provider, MayBeMadeAnyNumberOfTimesAndCopied) {
    CryptoProvider const first;
    CryptoProvider const second;
    CryptoProvider const copy(first);
    EXPECT_EQ(copy.createSHA256DigestEngine()->computeDigest(bytes("abc")),
              second.createSHA256DigestEngine()->computeDigest(bytes("abc")));
}

TEST(Provider, IsOutlivedByWhatItMade) {
    auto provider = std::make_unique<CryptoProvider>();
    auto const engine = provider->createSHA256DigestEngine();
    provider.reset();
    EXPECT_EQ(hex(engine->computeDigest(bytes("abc"))).substr(0, 8), "ba7816bf");
}

TEST(Provider, HandsOutIndependentObjects) {
    CryptoProvider const provider;
    EXPECT_NE(provider.createSHA256DigestEngine(), provider.createSHA256DigestEngine());
    EXPECT_EQ(provider.createSHA256DigestEngine().use_count(), 1);
}

TEST(Provider, WorksThroughItsInterface) {
    std::unique_ptr<ICryptoProvider const> const provider = std::make_unique<CryptoProvider>();
    EXPECT_EQ(provider->createMD5DigestEngine()->getDigestSize(), 16U);
}

} // namespace
