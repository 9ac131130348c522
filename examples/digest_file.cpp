// Prints the SHA-256 digest of a file, as sha256sum does. The file is read in small pieces, whatever its size.
#include "Files.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <cstdio>
#include <exception>
#include <fstream>

namespace {

void printDigest(char const* path) {
    foundation::crypto::openssl::CryptoProvider const provider;
    std::ifstream file = files::open(path);
    auto const digest = provider.createSHA256DigestEngine()->computeDigest(file);
    files::requireReadToItsEnd(file, path);
    std::printf("%s  %s\n", files::hex(digest).c_str(), path);
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        std::fprintf(stderr, "usage: digest_file FILE\n");
        return 2;
    }
    try {
        printDigest(arguments[1]);
        return 0;
    } catch (std::exception const& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
