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

using foundation::crypto::interfaces::ICryptoPRNG;
using foundation::crypto::interfaces::IRSADecryptor;
using foundation::crypto::interfaces::IRSAEncryptor;
using foundation::crypto::interfaces::IRSAPrivateKey;
using foundation::crypto::interfaces::IRSAPublicKey;
using foundation::crypto::interfaces::IRSASigner;
using foundation::crypto::interfaces::IRSAVerifier;
using foundation::crypto::utils::RSAKeySize;
using foundation::crypto::utils::RSAPaddingMode;

/// What the provider makes with keys of one RSA size, under names without it.
template <unsigned long N> struct RSAFactory;

#define ZRFL_RSA_FACTORY(N)                                                                                            \
    template <> struct RSAFactory<N> {                                                                                 \
        static constexpr unsigned long bits = N;                                                                       \
        using PrivateKey = std::shared_ptr<IRSAPrivateKey<RSAKeySize<N>>>;                                             \
        using PublicKey = std::shared_ptr<IRSAPublicKey<RSAKeySize<N>>>;                                               \
        using PRNG = std::shared_ptr<ICryptoPRNG>;                                                                     \
        static std::shared_ptr<IRSASigner> signer(PrivateKey key, RSAPaddingMode padding, PRNG prng) {                 \
            return CryptoProvider().createRSA##N##Signer(std::move(key), padding, std::move(prng));                    \
        }                                                                                                              \
        static std::shared_ptr<IRSAVerifier> verifier(PublicKey key, RSAPaddingMode padding, PRNG prng) {              \
            return CryptoProvider().createRSA##N##Verifier(std::move(key), padding, std::move(prng));                  \
        }                                                                                                              \
        static std::shared_ptr<IRSAEncryptor> encryptor(PublicKey key, RSAPaddingMode padding, PRNG prng) {            \
            return CryptoProvider().createRSA##N##Encryptor(std::move(key), padding, std::move(prng));                 \
        }                                                                                                              \
        static std::shared_ptr<IRSADecryptor> decryptor(PrivateKey key, RSAPaddingMode padding, PRNG prng) {           \
            return CryptoProvider().createRSA##N##Decryptor(std::move(key), padding, std::move(prng));                 \
        }                                                                                                              \
    };
ZRFL_RSA_FACTORY(1024)
ZRFL_RSA_FACTORY(2048)
ZRFL_RSA_FACTORY(4096)
#undef ZRFL_RSA_FACTORY

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
    std::function<std::shared_ptr<IRSASigner>(RSAPaddingMode)> signer;
    std::function<std::shared_ptr<IRSAVerifier>(RSAPaddingMode)> verifier;
    std::function<std::shared_ptr<IRSAEncryptor>(RSAPaddingMode)> encryptor;
    std::function<std::shared_ptr<IRSADecryptor>(RSAPaddingMode)> decryptor;

    std::size_t blockSize() const { return bits / 8; }
};

template <unsigned long N> RSAKeyUser makeRSAKeyUser(ByteArray const& pkcs8, ByteArray const& spki) {
    using Factory = RSAFactory<N>;
    auto const prng = CryptoProvider().createDefaultCryptoPRNG({});
    auto const privateKey = pkcs8.empty() ? nullptr : RSAKeys<N>::createPrivateKey(pkcs8);
    auto const publicKey = spki.empty() ? nullptr : RSAKeys<N>::createPublicKey(spki);
    return {N, [=](RSAPaddingMode padding) { return Factory::signer(privateKey, padding, prng); },
            [=](RSAPaddingMode padding) { return Factory::verifier(publicKey, padding, prng); },
            [=](RSAPaddingMode padding) { return Factory::encryptor(publicKey, padding, prng); },
            [=](RSAPaddingMode padding) { return Factory::decryptor(privateKey, padding, prng); }};
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

/// For a key that passes for an RSA key like others by its size: one bound to PSS.
inline RSAKeyUser makePSSKeyUser() {
    return makeRSAKeyUser(2048, readRSAKey(2048, "pss-private.pem"), readRSAKey(2048, "pss-public.pem"));
}

/// The same: one for DSA.
inline RSAKeyUser makeDSAKeyUser() {
    return makeRSAKeyUser(1024, readKey("dsa1024-private.pem"), readKey("dsa1024-public.pem"));
}

/// A value that the enumeration may or may not have.
inline RSAPaddingMode rsaPadding(int value) {
    return static_cast<RSAPaddingMode>(value);
}

} // namespace support

#endif
