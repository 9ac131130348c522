// Authenticates a file with HMAC-SHA-256 under the key in another file: prints the code, or checks the one it is given.
#include "Files.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <cstddef>
#include <cstdio>
#include <exception>
#include <fstream>
#include <string>

namespace {

std::string codeOf(char const* path, char const* keyPath) {
    foundation::crypto::openssl::CryptoProvider const provider;
    std::ifstream file = files::open(path);
    auto const code = provider.createHMACSHA256DigestEngine(files::read(keyPath))->computeDigest(file);
    files::requireReadToItsEnd(file, path);
    return files::hex(code);
}

/// Takes the same time wherever the codes differ, so that nobody can guess a code piece by piece.
bool equal(std::string const& left, std::string const& right) {
    unsigned difference = left.size() == right.size() ? 0 : 1;
    for (std::size_t i = 0; i < left.size() && i < right.size(); ++i) {
        difference |= static_cast<unsigned>(left[i]) ^ static_cast<unsigned>(right[i]);
    }
    return difference == 0;
}

} // namespace

int main(int count, char** arguments) {
    if (count != 3 && count != 4) {
        std::fprintf(stderr, "usage: authenticate_file KEYFILE FILE [CODE]\n");
        return 2;
    }
    try {
        std::string const code = codeOf(arguments[2], arguments[1]);
        if (count == 3) {
            std::printf("%s\n", code.c_str());
            return 0;
        }
        bool const genuine = equal(code, arguments[3]);
        std::printf("%s: %s\n", arguments[2], genuine ? "genuine" : "NOT GENUINE");
        return genuine ? 0 : 1;
    } catch (std::exception const& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
