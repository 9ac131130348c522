// Whole files through streams: what a host pays beside the plain loop that it would write itself, which reads into one
// warm buffer and hands libcrypto piece after piece.
#include "LargeFiles.h"
#include "RSAKeys.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace bench;
using foundation::crypto::interfaces::DigestEnginePtr;
using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::AESMode;
using foundation::crypto::utils::ByteArray;
using foundation::crypto::utils::RSAPaddingMode;

CryptoProvider const provider;

ByteArray const key(32, 0x42);
ByteArray const vector(16, 0x24);

using CipherContext = Held<EVP_CIPHER_CTX, EVP_CIPHER_CTX_free>;
using DigestContext = Held<EVP_MD_CTX, EVP_MD_CTX_free>;

struct Mode {
    char const* name;
    AESMode mode;
    EVP_CIPHER const* (*cipher)();
    std::size_t vectorSize;
    std::size_t tagSize;
};

constexpr Mode gcm{"GCM", AESMode::GCM, EVP_aes_256_gcm, 12, 16};
constexpr Mode ctr{"CTR", AESMode::CTR, EVP_aes_256_ctr, 16, 0};

/// What the loop writes goes to a descriptor. The tag of a message that is decrypted stands behind it.
void transformByLoop(Mode const& mode, bool encrypts, std::string const& from, std::string const& to) {
    static std::vector<unsigned char> transformed(mebibyte + EVP_MAX_BLOCK_LENGTH);
    CipherContext const context(EVP_CIPHER_CTX_new());
    mustSucceed(EVP_CipherInit_ex(context.get(), mode.cipher(), nullptr, key.data(), vector.data(), encrypts ? 1 : 0) ==
                1);
    Descriptor const output(to, O_WRONLY | O_CREAT | O_TRUNC);
    std::size_t left = std::filesystem::file_size(from) - (encrypts ? 0 : mode.tagSize);
    std::array<unsigned char, EVP_MAX_BLOCK_LENGTH> tag{};
    std::size_t tagSize = 0;
    int size = 0;
    readPieces(from, [&](unsigned char const* data, int count) {
        auto const ofText = static_cast<int>(std::min(left, static_cast<std::size_t>(count)));
        left -= static_cast<std::size_t>(ofText);
        mustSucceed(EVP_CipherUpdate(context.get(), transformed.data(), &size, data, ofText) == 1);
        mustSucceed(write(output.get(), transformed.data(), static_cast<std::size_t>(size)) == size);
        std::copy(data + ofText, data + count, tag.begin() + static_cast<std::ptrdiff_t>(tagSize));
        tagSize += static_cast<std::size_t>(count - ofText);
    });
    if (tagSize != 0) {
        mustSucceed(EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_SET_TAG, 16, tag.data()) == 1);
    }
    mustSucceed(EVP_CipherFinal_ex(context.get(), transformed.data(), &size) == 1);
    if (encrypts && mode.tagSize != 0) {
        mustSucceed(EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_GET_TAG, 16, tag.data()) == 1);
        mustSucceed(write(output.get(), tag.data(), mode.tagSize) == 16);
    }
}

template <class Transform> void transformFile(std::string const& from, std::string const& to, Transform transform) {
    std::ifstream input(from, std::ios::binary);
    std::ofstream output(to, std::ios::binary);
    transform(input, output);
    mustSucceed(output.flush().good());
}

void addEncryption(Mode const& mode, FileSize const& size) {
    std::string const name = std::string("AES-256 ") + mode.name + " encrypt file/" + size.name + "/";
    add(name, "library", size.bytes, [=] {
        auto const encryptor = provider.createAES256Encryptor(
            provider.createAES256Key(key), ByteArray(mode.vectorSize, vector[0]), mode.mode, {}, nullptr);
        return [=, &files = filesOf(size.bytes)] {
            transformFile(files.input(), files.output(),
                          [&](std::istream& input, std::ostream& output) { encryptor->encrypt(input, output); });
        };
    });
    add(name, "best", size.bytes, [=] {
        return [=, &files = filesOf(size.bytes)] { transformByLoop(mode, true, files.input(), files.output()); };
    });
}

void addDecryption(Mode const& mode, FileSize const& size) {
    std::string const name = std::string("AES-256 ") + mode.name + " decrypt file/" + size.name + "/";
    add(name, "library", size.bytes, [=] {
        auto const decryptor = provider.createAES256Decryptor(
            provider.createAES256Key(key), ByteArray(mode.vectorSize, vector[0]), mode.mode, {}, nullptr);
        Files const& files = filesOf(size.bytes);
        transformByLoop(mode, true, files.input(), files.encrypted());
        return [=, &files] {
            transformFile(files.encrypted(), files.output(),
                          [&](std::istream& input, std::ostream& output) { decryptor->decrypt(input, output); });
        };
    });
    add(name, "best", size.bytes, [=] {
        Files const& files = filesOf(size.bytes);
        transformByLoop(mode, true, files.input(), files.encrypted());
        return [=, &files] { transformByLoop(mode, false, files.encrypted(), files.output()); };
    });
}

/// A kind of signature, with one key for the library and the same for raw libcrypto.
struct Kind {
    char const* digest; // none for Ed25519, which libcrypto signs in one piece
    bool isPSS;
    std::function<ByteArray(std::istream&)> sign;
    std::function<bool(std::istream&, ByteArray const&)> verify;
    std::shared_ptr<EVP_PKEY> privateKey;
    std::shared_ptr<EVP_PKEY> publicKey;
};

Kind makeRSA() {
    RSAKeys<2048> const keys = rsa2048();
    auto const signer = provider.createRSA2048Signer(keys.privateKey, RSAPaddingMode::PSS, prng());
    auto const verifier = provider.createRSA2048Verifier(keys.publicKey, RSAPaddingMode::PSS, prng());
    auto const engine = provider.createSHA256DigestEngine();
    return {"sha256",
            true,
            [=](std::istream& message) { return signer->sign(message, engine); },
            [=](std::istream& message, ByteArray const& signature) {
                return verifier->verify(message, signature, engine).isValid();
            },
            keys.rawPrivateKey,
            keys.rawPublicKey};
}

template <class Pair, class Signer, class Verifier>
Kind makeECC(char const* digest, DigestEnginePtr const& engine, Pair const& pair, Signer const& signer,
             Verifier const& verifier) {
    using Owner = Held<EVP_PKEY, EVP_PKEY_free>;
    using Text = Held<BIO, BIO_free_all>;
    ByteArray const privatePEM = pair->getPrivateKey()->getPEM();
    ByteArray const publicPEM = pair->getPublicKey()->getPEM();
    Text const privateText(BIO_new_mem_buf(privatePEM.data(), static_cast<int>(privatePEM.size())));
    Text const publicText(BIO_new_mem_buf(publicPEM.data(), static_cast<int>(publicPEM.size())));
    return {digest,
            false,
            [=](std::istream& message) { return signer->sign(message, engine); },
            [=](std::istream& message, ByteArray const& signature) {
                return verifier->verify(message, signature, engine).isValid();
            },
            Owner(PEM_read_bio_PrivateKey(privateText.get(), nullptr, nullptr, nullptr)),
            Owner(PEM_read_bio_PUBKEY(publicText.get(), nullptr, nullptr, nullptr))};
}

Kind makeP256() {
    auto const pair = provider.generateECCP256KeyPair();
    return makeECC("sha256", provider.createSHA256DigestEngine(), pair,
                   provider.createECCP256Signer(pair->getPrivateKey()),
                   provider.createECCP256Verifier(pair->getPublicKey()));
}

Kind makeEd25519() {
    auto const pair = provider.generateECCCurve25519KeyPair();
    return makeECC(nullptr, provider.createSHA512DigestEngine(), pair,
                   provider.createECCCurve25519Signer(pair->getPrivateKey()),
                   provider.createECCCurve25519Verifier(pair->getPublicKey()));
}

void usePSS(Kind const& kind, EVP_PKEY_CTX* context) {
    mustSucceed(!kind.isPSS || (EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_PSS_PADDING) > 0 &&
                                EVP_PKEY_CTX_set_rsa_pss_saltlen(context, 32) > 0));
}

void signByLoop(Kind const& kind, std::string const& path) {
    DigestContext const context(EVP_MD_CTX_new());
    EVP_PKEY_CTX* keyContext = nullptr;
    mustSucceed(EVP_DigestSignInit_ex(context.get(), &keyContext, kind.digest, nullptr, nullptr, kind.privateKey.get(),
                                      nullptr) == 1);
    usePSS(kind, keyContext);
    std::array<unsigned char, 256> signature{};
    std::size_t written = signature.size();
    if (kind.digest == nullptr) {
        std::vector<unsigned char> const& whole = readWhole(path);
        mustSucceed(EVP_DigestSign(context.get(), signature.data(), &written, whole.data(), whole.size()) == 1);
        return;
    }
    readPieces(path, [&](unsigned char const* data, int count) {
        mustSucceed(EVP_DigestSignUpdate(context.get(), data, static_cast<std::size_t>(count)) == 1);
    });
    mustSucceed(EVP_DigestSignFinal(context.get(), signature.data(), &written) == 1);
}

void verifyByLoop(Kind const& kind, std::string const& path, ByteArray const& signature) {
    DigestContext const context(EVP_MD_CTX_new());
    EVP_PKEY_CTX* keyContext = nullptr;
    mustSucceed(EVP_DigestVerifyInit_ex(context.get(), &keyContext, kind.digest, nullptr, nullptr, kind.publicKey.get(),
                                        nullptr) == 1);
    usePSS(kind, keyContext);
    if (kind.digest == nullptr) {
        std::vector<unsigned char> const& whole = readWhole(path);
        mustSucceed(EVP_DigestVerify(context.get(), signature.data(), signature.size(), whole.data(), whole.size()) ==
                    1);
        return;
    }
    readPieces(path, [&](unsigned char const* data, int count) {
        mustSucceed(EVP_DigestVerifyUpdate(context.get(), data, static_cast<std::size_t>(count)) == 1);
    });
    mustSucceed(EVP_DigestVerifyFinal(context.get(), signature.data(), signature.size()) == 1);
}

ByteArray signFile(Kind const& kind, std::string const& path) {
    std::ifstream input(path, std::ios::binary);
    return kind.sign(input);
}

void addSignature(Kind const& (*getKind)(), std::string const& kindName, FileSize const& size) {
    std::string const sign = kindName + " sign file/" + size.name + "/";
    std::string const verify = kindName + " verify file/" + size.name + "/";
    add(sign, "library", size.bytes, [=] {
        return [&kind = getKind(), &files = filesOf(size.bytes)] {
            benchmark::DoNotOptimize(signFile(kind, files.input()));
        };
    });
    add(sign, "best", size.bytes,
        [=] { return [&kind = getKind(), &files = filesOf(size.bytes)] { signByLoop(kind, files.input()); }; });
    add(verify, "library", size.bytes, [=] {
        Files const& files = filesOf(size.bytes);
        return [&kind = getKind(), &files, signature = signFile(getKind(), files.input())] {
            std::ifstream input(files.input(), std::ios::binary);
            mustSucceed(kind.verify(input, signature));
        };
    });
    add(verify, "best", size.bytes, [=] {
        Files const& files = filesOf(size.bytes);
        return [&kind = getKind(), &files, signature = signFile(getKind(), files.input())] {
            verifyByLoop(kind, files.input(), signature);
        };
    });
}

template <Kind (*make)()> Kind const& kept() {
    static Kind const kind = make();
    return kind;
}

[[maybe_unused]] bool const registered = [] {
    for (FileSize const& size : fileSizes) {
        addEncryption(gcm, size);
        addDecryption(gcm, size);
        addEncryption(ctr, size);
        addSignature(kept<makeRSA>, "RSA-2048 PSS", size);
        addSignature(kept<makeP256>, "P-256", size);
        addSignature(kept<makeEd25519>, "Ed25519", size);
    }
    return true;
}();

} // namespace
