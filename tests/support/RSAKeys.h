#ifndef ZRFL_TESTS_SUPPORT_RSAKEYS_H
#define ZRFL_TESTS_SUPPORT_RSAKEYS_H

#include "Provider.h"
#include "Vectors.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

namespace support {

using foundation::crypto::interfaces::CryptoPRNGPtr;
using foundation::crypto::interfaces::IRSADecryptor;
using foundation::crypto::interfaces::IRSAEncryptor;
using foundation::crypto::interfaces::IRSAPrivateKey;
using foundation::crypto::interfaces::IRSAPublicKey;
using foundation::crypto::interfaces::IRSASigner;
using foundation::crypto::interfaces::IRSAVerifier;
using foundation::crypto::interfaces::RSADecryptorPtr;
using foundation::crypto::interfaces::RSAEncryptorPtr;
using foundation::crypto::interfaces::RSAPrivateKeyPtr;
using foundation::crypto::interfaces::RSAPublicKeyPtr;
using foundation::crypto::interfaces::RSASignerPtr;
using foundation::crypto::interfaces::RSAVerifierPtr;
using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::RSAKeySize;
using foundation::crypto::utils::RSAPaddingMode;

/// The content of a file of tests/vectors/keys; `name` as in "private.pem", of the RSA key with that many bits.
inline ByteArray readKey(std::string const& name) {
    return readVectorFile("keys/" + name);
}

inline ByteArray readRSAKey(unsigned long bits, std::string const& name) {
    return readKey("rsa" + std::to_string(bits) + "-" + name);
}

/// The provider's operations of one RSA size, under names that leave the size out, for tests that take all sizes.
template <unsigned long N> struct RSAKeys;

#define ZRFL_RSA_OF_SIZE(N)                                                                                            \
    template <> struct RSAKeys<N> {                                                                                    \
        using Size = RSAKeySize<N>;                                                                                    \
        using PrivateKey = RSAPrivateKeyPtr<N>;                                                                        \
        using PublicKey = RSAPublicKeyPtr<N>;                                                                          \
        static constexpr unsigned long bits = N;                                                                       \
        static auto generateKeyPair(CryptoPRNGPtr prng) {                                                              \
            return provider.generateRSA##N##KeyPair(std::move(prng));                                                  \
        }                                                                                                              \
        template <class... Arguments> static PrivateKey createPrivateKey(Arguments&&... arguments) {                   \
            return provider.createRSA##N##PrivateKey(std::forward<Arguments>(arguments)...);                           \
        }                                                                                                              \
        template <class... Arguments> static PublicKey createPublicKey(Arguments&&... arguments) {                     \
            return provider.createRSA##N##PublicKey(std::forward<Arguments>(arguments)...);                            \
        }                                                                                                              \
        static RSASignerPtr signer(PrivateKey key, RSAPaddingMode padding, CryptoPRNGPtr prng) {                       \
            return provider.createRSA##N##Signer(std::move(key), padding, std::move(prng));                            \
        }                                                                                                              \
        static RSAVerifierPtr verifier(PublicKey key, RSAPaddingMode padding, CryptoPRNGPtr prng) {                    \
            return provider.createRSA##N##Verifier(std::move(key), padding, std::move(prng));                          \
        }                                                                                                              \
        static RSAEncryptorPtr encryptor(PublicKey key, RSAPaddingMode padding, CryptoPRNGPtr prng) {                  \
            return provider.createRSA##N##Encryptor(std::move(key), padding, std::move(prng));                         \
        }                                                                                                              \
        static RSADecryptorPtr decryptor(PrivateKey key, RSAPaddingMode padding, CryptoPRNGPtr prng) {                 \
            return provider.createRSA##N##Decryptor(std::move(key), padding, std::move(prng));                         \
        }                                                                                                              \
    }

ZRFL_RSA_OF_SIZE(1024);
ZRFL_RSA_OF_SIZE(2048);
ZRFL_RSA_OF_SIZE(4096);

#undef ZRFL_RSA_OF_SIZE

using RSASizes = testing::Types<RSAKeys<1024>, RSAKeys<2048>, RSAKeys<4096>>;

/// Names the typed tests after their size.
struct RSASizeNames {
    template <class OfSize> static std::string GetName(int /*index*/) { return std::to_string(OfSize::bits); }
};

} // namespace support

#endif
