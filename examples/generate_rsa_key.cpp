// Generates an RSA key of 2048 bits and writes its halves as DER: the private one (PKCS #8, not encrypted) into a file
// that only its owner may read, the public one (SubjectPublicKeyInfo) into a second file. Then loads both again, as a
// later run of a program would.
#include "Files.h"
#include "Program.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>

namespace {

using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::ByteArray;

void generate(std::string const& privatePath, std::string const& publicPath) {
    CryptoProvider const provider;
    auto const pair = provider.generateRSA2048KeyPair(provider.createDefaultCryptoPRNG({}));
    ByteArray secret = pair->getPrivateKey()->getDER();
    files::writeKeyPair(privatePath, secret, publicPath, pair->getPublicKey()->getDER());
    // What is handed out is the caller's to wipe.
    std::fill(secret.begin(), secret.end(), static_cast<unsigned char>(0));

    std::ifstream privateFile = files::open(privatePath);
    std::ifstream publicFile = files::open(publicPath);
    auto const privateKey = provider.createRSA2048PrivateKey(privateFile, ""); // the file is not encrypted: no password
    auto const publicKey = provider.createRSA2048PublicKey(publicFile);
    if (privateKey->getModulus() != publicKey->getModulus()) {
        throw std::runtime_error("the files hold halves of different keys");
    }
    std::printf("%s and %s hold an RSA key of %lu bits\n", privatePath.c_str(), publicPath.c_str(),
                publicKey->getKeySize());
}

int run(program::Arguments const& given) {
    program::require(given.size() == 2);
    generate(given[0], given[1]);
    return 0;
}

} // namespace

int main(int count, char** arguments) {
    return program::run(count, arguments, "usage: generate_rsa_key PRIVATE PUBLIC\n", "Memory: 12 MiB.\n", run);
}
