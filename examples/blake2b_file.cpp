// Prints the BLAKE2b digest of a file, as b2sum does, in as many bytes as asked for.
#include <foundation/crypto/openssl/CryptoProvider.h>
#include <foundation/crypto/utils/Exceptions.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace {

int printDigest(char const* path, std::size_t size) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "cannot open %s\n", path);
        return 1;
    }
    foundation::crypto::openssl::CryptoProvider const provider;
    // No key makes it a plain hash; a salt would have no effect then.
    auto const digest = provider.createBlake2bDigestEngineWithCustomSize({}, {}, size)->computeDigest(file);
    if (file.bad()) {
        std::fprintf(stderr, "cannot read %s to its end\n", path);
        return 1;
    }
    for (unsigned char const byte : digest) {
        std::printf("%02x", static_cast<unsigned>(byte));
    }
    std::printf("  %s\n", path);
    return 0;
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2 && count != 3) {
        std::fprintf(stderr, "usage: blake2b_file FILE [BYTES]\n");
        return 2;
    }
    try {
        return printDigest(arguments[1], count == 3 ? std::strtoul(arguments[2], nullptr, 10) : 64);
    } catch (foundation::crypto::utils::Exception const& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
