// Authenticates a file with HMAC-SHA-256 under the key in another file: prints the code, or checks the one it is given.
#include "Files.h"
#include "Program.h"
#include "Secrets.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>

namespace {

std::string codeOf(std::string const& path, std::string const& keyPath) {
    foundation::crypto::openssl::CryptoProvider const provider;
    auto const key = files::read(keyPath);
    if (key.empty()) { // anybody can make codes with it
        throw std::runtime_error(keyPath + ": the key is empty; try: head -c 32 /dev/urandom >" + keyPath);
    }
    std::ifstream file = files::open(path);
    auto const code = provider.createHMACSHA256DigestEngine(key)->computeDigest(file);
    files::requireReadToItsEnd(file, path);
    return files::hex(code);
}

int run(program::Arguments const& given) {
    program::require(given.size() == 2 || given.size() == 3);
    std::string const code = codeOf(given[1], given[0]);
    if (given.size() == 2) {
        std::printf("%s\n", code.c_str());
        return 0;
    }
    bool const genuine = secrets::equal(code, given[2]);
    std::printf("%s: %s\n", given[1].c_str(), genuine ? "genuine" : "NOT GENUINE");
    return genuine ? 0 : 1;
}

} // namespace

int main(int count, char** arguments) {
    return program::run(count, arguments, "usage: authenticate_file KEYFILE FILE [CODE]\n",
                        "Memory: 12 MiB. Status 1 also stands for NOT GENUINE.\n", run);
}
