#include "Case.h"
#include "PBKDF2Case.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/kdf.h>

#include <array>
#include <memory>
#include <string>

namespace {

using namespace bench;
using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::ByteArray;

CryptoProvider const provider;

void addDerivation(int iterations) {
    std::string const name = derivationName(iterations);
    add(name, "library", 0, [=] {
        return [=] {
            benchmark::DoNotOptimize(
                provider.deriveKeyUsingPBKDF2(password, salt, static_cast<int>(derivedSize), iterations));
        };
    });
    add(name, "same calls", 0, [=] {
        return [=] {
            ByteArray key(derivedSize);
            mustSucceed(PKCS5_PBKDF2_HMAC(password.data(), static_cast<int>(password.size()),
                                          reinterpret_cast<unsigned char const*>(salt.data()),
                                          static_cast<int>(salt.size()), iterations, EVP_sha512(),
                                          static_cast<int>(derivedSize), key.data()) == 1);
            benchmark::DoNotOptimize(key);
        };
    });
    add(name, "best", 0, [=] {
        Held<EVP_KDF, EVP_KDF_free> const kdf(EVP_KDF_fetch(nullptr, "PBKDF2", nullptr));
        std::shared_ptr<EVP_KDF_CTX> const context = Held<EVP_KDF_CTX, EVP_KDF_CTX_free>(EVP_KDF_CTX_new(kdf.get()));
        std::string digest = "SHA512";
        OSSL_PARAM const once[] = {OSSL_PARAM_construct_utf8_string(OSSL_KDF_PARAM_DIGEST, digest.data(), 0),
                                   OSSL_PARAM_construct_end()};
        mustSucceed(EVP_KDF_CTX_set_params(context.get(), once) == 1);
        return [=, password = password, salt = salt]() mutable {
            int rounds = iterations;
            OSSL_PARAM const parameters[] = {
                OSSL_PARAM_construct_octet_string(OSSL_KDF_PARAM_PASSWORD, password.data(), password.size()),
                OSSL_PARAM_construct_octet_string(OSSL_KDF_PARAM_SALT, salt.data(), salt.size()),
                OSSL_PARAM_construct_int(OSSL_KDF_PARAM_ITER, &rounds), OSSL_PARAM_construct_end()};
            std::array<unsigned char, derivedSize> key;
            mustSucceed(EVP_KDF_derive(context.get(), key.data(), key.size(), parameters) == 1);
            benchmark::DoNotOptimize(key);
        };
    });
}

[[maybe_unused]] bool const registered = [] {
    for (int const iterations : iterationCounts) {
        addDerivation(iterations);
    }
    return true;
}();

} // namespace
