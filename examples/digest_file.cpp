// Prints the SHA-256 digest of a file, as sha256sum does. The file is read in small pieces, whatever its size.
#include "Files.h"
#include "Program.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace {

void printDigest(std::string const& path) {
    foundation::crypto::openssl::CryptoProvider const provider;
    std::ifstream file = files::open(path);
    auto const digest = provider.createSHA256DigestEngine()->computeDigest(file);
    files::requireReadToItsEnd(file, path);
    std::printf("%s  %s\n", files::hex(digest).c_str(), path.c_str());
}

int run(program::Arguments const& given) {
    program::require(given.size() == 1);
    printDigest(given[0]);
    return 0;
}

} // namespace

int main(int count, char** arguments) {
    return program::run(count, arguments, "usage: digest_file FILE\n", "Memory: 12 MiB.\n", run);
}
