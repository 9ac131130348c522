#ifndef ZRFL_TESTS_SUPPORT_RSA_H
#define ZRFL_TESTS_SUPPORT_RSA_H

#include "Engines.h"
#include "PRNG.h"
#include "RSAKeys.h"
#include "Vectors.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <functional>
#include <memory>
#include <stdexcept>
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

template <unsigned long N> RSAKeyUser makeRSAKeyUser(ByteArray const& pkcs8, ByteArray const& spki) {
    using OfSize = RSAKeys<N>;
    auto const prng = CryptoProvider().createDefaultCryptoPRNG({});
    auto const privateKey = pkcs8.empty() ? nullptr : OfSize::createPrivateKey(pkcs8);
    auto const publicKey = spki.empty() ? nullptr : OfSize::createPublicKey(spki);
    return {N, [=](RSAPaddingMode padding) { return OfSize::signer(privateKey, padding, prng); },
            [=](RSAPaddingMode padding) { return OfSize::verifier(publicKey, padding, prng); },
            [=](RSAPaddingMode padding) { return OfSize::encryptor(publicKey, padding, prng); },
            [=](RSAPaddingMode padding) { return OfSize::decryptor(privateKey, padding, prng); }};
}

/// For a key of `bits`; either half may be missing.
inline RSAKeyUser makeRSAKeyUser(int bits, ByteArray const& pkcs8, ByteArray const& spki) {
    switch (bits) {
    case 1024:
        return makeRSAKeyUser<1024>(pkcs8, spki);
    case 2048:
        return makeRSAKeyUser<2048>(pkcs8, spki);
    case 4096:
        return makeRSAKeyUser<4096>(pkcs8, spki);
    default:
        throw std::out_of_range("an RSA key of " + std::to_string(bits) + " bits");
    }
}

/// For the key of a vector.
inline RSAKeyUser makeRSAKeyUser(Vector const& vector) {
    auto const bytesOf = [&](char const* name) { return vector.has(name) ? vector.bytes(name) : ByteArray(); };
    return makeRSAKeyUser(vector.number("bits"), bytesOf("pkcs8"), bytesOf("spki"));
}

/// For the tests' own key of that size.
inline RSAKeyUser const& rsaTestKeyUser(int bits) {
    static auto const make = [](int size) {
        auto const read = [&](char const* name) { return readRSAKey(static_cast<unsigned long>(size), name); };
        return makeRSAKeyUser(size, read("private.der"), read("public.der"));
    };
    static RSAKeyUser const users[]{make(1024), make(2048), make(4096)};
    return bits == 1024 ? users[0] : bits == 2048 ? users[1] : users[2];
}

/// For a key that loads as any RSA key of its size does, but that may only be used with PSS.
inline RSAKeyUser makePSSKeyUser() {
    return makeRSAKeyUser(2048, readRSAKey(2048, "pss-private.pem"), readRSAKey(2048, "pss-public.pem"));
}

/// For a DSA key, which loads as an RSA key of its size does, too.
inline RSAKeyUser makeDSAKeyUser() {
    return makeRSAKeyUser(1024, readKey("dsa1024-private.pem"), readKey("dsa1024-public.pem"));
}

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
