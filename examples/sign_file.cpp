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

/// A file that breaks off in mid-read ends there as far as the library can see.
void requireReadToItsEnd(std::ifstream const& file, char const* path) {
    if (file.bad()) {
        throw std::runtime_error(std::string("cannot read ") + path + " to its end");
    }
}

int sign(char const* keyPath, char const* path, char const* signaturePath) {
    std::ifstream keyFile = open(keyPath);
    auto const key = provider.createRSA2048PrivateKey(keyFile, ""); // or the password that protects it
    auto const signer =
        provider.createRSA2048Signer(key, utils::RSAPaddingMode::PSS, provider.createDefaultCryptoPRNG({}));

    std::ifstream file = open(path);
    utils::ByteArray const signature = signer->sign(file, provider.createSHA256DigestEngine());
    requireReadToItsEnd(file, path);

    std::ofstream output(signaturePath, std::ios::binary);
    output.write(reinterpret_cast<char const*>(signature.data()), static_cast<std::streamsize>(signature.size()));
    if (!output.flush()) {
        throw std::runtime_error(std::string("cannot write ") + signaturePath);
    }
    return 0;
}

int verify(char const* keyPath, char const* path, char const* signaturePath) {
    std::ifstream keyFile = open(keyPath);
    auto const key = provider.createRSA2048PublicKey(keyFile);
    auto const verifier =
        provider.createRSA2048Verifier(key, utils::RSAPaddingMode::PSS, provider.createDefaultCryptoPRNG({}));

    std::ifstream signatureFile = open(signaturePath);
    utils::ByteArray const signature{std::istreambuf_iterator<char>(signatureFile), std::istreambuf_iterator<char>()};
    std::ifstream file = open(path);
    bool const valid = verifier->verify(file, signature, provider.createSHA256DigestEngine()).isValid();
    requireReadToItsEnd(file, path);
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
