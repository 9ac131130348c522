// Encrypts a file so that nobody without the key can read it or change it unnoticed, and opens it again: AES-256 in GCM
// with a fresh nonce for each file, which is written in front of the cipher text.
//
//     seal_file key KEY            draws a new key into the file KEY
//     seal_file seal KEY IN OUT
//     seal_file open KEY IN OUT
//
// IN and OUT may be the same file.
#include "Files.h"
#include "Program.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <cstddef>
#include <fstream>
#include <istream>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>

namespace {

using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::AESMode;
using foundation::crypto::utils::AESPaddingMode;
using foundation::crypto::utils::ByteArray;

constexpr std::size_t keySize = 32;
constexpr std::size_t nonceSize = 12;

CryptoProvider const provider;

ByteArray read(std::istream& input, std::size_t size) {
    ByteArray bytes(size);
    if (!input.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size))) {
        throw std::runtime_error("the file is too short");
    }
    return bytes;
}

auto readKey(std::string const& path) {
    return files::loadKey(path, "a file made by seal_file key", "ls -l", [](std::istream& input) {
        ByteArray bytes = read(input, keySize);
        if (input.peek() != std::istream::traits_type::eof()) {
            throw std::runtime_error("the file is too long");
        }
        auto key = provider.createAES256Key(bytes);
        bytes.assign(bytes.size(), 0); // the key object wipes its own copy
        return key;
    });
}

void seal(std::string const& keyPath, std::istream& input, std::string const& path, std::ostream& output) {
    // One nonce serves one message: a new one for each encryptor, and one encryptor for each file.
    ByteArray const nonce = provider.createDefaultCryptoPRNG({})->generateRandomBytes(nonceSize);
    auto const encryptor =
        provider.createAES256Encryptor(readKey(keyPath), nonce, AESMode::GCM, AESPaddingMode::NoPadding, nullptr);
    output.write(reinterpret_cast<char const*>(nonce.data()), static_cast<std::streamsize>(nonce.size()));
    files::named(path, [&] { encryptor->encrypt(input, output); });
}

void open(std::string const& keyPath, std::istream& input, std::string const& path, std::ostream& output) {
    auto const key = readKey(keyPath);
    files::named(path, [&] {
        ByteArray const nonce = read(input, nonceSize);
        // Throws for a wrong key and for a file that was changed; nothing is written then.
        provider.createAES256Decryptor(key, nonce, AESMode::GCM, AESPaddingMode::NoPadding, nullptr)
            ->decrypt(input, output);
    });
}

void transformFile(std::string const& command, std::string const& keyPath, std::string const& inputPath,
                   std::string const& outputPath) {
    std::ifstream input = files::open(inputPath);
    std::ostringstream result;
    (command == "seal" ? seal : open)(keyPath, input, inputPath, result);
    files::requireReadToItsEnd(input, inputPath);
    files::write(outputPath, result);
}

int run(program::Arguments const& given) {
    if (given.size() == 2 && given[0] == "key") {
        files::writeSecret(given[1], provider.createDefaultCryptoPRNG({})->generateRandomBytes(keySize));
        return 0;
    }
    program::require(given.size() == 4 && (given[0] == "seal" || given[0] == "open"));
    files::requireDistinct(given[1], given[3]); // nothing opens a file whose key is gone
    transformFile(given[0], given[1], given[2], given[3]);
    return 0;
}

} // namespace

int main(int count, char** arguments) {
    return program::run(count, arguments, "usage: seal_file key KEY | seal KEY IN OUT | open KEY IN OUT\n",
                        "Memory: 12 MiB and 3 times the size of IN.\n", run);
}
