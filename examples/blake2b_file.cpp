// Prints the BLAKE2b digest of a file, as b2sum does, in as many bytes as asked for.
#include "Files.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>

namespace {

void printDigest(char const* path, std::size_t size) {
    foundation::crypto::openssl::CryptoProvider const provider;
    std::ifstream file = files::open(path);
    // No key makes it a plain hash; a salt would have no effect then.
    auto const digest = provider.createBlake2bDigestEngineWithCustomSize({}, {}, size)->computeDigest(file);
    files::requireReadToItsEnd(file, path);
    std::printf("%s  %s\n", files::hex(digest).c_str(), path);
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2 && count != 3) {
        std::fprintf(stderr, "usage: blake2b_file FILE [BYTES]\n");
        return 2;
    }
    try {
        printDigest(arguments[1], count == 3 ? std::strtoul(arguments[2], nullptr, 10) : 64);
        return 0;
    } catch (std::exception const& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
