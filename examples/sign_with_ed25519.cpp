// Makes an Ed25519 key pair, signs a file with it, or checks such a signature:
//
//     sign_with_ed25519 generate private.pem public.pem
//     sign_with_ed25519 sign private.pem FILE SIGNATURE
//     sign_with_ed25519 verify public.pem FILE SIGNATURE
//
// The openssl command does the same with
//
//     openssl pkeyutl -sign -rawin -inkey private.pem -in FILE -out SIGNATURE
//     openssl pkeyutl -verify -rawin -pubin -inkey public.pem -in FILE -sigfile SIGNATURE
#include <foundation/crypto/openssl/CryptoProvider.h>
#include <foundation/crypto/utils/Exceptions.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace {

using namespace foundation::crypto;

openssl::CryptoProvider const provider;

std::ifstream open(char const* path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error(std::string("cannot open ") + path);
    }
    return file;
}

void write(char const* path, utils::ByteArray const& content) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<char const*>(content.data()), static_cast<std::streamsize>(content.size()));
    if (!file.flush()) {
        throw std::runtime_error(std::string("cannot write ") + path);
    }
}

/// A file that breaks off in mid-read ends there as far as the library can see.
void requireReadToItsEnd(std::ifstream const& file, char const* path) {
    if (file.bad()) {
        throw std::runtime_error(std::string("cannot read ") + path + " to its end");
    }
}

void generate(char const* privatePath, char const* publicPath) {
    auto const pair = provider.generateECCCurve25519KeyPair();
    write(privatePath, pair->getPrivateKey()->getPEM()); // not encrypted: keep the file to yourself
    write(publicPath, pair->getPublicKey()->getPEM());
}

void sign(char const* keyPath, char const* path, char const* signaturePath) {
    std::ifstream key = open(keyPath);
    std::ifstream file = open(path);
    auto const signer = provider.createECCCurve25519Signer(provider.createECCCurve25519PrivateKey(key, ""));
    utils::ByteArray const signature = signer->sign(file, provider.createSHA512DigestEngine());
    requireReadToItsEnd(file, path);
    write(signaturePath, signature);
}

bool verify(char const* keyPath, char const* path, char const* signaturePath) {
    std::ifstream key = open(keyPath);
    std::ifstream file = open(path);
    std::ifstream signatureFile = open(signaturePath);
    utils::ByteArray const signature{std::istreambuf_iterator<char>(signatureFile), std::istreambuf_iterator<char>()};
    auto const verifier = provider.createECCCurve25519Verifier(provider.createECCCurve25519PublicKey(key));
    bool const valid = verifier->verify(file, signature, provider.createSHA512DigestEngine()).isValid();
    requireReadToItsEnd(file, path);
    std::puts(valid ? "valid" : "NOT VALID");
    return valid;
}

} // namespace

int main(int count, char** arguments) {
    std::string const task = count > 1 ? arguments[1] : "";
    try {
        if (task == "generate" && count == 4) {
            generate(arguments[2], arguments[3]);
            return 0;
        }
        if (task == "sign" && count == 5) {
            sign(arguments[2], arguments[3], arguments[4]);
            return 0;
        }
        if (task == "verify" && count == 5) {
            return verify(arguments[2], arguments[3], arguments[4]) ? 0 : 1;
        }
    } catch (std::exception const& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
    std::fprintf(stderr, "usage: sign_with_ed25519 generate PRIVATE PUBLIC\n"
                         "       sign_with_ed25519 sign PRIVATE FILE SIGNATURE\n"
                         "       sign_with_ed25519 verify PUBLIC FILE SIGNATURE\n");
    return 2;
}
