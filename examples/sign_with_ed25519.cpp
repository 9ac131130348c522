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
#include "Files.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <cstdio>
#include <exception>
#include <fstream>
#include <string>

namespace {

using namespace foundation::crypto;

openssl::CryptoProvider const provider;

void generate(char const* privatePath, char const* publicPath) {
    auto const pair = provider.generateECCCurve25519KeyPair();
    files::writeSecret(privatePath, pair->getPrivateKey()->getPEM()); // not encrypted
    files::write(publicPath, pair->getPublicKey()->getPEM());
}

void sign(char const* keyPath, char const* path, char const* signaturePath) {
    std::ifstream key = files::open(keyPath);
    std::ifstream file = files::open(path);
    auto const signer = provider.createECCCurve25519Signer(provider.createECCCurve25519PrivateKey(key, ""));
    utils::ByteArray const signature = signer->sign(file, provider.createSHA512DigestEngine());
    files::requireReadToItsEnd(file, path);
    files::write(signaturePath, signature);
}

bool verify(char const* keyPath, char const* path, char const* signaturePath) {
    std::ifstream key = files::open(keyPath);
    std::ifstream file = files::open(path);
    utils::ByteArray const signature = files::read(signaturePath);
    auto const verifier = provider.createECCCurve25519Verifier(provider.createECCCurve25519PublicKey(key));
    bool const valid = verifier->verify(file, signature, provider.createSHA512DigestEngine()).isValid();
    files::requireReadToItsEnd(file, path);
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
        return 1;
    }
    std::fprintf(stderr, "usage: sign_with_ed25519 generate PRIVATE PUBLIC\n"
                         "       sign_with_ed25519 sign PRIVATE FILE SIGNATURE\n"
                         "       sign_with_ed25519 verify PUBLIC FILE SIGNATURE\n");
    return 2;
}
