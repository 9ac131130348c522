#include "Case.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <openssl/pem.h>

#include <array>
#include <cstring>
#include <functional>
#include <memory>
#include <sstream>
#include <string>

namespace {

using namespace bench;
using foundation::crypto::interfaces::DigestEnginePtr;
using foundation::crypto::interfaces::ECCSignerPtr;
using foundation::crypto::interfaces::ECCVerifierPtr;
using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::ByteArray;

CryptoProvider const provider;

using Key = std::shared_ptr<EVP_PKEY>;
using Bio = Held<BIO, BIO_free_all>;
using KeyContext = Held<EVP_PKEY_CTX, EVP_PKEY_CTX_free>;
using Parameters = Held<OSSL_PARAM, OSSL_PARAM_free>;
using Builder = Held<OSSL_PARAM_BLD, OSSL_PARAM_BLD_free>;
using Number = Held<BIGNUM, BN_clear_free>;
using NumberContext = Held<BN_CTX, BN_CTX_free>;
using Group = Held<EC_GROUP, EC_GROUP_free>;
using Point = Held<EC_POINT, EC_POINT_free>;
using Context = Held<EVP_MD_CTX, EVP_MD_CTX_free>;

Key owned(EVP_PKEY* key) {
    mustSucceed(key != nullptr);
    return Held<EVP_PKEY, EVP_PKEY_free>(key);
}

/// What the library does on each curve, and the names of the same in libcrypto.
struct Curve {
    std::string name;
    char const* digest; // none for Ed25519
    std::function<DigestEnginePtr()> createEngine;
    std::function<void()> generate;
    std::function<ByteArray()> newPrivatePEM;
    std::function<void(ByteArray const&)> readPrivate;
    std::function<void(ByteArray const&)> readPublic;
    std::function<std::function<ByteArray()>(ByteArray const&)> exporterOf;
    std::function<ECCSignerPtr(ByteArray const&)> createSigner;
    std::function<ECCVerifierPtr(ByteArray const&)> createVerifier;
};

Bio textIn(ByteArray const& text) {
    Bio bio(BIO_new(BIO_s_mem()));
    mustSucceed(BIO_write(bio.get(), text.data(), static_cast<int>(text.size())) > 0);
    return bio;
}

ByteArray contentOf(BIO* bio) {
    ByteArray content(BIO_ctrl_pending(bio));
    mustSucceed(BIO_read(bio, content.data(), static_cast<int>(content.size())) > 0);
    return content;
}

Key readByHand(ByteArray const& pem) {
    Bio const bio = textIn(pem);
    return owned(PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, const_cast<char*>("")));
}

/// The check that the library makes of each key: on P-256, for its group.
void checkByHand(EVP_PKEY* key) {
    if (EVP_PKEY_get_base_id(key) == EVP_PKEY_EC) {
        OSSL_PARAM* exported = nullptr;
        mustSucceed(EVP_PKEY_todata(key, EVP_PKEY_PUBLIC_KEY, &exported) == 1);
        Parameters const parameters(exported);
        char const* group = nullptr;
        OSSL_PARAM_get_utf8_string_ptr(OSSL_PARAM_locate(exported, OSSL_PKEY_PARAM_GROUP_NAME), &group);
        mustSucceed(std::strcmp(group, SN_X9_62_prime256v1) == 0);
    }
}

Key generateByHand(Curve const& curve) {
    KeyContext const context(EVP_PKEY_CTX_new_id(curve.digest != nullptr ? EVP_PKEY_EC : EVP_PKEY_ED25519, nullptr));
    EVP_PKEY* key = nullptr;
    mustSucceed(EVP_PKEY_keygen_init(context.get()) == 1);
    if (curve.digest != nullptr) {
        mustSucceed(EVP_PKEY_CTX_ctrl_str(context.get(), "ec_paramgen_curve", "P-256") > 0);
    }
    EVP_PKEY_keygen(context.get(), &key);
    return owned(key);
}

ByteArray publicPEM(ByteArray const& privatePEM) {
    Key const key = readByHand(privatePEM);
    Bio const bio(BIO_new(BIO_s_mem()));
    mustSucceed(PEM_write_bio_PUBKEY(bio.get(), key.get()) == 1);
    return contentOf(bio.get());
}

void addKeys(Curve const& curve) {
    std::string const generation = curve.name + " key pair generated/";
    add(generation, "library", 0, [=] { return curve.generate; });
    add(generation, "same calls", 0, [=] {
        return [=] {
            Key const key = generateByHand(curve);
            Bio const bio(BIO_new(BIO_s_mem()));
            mustSucceed(PEM_write_bio_PUBKEY(bio.get(), key.get()) == 1);
            Key const publicKey = owned(PEM_read_bio_PUBKEY(bio.get(), nullptr, nullptr, const_cast<char*>("")));
            checkByHand(publicKey.get());
            checkByHand(key.get());
        };
    });
    add(generation, "best", 0, [=] { return [=] { generateByHand(curve); }; });

    std::string const reading = curve.name + " private key from PEM/";
    add(reading, "library", 0, [=] { return [curve, pem = curve.newPrivatePEM()] { curve.readPrivate(pem); }; });
    add(reading, "same calls", 0,
        [=] { return [pem = curve.newPrivatePEM()] { checkByHand(readByHand(pem).get()); }; });
    add(reading, "best", 0, [=] {
        return [pem = curve.newPrivatePEM()] {
            Bio const bio(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
            owned(PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, const_cast<char*>("")));
        };
    });

    std::string const readingPublic = curve.name + " public key from PEM/";
    add(readingPublic, "library", 0,
        [=] { return [curve, pem = publicPEM(curve.newPrivatePEM())] { curve.readPublic(pem); }; });
    add(readingPublic, "same calls", 0, [=] {
        return [pem = publicPEM(curve.newPrivatePEM())] {
            Bio const bio = textIn(pem);
            checkByHand(owned(PEM_read_bio_PUBKEY(bio.get(), nullptr, nullptr, const_cast<char*>(""))).get());
        };
    });
    add(readingPublic, "best", 0, [=] {
        return [pem = publicPEM(curve.newPrivatePEM())] {
            Bio const bio(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
            owned(PEM_read_bio_PUBKEY(bio.get(), nullptr, nullptr, const_cast<char*>("")));
        };
    });

    std::string const exporting = curve.name + " private key to PEM/";
    add(exporting, "library", 0, [=] {
        return [exportKey = curve.exporterOf(curve.newPrivatePEM())] { benchmark::DoNotOptimize(exportKey()); };
    });
    add(exporting, "same calls", 0, [=] {
        return [key = readByHand(curve.newPrivatePEM())] {
            Key const duplicate = owned(EVP_PKEY_dup(key.get()));
            Bio const bio(BIO_new(BIO_s_mem()));
            mustSucceed(
                PEM_write_bio_PKCS8PrivateKey(bio.get(), duplicate.get(), nullptr, nullptr, 0, nullptr, nullptr) == 1);
            benchmark::DoNotOptimize(contentOf(bio.get()));
        };
    });
    add(exporting, "best", 0, [=] { // on one thread, without the duplicate
        return [key = readByHand(curve.newPrivatePEM())] {
            Bio const bio(BIO_new(BIO_s_mem()));
            mustSucceed(PEM_write_bio_PKCS8PrivateKey(bio.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr) ==
                        1);
        };
    });
}

void addIntegers() {
    std::string const name = "P-256 private key from integer/";
    ByteArray const integer(32, 0x5a);
    add(name, "library", 0,
        [=] { return [=] { benchmark::DoNotOptimize(provider.createECCP256PrivateKeyFromInteger(integer)); }; });
    auto const byHand = [](ByteArray const& bytes, EC_GROUP const* group) {
        Number const number(BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr));
        Point const point(EC_POINT_new(group));
        NumberContext const numbers(BN_CTX_new());
        mustSucceed(EC_POINT_mul(group, point.get(), number.get(), nullptr, nullptr, numbers.get()) == 1);
        std::array<unsigned char, 65> encoded;
        mustSucceed(EC_POINT_point2oct(group, point.get(), POINT_CONVERSION_UNCOMPRESSED, encoded.data(),
                                       encoded.size(), numbers.get()) == encoded.size());
        Builder const builder(OSSL_PARAM_BLD_new());
        OSSL_PARAM_BLD_push_utf8_string(builder.get(), OSSL_PKEY_PARAM_GROUP_NAME, SN_X9_62_prime256v1, 0);
        OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_PRIV_KEY, number.get());
        OSSL_PARAM_BLD_push_octet_string(builder.get(), OSSL_PKEY_PARAM_PUB_KEY, encoded.data(), encoded.size());
        Parameters const parameters(OSSL_PARAM_BLD_to_param(builder.get()));
        KeyContext const context(EVP_PKEY_CTX_new_id(EVP_PKEY_EC, nullptr));
        EVP_PKEY* key = nullptr;
        EVP_PKEY_fromdata_init(context.get());
        mustSucceed(EVP_PKEY_fromdata(context.get(), &key, EVP_PKEY_KEYPAIR, parameters.get()) == 1);
        return owned(key);
    };
    add(name, "same calls", 0, [=] {
        return [=] {
            Group const group(EC_GROUP_new_by_curve_name(NID_X9_62_prime256v1));
            checkByHand(byHand(integer, group.get()).get());
        };
    });
    add(name, "best", 0, [=] {
        std::shared_ptr<EC_GROUP> const group = Group(EC_GROUP_new_by_curve_name(NID_X9_62_prime256v1));
        return [=] { byHand(integer, group.get()); };
    });
}

ByteArray signByHand(EVP_PKEY* key, char const* digest, ByteArray const& message) {
    Context const context(EVP_MD_CTX_new());
    std::size_t size = 0;
    EVP_DigestSignInit_ex(context.get(), nullptr, digest, nullptr, nullptr, key, nullptr);
    EVP_DigestSign(context.get(), nullptr, &size, message.data(), message.size());
    ByteArray signature(size);
    mustSucceed(EVP_DigestSign(context.get(), signature.data(), &size, message.data(), message.size()) == 1);
    signature.resize(size);
    return signature;
}

void verifyByHand(EVP_PKEY* key, char const* digest, ByteArray const& message, ByteArray const& signature) {
    Context const context(EVP_MD_CTX_new());
    EVP_DigestVerifyInit_ex(context.get(), nullptr, digest, nullptr, nullptr, key, nullptr);
    mustSucceed(EVP_DigestVerify(context.get(), signature.data(), signature.size(), message.data(), message.size()) ==
                1);
}

void addSignatures(Curve const& curve, std::size_t size) {
    std::string const what = size < 1024 ? std::to_string(size) : std::to_string(size / 1024) + " KiB";
    ByteArray const message(size, 'm');
    std::string const signing = curve.name + " sign/" + what + "/";
    add(signing, "library", size, [=] {
        return [message, signer = curve.createSigner(curve.newPrivatePEM()), engine = curve.createEngine()] {
            benchmark::DoNotOptimize(signer->sign(message, engine));
        };
    });
    add(signing, "same calls", size, [=] {
        return [message, curve, key = readByHand(curve.newPrivatePEM())] {
            benchmark::DoNotOptimize(signByHand(key.get(), curve.digest, message));
        };
    });
    add(signing, "best", size, [=] { // a context that was set up once, and room for the signature
        auto const key = readByHand(curve.newPrivatePEM());
        std::shared_ptr<EVP_MD_CTX> const prepared = Context(EVP_MD_CTX_new());
        EVP_DigestSignInit_ex(prepared.get(), nullptr, curve.digest, nullptr, nullptr, key.get(), nullptr);
        return [=] {
            Context const context(EVP_MD_CTX_new());
            std::array<unsigned char, 72> signature;
            std::size_t written = signature.size();
            EVP_MD_CTX_copy_ex(context.get(), prepared.get());
            mustSucceed(EVP_DigestSign(context.get(), signature.data(), &written, message.data(), message.size()) == 1);
        };
    });

    std::string const verifying = curve.name + " verify/" + what + "/";
    add(verifying, "library", size, [=] {
        ByteArray const pem = curve.newPrivatePEM();
        auto const engine = curve.createEngine();
        return [=, verifier = curve.createVerifier(pem), signature = curve.createSigner(pem)->sign(message, engine)] {
            mustSucceed(verifier->verify(message, signature, engine).isValid());
        };
    });
    add(verifying, "same calls", size, [=] {
        auto const key = readByHand(curve.newPrivatePEM());
        return [=, signature = signByHand(key.get(), curve.digest, message)] {
            verifyByHand(key.get(), curve.digest, message, signature);
        };
    });
    add(verifying, "best", size, [=] {
        auto const key = readByHand(curve.newPrivatePEM());
        std::shared_ptr<EVP_MD_CTX> const prepared = Context(EVP_MD_CTX_new());
        EVP_DigestVerifyInit_ex(prepared.get(), nullptr, curve.digest, nullptr, nullptr, key.get(), nullptr);
        return [=, signature = signByHand(key.get(), curve.digest, message)] {
            Context const context(EVP_MD_CTX_new());
            EVP_MD_CTX_copy_ex(context.get(), prepared.get());
            mustSucceed(EVP_DigestVerify(context.get(), signature.data(), signature.size(), message.data(),
                                         message.size()) == 1);
        };
    });
}

void addStreams(Curve const& curve) {
    constexpr std::size_t size = 1 << 20;
    std::string const content(size, 'm');
    std::string const name = curve.name + " sign stream/1 MiB/";
    add(name, "library", size, [=] {
        return [signer = curve.createSigner(curve.newPrivatePEM()), engine = curve.createEngine(),
                stream = std::make_shared<std::istringstream>(content)] {
            stream->clear();
            stream->seekg(0);
            benchmark::DoNotOptimize(signer->sign(*stream, engine));
        };
    });
    add(name, "same calls", size, [=] { // the stream in one piece
        return
            [curve, key = readByHand(curve.newPrivatePEM()), stream = std::make_shared<std::istringstream>(content)] {
                stream->clear();
                stream->seekg(0);
                ByteArray message(size);
                stream->read(reinterpret_cast<char*>(message.data()), static_cast<std::streamsize>(size));
                benchmark::DoNotOptimize(signByHand(key.get(), curve.digest, message));
            };
    });
    add(name, "best", size, [=] { // no stream
        return [curve, key = readByHand(curve.newPrivatePEM()), message = ByteArray(size, 'm')] {
            benchmark::DoNotOptimize(signByHand(key.get(), curve.digest, message));
        };
    });
}

Curve const p256{
    "P-256",
    "sha256",
    [] { return provider.createSHA256DigestEngine(); },
    [] { provider.generateECCP256KeyPair(); },
    [] { return provider.generateECCP256KeyPair()->getPrivateKey()->getPEM(); },
    [](ByteArray const& pem) { provider.createECCP256PrivateKey(pem); },
    [](ByteArray const& pem) { provider.createECCP256PublicKey(pem); },
    [](ByteArray const& pem) { return [key = provider.createECCP256PrivateKey(pem)] { return key->getPEM(); }; },
    [](ByteArray const& pem) { return provider.createECCP256Signer(provider.createECCP256PrivateKey(pem)); },
    [](ByteArray const& pem) {
        return provider.createECCP256Verifier(provider.createECCP256PublicKey(publicPEM(pem)));
    },
};

Curve const curve25519{
    "Ed25519",
    nullptr,
    [] { return provider.createSHA512DigestEngine(); },
    [] { provider.generateECCCurve25519KeyPair(); },
    [] { return provider.generateECCCurve25519KeyPair()->getPrivateKey()->getPEM(); },
    [](ByteArray const& pem) { provider.createECCCurve25519PrivateKey(pem); },
    [](ByteArray const& pem) { provider.createECCCurve25519PublicKey(pem); },
    [](ByteArray const& pem) { return [key = provider.createECCCurve25519PrivateKey(pem)] { return key->getPEM(); }; },
    [](ByteArray const& pem) {
        return provider.createECCCurve25519Signer(provider.createECCCurve25519PrivateKey(pem));
    },
    [](ByteArray const& pem) {
        return provider.createECCCurve25519Verifier(provider.createECCCurve25519PublicKey(publicPEM(pem)));
    },
};

[[maybe_unused]] bool const registered = [] {
    addKeys(p256);
    addIntegers();
    addKeys(curve25519);
    for (Curve const& curve : {p256, curve25519}) {
        for (std::size_t const size : {std::size_t(64), std::size_t(65536)}) {
            addSignatures(curve, size);
        }
        addStreams(curve);
    }
    return true;
}();

} // namespace
