// Derives a key from the password on standard input (one line) with PBKDF2, and prints it with the salt that was drawn
// for it; given that salt again, derives the same key.
#include <foundation/crypto/openssl/CryptoProvider.h>
#include <foundation/crypto/utils/Exceptions.h>

#include <cstdio>
#include <iostream>
#include <string>

namespace {

using foundation::crypto::utils::ByteArray;

std::string hex(ByteArray const& bytes) {
    std::string text;
    for (unsigned char const byte : bytes) {
        text += "0123456789abcdef"[byte >> 4U];
        text += "0123456789abcdef"[byte & 0x0fU];
    }
    return text;
}

} // namespace

int main(int count, char** arguments) {
    if (count > 2) {
        std::fprintf(stderr, "usage: derive_key [SALT] <PASSWORDFILE\n");
        return 2;
    }
    try {
        foundation::crypto::openssl::CryptoProvider const provider;
        std::string password;
        std::getline(std::cin, password);
        // The salt counts as it is written: 32 hexadecimal digits made of 16 random bytes.
        std::string const salt =
            count == 2 ? arguments[1] : hex(provider.createDefaultCryptoPRNG({})->generateRandomBytes(16));
        constexpr int keyLength = 32;
        constexpr int iterations = 210000; // a tenth of a second or so: what a login can bear, and a guesser cannot
        std::printf("salt %s\nkey  %s\n", salt.c_str(),
                    hex(provider.deriveKeyUsingPBKDF2(password, salt, keyLength, iterations)).c_str());
        return 0;
    } catch (foundation::crypto::utils::Exception const& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
