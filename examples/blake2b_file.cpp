// Prints the BLAKE2b digest of a file, as b2sum does, in as many bytes as asked for.
#include "Files.h"
#include "Program.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

namespace {

void printDigest(std::string const& path, std::size_t size) {
    foundation::crypto::openssl::CryptoProvider const provider;
    std::ifstream file = files::open(path);
    // No key makes it a plain hash; a salt would have no effect then.
    auto const digest = provider.createBlake2bDigestEngineWithCustomSize({}, {}, size)->computeDigest(file);
    files::requireReadToItsEnd(file, path);
    std::printf("%s  %s\n", files::hex(digest).c_str(), path.c_str());
}

int run(program::Arguments const& given) {
    program::require(given.size() == 1 || given.size() == 2);
    printDigest(given[0], given.size() == 2 ? std::strtoul(given[1].c_str(), nullptr, 10) : 64);
    return 0;
}

} // namespace

int main(int count, char** arguments) {
    return program::run(count, arguments, "usage: blake2b_file FILE [BYTES]\n", "Memory: 12 MiB.\n", run);
}
