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
#include "Program.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <cstdio>
#include <fstream>
#include <istream>
#include <string>

namespace {

using namespace foundation::crypto;

openssl::CryptoProvider const provider;

void generate(std::string const& privatePath, std::string const& publicPath) {
    auto const pair = provider.generateECCCurve25519KeyPair();
    files::writeKeyPair(privatePath, pair->getPrivateKey()->getPEM(), // not encrypted
                        publicPath, pair->getPublicKey()->getPEM());
}

void sign(std::string const& keyPath, std::string const& path, std::string const& signaturePath) {
    auto const key = files::loadKey(
        keyPath, "the private half of an Ed25519 key as PEM, without a password", "openssl pkey -noout -text -in",
        [](std::istream& file) { return provider.createECCCurve25519PrivateKey(file, ""); });
    std::ifstream file = files::open(path);
    utils::ByteArray const signature =
        provider.createECCCurve25519Signer(key)->sign(file, provider.createSHA512DigestEngine());
    files::requireReadToItsEnd(file, path);
    files::write(signaturePath, signature);
}

bool verify(std::string const& keyPath, std::string const& path, std::string const& signaturePath) {
    auto const key =
        files::loadKey(keyPath, "the public half of an Ed25519 key as PEM", "openssl pkey -noout -text -pubin -in",
                       [](std::istream& file) { return provider.createECCCurve25519PublicKey(file); });
    std::ifstream file = files::open(path);
    utils::ByteArray const signature = files::read(signaturePath);
    auto const verifier = provider.createECCCurve25519Verifier(key);
    bool const valid = verifier->verify(file, signature, provider.createSHA512DigestEngine()).isValid();
    files::requireReadToItsEnd(file, path);
    std::puts(valid ? "valid" : "NOT VALID");
    return valid;
}

int run(program::Arguments const& given) {
    std::string const task = given.empty() ? "" : given[0];
    if (task == "generate" && given.size() == 3) {
        generate(given[1], given[2]);
        return 0;
    }
    program::require((task == "sign" || task == "verify") && given.size() == 4);
    for (auto const& kept : {given[1], given[2]}) {
        files::requireDistinct(kept, given[3]);
    }
    if (task == "sign") {
        sign(given[1], given[2], given[3]);
        return 0;
    }
    return verify(given[1], given[2], given[3]) ? 0 : 1;
}

} // namespace

int main(int count, char** arguments) {
    return program::run(count, arguments,
                        "usage: sign_with_ed25519 generate PRIVATE PUBLIC\n"
                        "       sign_with_ed25519 sign PRIVATE FILE SIGNATURE\n"
                        "       sign_with_ed25519 verify PUBLIC FILE SIGNATURE\n",
                        "Memory: 12 MiB and the size of FILE. Status 1 also stands for NOT VALID.\n", run);
}
