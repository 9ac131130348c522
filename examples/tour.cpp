// A tour of the library on real input: takes files and shows what the library does with each, checking every result a
// second way. It ends with 1 when anything disagrees or a file cannot be read.
#include <foundation/crypto/openssl/CryptoProvider.h>
#include <foundation/crypto/utils/Exceptions.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using foundation::crypto::interfaces::IDigestEngine;
using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::ByteArray;

CryptoProvider const provider;

std::string hex(ByteArray const& bytes) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (unsigned char const byte : bytes) {
        text += digits[byte >> 4U];
        text += digits[byte & 0x0fU];
    }
    return text;
}

/// One file on its way through the library, and the page that tells about it.
class Tour {
public:
    Tour(std::string path, ByteArray content) : path_(std::move(path)), content_(std::move(content)) {}

    ByteArray const& content() const { return content_; }

    /// The file as a stream, opened anew.
    std::ifstream open() const { return std::ifstream(path_, std::ios::binary); }

    /// Begins the part of the page on one family.
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

void showDigests(Tour& tour) {
    tour.section("Digests: in one piece, in pieces and as a stream");
    for (auto const create : {&CryptoProvider::createMD5DigestEngine, &CryptoProvider::createSHA1DigestEngine,
                              &CryptoProvider::createSHA224DigestEngine, &CryptoProvider::createSHA256DigestEngine,
                              &CryptoProvider::createSHA384DigestEngine, &CryptoProvider::createSHA512DigestEngine}) {
        auto const engine = (provider.*create)();
        ByteArray const inOnePiece = tour.timed([&] { return engine->computeDigest(tour.content()); });
        ByteArray const inPieces = tour.timed([&] {
            constexpr std::size_t piece = 4096;
            for (std::size_t at = 0; at < tour.content().size(); at += piece) {
                engine->update(tour.content().data() + at, std::min(piece, tour.content().size() - at));
            }
            return engine->finalize();
        });
        ByteArray const asStream = tour.timed([&] {
            std::ifstream file = tour.open();
            return engine->computeDigest(file);
        });
        tour.line(engine->getDigestName(), inOnePiece == inPieces && inOnePiece == asStream, hex(inOnePiece));
    }
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
        std::fprintf(stderr, "tour: %s is a folder\n", path.c_str());
        return std::nullopt;
    }
    std::ifstream file(path, std::ios::binary);
    ByteArray content;
    if (file) {
        content.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
    if (!file) {
        std::fprintf(stderr, "tour: cannot read %s\n", path.c_str());
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
    showECCSignatures(tour);
    std::printf("\n  %s\n\n", tour.allRight() ? "Everything agrees." : "SOMETHING DISAGREES.");
    return tour.allRight();
}

} // namespace

int main(int count, char** arguments) {
    std::vector<std::string> const paths(arguments + 1, arguments + count);
    if (paths.empty()) {
        std::fprintf(stderr, "usage: tour FILE...\n");
        return 2;
    }
    bool allRight = true;
    for (std::string const& path : paths) {
        try {
            allRight = visit(path) && allRight;
        } catch (std::exception const& error) {
            std::fprintf(stderr, "tour: %s: %s\n", path.c_str(), error.what());
            allRight = false;
        }
    }
    return allRight ? 0 : 1;
}
