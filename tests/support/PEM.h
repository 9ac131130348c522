#ifndef ZRFL_TESTS_SUPPORT_PEM_H
#define ZRFL_TESTS_SUPPORT_PEM_H

#include "Bytes.h"

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace support {

/// A key as raw libcrypto has it, for kinds and forms that the library does not make.
using RawKey = std::shared_ptr<EVP_PKEY>;

inline RawKey owned(EVP_PKEY* key) {
    if (key == nullptr) {
        throw std::runtime_error("libcrypto made no key");
    }
    return {key, EVP_PKEY_free};
}

namespace detail {

template <class Write> std::string written(Write write) {
    std::unique_ptr<BIO, decltype(&BIO_free)> const bio(BIO_new(BIO_s_mem()), &BIO_free);
    if (write(bio.get()) != 1) {
        throw std::runtime_error("libcrypto cannot write the key");
    }
    char* data = nullptr;
    long const size = BIO_get_mem_data(bio.get(), &data);
    return {data, static_cast<std::size_t>(size)};
}

} // namespace detail

inline std::string privatePEM(RawKey const& key) {
    return detail::written(
        [&](BIO* bio) { return PEM_write_bio_PrivateKey(bio, key.get(), nullptr, nullptr, 0, nullptr, nullptr); });
}

/// Encrypted with AES-256-CBC, after PKCS #8.
inline std::string encryptedPEM(RawKey const& key, std::string const& password) {
    return detail::written([&](BIO* bio) {
        return PEM_write_bio_PKCS8PrivateKey(bio, key.get(), EVP_aes_256_cbc(), password.data(),
                                             static_cast<int>(password.size()), nullptr, nullptr);
    });
}

/// The form that PKCS #8 replaced: "EC PRIVATE KEY" (RFC 5915), encrypted by headers when there is a `password`.
inline std::string traditionalPEM(RawKey const& key, std::string const& password = "") {
    return detail::written([&](BIO* bio) {
        return PEM_write_bio_PrivateKey_traditional(bio, key.get(), password.empty() ? nullptr : EVP_aes_128_cbc(),
                                                    reinterpret_cast<unsigned char const*>(password.data()),
                                                    static_cast<int>(password.size()), nullptr, nullptr);
    });
}

inline std::string publicPEM(RawKey const& key) {
    return detail::written([&](BIO* bio) { return PEM_write_bio_PUBKEY(bio, key.get()); });
}

inline ByteArray privateDER(RawKey const& key) {
    return bytes(detail::written(
        [&](BIO* bio) { return i2d_PKCS8PrivateKey_bio(bio, key.get(), nullptr, nullptr, 0, nullptr, nullptr); }));
}

inline ByteArray publicDER(RawKey const& key) {
    return bytes(detail::written([&](BIO* bio) { return i2d_PUBKEY_bio(bio, key.get()); }));
}

/// The key in PEM text, read by raw libcrypto.
inline RawKey readPrivate(std::string const& pem) {
    std::unique_ptr<BIO, decltype(&BIO_free)> const bio(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())),
                                                        &BIO_free);
    return owned(PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, nullptr));
}

/// The same for a public key.
inline RawKey readPublic(std::string const& pem) {
    std::unique_ptr<BIO, decltype(&BIO_free)> const bio(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())),
                                                        &BIO_free);
    return owned(PEM_read_bio_PUBKEY(bio.get(), nullptr, nullptr, nullptr));
}

} // namespace support

#endif
