#ifndef ZRFL_BENCH_RSAKEYS_H
#define ZRFL_BENCH_RSAKEYS_H

#include "Case.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>

namespace bench {

/// One RSA key for the library, and the same for raw libcrypto.
template <unsigned long N> struct RSAKeys {
    foundation::crypto::interfaces::RSAPrivateKeyPtr<N> privateKey;
    foundation::crypto::interfaces::RSAPublicKeyPtr<N> publicKey;
    std::shared_ptr<EVP_PKEY> rawPrivateKey;
    std::shared_ptr<EVP_PKEY> rawPublicKey;
};

using ByteArray = foundation::crypto::utils::ByteArray;

inline std::shared_ptr<EVP_PKEY> rawPrivateKeyFrom(ByteArray const& der) {
    unsigned char const* start = der.data();
    std::shared_ptr<EVP_PKEY> key =
        Held<EVP_PKEY, EVP_PKEY_free>(d2i_AutoPrivateKey(nullptr, &start, static_cast<long>(der.size())));
    mustSucceed(key != nullptr);
    return key;
}

inline std::shared_ptr<EVP_PKEY> rawPublicKeyFrom(ByteArray const& der) {
    unsigned char const* start = der.data();
    std::shared_ptr<EVP_PKEY> key =
        Held<EVP_PKEY, EVP_PKEY_free>(d2i_PUBKEY(nullptr, &start, static_cast<long>(der.size())));
    mustSucceed(key != nullptr);
    return key;
}

inline foundation::crypto::interfaces::CryptoPRNGPtr prng() {
    return foundation::crypto::openssl::CryptoProvider().createDefaultCryptoPRNG({});
}

/// Both halves of a key that was generated once, encoded: PKCS #8 and SubjectPublicKeyInfo.
struct EncodedKeys {
    ByteArray privateDER;
    ByteArray publicDER;

    template <class Pair>
    explicit EncodedKeys(Pair const& pair)
        : privateDER(pair->getPrivateKey()->getDER()), publicDER(pair->getPublicKey()->getDER()) {}
};

inline EncodedKeys const& encodedRSA2048() {
    static EncodedKeys const keys(foundation::crypto::openssl::CryptoProvider().generateRSA2048KeyPair(prng()));
    return keys;
}

inline EncodedKeys const& encodedRSA4096() {
    static EncodedKeys const keys(foundation::crypto::openssl::CryptoProvider().generateRSA4096KeyPair(prng()));
    return keys;
}

/// New objects, so that threads that are to have their own share none.
inline RSAKeys<2048> rsa2048() {
    foundation::crypto::openssl::CryptoProvider const provider;
    EncodedKeys const& encoded = encodedRSA2048();
    return {provider.createRSA2048PrivateKey(encoded.privateDER), provider.createRSA2048PublicKey(encoded.publicDER),
            rawPrivateKeyFrom(encoded.privateDER), rawPublicKeyFrom(encoded.publicDER)};
}

inline RSAKeys<4096> rsa4096() {
    foundation::crypto::openssl::CryptoProvider const provider;
    EncodedKeys const& encoded = encodedRSA4096();
    return {provider.createRSA4096PrivateKey(encoded.privateDER), provider.createRSA4096PublicKey(encoded.publicDER),
            rawPrivateKeyFrom(encoded.privateDER), rawPublicKeyFrom(encoded.publicDER)};
}

} // namespace bench

#endif
