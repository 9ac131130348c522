// Objects made and destroyed again, without a message: what an object for each message costs more than one that stays.
#include "AESCases.h"
#include "RSAKeys.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/params.h>
#include <openssl/rsa.h>

#include <memory>
#include <string>

namespace {

using namespace bench;
using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::HSMObject;
using foundation::crypto::utils::RSAPaddingMode;

CryptoProvider const provider;

using DigestContext = Held<EVP_MD_CTX, EVP_MD_CTX_free>;
using MACContext = Held<EVP_MAC_CTX, EVP_MAC_CTX_free>;
using KeyContext = Held<EVP_PKEY_CTX, EVP_PKEY_CTX_free>;

/// `prepare` returns the function that makes the object, which is destroyed at once.
template <class Prepare> void addObject(std::string const& object, char const* way, Prepare prepare) {
    add("object: " + object + "/", way, 0, [=] { return [make = prepare()] { benchmark::DoNotOptimize(make()); }; });
}

void addDigests() {
    std::string const name = "SHA256 engine";
    addObject(name, "library", [] { return [] { return provider.createSHA256DigestEngine(); }; });
    addObject(name, "same calls", [] {
        return [] {
            EVP_MD const* const md = EVP_get_digestbyname("sha256");
            DigestContext context(EVP_MD_CTX_new());
            mustSucceed(EVP_DigestInit_ex(context.get(), md, nullptr) == 1);
            return context;
        };
    });
    addObject(name, "best", [] {
        std::shared_ptr<EVP_MD> const fetched = Held<EVP_MD, EVP_MD_free>(EVP_MD_fetch(nullptr, "SHA256", nullptr));
        return [=] {
            DigestContext context(EVP_MD_CTX_new());
            mustSucceed(EVP_DigestInit_ex2(context.get(), fetched.get(), nullptr) == 1);
            return context;
        };
    });
}

MACContext startHMAC(EVP_MAC* mac, ByteArray& key) {
    MACContext context(EVP_MAC_CTX_new(mac));
    char digest[] = "SHA2-256";
    OSSL_PARAM const parameters[] = {OSSL_PARAM_construct_octet_string(OSSL_MAC_PARAM_KEY, key.data(), key.size()),
                                     OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, digest, 0),
                                     OSSL_PARAM_construct_end()};
    mustSucceed(EVP_MAC_init(context.get(), nullptr, 0, parameters) == 1);
    return context;
}

void addMACs() {
    std::string const name = "HMAC-SHA256 engine";
    addObject(name, "library",
              [] { return [key = ByteArray(32, 'k')] { return provider.createHMACSHA256DigestEngine(key); }; });
    addObject(name, "same calls", [] {
        return [key = std::make_shared<ByteArray>(32, 'k')] {
            Held<EVP_MAC, EVP_MAC_free> const mac(EVP_MAC_fetch(nullptr, "HMAC", nullptr));
            return startHMAC(mac.get(), *key);
        };
    });
    addObject(name, "best", [] {
        std::shared_ptr<EVP_MAC> const fetched = Held<EVP_MAC, EVP_MAC_free>(EVP_MAC_fetch(nullptr, "HMAC", nullptr));
        return [=, key = std::make_shared<ByteArray>(32, 'k')] { return startHMAC(fetched.get(), *key); };
    });

    addObject("BLAKE2b engine", "library", [] { return [] { return provider.createBlake2bDigestEngine({}, {}); }; });
    addObject("BLAKE2b engine", "best", [] {
        return [] {
            DigestContext context(EVP_MD_CTX_new());
            mustSucceed(EVP_DigestInit_ex2(context.get(), EVP_blake2b512(), nullptr) == 1);
            return context;
        };
    });
    addObject("BLAKE2b keyed engine", "library",
              [] { return [key = ByteArray(32, 'k')] { return provider.createBlake2bDigestEngine(key, {}); }; });
}

void addAES() {
    addObject("AES-256 key", "library",
              [] { return [key = aesCases()[9].key] { return provider.createAES256Key(key); }; });
    addObject("AES-256 GCM encryptor", "library", [] {
        return [key = provider.createAES256Key(aesCases()[9].key), &gcm = aesCases()[9]] {
            return provider.createAES256Encryptor(key, gcm.vector, gcm.mode, AESCase::padding, nullptr);
        };
    });
    addObject("AES-256 GCM decryptor", "library", [] {
        return [key = provider.createAES256Key(aesCases()[9].key), &gcm = aesCases()[9]] {
            return provider.createAES256Decryptor(key, gcm.vector, gcm.mode, AESCase::padding, nullptr);
        };
    });
    for (int const encrypts : {1, 0}) {
        addObject(encrypts == 1 ? "AES-256 GCM encryptor" : "AES-256 GCM decryptor", "best", [=] {
            std::shared_ptr<EVP_CIPHER> const fetched =
                Held<EVP_CIPHER, EVP_CIPHER_free>(EVP_CIPHER_fetch(nullptr, "AES-256-GCM", nullptr));
            return [=, &gcm = aesCases()[9]] {
                Held<EVP_CIPHER_CTX, EVP_CIPHER_CTX_free> context(EVP_CIPHER_CTX_new());
                mustSucceed(EVP_CipherInit_ex2(context.get(), fetched.get(), gcm.key.data(), gcm.vector.data(),
                                               encrypts, nullptr) == 1);
                return context;
            };
        });
    }
}

/// A key's context that was set up for one kind of work, as a host can keep it.
void addKeyContext(std::string const& object, bool isPrivate, int (*initialize)(EVP_PKEY_CTX*), int padding) {
    addObject(object, "best", [=] {
        return [=, key = isPrivate ? rsa2048().rawPrivateKey : rsa2048().rawPublicKey] {
            KeyContext context(EVP_PKEY_CTX_new(key.get(), nullptr));
            mustSucceed(initialize(context.get()) == 1 && EVP_PKEY_CTX_set_rsa_padding(context.get(), padding) == 1);
            return context;
        };
    });
}

void addRSA() {
    addObject("RSA-2048 signer", "library", [] {
        return [keys = rsa2048(), generator = prng()] {
            return provider.createRSA2048Signer(keys.privateKey, RSAPaddingMode::PSS, generator);
        };
    });
    addKeyContext("RSA-2048 signer", true, EVP_PKEY_sign_init, RSA_PKCS1_PSS_PADDING);
    addObject("RSA-2048 verifier", "library", [] {
        return [keys = rsa2048(), generator = prng()] {
            return provider.createRSA2048Verifier(keys.publicKey, RSAPaddingMode::PSS, generator);
        };
    });
    addKeyContext("RSA-2048 verifier", false, EVP_PKEY_verify_init, RSA_PKCS1_PSS_PADDING);
    addObject("RSA-2048 encryptor", "library", [] {
        return [keys = rsa2048(), generator = prng()] {
            return provider.createRSA2048Encryptor(keys.publicKey, RSAPaddingMode::OAEP_SHA256, generator);
        };
    });
    addKeyContext("RSA-2048 encryptor", false, EVP_PKEY_encrypt_init, RSA_PKCS1_OAEP_PADDING);
    addObject("RSA-2048 decryptor", "library", [] {
        return [keys = rsa2048(), generator = prng()] {
            return provider.createRSA2048Decryptor(keys.privateKey, RSAPaddingMode::OAEP_SHA256, generator);
        };
    });
    addKeyContext("RSA-2048 decryptor", true, EVP_PKEY_decrypt_init, RSA_PKCS1_OAEP_PADDING);
}

/// The contexts of libcrypto that sign and check on one curve.
void addContexts(std::string const& curve, char const* digest, std::shared_ptr<EVP_PKEY> (*generate)()) {
    addObject(curve + " signer", "best", [=] {
        return [=, key = generate()] {
            DigestContext context(EVP_MD_CTX_new());
            mustSucceed(EVP_DigestSignInit_ex(context.get(), nullptr, digest, nullptr, nullptr, key.get(), nullptr) ==
                        1);
            return context;
        };
    });
    addObject(curve + " verifier", "best", [=] {
        return [=, key = generate()] {
            DigestContext context(EVP_MD_CTX_new());
            mustSucceed(EVP_DigestVerifyInit_ex(context.get(), nullptr, digest, nullptr, nullptr, key.get(), nullptr) ==
                        1);
            return context;
        };
    });
}

void addCurves() {
    addObject("P-256 signer", "library", [] {
        return
            [pair = provider.generateECCP256KeyPair()] { return provider.createECCP256Signer(pair->getPrivateKey()); };
    });
    addObject("P-256 verifier", "library", [] {
        return
            [pair = provider.generateECCP256KeyPair()] { return provider.createECCP256Verifier(pair->getPublicKey()); };
    });
    addObject("Ed25519 signer", "library", [] {
        return [pair = provider.generateECCCurve25519KeyPair()] {
            return provider.createECCCurve25519Signer(pair->getPrivateKey());
        };
    });
    addObject("Ed25519 verifier", "library", [] {
        return [pair = provider.generateECCCurve25519KeyPair()] {
            return provider.createECCCurve25519Verifier(pair->getPublicKey());
        };
    });
    using Key = Held<EVP_PKEY, EVP_PKEY_free>;
    addContexts("P-256", "sha256",
                [] { return std::shared_ptr<EVP_PKEY>(Key(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"))); });
    addContexts("Ed25519", nullptr,
                [] { return std::shared_ptr<EVP_PKEY>(Key(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519"))); });
}

[[maybe_unused]] bool const registered = [] {
    addObject("CryptoProvider", "library", [] { return [] { return CryptoProvider(); }; });
    addObject("random generator", "library", [] { return [] { return provider.createDefaultCryptoPRNG({}); }; });
    addDigests();
    addMACs();
    addAES();
    addRSA();
    addCurves();
    addObject("HSM signer", "library", [] {
        return [object = HSMObject("module.so", "pkcs11:object=key")] {
            return provider.createHSMSigner(object, RSAPaddingMode::PSS, nullptr);
        };
    });
    return true;
}();

} // namespace
