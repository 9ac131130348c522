// Makes an RSA key that is kept under a password, and signs with it: RSA-PSS with SHA-256.
//
//     protected_key generate PRIVATE PUBLIC [PASSWORDFILE]
//     protected_key sign PRIVATE FILE SIGNATURE [PASSWORDFILE]
//
// The password is asked for at the terminal, or is the first line of PASSWORDFILE, which may be /dev/stdin or, for a
// descriptor that the program is started with, /dev/fd/N. `sign_file verify PUBLIC FILE SIGNATURE` checks a signature.
//
// The library opens encrypted keys and gives keys out unencrypted. What lies between is a cipher and a few bytes around
// it: PKCS #8 (RFC 5958) with PBES2 (RFC 8018), in which every program can read the key. PBES2 authenticates nothing,
// so a wrong password looks like a damaged file. A private-key file decides how long opening it takes: it is for one's
// own files.
#include "Files.h"
#include "Program.h"
#include "Secrets.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <cstddef>
#include <fstream>
#include <istream>
#include <string>

namespace {

using namespace foundation::crypto;
using files::der;
using foundation::crypto::utils::ByteArray;
using secrets::Password;

openssl::CryptoProvider const provider;

constexpr int iterations = 210000; // a tenth of a second or so

/// EncryptedPrivateKeyInfo: PBKDF2 over HMAC-SHA-512, and AES-256 in CBC.
ByteArray encrypt(ByteArray const& privateKeyInfo, Password const& password) {
    constexpr unsigned char integer = 0x02;
    constexpr unsigned char octets = 0x04;
    constexpr unsigned char object = 0x06;
    constexpr unsigned char sequence = 0x30;
    static ByteArray const null{0x05, 0x00};
    static ByteArray const pbes2{0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x01, 0x05, 0x0d};
    static ByteArray const pbkdf2{0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x01, 0x05, 0x0c};
    static ByteArray const hmacWithSHA512{0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x02, 0x0b};
    static ByteArray const aes256CBC{0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x01, 0x2a};
    static ByteArray const count{iterations >> 16U, iterations >> 8U & 0xffU, iterations & 0xffU};

    auto const prng = provider.createDefaultCryptoPRNG({});
    ByteArray const salt = prng->generateRandomBytes(16);
    ByteArray const vector = prng->generateRandomBytes(16);
    secrets::Wiped const key(
        provider.deriveKeyUsingPBKDF2(*password, std::string(salt.begin(), salt.end()), 32, iterations));
    ByteArray const encrypted = provider
                                    .createAES256Encryptor(provider.createAES256Key(*key), vector, utils::AESMode::CBC,
                                                           utils::AESPaddingMode::PKCS7, nullptr)
                                    ->encrypt(privateKeyInfo);

    ByteArray const derivation = der(sequence, {der(object, {pbkdf2}), //
                                                der(sequence, {der(octets, {salt}), der(integer, {count}),
                                                               der(sequence, {der(object, {hmacWithSHA512}), null})})});
    ByteArray const cipher = der(sequence, {der(object, {aes256CBC}), der(octets, {vector})});
    ByteArray const algorithm = der(sequence, {der(object, {pbes2}), der(sequence, {derivation, cipher})});
    return der(sequence, {algorithm, der(octets, {encrypted})});
}

ByteArray pem(std::string const& label, ByteArray const& der) {
    std::string const text = files::pem(label, der);
    return {text.begin(), text.end()};
}

void generate(std::string const& privatePath, std::string const& publicPath, Password const& password) {
    auto const pair = provider.generateRSA2048KeyPair(provider.createDefaultCryptoPRNG({}));
    secrets::Wiped const secret(pair->getPrivateKey()->getDER());
    files::writeKeyPair(privatePath, pem("ENCRYPTED PRIVATE KEY", encrypt(*secret, password)), //
                        publicPath, pem("PUBLIC KEY", pair->getPublicKey()->getDER()));
}

void sign(std::string const& keyPath, std::string const& path, std::string const& signaturePath,
          Password const& password) {
    auto const key = files::loadKey(
        keyPath, "the private half of an RSA key of 2048 bits, under that password", "openssl pkey -noout -text -in",
        [&](std::istream& file) { return provider.createRSA2048PrivateKey(file, *password); });
    auto const signer =
        provider.createRSA2048Signer(key, utils::RSAPaddingMode::PSS, provider.createDefaultCryptoPRNG({}));
    std::ifstream file = files::open(path);
    ByteArray const signature = signer->sign(file, provider.createSHA256DigestEngine());
    files::requireReadToItsEnd(file, path);
    files::write(signaturePath, signature);
}

int run(program::Arguments const& given) {
    std::size_t const names = !given.empty() && given[0] == "sign" ? 3 : 2; // of files, beside the password's
    program::require((given.size() == 1 + names || given.size() == 2 + names) &&
                     (given[0] == "sign" || given[0] == "generate"));
    std::string const* const passwordFile = given.size() == 2 + names ? &given.back() : nullptr;
    bool const isToSign = given[0] == "sign";
    for (std::size_t written = isToSign ? 3 : 1; written <= names; ++written) {
        for (std::size_t kept = 1; kept < given.size(); ++kept) {
            if (kept != written) {
                files::requireDistinct(given[kept], given[written]);
            }
        }
    }
    Password const password =
        secrets::password(isToSign ? secrets::Use::toOpen : secrets::Use::toSeal, given[1], passwordFile);
    if (isToSign) {
        sign(given[1], given[2], given[3], password);
    } else {
        generate(given[1], given[2], password);
    }
    return 0;
}

} // namespace

int main(int count, char** arguments) {
    return program::run(count, arguments,
                        "usage: protected_key generate PRIVATE PUBLIC [PASSWORDFILE]\n"
                        "       protected_key sign PRIVATE FILE SIGNATURE [PASSWORDFILE]\n",
                        "Without PASSWORDFILE the password is asked for at the terminal.\n"
                        "Memory: 12 MiB and the size of FILE.\n",
                        run);
}
