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
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using foundation::crypto::interfaces::IDigestEngine;
using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::AESMode;
using foundation::crypto::utils::AESPaddingMode;
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
    showRandomBytes(tour);
    showAES(tour);
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
