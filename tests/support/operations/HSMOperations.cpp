#include "../PEM.h"
#include "../PSS.h"
#include "Families.h"
#include "Signers.h"

#include <openssl/provider.h>
#include <openssl/rsa.h>
#include <openssl/store.h>

#include <memory>
#include <stdexcept>

namespace support {

namespace listing {

using utils::HSMObject;
using utils::RSAPaddingMode;

namespace {

/// The calls of the signer of a module, by hand: a signature, or, where there is nothing to sign, the size of the key.
ByteArray useModuleByHand(HSMObject const& object, ByteArray const* toSign) {
    auto const require = [](bool succeeded) {
        if (!succeeded) {
            throw std::runtime_error("libcrypto or the module failed");
        }
    };
    std::unique_ptr<OSSL_LIB_CTX, decltype(&OSSL_LIB_CTX_free)> const library(OSSL_LIB_CTX_new(), &OSSL_LIB_CTX_free);
    require(library != nullptr && OSSL_PROVIDER_set_default_search_path(library.get(), ZRFL_PKCS11_PROVIDER_DIR) == 1);
    std::unique_ptr<OSSL_PROVIDER, decltype(&OSSL_PROVIDER_unload)> const provider(
        OSSL_PROVIDER_load(library.get(), "pkcs11prov"), &OSSL_PROVIDER_unload);
    require(provider != nullptr);
    require(OSSL_PROVIDER_add_conf_parameter(provider.get(), "pkcs11_module", object.getModulePath().c_str()) == 1);
    require(OSSL_PROVIDER_add_conf_parameter(provider.get(), "force_login", "1") == 1);
    require(OSSL_PROVIDER_add_conf_parameter(provider.get(), "debug_level", "0") == 1);
    RawKey key;
    {
        std::unique_ptr<OSSL_STORE_CTX, decltype(&OSSL_STORE_close)> const store(
            OSSL_STORE_open_ex(object.getURI().c_str(), library.get(), nullptr, nullptr, nullptr, nullptr, nullptr,
                               nullptr),
            &OSSL_STORE_close);
        require(store != nullptr);
        while (OSSL_STORE_INFO* const loaded = OSSL_STORE_load(store.get())) {
            std::unique_ptr<OSSL_STORE_INFO, decltype(&OSSL_STORE_INFO_free)> const info(loaded, &OSSL_STORE_INFO_free);
            if (OSSL_STORE_INFO_get_type(info.get()) == OSSL_STORE_INFO_PKEY) {
                key = owned(OSSL_STORE_INFO_get1_PKEY(info.get()));
            }
        }
    }
    require(key != nullptr);
    int const bits = EVP_PKEY_get_bits(key.get());
    if (toSign == nullptr) {
        return number(static_cast<unsigned long>(bits));
    }
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> const context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    EVP_PKEY_CTX* keyContext = nullptr;
    require(context != nullptr && EVP_DigestSignInit_ex(context.get(), &keyContext, "sha256", library.get(), nullptr,
                                                        key.get(), nullptr) == 1);
    require(EVP_PKEY_CTX_set_rsa_padding(keyContext, RSA_PKCS1_PSS_PADDING) > 0);
    require(EVP_PKEY_CTX_set_rsa_pss_saltlen(keyContext, 32) > 0);
    std::size_t size = 0;
    require(EVP_DigestSign(context.get(), nullptr, &size, toSign->data(), toSign->size()) == 1);
    ByteArray signature(size);
    require(EVP_DigestSign(context.get(), signature.data(), &size, toSign->data(), toSign->size()) == 1);
    signature.resize(size);
    return signature;
}

} // namespace

void addHSM(List& list) {
    add(
        list, "ICryptoProvider", "createHSMSigner", "", [] { return HSMObject("module", "uri"); },
        [](HSMObject const& key) { return provider.createHSMSigner(key, RSAPaddingMode::PSS, nullptr); },
        [](auto const&, auto const& made) { return number(made != nullptr ? 1 : 0); });
}

} // namespace listing

std::vector<Operation> hsmOperations(foundation::crypto::utils::HSMObject const& key, ByteArray const& publicKey) {
    using namespace listing;
    List list;
    auto const isRight = [=](ByteArray const& signature) {
        return isPSSWithSalt(32, readPublic(text(publicKey)).get(), "sha256", message, signature);
    };
    // The provider module for PKCS #11 does not live through every want of memory.
    auto const signingByHand = preparing(
        noArguments, [=](Nothing) { return useModuleByHand(key, &message); },
        [=](auto const&, ByteArray const& signature) { return number(isRight(signature) ? 1 : 0); });
    addSigner<interfaces::HSMSignerPtr>(
        list, "IHSMSigner", "PSS", [=] { return provider.createHSMSigner(key, RSAPaddingMode::PSS, nullptr); }, isRight,
        sha256, signingByHand);
    for (Operation& operation : list) {
        if (operation.name == "getKeySize") {
            operation.prepareBare =
                preparing(noArguments, [=](Nothing) { return useModuleByHand(key, nullptr); }, asIs);
        }
    }
    return list;
}

} // namespace support
