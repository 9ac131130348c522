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

    template <class Pair> explicit RSAKeys(Pair const& pair) {
        privateKey = pair->getPrivateKey();
        publicKey = pair->getPublicKey();
        using Owner = Held<EVP_PKEY, EVP_PKEY_free>;
        auto const pkcs8 = privateKey->getDER();
        auto const spki = publicKey->getDER();
        unsigned char const* start = pkcs8.data();
        rawPrivateKey = Owner(d2i_AutoPrivateKey(nullptr, &start, static_cast<long>(pkcs8.size())));
        start = spki.data();
        rawPublicKey = Owner(d2i_PUBKEY(nullptr, &start, static_cast<long>(spki.size())));
        mustSucceed(rawPrivateKey != nullptr && rawPublicKey != nullptr);
    }
};

inline foundation::crypto::interfaces::CryptoPRNGPtr prng() {
    return foundation::crypto::openssl::CryptoProvider().createDefaultCryptoPRNG({});
}

inline RSAKeys<2048> const& rsa2048() {
    static RSAKeys<2048> const keys(foundation::crypto::openssl::CryptoProvider().generateRSA2048KeyPair(prng()));
    return keys;
}

inline RSAKeys<4096> const& rsa4096() {
    static RSAKeys<4096> const keys(foundation::crypto::openssl::CryptoProvider().generateRSA4096KeyPair(prng()));
    return keys;
}

} // namespace bench

#endif
