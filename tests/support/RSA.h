#ifndef ZRFL_TESTS_SUPPORT_RSA_H
#define ZRFL_TESTS_SUPPORT_RSA_H

#include "Engines.h"
#include "PRNG.h"
#include "RSAKeys.h"
#include "Vectors.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace support {

/// A host's own key: the library knows nothing of its insides.
template <class KeySize> class ForeignRSAPrivateKey : public IRSAPrivateKey<KeySize> {
public:
    unsigned long getKeySize() const override { return 0; }

    ByteArray getDER() const override { return {}; }

    ByteArray getModulus() const override { return {}; }

    ByteArray getPrivateExponent() const override { return {}; }
};

template <class KeySize> class ForeignRSAPublicKey : public IRSAPublicKey<KeySize> {
public:
    unsigned long getKeySize() const override { return 0; }

    ByteArray getDER() const override { return {}; }

    ByteArray getModulus() const override { return {}; }

    ByteArray getPublicExponent() const override { return {}; }
};

/// One RSA key and what a host makes with it, with the same type for every size.
struct RSAKeyUser {
    unsigned long bits;
    std::function<RSASignerPtr(RSAPaddingMode)> signer;
    std::function<RSAVerifierPtr(RSAPaddingMode)> verifier;
    std::function<RSAEncryptorPtr(RSAPaddingMode)> encryptor;
    std::function<RSADecryptorPtr(RSAPaddingMode)> decryptor;

    std::size_t blockSize() const { return bits / 8; }
};

/// For a key of `bits`; either half may be missing.
RSAKeyUser makeRSAKeyUser(int bits, ByteArray const& pkcs8, ByteArray const& spki);

/// For the key of a vector.
RSAKeyUser makeRSAKeyUser(Vector const& vector);

/// For the tests' own key of that size.
RSAKeyUser const& rsaTestKeyUser(int bits);

/// For a key that loads as any RSA key of its size does, but that may only be used with PSS.
RSAKeyUser makePSSKeyUser();

/// For a DSA key, which loads as an RSA key of its size does, too.
RSAKeyUser makeDSAKeyUser();

/// The keys of one size and the generators, for the tests of the objects that are made from them.
template <class OfSize> class RSAObjects : public testing::Test {
protected:
    using Size = typename OfSize::Size;

    typename OfSize::PrivateKey privateKey = OfSize::createPrivateKey(readRSAKey(OfSize::bits, "private.der"));
    typename OfSize::PublicKey publicKey = OfSize::createPublicKey(readRSAKey(OfSize::bits, "public.der"));
    CryptoPRNGPtr prng = CryptoProvider().createDefaultCryptoPRNG({});
    CryptoPRNGPtr foreignPRNG = std::make_shared<ForeignPRNG>();
};

/// The object that `make(key, prng)` makes holds both, once each and for as long as it lives. They are released here.
template <class Make, class Key> void expectKept(Make make, std::shared_ptr<Key>& key, CryptoPRNGPtr& prng) {
    std::weak_ptr<Key> const keptKey = key;
    CryptoPRNGPtr::weak_type const keptPRNG = prng;
    ASSERT_EQ(key.use_count(), 1);
    ASSERT_EQ(prng.use_count(), 1);
    auto object = make(key, prng);
    EXPECT_EQ(key.use_count(), 2);
    EXPECT_EQ(prng.use_count(), 2);
    key.reset();
    prng.reset();
    object->getKeySize();
    EXPECT_FALSE(keptKey.expired());
    EXPECT_FALSE(keptPRNG.expired());
    object.reset();
    EXPECT_TRUE(keptKey.expired());
    EXPECT_TRUE(keptPRNG.expired());
}

/// A value that the enumeration may or may not have.
inline RSAPaddingMode rsaPadding(int value) {
    return static_cast<RSAPaddingMode>(value);
}

} // namespace support

#endif
