// Generates an RSA key of 2048 bits and writes its halves as DER: the private one (PKCS #8, not encrypted) into a file
// that only its owner may read, the public one (SubjectPublicKeyInfo) into a second file. Then loads both again, as a
// later run of a program would.
#include "Files.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <fstream>
#include <stdexcept>

namespace {

using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::ByteArray;

void generate(char const* privatePath, char const* publicPath) {
    CryptoProvider const provider;
    auto const pair = provider.generateRSA2048KeyPair(provider.createDefaultCryptoPRNG({}));
    ByteArray secret = pair->getPrivateKey()->getDER();
    files::writeSecret(privatePath, secret);
    // What is handed out is the caller's to wipe.
    std::fill(secret.begin(), secret.end(), static_cast<unsigned char>(0));
    files::write(publicPath, pair->getPublicKey()->getDER());

    std::ifstream privateFile = files::open(privatePath);
    std::ifstream publicFile = files::open(publicPath);
    auto const privateKey = provider.createRSA2048PrivateKey(privateFile, ""); // the file is not encrypted: no password
    auto const publicKey = provider.createRSA2048PublicKey(publicFile);
    if (privateKey->getModulus() != publicKey->getModulus()) {
        throw std::runtime_error("the files hold halves of different keys");
    }
    std::printf("%s and %s hold an RSA key of %lu bits\n", privatePath, publicPath, publicKey->getKeySize());
}

} // namespace

int main(int count, char** arguments) {
    if (count != 3) {
        std::fprintf(stderr, "usage: generate_rsa_key PRIVATE PUBLIC\n");
        return 2;
    }
    try {
        generate(arguments[1], arguments[2]);
        return 0;
    } catch (std::exception const& error) { // the library's own family among them
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
