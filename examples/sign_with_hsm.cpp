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
#include "Program.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <fstream>
#include <string>

namespace {

using namespace foundation::crypto;

void sign(std::string const& module, std::string const& uri, std::string const& path,
          std::string const& signaturePath) {
    std::ifstream file = files::open(path);
    openssl::CryptoProvider const provider;
    // A program with several threads wraps the signer: see SerializedHSMSigner.h.
    auto const signer = provider.createHSMSigner(utils::HSMObject(module, uri), utils::RSAPaddingMode::PSS, nullptr);
    utils::ByteArray const signature = signer->sign(file, provider.createSHA256DigestEngine());
    files::requireReadToItsEnd(file, path);
    files::write(signaturePath, signature);
}

int run(program::Arguments const& given) {
    program::require(given.size() == 4);
    for (auto const& kept : {given[0], given[2]}) {
        files::requireDistinct(kept, given[3]);
    }
    sign(given[0], given[1], given[2], given[3]);
    return 0;
}

} // namespace

int main(int count, char** arguments) {
    return program::run(count, arguments, "usage: sign_with_hsm MODULE URI FILE SIGNATURE\n",
                        "Memory: 12 MiB and the size of FILE, and what the module takes.\n", run);
}
