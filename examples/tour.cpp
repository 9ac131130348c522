// A tour of the library on real input: takes files and shows what the library does with each, checking every result a
// second way. It ends with 1 when anything disagrees or a file cannot be read.
#include "Files.h"
#include "Program.h"
#include "TemporaryToken.h"

#include <foundation/crypto/openssl/CryptoProvider.h>
#include <foundation/crypto/utils/Exceptions.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace foundation::crypto;
using files::hex;
using foundation::crypto::interfaces::DigestEnginePtr;
using foundation::crypto::interfaces::IDigestEngine;
using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::AESMode;
using foundation::crypto::utils::AESPaddingMode;
using foundation::crypto::utils::ByteArray;
using foundation::crypto::utils::Exception;
using foundation::crypto::utils::RSAPaddingMode;

CryptoProvider const provider;

/// One file on its way through the library, and the page that tells about it.
class Tour {
public:
    Tour(std::string path, ByteArray content) : path_(std::move(path)), content_(std::move(content)) {}

    ByteArray const& content() const { return content_; }

    /// The file as a stream, opened anew.
    std::ifstream open() const { return std::ifstream(path_, std::ios::binary); }

    /// Begins the part of the page on one family.
    // NOLINTNEXTLINE(readability-convert-member-functions-to-static): the page is the tour's
    void section(char const* title) const { std::printf("\n  %s\n", title); }

    /// Runs `work` and returns its result, keeping its time for the line to come.
    template <class Work> auto timed(Work&& work) {
        auto const start = std::chrono::steady_clock::now();
        auto result = work();
        time_ += std::chrono::steady_clock::now() - start;
        return result;
    }

    /// Prints a line: what was done, whether it came out right, how long it took, and the result.
    void line(std::string const& what, bool right, std::string const& result = "") {
        double const milliseconds = std::chrono::duration<double, std::milli>(time_).count();
        std::printf("    %-28s %-6s %9.2f ms  %s\n", what.c_str(), right ? "ok" : "WRONG", milliseconds,
                    result.c_str());
        time_ = {};
        allRight_ = allRight_ && right;
    }

    bool allRight() const { return allRight_; }

private:
    std::string path_;
    ByteArray content_;
    std::chrono::steady_clock::duration time_{};
    bool allRight_ = true;
};

/// Digests the file in one piece, in pieces and as a stream, and prints the digest; `right` is what else must hold.
void showDigest(Tour& tour, std::string const& what, IDigestEngine& engine, bool right = true) {
    ByteArray const inOnePiece = tour.timed([&] { return engine.computeDigest(tour.content()); });
    ByteArray const inPieces = tour.timed([&] {
        constexpr std::size_t piece = 4096;
        for (std::size_t at = 0; at < tour.content().size(); at += piece) {
            engine.update(tour.content().data() + at, std::min(piece, tour.content().size() - at));
        }
        return engine.finalize();
    });
    ByteArray const asStream = tour.timed([&] {
        std::ifstream file = tour.open();
        return engine.computeDigest(file);
    });
    tour.line(what, right && inOnePiece == inPieces && inOnePiece == asStream, hex(inOnePiece));
}

void showDigests(Tour& tour) {
    tour.section("Digests: in one piece, in pieces and as a stream");
    for (auto const create : {&CryptoProvider::createMD5DigestEngine, &CryptoProvider::createSHA1DigestEngine,
                              &CryptoProvider::createSHA224DigestEngine, &CryptoProvider::createSHA256DigestEngine,
                              &CryptoProvider::createSHA384DigestEngine, &CryptoProvider::createSHA512DigestEngine}) {
        auto const engine = (provider.*create)();
        showDigest(tour, engine->getDigestName(), *engine);
    }
}

void showRandomBytes(Tour& tour) {
    auto const prng = provider.createDefaultCryptoPRNG(tour.content()); // a seed is mixed in, it decides nothing
    tour.section("Random bytes: two draws from one generator");
    ByteArray const first = tour.timed([&] { return prng->generateRandomBytes(32); });
    ByteArray const second = tour.timed([&] { return prng->generateRandomBytes(32); });
    tour.line(prng->getPRNGName(), first.size() == 32 && first != second, hex(first));
}

template <class CreateKey, class CreateEncryptor, class CreateDecryptor>
void showAESModes(Tour& tour, std::size_t bits, CreateKey createKey, CreateEncryptor createEncryptor,
                  CreateDecryptor createDecryptor) {
    auto const prng = provider.createDefaultCryptoPRNG({});
    for (auto const& [name, mode] :
         {std::pair{"CBC", AESMode::CBC}, std::pair{"CFB", AESMode::CFB}, std::pair{"OFB", AESMode::OFB},
          std::pair{"CTR", AESMode::CTR}, std::pair{"GCM", AESMode::GCM}}) {
        auto const key = (provider.*createKey)(prng->generateRandomBytes(bits / 8));
        ByteArray const iv = prng->generateRandomBytes(mode == AESMode::GCM ? 12 : 16);
        auto const encryptor = (provider.*createEncryptor)(key, iv, mode, AESPaddingMode::PKCS7, prng);
        auto const decryptor = (provider.*createDecryptor)(key, iv, mode, AESPaddingMode::PKCS7, prng);

        ByteArray const encrypted = tour.timed([&] { return encryptor->encrypt(tour.content()); });
        bool const comesBack = tour.timed([&] { return decryptor->decrypt(encrypted); }) == tour.content();
        std::stringstream asStream;
        tour.timed([&] {
            std::ifstream file = tour.open();
            return encryptor->encrypt(file, asStream).good();
        });
        bool const isTheSame = asStream.str() == std::string(encrypted.begin(), encrypted.end());
        std::ostringstream backAsStream;
        tour.timed([&] { return decryptor->decrypt(asStream, backAsStream).good(); });
        bool const comesBackAsStream = backAsStream.str() == std::string(tour.content().begin(), tour.content().end());
        tour.line("AES-" + std::to_string(bits) + " " + name, comesBack && isTheSame && comesBackAsStream,
                  std::to_string(encrypted.size()) + " bytes of cipher text");
    }
}

void showAES(Tour& tour) {
    tour.section("AES: encrypted and decrypted in one piece and as a stream, under keys and IVs drawn for it");
    showAESModes(tour, 128, &CryptoProvider::createAES128Key, &CryptoProvider::createAES128Encryptor,
                 &CryptoProvider::createAES128Decryptor);
    showAESModes(tour, 192, &CryptoProvider::createAES192Key, &CryptoProvider::createAES192Encryptor,
                 &CryptoProvider::createAES192Decryptor);
    showAESModes(tour, 256, &CryptoProvider::createAES256Key, &CryptoProvider::createAES256Encryptor,
                 &CryptoProvider::createAES256Decryptor);
}

void showRSAKeys(Tour& tour) {
    tour.section("RSA keys: generated, exported, loaded, made from numbers");
    auto const prng = provider.createDefaultCryptoPRNG({});
    auto const pair = tour.timed([&] { return provider.generateRSA2048KeyPair(prng); });
    auto const privateKey = pair->getPrivateKey();
    auto const publicKey = pair->getPublicKey();
    ByteArray const modulus = publicKey->getModulus();
    tour.line("generated, 2048 bits", modulus == privateKey->getModulus(), hex(modulus).substr(0, 32) + "...");

    ByteArray const der = privateKey->getDER();
    auto const loaded = tour.timed([&] { return provider.createRSA2048PrivateKey(der); });
    tour.line("private, through DER", loaded->getDER() == der, std::to_string(der.size()) + " bytes");

    ByteArray const publicDER = publicKey->getDER();
    std::istringstream stream(std::string(publicDER.begin(), publicDER.end()));
    auto const streamed = tour.timed([&] { return provider.createRSA2048PublicKey(stream); });
    tour.line("public, through a stream", streamed->getDER() == publicDER, std::to_string(publicDER.size()) + " bytes");

    auto const fromNumbers =
        tour.timed([&] { return provider.createRSA2048PublicKey(modulus, publicKey->getPublicExponent()); });
    tour.line("public, from n and e", fromNumbers->getDER() == publicDER);

    bool const refused = tour.timed([&] {
        try {
            provider.createRSA4096PublicKey(publicDER);
            return false;
        } catch (Exception const&) {
            return true;
        }
    });
    tour.line("refused as one of 4096 bits", refused);
}

void showRSASignatures(Tour& tour) {
    tour.section("RSA signatures with 2048 bits: of the file as a stream, checked in one piece");
    auto const prng = provider.createDefaultCryptoPRNG({});
    auto const keys = provider.generateRSA2048KeyPair(prng);
    ByteArray altered = tour.content();
    altered.push_back('!');

    struct {
        char const* name;
        RSAPaddingMode padding;
        DigestEnginePtr digest;
    } const rows[]{{"PKCS#1 v1.5 with SHA-256", RSAPaddingMode::PKCS1_V1_5, provider.createSHA256DigestEngine()},
                   {"PSS with SHA-256", RSAPaddingMode::PSS, provider.createSHA256DigestEngine()},
                   {"PSS with SHA-512", RSAPaddingMode::PSS, provider.createSHA512DigestEngine()}};

    for (auto const& [name, padding, digest] : rows) {
        auto const signer = provider.createRSA2048Signer(keys->getPrivateKey(), padding, prng);
        auto const verifier = provider.createRSA2048Verifier(keys->getPublicKey(), padding, prng);
        ByteArray const signature = tour.timed([&, &engine = digest] {
            std::ifstream file = tour.open();
            return signer->sign(file, engine);
        });
        bool const valid =
            tour.timed([&, &engine = digest] { return verifier->verify(tour.content(), signature, engine).isValid(); });
        bool const alteredIsValid = verifier->verify(altered, signature, digest).isValid();
        tour.line(name, valid && !alteredIsValid, hex(signature).substr(0, 32) + "...");
    }
}

void showRSAEncryption(Tour& tour) {
    // An RSA operation for each 126 to 245 bytes takes its time; of a long file, the beginning shows as much.
    constexpr std::size_t limit = 1 << 16;
    bool const isWhole = tour.content().size() <= limit;
    std::string const message(tour.content().begin(), tour.content().begin() + static_cast<std::ptrdiff_t>(std::min(
                                                                                   limit, tour.content().size())));
    tour.section(isWhole ? "RSA encryption with 2048 bits: the file as a stream of blocks, and back"
                         : "RSA encryption with 2048 bits: the first 64 KiB as a stream of blocks, and back");
    auto const prng = provider.createDefaultCryptoPRNG({});
    auto const keys = provider.generateRSA2048KeyPair(prng);

    struct {
        char const* name;
        RSAPaddingMode padding;
    } const rows[]{{"OAEP with SHA-1", RSAPaddingMode::OAEP_SHA1},
                   {"OAEP with SHA-256", RSAPaddingMode::OAEP_SHA256},
                   {"OAEP with SHA-512", RSAPaddingMode::OAEP_SHA512},
                   {"PKCS#1 v1.5", RSAPaddingMode::PKCS1_V1_5}};

    for (auto const& [name, padding] : rows) {
        auto const encryptor = provider.createRSA2048Encryptor(keys->getPublicKey(), padding, prng);
        auto const decryptor = provider.createRSA2048Decryptor(keys->getPrivateKey(), padding, prng);
        std::istringstream plainText(message);
        std::stringstream cipherText;
        std::ostringstream decrypted;
        tour.timed([&] { return &encryptor->encrypt(plainText, cipherText); });
        tour.timed([&] { return &decryptor->decrypt(cipherText, decrypted); });
        tour.line(name, decrypted.str() == message, std::to_string(cipherText.str().size() / 256) + " blocks");
    }
}

/// Derives a key of 64 bytes from a password, and checks it by the definition of PBKDF2 (RFC 8018, section 5.2).
ByteArray showKeyDerivation(Tour& tour) {
    std::string const password = "correct horse battery staple";
    std::string const salt = "chosen at random";
    constexpr int iterations = 10000;

    tour.section("A key from a password");
    ByteArray key = tour.timed([&] { return provider.deriveKeyUsingPBKDF2(password, salt, 64, iterations); });
    auto const hmac = provider.createHMACSHA512DigestEngine(ByteArray(password.begin(), password.end()));
    hmac->update(ByteArray(salt.begin(), salt.end()));
    ByteArray link = hmac->computeDigest(ByteArray{0, 0, 0, 1});
    ByteArray expected = link;
    for (int i = 1; i < iterations; ++i) {
        link = hmac->computeDigest(link);
        std::transform(link.begin(), link.end(), expected.begin(), expected.begin(), std::bit_xor<>());
    }
    tour.line("PBKDF2, 10000 iterations", key == expected, hex(key));
    return key;
}

void showAuthentication(Tour& tour, ByteArray const& key) {
    tour.section("Codes that only who has that key can make: another key gives another code");
    ByteArray const anotherKey(key.rbegin(), key.rend());
    auto const show = [&](std::string const& what, auto const& create) {
        auto const engine = create(key);
        showDigest(tour, what, *engine,
                   create(anotherKey)->computeDigest(tour.content()) != engine->computeDigest(tour.content()));
    };
    show("HMAC-SHA1", [](ByteArray const& k) { return provider.createHMACSHA1DigestEngine(k); });
    show("HMAC-SHA256", [](ByteArray const& k) { return provider.createHMACSHA256DigestEngine(k); });
    show("HMAC-SHA512", [](ByteArray const& k) { return provider.createHMACSHA512DigestEngine(k); });
    show("BLAKE2b, 32 bytes, salted", [](ByteArray const& k) {
        return provider.createBlake2bDigestEngineWithCustomSize(k, {'t', 'o', 'u', 'r'}, 32);
    });
}

void showBlake2b(Tour& tour) {
    tour.section("BLAKE2b without a key, in any size from 1 to 64 bytes");
    showDigest(tour, "BLAKE2b, 64 bytes", *provider.createBlake2bDigestEngine({}, {}));
    showDigest(tour, "BLAKE2b, 20 bytes", *provider.createBlake2bDigestEngineWithCustomSize({}, {}, 20));
}

/// A key on a token of its own, made at the first visit and kept for the files to come.
struct KeyOnToken {
    interfaces::RSAKeyPairPtr<2048> pair = provider.generateRSA2048KeyPair(provider.createDefaultCryptoPRNG({}));
    TemporaryToken token{pair->getPrivateKey()->getDER()};
};

void showHSM(Tour& tour) {
    tour.section("RSA-PSS by a key inside a hardware security module");
    static std::unique_ptr<KeyOnToken const> key;
    if (key == nullptr) {
        try {
            key = tour.timed([] { return std::make_unique<KeyOnToken const>(); });
        } catch (std::runtime_error const& error) {
            std::printf("    left out, since no token can be had: %s\n", error.what());
            return;
        }
        tour.line("token made, key imported", true, "RSA-2048, in a temporary folder");
    }
    auto const signer = provider.createHSMSigner(key->token.key(), utils::RSAPaddingMode::PSS, nullptr);
    auto const digest = provider.createSHA256DigestEngine();
    auto const verifier = provider.createRSA2048Verifier(key->pair->getPublicKey(), utils::RSAPaddingMode::PSS,
                                                         provider.createDefaultCryptoPRNG({}));
    std::ifstream file = tour.open();
    ByteArray signature = tour.timed([&] { return signer->sign(file, digest); });
    tour.line("signed inside the token", signature.size() * 8 == signer->getKeySize(),
              hex(signature).substr(0, 32) + "...");
    bool const valid = tour.timed([&] { return verifier->verify(tour.content(), signature, digest).isValid(); });
    tour.line("verified in software", valid);
    signature.front() ^= 1U;
    tour.line("one bit changed: refused", !verifier->verify(tour.content(), signature, digest).isValid());
}

void showECCSignatures(Tour& tour) {
    tour.section(
        "Elliptic-curve signatures: of the file as a stream, checked in one piece, refused with a changed byte");
    ByteArray altered = tour.content();
    if (altered.empty()) {
        altered.push_back(0);
    } else {
        altered[altered.size() / 2] ^= 0x01U;
    }
    auto const show = [&](char const* name, auto const& signer, auto const& verifier, auto const& digest) {
        ByteArray const signature = tour.timed([&] {
            std::ifstream file = tour.open();
            return signer->sign(file, digest);
        });
        bool const valid = tour.timed([&] { return verifier->verify(tour.content(), signature, digest).isValid(); });
        bool const alteredIsValid = verifier->verify(altered, signature, digest).isValid();
        tour.line(name, valid && !alteredIsValid, hex(signature).substr(0, 32) + "...");
    };

    // The verifiers know the keys only from what a file would hold.
    auto const onP256 = provider.generateECCP256KeyPair();
    auto const p256Verifier =
        provider.createECCP256Verifier(provider.createECCP256PublicKey(onP256->getPublicKey()->getPEM()));
    for (auto const create : {&CryptoProvider::createSHA256DigestEngine, &CryptoProvider::createSHA512DigestEngine}) {
        auto const digest = (provider.*create)();
        show(("ECDSA on P-256 with " + digest->getDigestName()).c_str(),
             provider.createECCP256Signer(onP256->getPrivateKey()), p256Verifier, digest);
    }
    auto const onCurve25519 = provider.generateECCCurve25519KeyPair();
    show("Ed25519", provider.createECCCurve25519Signer(onCurve25519->getPrivateKey()),
         provider.createECCCurve25519Verifier(
             provider.createECCCurve25519PublicKey(onCurve25519->getPublicKey()->getPEM())),
         provider.createSHA512DigestEngine());
}

/// The content of a regular file or of anything else that can be read to an end; nothing if it cannot.
std::optional<ByteArray> read(std::string const& path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) {
        std::fprintf(stderr, "%s is a folder\n", path.c_str());
        return std::nullopt;
    }
    std::ifstream file(path, std::ios::binary);
    ByteArray content;
    if (file) {
        content.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
    if (!file) {
        std::fprintf(stderr, "cannot read %s\n", path.c_str());
        return std::nullopt;
    }
    return content;
}

bool visit(std::string const& path) {
    std::optional<ByteArray> content = read(path);
    if (!content) {
        return false;
    }
    std::printf("%s: %zu bytes%s\n", path.c_str(), content->size(),
                content->empty() ? " (an empty message is a message, too)" : "");
    Tour tour(path, *std::move(content));
    showDigests(tour);
    showBlake2b(tour);
    showAuthentication(tour, showKeyDerivation(tour));
    showRandomBytes(tour);
    showAES(tour);
    showRSAKeys(tour);
    showRSASignatures(tour);
    showRSAEncryption(tour);
    showECCSignatures(tour);
    showHSM(tour);
    std::printf("\n  %s\n\n", tour.allRight() ? "Everything agrees." : "SOMETHING DISAGREES.");
    return tour.allRight();
}

int run(program::Arguments const& paths) {
    program::require(!paths.empty());
    bool allRight = true;
    for (std::string const& path : paths) {
        try {
            allRight = visit(path) && allRight;
        } catch (std::exception const& error) {
            std::fprintf(stderr, "%s: %s\n", path.c_str(), error.what());
            allRight = false;
        }
    }
    return allRight ? 0 : 1;
}

} // namespace

int main(int count, char** arguments) {
    return program::run(count, arguments, "usage: tour FILE...\n",
                        "Memory: 12 MiB and 9 times the size of the largest FILE.\n", run);
}
