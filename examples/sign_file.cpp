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
#include "Program.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <cstdio>
#include <fstream>
#include <istream>
#include <string>

namespace {

using namespace foundation::crypto;

openssl::CryptoProvider const provider;

int sign(std::string const& keyPath, std::string const& path, std::string const& signaturePath) {
    auto const key = files::loadKey(
        keyPath, "the private half of an RSA key of 2048 bits, without a password", "openssl pkey -noout -text -in",
        [](std::istream& file) { return provider.createRSA2048PrivateKey(file, ""); }); // or the key's password
    auto const signer =
        provider.createRSA2048Signer(key, utils::RSAPaddingMode::PSS, provider.createDefaultCryptoPRNG({}));

    std::ifstream file = files::open(path);
    utils::ByteArray const signature = signer->sign(file, provider.createSHA256DigestEngine());
    files::requireReadToItsEnd(file, path);
    files::write(signaturePath, signature);
    return 0;
}

int verify(std::string const& keyPath, std::string const& path, std::string const& signaturePath) {
    auto const key =
        files::loadKey(keyPath, "the public half of an RSA key of 2048 bits", "openssl pkey -noout -text -pubin -in",
                       [](std::istream& file) { return provider.createRSA2048PublicKey(file); });
    auto const verifier =
        provider.createRSA2048Verifier(key, utils::RSAPaddingMode::PSS, provider.createDefaultCryptoPRNG({}));

    utils::ByteArray const signature = files::read(signaturePath);
    std::ifstream file = files::open(path);
    bool const valid = verifier->verify(file, signature, provider.createSHA256DigestEngine()).isValid();
    files::requireReadToItsEnd(file, path);
    std::printf("%s\n", valid ? "valid" : "NOT VALID");
    return valid ? 0 : 1;
}

int run(program::Arguments const& given) {
    program::require(given.size() == 4 && (given[0] == "sign" || given[0] == "verify"));
    for (auto const& kept : {given[1], given[2]}) {
        files::requireDistinct(kept, given[3]);
    }
    return (given[0] == "sign" ? sign : verify)(given[1], given[2], given[3]);
}

} // namespace

int main(int count, char** arguments) {
    return program::run(count, arguments, "usage: sign_file sign|verify KEY FILE SIGNATURE\n",
                        "Memory: 12 MiB and the size of FILE. Status 1 also stands for NOT VALID.\n", run);
}
