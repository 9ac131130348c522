// Encrypts a file so that nobody without the key can read it or change it unnoticed, and opens it again: AES-256 in GCM
// with a fresh nonce for each file, which is written in front of the cipher text.
//
//     seal_file key KEY            draws a new key into the file KEY
//     seal_file seal KEY IN OUT
//     seal_file open KEY IN OUT
#include "Files.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <cstddef>
#include <cstdio>
#include <exception>
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
        throw std::runtime_error("a file is too short");
    }
    return bytes;
}

auto readKey(std::string const& path) {
    std::ifstream input = files::open(path);
    ByteArray bytes = read(input, keySize);
    auto key = provider.createAES256Key(bytes);
    bytes.assign(bytes.size(), 0); // the key object wipes its own copy
    return key;
}

void seal(std::string const& keyPath, std::istream& input, std::ostream& output) {
    // One nonce serves one message: a new one for each encryptor, and one encryptor for each file.
    ByteArray const nonce = provider.createDefaultCryptoPRNG({})->generateRandomBytes(nonceSize);
    auto const encryptor =
        provider.createAES256Encryptor(readKey(keyPath), nonce, AESMode::GCM, AESPaddingMode::NoPadding, nullptr);
    output.write(reinterpret_cast<char const*>(nonce.data()), static_cast<std::streamsize>(nonce.size()));
    encryptor->encrypt(input, output);
}

void open(std::string const& keyPath, std::istream& input, std::ostream& output) {
    ByteArray const nonce = read(input, nonceSize);
    // Throws for a wrong key and for a file that was changed; nothing is written then.
    provider.createAES256Decryptor(readKey(keyPath), nonce, AESMode::GCM, AESPaddingMode::NoPadding, nullptr)
        ->decrypt(input, output);
}

int run(int count, char** arguments) {
    std::string const command = count > 1 ? arguments[1] : "";
    if (command == "key" && count == 3) {
        files::writeSecret(arguments[2], provider.createDefaultCryptoPRNG({})->generateRandomBytes(keySize));
        return 0;
    }
    if ((command != "seal" && command != "open") || count != 5) {
        std::fprintf(stderr, "usage: seal_file key KEY | seal KEY IN OUT | open KEY IN OUT\n");
        return 2;
    }
    std::ifstream input = files::open(arguments[3]);
    std::ostringstream result; // so that a failure leaves no half-made file
    (command == "seal" ? seal : open)(arguments[2], input, result);
    std::string const content = result.str();
    files::write(arguments[4], ByteArray(content.begin(), content.end()));
    return 0;
}

} // namespace

int main(int count, char** arguments) {
    try {
        return run(count, arguments);
    } catch (std::exception const& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
