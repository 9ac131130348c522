#ifndef ZRFL_FUZZ_RSADECRYPTION_H
#define ZRFL_FUZZ_RSADECRYPTION_H

#include "Bare.h"

#include "random/CryptoPRNG.h"
#include "rsa/RSAEncryption.h"
#include "rsa/RSAKey.h"

#include <foundation/crypto/utils/DefaultPRNGAlgorithm.h>

#include <memory>

namespace fuzz {

/// The paddings, one beyond the enumeration among them. `PSS` is refused when a decryptor is made.
constexpr utils::RSAPaddingMode rsaPaddings[]{utils::RSAPaddingMode::OAEP_SHA1, utils::RSAPaddingMode::OAEP_SHA256,
                                              utils::RSAPaddingMode::OAEP_SHA512, utils::RSAPaddingMode::PKCS1_V1_5,
                                              static_cast<utils::RSAPaddingMode>(5)};

/// The tests' key of one size, with an encryptor and a decryptor.
template <class KeySize> class RSATestKey {
public:
    explicit RSATestKey(utils::RSAPaddingMode padding)
        : encryptor(keys().publicKey, padding, keys().prng), decryptor(keys().privateKey, padding, keys().prng),
          padding_(padding) {}

    openssl::RSAEncryptor<KeySize> const encryptor;
    openssl::RSADecryptor<KeySize> const decryptor;

    EVP_PKEY* raw() const { return keys().privateKey->get(); }

    /// What libcrypto makes of a block; nothing where it refuses it.
    std::optional<ByteArray> decrypt(ByteArray const& block) const {
        bare::KeyContext const context(EVP_PKEY_CTX_new(raw(), nullptr));
        EVP_PKEY_decrypt_init(context.get());
        ByteArray text(openssl::modulusBytes<KeySize>);
        std::size_t size = text.size();
        if (block.size() > text.size() || !configure(context.get()) ||
            EVP_PKEY_decrypt(context.get(), text.data(), &size, block.data(), block.size()) != 1) {
            return std::nullopt;
        }
        text.resize(size);
        return text;
    }

private:
    struct Keys {
        std::string const name = "rsa" + std::to_string(openssl::bitsOf(KeySize()));
        std::shared_ptr<openssl::RSAPrivateKey<KeySize>> const privateKey =
            std::make_shared<openssl::RSAPrivateKey<KeySize>>(readKeyFile(name + "-private.der"));
        std::shared_ptr<openssl::RSAPublicKey<KeySize>> const publicKey =
            std::make_shared<openssl::RSAPublicKey<KeySize>>(readKeyFile(name + "-public.der"));
        std::shared_ptr<interfaces::ICryptoPRNG> const prng =
            std::make_shared<openssl::CryptoPRNG<utils::DefaultPRNGAlgorithm>>(ByteArray());
    };

    static Keys const& keys() {
        static Keys const made;
        return made;
    }

    bool configure(EVP_PKEY_CTX* context) const {
        auto const oaep = [&](char const* digest) {
            return EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_OAEP_PADDING) > 0 &&
                   EVP_PKEY_CTX_set_rsa_oaep_md_name(context, digest, nullptr) > 0 &&
                   EVP_PKEY_CTX_set_rsa_mgf1_md_name(context, digest, nullptr) > 0;
        };
        switch (padding_) {
        case utils::RSAPaddingMode::OAEP_SHA1:
            return oaep("SHA1");
        case utils::RSAPaddingMode::OAEP_SHA256:
            return oaep("SHA256");
        case utils::RSAPaddingMode::OAEP_SHA512:
            return oaep("SHA512");
        case utils::RSAPaddingMode::PKCS1_V1_5:
            return EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_PADDING) > 0;
        default:
            return false;
        }
    }

    utils::RSAPaddingMode padding_;
};

} // namespace fuzz

#endif
