#include "hsm/HSMSigner.h"

#include "common/Check.h"
#include "common/Handles.h"
#include "common/Secrets.h"
#include "common/Signature.h"
#include "common/Streams.h"
#include "rsa/PSS.h"

#include <openssl/rsa.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace foundation::crypto::openssl {

using interfaces::DigestEnginePtr;
using utils::HSMObject;
using utils::RSAPaddingMode;

namespace {

constexpr std::string_view providerFile = ZRFL_PKCS11_PROVIDER_FILE;

/// A key needs its provider as long as it lives; the last member is released first.
struct KeyInModule {
    OSSL_PROVIDERUPtr provider;
    EVP_PKEYUPtr key;
};

void configure(OSSL_PROVIDER* provider, char const* name, char const* value, char const* failure) {
    require(OSSL_PROVIDER_add_conf_parameter(provider, name, value) == 1, failure);
}

OSSL_PROVIDERUPtr loadProvider(OSSL_LIB_CTX* library, HSMObject const& hsmObject) {
    std::string const directory(providerFile.substr(0, providerFile.rfind('/')));
    require(OSSL_PROVIDER_set_default_search_path(library, directory.c_str()) == 1, "Failed to locate the provider");

    OSSL_PROVIDERUPtr provider(OSSL_PROVIDER_load(library, "pkcs11prov"));
    configure(provider.get(), "pkcs11_module", hsmObject.getModulePath().c_str(),
              "Failed to set the parameter pkcs11_module");
    configure(provider.get(), "force_login", "1", "Failed to set the parameter force_login");
    configure(provider.get(), "debug_level", "0", "Failed to set the parameter debug_level");
    return provider;
}

/// The one private key that the store has under `uri`. Certificates and public keys may be there as well.
EVP_PKEYUPtr loadKey(OSSL_LIB_CTX* library, std::string const& uri) {
    OSSL_STORE_CTXUPtr const store(
        OSSL_STORE_open_ex(uri.c_str(), library, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    std::vector<EVP_PKEYUPtr> keys;
    while (OSSL_STORE_INFO* const loaded = OSSL_STORE_load(store.get())) {
        OSSL_STORE_INFOUPtr const info(loaded);
        if (OSSL_STORE_INFO_get_type(info.get()) != OSSL_STORE_INFO_PKEY) {
            continue;
        }
        if (!keys.empty()) {
            throw utils::InternalException("Error when more than one private key can be described by " + uri);
        }
        EVP_PKEYUPtr key(OSSL_STORE_INFO_get1_PKEY(info.get()));
        keys.push_back(std::move(key));
    }
    require(!keys.empty(), "Failed to load the reference to the key on HSM");
    return std::move(keys.front());
}

KeyInModule findKey(OSSL_LIB_CTX* library, HSMObject const& hsmObject) {
    std::string uri = hsmObject.getURI();
    Wiped const pinWiped(uri);
    OSSL_PROVIDERUPtr provider = loadProvider(library, hsmObject);
    EVP_PKEYUPtr key = loadKey(library, uri);
    return {std::move(provider), std::move(key)};
}

void requirePSS(RSAPaddingMode padding) {
    switch (padding) {
    case RSAPaddingMode::OAEP_SHA1:
    case RSAPaddingMode::OAEP_SHA256:
    case RSAPaddingMode::OAEP_SHA512:
        throw utils::InternalException("Cannot use OAEP as Padding Algorithm for Signatures.");
    case RSAPaddingMode::PKCS1_V1_5:
        throw utils::InternalException("Cannot use PKCS#1 v1.5 as Padding Algorithm for Signatures.");
    case RSAPaddingMode::PSS:
        break;
    }
}

} // namespace

HSMSigner::HSMSigner(HSMObject hsmObject, RSAPaddingMode padding, interfaces::CryptoPRNGPtr prng)
    : hsmObject_(std::move(hsmObject)), padding_(padding), prng_(std::move(prng)) {}

ByteArray HSMSigner::sign(ByteArray const& message, DigestEnginePtr digest) const {
    return sign(Message(message), digest);
}

ByteArray HSMSigner::sign(std::istream& message, DigestEnginePtr digest) const {
    return sign(Message(readExtracted<UnfilledSecretBytes>(message, rethrowUnchanged)), digest);
}

ByteArray HSMSigner::sign(Message message, DigestEnginePtr const& digest) const {
    OSSL_LIB_CTXUPtr const library(OSSL_LIB_CTX_new());
    KeyInModule const found = findKey(library.get(), hsmObject_);
    require(EVP_PKEY_get_bits(found.key.get()) > 1024, "RSA 1024 is insecure and no longer supported.");
    requirePSS(padding_);

    std::string const digestName = getDigestNameForSignature(digest);
    EVP_MD_CTXUPtr const context(EVP_MD_CTX_new());
    require(EVP_DigestSignInit_ex(context.get(), nullptr, digestName.c_str(), library.get(), nullptr, found.key.get(),
                                  nullptr) == 1,
            "Failed while doing setup to generate signature");
    EVP_PKEY_CTX* const keyContext = EVP_MD_CTX_get_pkey_ctx(context.get());
    require(EVP_PKEY_CTX_set_rsa_padding(keyContext, RSA_PKCS1_PSS_PADDING) > 0,
            "Failed to get the context for signing.");
    if (padding_ == RSAPaddingMode::PSS) {
        require(setPSSSaltLength(keyContext, digestName), "Failed to set the salt length for context when signing.");
    }
    return openssl::sign(context.get(), message);
}

unsigned long HSMSigner::getKeySize() const {
    OSSL_LIB_CTXUPtr const library(OSSL_LIB_CTX_new());
    KeyInModule const found = findKey(library.get(), hsmObject_);
    return static_cast<unsigned long>(EVP_PKEY_get_bits(found.key.get()));
}

} // namespace foundation::crypto::openssl
