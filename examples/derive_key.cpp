// Derives a key from the password on standard input (one line) with PBKDF2, and prints it with the salt that was drawn
// for it; given that salt again, derives the same key.
#include "Files.h"
#include "Program.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <cstdio>
#include <iostream>
#include <stdexcept>
#include <string>

namespace {

int run(program::Arguments const& given) {
    program::require(given.size() <= 1);
    foundation::crypto::openssl::CryptoProvider const provider;
    std::string password;
    std::getline(std::cin, password);
    if (password.empty()) { // also where nothing can be read: everybody could derive that key
        throw std::runtime_error("there is no password on the standard input; try: derive_key <PASSWORDFILE");
    }
    // The salt counts as it is written: 32 hexadecimal digits made of 16 random bytes.
    std::string const salt =
        given.size() == 1 ? given[0] : files::hex(provider.createDefaultCryptoPRNG({})->generateRandomBytes(16));
    constexpr int keyLength = 32;
    constexpr int iterations = 210000; // a tenth of a second or so: what a login can bear, and a guesser cannot
    std::printf("salt %s\nkey  %s\n", salt.c_str(),
                files::hex(provider.deriveKeyUsingPBKDF2(password, salt, keyLength, iterations)).c_str());
    return 0;
}

} // namespace

int main(int count, char** arguments) {
    return program::run(count, arguments, "usage: derive_key [SALT] <PASSWORDFILE\n", "Memory: 12 MiB.\n", run);
}
