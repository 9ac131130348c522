#include "RSAKeys.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <openssl/evp.h>
#include <openssl/rsa.h>

#include <array>
#include <functional>
#include <memory>
#include <sstream>
#include <string>

namespace {

using namespace bench;
using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::ByteArray;
using foundation::crypto::utils::RSAPaddingMode;

CryptoProvider const provider;

using DigestContext = Held<EVP_MD_CTX, EVP_MD_CTX_free>;

bool setPadding(EVP_PKEY_CTX* context, RSAPaddingMode padding) {
    return padding == RSAPaddingMode::PSS ? EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_PSS_PADDING) > 0 &&
                                                EVP_PKEY_CTX_set_rsa_pss_saltlen(context, 32) > 0
                                          : EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_PADDING) > 0;
}

ByteArray sign(EVP_PKEY* key, RSAPaddingMode padding, ByteArray const& message) {
    DigestContext const context(EVP_MD_CTX_new());
    std::size_t size = 0;
    mustSucceed(EVP_DigestSignInit_ex(context.get(), nullptr, "sha256", nullptr, nullptr, key, nullptr) == 1 &&
                setPadding(EVP_MD_CTX_get_pkey_ctx(context.get()), padding) &&
                EVP_DigestSign(context.get(), nullptr, &size, message.data(), message.size()) == 1);
    ByteArray signature(size);
    mustSucceed(EVP_DigestSign(context.get(), signature.data(), &size, message.data(), message.size()) == 1);
    signature.resize(size);
    return signature;
}

bool verify(EVP_PKEY* key, RSAPaddingMode padding, ByteArray const& message, ByteArray const& signature) {
    DigestContext const context(EVP_MD_CTX_new());
    return EVP_DigestVerifyInit_ex(context.get(), nullptr, "sha256", nullptr, nullptr, key, nullptr) == 1 &&
           setPadding(EVP_MD_CTX_get_pkey_ctx(context.get()), padding) &&
           EVP_DigestVerify(context.get(), signature.data(), signature.size(), message.data(), message.size()) == 1;
}

/// A key's context that was set up once, for digests made beside it.
std::shared_ptr<EVP_PKEY_CTX> readyContext(EVP_PKEY* key, RSAPaddingMode padding, int (*initialize)(EVP_PKEY_CTX*)) {
    std::shared_ptr<EVP_PKEY_CTX> context = Held<EVP_PKEY_CTX, EVP_PKEY_CTX_free>(EVP_PKEY_CTX_new(key, nullptr));
    mustSucceed(initialize(context.get()) == 1 && setPadding(context.get(), padding) &&
                EVP_PKEY_CTX_set_signature_md(context.get(), EVP_sha256()) == 1);
    return context;
}

constexpr std::size_t messageSize = 1024;

template <class Keys, class CreateSigner, class CreateVerifier>
void addSize(std::string const& size, Keys (*keys)(), CreateSigner createSigner, CreateVerifier createVerifier) {
    auto const named = [&](char const* work, RSAPaddingMode padding) {
        return "RSA-" + size + work + (padding == RSAPaddingMode::PSS ? " PSS/" : " PKCS1/");
    };
    for (auto const padding : {RSAPaddingMode::PKCS1_V1_5, RSAPaddingMode::PSS}) {
        std::string const signing = named(" sign", padding);
        std::string const verifying = named(" verify", padding);
        ByteArray const message(messageSize, 'a');
        add(signing, "library", 0, [=] {
            return [=, signer = (provider.*createSigner)(keys().privateKey, padding, prng()),
                    engine = provider.createSHA256DigestEngine()] {
                benchmark::DoNotOptimize(signer->sign(message, engine));
            };
        });
        add(signing, "same calls", 0, [=] {
            return [=, key = keys().rawPrivateKey] { benchmark::DoNotOptimize(sign(key.get(), padding, message)); };
        });
        add(signing, "best", 0, [=] {
            return [=, context = readyContext(keys().rawPrivateKey.get(), padding, EVP_PKEY_sign_init)] {
                std::array<unsigned char, 32> digest;
                std::array<unsigned char, 512> signature;
                std::size_t written = signature.size();
                mustSucceed(EVP_Digest(message.data(), message.size(), digest.data(), nullptr, EVP_sha256(), nullptr) ==
                                1 &&
                            EVP_PKEY_sign(context.get(), signature.data(), &written, digest.data(), 32) == 1);
                benchmark::DoNotOptimize(signature);
            };
        });
        add(verifying, "library", 0, [=] {
            return [=, verifier = (provider.*createVerifier)(keys().publicKey, padding, prng()),
                    engine = provider.createSHA256DigestEngine(),
                    signature = sign(keys().rawPrivateKey.get(), padding, message)] {
                mustSucceed(verifier->verify(message, signature, engine).isValid());
            };
        });
        add(verifying, "same calls", 0, [=] {
            Keys const own = keys();
            return [=, key = own.rawPublicKey, signature = sign(own.rawPrivateKey.get(), padding, message)] {
                mustSucceed(verify(key.get(), padding, message, signature));
            };
        });
        add(verifying, "best", 0, [=] {
            return [=, context = readyContext(keys().rawPublicKey.get(), padding, EVP_PKEY_verify_init),
                    signature = sign(keys().rawPrivateKey.get(), padding, message)] {
                std::array<unsigned char, 32> digest;
                mustSucceed(EVP_Digest(message.data(), message.size(), digest.data(), nullptr, EVP_sha256(), nullptr) ==
                                1 &&
                            EVP_PKEY_verify(context.get(), signature.data(), signature.size(), digest.data(), 32) == 1);
            };
        });
    }
}

/// Verification, so that reading and hashing show beside the cheap RSA operation.
void addStream() {
    constexpr std::size_t size = 1 << 20;
    std::string const name = "RSA-2048 verify stream PSS/1 MiB/";
    std::string const content(size, 'a');
    ByteArray const message(size, 'a');
    add(name, "library", size, [=] {
        return [verifier = provider.createRSA2048Verifier(rsa2048().publicKey, RSAPaddingMode::PSS, prng()),
                engine = provider.createSHA256DigestEngine(), stream = std::make_shared<std::istringstream>(content),
                signature = sign(rsa2048().rawPrivateKey.get(), RSAPaddingMode::PSS, message)] {
            stream->clear();
            stream->seekg(0);
            mustSucceed(verifier->verify(*stream, signature, engine).isValid());
        };
    });
    add(name, "same calls", size, [=] {
        return [key = rsa2048().rawPublicKey, stream = std::make_shared<std::istringstream>(content),
                signature = sign(rsa2048().rawPrivateKey.get(), RSAPaddingMode::PSS, message)] {
            stream->clear();
            stream->seekg(0);
            ByteArray read(size);
            stream->read(reinterpret_cast<char*>(read.data()), size);
            mustSucceed(verify(rsa2048().rawPublicKey.get(), RSAPaddingMode::PSS, read, signature));
        };
    });
    add(name, "best", size, [=] {
        return [message, key = rsa2048().rawPublicKey,
                signature = sign(rsa2048().rawPrivateKey.get(), RSAPaddingMode::PSS, message)] {
            mustSucceed(verify(key.get(), RSAPaddingMode::PSS, message, signature));
        };
    });
}

[[maybe_unused]] bool const registered = [] {
    addSize("2048", &rsa2048, &CryptoProvider::createRSA2048Signer, &CryptoProvider::createRSA2048Verifier);
    addSize("4096", &rsa4096, &CryptoProvider::createRSA4096Signer, &CryptoProvider::createRSA4096Verifier);
    addStream();
    return true;
}();

} // namespace
