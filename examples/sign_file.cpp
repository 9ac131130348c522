// Signs a file with an RSA key, or checks such a signature: RSA-PSS with SHA-256 and a salt of 32 bytes.
//
//     sign_file sign private.pem FILE SIGNATURE
//     sign_file verify public.pem FILE SIGNATURE
//
// The openssl command does the same with
//
//     pss='-sigopt rsa_padding_mode:pss -sigopt rsa_pss_saltlen:32'
//     openssl dgst -sha256 $pss -sign private.pem -out SIGNATURE FILE
//     openssl dgst -sha256 $pss -verify public.pem -signature SIGNATURE FILE
#include "Files.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <cstdio>
#include <exception>
#include <fstream>
#include <string>

namespace {

using namespace foundation::crypto;

openssl::CryptoProvider const provider;

int sign(char const* keyPath, char const* path, char const* signaturePath) {
    std::ifstream keyFile = files::open(keyPath);
    auto const key = provider.createRSA2048PrivateKey(keyFile, ""); // or the password that protects it
    auto const signer =
        provider.createRSA2048Signer(key, utils::RSAPaddingMode::PSS, provider.createDefaultCryptoPRNG({}));

    std::ifstream file = files::open(path);
    utils::ByteArray const signature = signer->sign(file, provider.createSHA256DigestEngine());
    files::requireReadToItsEnd(file, path);
    files::write(signaturePath, signature);
    return 0;
}

int verify(char const* keyPath, char const* path, char const* signaturePath) {
    std::ifstream keyFile = files::open(keyPath);
    auto const key = provider.createRSA2048PublicKey(keyFile);
    auto const verifier =
        provider.createRSA2048Verifier(key, utils::RSAPaddingMode::PSS, provider.createDefaultCryptoPRNG({}));

    utils::ByteArray const signature = files::read(signaturePath);
    std::ifstream file = files::open(path);
    bool const valid = verifier->verify(file, signature, provider.createSHA256DigestEngine()).isValid();
    files::requireReadToItsEnd(file, path);
    std::printf("%s\n", valid ? "valid" : "NOT VALID");
    return valid ? 0 : 1;
}

} // namespace

int main(int count, char** arguments) {
    std::string const what = count == 5 ? arguments[1] : "";
    if (what != "sign" && what != "verify") {
        std::fprintf(stderr, "usage: sign_file sign|verify KEY FILE SIGNATURE\n");
        return 2;
    }
    try {
        return (what == "sign" ? sign : verify)(arguments[2], arguments[3], arguments[4]);
    } catch (std::exception const& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
