// Signs a file with an RSA key that stays inside a hardware security module, and writes the signature into another
// file:
//
//     uri='pkcs11:token=t;object=k;type=private?pin-source=/run/pin'
//     sign_with_hsm /usr/lib/softhsm/libsofthsm2.so "$uri" FILE SIGNATURE
//
// The openssl command checks it with the public key:
//
//     pss='-sigopt rsa_padding_mode:pss -sigopt rsa_pss_saltlen:32'
//     openssl dgst -sha256 $pss -verify public.pem -signature SIGNATURE FILE
#include "Files.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <cstdio>
#include <exception>
#include <fstream>

namespace {

using namespace foundation::crypto;

void sign(char const* module, char const* uri, char const* path, char const* signaturePath) {
    std::ifstream file = files::open(path);
    openssl::CryptoProvider const provider;
    // A program with several threads wraps the signer: see SerializedHSMSigner.h.
    auto const signer = provider.createHSMSigner(utils::HSMObject(module, uri), utils::RSAPaddingMode::PSS, nullptr);
    utils::ByteArray const signature = signer->sign(file, provider.createSHA256DigestEngine());
    files::requireReadToItsEnd(file, path);
    files::write(signaturePath, signature);
}

} // namespace

int main(int count, char** arguments) {
    if (count != 5) {
        std::fprintf(stderr, "usage: sign_with_hsm MODULE URI FILE SIGNATURE\n");
        return 2;
    }
    try {
        sign(arguments[1], arguments[2], arguments[3], arguments[4]);
        return 0;
    } catch (std::exception const& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
