#ifndef ZRFL_TESTS_SUPPORT_PSS_H
#define ZRFL_TESTS_SUPPORT_PSS_H

#include "Bytes.h"

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>

#include <memory>
#include <string>

namespace support {

/// Whether libcrypto by itself takes `signature` for one of `message` after PSS, with a salt of exactly `saltLength`
/// bytes. Leaves the error queue as it was.
inline bool isPSSWithSalt(int saltLength, EVP_PKEY* key, std::string const& digest, ByteArray const& message,
                          ByteArray const& signature) {
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> const context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    EVP_PKEY_CTX* keyContext = nullptr;
    ERR_set_mark();
    bool const valid =
        EVP_DigestVerifyInit_ex(context.get(), &keyContext, digest.c_str(), nullptr, nullptr, key, nullptr) == 1 &&
        EVP_PKEY_CTX_set_rsa_padding(keyContext, RSA_PKCS1_PSS_PADDING) == 1 &&
        EVP_PKEY_CTX_set_rsa_pss_saltlen(keyContext, saltLength) == 1 &&
        EVP_DigestVerify(context.get(), signature.data(), signature.size(), message.data(), message.size()) == 1;
    ERR_pop_to_mark();
    return valid;
}

} // namespace support

#endif
