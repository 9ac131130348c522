// Derives a key from the password on standard input (one line) with PBKDF2, and prints it with the salt that was drawn
// for it; given that salt again, derives the same key.
#include "Files.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <cstdio>
#include <exception>
#include <iostream>
#include <string>

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
            count == 2 ? arguments[1] : files::hex(provider.createDefaultCryptoPRNG({})->generateRandomBytes(16));
        constexpr int keyLength = 32;
        constexpr int iterations = 210000; // a tenth of a second or so: what a login can bear, and a guesser cannot
        std::printf("salt %s\nkey  %s\n", salt.c_str(),
                    files::hex(provider.deriveKeyUsingPBKDF2(password, salt, keyLength, iterations)).c_str());
        return 0;
    } catch (std::exception const& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
