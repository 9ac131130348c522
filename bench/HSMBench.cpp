#include "Case.h"

#include "TemporaryToken.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <openssl/evp.h>
#include <openssl/provider.h>
#include <openssl/rsa.h>
#include <openssl/store.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace {

using namespace bench;
using namespace foundation::crypto;
using openssl::CryptoProvider;
using utils::ByteArray;

CryptoProvider const provider;

/// The one token of all cases, made when the first of them runs.
utils::HSMObject const& key() {
    static TemporaryToken const token(
        provider.generateRSA2048KeyPair(provider.createDefaultCryptoPRNG({}))->getPrivateKey()->getDER());
    static utils::HSMObject const object = token.key();
    return object;
}

/// The key as a call of the library finds it.
struct FoundKey {
    Held<OSSL_LIB_CTX, OSSL_LIB_CTX_free> library{OSSL_LIB_CTX_new()};
    Held<OSSL_PROVIDER, OSSL_PROVIDER_unload> loaded;
    Held<EVP_PKEY, EVP_PKEY_free> pkey;

    FoundKey() {
        std::string const directory = std::filesystem::path(ZRFL_PKCS11_PROVIDER).parent_path();
        mustSucceed(OSSL_PROVIDER_set_default_search_path(library.get(), directory.c_str()) == 1);
        loaded.reset(OSSL_PROVIDER_load(library.get(), "pkcs11prov"));
        OSSL_PROVIDER_add_conf_parameter(loaded.get(), "pkcs11_module", key().getModulePath().c_str());
        OSSL_PROVIDER_add_conf_parameter(loaded.get(), "force_login", "1");
        OSSL_PROVIDER_add_conf_parameter(loaded.get(), "debug_level", "0");
        Held<OSSL_STORE_CTX, OSSL_STORE_close> const store(OSSL_STORE_open_ex(
            key().getURI().c_str(), library.get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
        while (OSSL_STORE_INFO* const info = OSSL_STORE_load(store.get())) {
            if (OSSL_STORE_INFO_get_type(info) == OSSL_STORE_INFO_PKEY) {
                pkey.reset(OSSL_STORE_INFO_get1_PKEY(info));
            }
            OSSL_STORE_INFO_free(info);
        }
        mustSucceed(pkey != nullptr);
    }

    ByteArray sign(ByteArray const& message) const {
        Held<EVP_MD_CTX, EVP_MD_CTX_free> const context(EVP_MD_CTX_new());
        EVP_DigestSignInit_ex(context.get(), nullptr, "sha256", library.get(), nullptr, pkey.get(), nullptr);
        EVP_PKEY_CTX* const keyContext = EVP_MD_CTX_get_pkey_ctx(context.get());
        EVP_PKEY_CTX_set_rsa_padding(keyContext, RSA_PKCS1_PSS_PADDING);
        EVP_PKEY_CTX_set_rsa_pss_saltlen(keyContext, 32);
        std::size_t size = 0;
        mustSucceed(EVP_DigestSign(context.get(), nullptr, &size, message.data(), message.size()) == 1);
        ByteArray signature(size);
        mustSucceed(EVP_DigestSign(context.get(), signature.data(), &size, message.data(), message.size()) == 1);
        return signature;
    }
};

/// "best" keeps provider, session and key from call to call, which the library never does.
void addCases() {
    std::string const signature = "HSM RSA-2048 PSS signature/";
    add(signature, "library", 0, [] {
        return [signer = provider.createHSMSigner(key(), utils::RSAPaddingMode::PSS, nullptr),
                engine = provider.createSHA256DigestEngine(),
                message = ByteArray(64)] { benchmark::DoNotOptimize(signer->sign(message, engine)); };
    });
    add(signature, "same calls", 0,
        [] { return [message = ByteArray(64)] { benchmark::DoNotOptimize(FoundKey().sign(message)); }; });
    add(signature, "best", 0, [] {
        return [found = std::make_shared<FoundKey const>(), message = ByteArray(64)] {
            benchmark::DoNotOptimize(found->sign(message));
        };
    });

    std::string const size = "HSM RSA-2048 key size/";
    add(size, "library", 0, [] {
        return [signer = provider.createHSMSigner(key(), utils::RSAPaddingMode::PSS, nullptr)] {
            benchmark::DoNotOptimize(signer->getKeySize());
        };
    });
    add(size, "same calls", 0,
        [] { return [] { benchmark::DoNotOptimize(EVP_PKEY_get_bits(FoundKey().pkey.get())); }; });
}

[[maybe_unused]] bool const registered = [] {
    try {
        TemporaryToken::requireSoftware();
        addCases();
    } catch (std::runtime_error const& error) {
        std::fprintf(stderr, "HSM cases left out: %s\n", error.what());
    }
    return true;
}();

} // namespace
