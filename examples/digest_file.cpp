// Prints the SHA-256 digest of a file, as sha256sum does. The file is read in small pieces, whatever its size.
#include <foundation/crypto/openssl/CryptoProvider.h>
#include <foundation/crypto/utils/Exceptions.h>

#include <cstdio>
#include <fstream>

namespace {

int printDigest(char const* path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "cannot open %s\n", path);
        return 1;
    }
    foundation::crypto::openssl::CryptoProvider const provider;
    auto const digest = provider.createSHA256DigestEngine()->computeDigest(file);
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
    if (count != 2) {
        std::fprintf(stderr, "usage: digest_file FILE\n");
        return 2;
    }
    try {
        return printDigest(arguments[1]);
    } catch (foundation::crypto::utils::Exception const& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
