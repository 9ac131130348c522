#ifndef ZRFL_TESTS_SUPPORT_RSAKEYS_H
#define ZRFL_TESTS_SUPPORT_RSAKEYS_H

#include "Vectors.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <memory>
#include <string>
#include <utility>

namespace support {

/// The content of a file of tests/vectors/keys; `name` as in "private.pem", of the RSA key with that many bits.
inline ByteArray readKey(std::string const& name) {
    return readVectorFile("keys/" + name);
}

inline ByteArray readRSAKey(unsigned long bits, std::string const& name) {
    return readKey("rsa" + std::to_string(bits) + "-" + name);
}

/// The provider's key operations of one RSA size by one name, for tests that take all the sizes.
template <unsigned long N> struct RSAKeys;

#define ZRFL_RSA_OF_SIZE(bits)                                                                                         \
    template <> struct RSAKeys<bits> {                                                                                 \
        using Size = foundation::crypto::utils::RSAKeySize<bits>;                                                      \
        static constexpr unsigned long size = bits;                                                                    \
        static auto generateKeyPair(std::shared_ptr<foundation::crypto::interfaces::ICryptoPRNG> prng) {               \
            return foundation::crypto::openssl::CryptoProvider().generateRSA##bits##KeyPair(std::move(prng));          \
        }                                                                                                              \
        template <class... Arguments> static auto createPrivateKey(Arguments&&... arguments) {                         \
            return foundation::crypto::openssl::CryptoProvider().createRSA##bits##PrivateKey(                          \
                std::forward<Arguments>(arguments)...);                                                                \
        }                                                                                                              \
        template <class... Arguments> static auto createPublicKey(Arguments&&... arguments) {                          \
            return foundation::crypto::openssl::CryptoProvider().createRSA##bits##PublicKey(                           \
                std::forward<Arguments>(arguments)...);                                                                \
        }                                                                                                              \
    }

ZRFL_RSA_OF_SIZE(1024);
ZRFL_RSA_OF_SIZE(2048);
ZRFL_RSA_OF_SIZE(4096);

#undef ZRFL_RSA_OF_SIZE

} // namespace support

#endif
