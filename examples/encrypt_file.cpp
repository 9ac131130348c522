// Encrypts a file of any length with an RSA public key, or decrypts it with the private key: RSA-OAEP with SHA-256,
// block by block.
//
//     encrypt_file encrypt public.pem FILE ENCRYPTED
//     encrypt_file decrypt private.pem ENCRYPTED FILE
//
// This suits what is short, such as a key for a symmetric cipher. For long files a symmetric cipher is thousands of
// times faster, and one that authenticates (AES-GCM) also shows when something was cut off, moved or put in. FILE and
// ENCRYPTED may be the same file.
#include "Files.h"
#include "Program.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <fstream>
#include <functional>
#include <istream>
#include <ostream>
#include <sstream>
#include <string>

namespace {

using namespace foundation::crypto;

openssl::CryptoProvider const provider;

using Operation = std::function<void(std::istream& input, std::ostream& output)>;

Operation encryptWith(std::string const& keyPath) {
    auto const key =
        files::loadKey(keyPath, "the public half of an RSA key of 2048 bits", "openssl pkey -noout -text -pubin -in",
                       [](std::istream& file) { return provider.createRSA2048PublicKey(file); });
    auto const encryptor =
        provider.createRSA2048Encryptor(key, utils::RSAPaddingMode::OAEP_SHA256, provider.createDefaultCryptoPRNG({}));
    return [encryptor](std::istream& input, std::ostream& output) { encryptor->encrypt(input, output); };
}

Operation decryptWith(std::string const& keyPath) {
    auto const key = files::loadKey(
        keyPath, "the private half of an RSA key of 2048 bits, without a password", "openssl pkey -noout -text -in",
        [](std::istream& file) { return provider.createRSA2048PrivateKey(file, ""); }); // or the key's password
    auto const decryptor =
        provider.createRSA2048Decryptor(key, utils::RSAPaddingMode::OAEP_SHA256, provider.createDefaultCryptoPRNG({}));
    return [decryptor](std::istream& input, std::ostream& output) { decryptor->decrypt(input, output); };
}

void transformFile(Operation const& operation, std::string const& inputPath, std::string const& outputPath) {
    std::ifstream input = files::open(inputPath);
    std::ostringstream result;
    files::named(inputPath, [&] { operation(input, result); });
    // A file that breaks off in mid-read is no exception, unless the stream is told so.
    files::requireReadToItsEnd(input, inputPath);
    files::write(outputPath, result);
}

int run(program::Arguments const& given) {
    program::require(given.size() == 4 && (given[0] == "encrypt" || given[0] == "decrypt"));
    files::requireDistinct(given[1], given[3]); // the key is still needed
    transformFile((given[0] == "encrypt" ? encryptWith : decryptWith)(given[1]), given[2], given[3]);
    return 0;
}

} // namespace

int main(int count, char** arguments) {
    return program::run(count, arguments, "usage: encrypt_file encrypt|decrypt KEY INPUT OUTPUT\n",
                        "Memory: 12 MiB and 3 times the size of INPUT.\n", run);
}
