// Encrypts a file of any length with an RSA public key, or decrypts it with the private key: RSA-OAEP with SHA-256,
// block by block.
//
//     encrypt_file encrypt public.pem FILE ENCRYPTED
//     encrypt_file decrypt private.pem ENCRYPTED FILE
//
// This suits what is short, such as a key for a symmetric cipher. For long files a symmetric cipher is thousands of
// times faster, and one that authenticates (AES-GCM) also shows when something was cut off, moved or put in.
#include "Files.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <cstdio>
#include <exception>
#include <fstream>
#include <functional>
#include <istream>
#include <ostream>
#include <stdexcept>
#include <string>

namespace {

using namespace foundation::crypto;

openssl::CryptoProvider const provider;

using Operation = std::function<void(std::istream& input, std::ostream& output)>;

Operation encryptWith(char const* keyPath) {
    std::ifstream keyFile = files::open(keyPath);
    auto const key = provider.createRSA2048PublicKey(keyFile);
    auto const encryptor =
        provider.createRSA2048Encryptor(key, utils::RSAPaddingMode::OAEP_SHA256, provider.createDefaultCryptoPRNG({}));
    return [encryptor](std::istream& input, std::ostream& output) { encryptor->encrypt(input, output); };
}

Operation decryptWith(char const* keyPath) {
    std::ifstream keyFile = files::open(keyPath);
    auto const key = provider.createRSA2048PrivateKey(keyFile, ""); // or the password that protects it
    auto const decryptor =
        provider.createRSA2048Decryptor(key, utils::RSAPaddingMode::OAEP_SHA256, provider.createDefaultCryptoPRNG({}));
    return [decryptor](std::istream& input, std::ostream& output) { decryptor->decrypt(input, output); };
}

void transformFile(Operation const& operation, char const* inputPath, char const* outputPath) {
    std::ifstream input = files::open(inputPath);
    std::ofstream output(outputPath, std::ios::binary);
    try {
        operation(input, output);
        // Neither a file that breaks off in mid-read nor a full disk is an exception, unless the streams are told so.
        files::requireReadToItsEnd(input, inputPath);
        if (!output.flush()) {
            throw std::runtime_error(std::string("cannot write ") + outputPath);
        }
    } catch (std::exception const&) {
        std::remove(outputPath); // what was written so far is not the whole
        throw;
    }
}

} // namespace

int main(int count, char** arguments) {
    std::string const what = count == 5 ? arguments[1] : "";
    if (what != "encrypt" && what != "decrypt") {
        std::fprintf(stderr, "usage: encrypt_file encrypt|decrypt KEY INPUT OUTPUT\n");
        return 2;
    }
    try {
        auto const operation = what == "encrypt" ? encryptWith(arguments[2]) : decryptWith(arguments[2]);
        transformFile(operation, arguments[3], arguments[4]);
        return 0;
    } catch (std::exception const& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
