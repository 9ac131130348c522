// Encrypts a file under a password, so that nobody without it can read the file or change it unnoticed, and opens it
// again: AES-256 in GCM with a key that PBKDF2 makes of the password.
//
//     seal_with_password seal IN OUT [PASSWORDFILE]
//     seal_with_password open IN OUT [PASSWORDFILE]
//
// The password is asked for at the terminal, or is the first line of PASSWORDFILE, which may be /dev/stdin or, for a
// descriptor that the program is started with, /dev/fd/N. IN and OUT may be the same file.
//
// A sealed file, its numbers big-endian:
//
//     from  bytes
//        0      7  "zrflpwd"
//        7      1  the version of the format, 1
//        8      4  iterations of PBKDF2
//       12     16  salt
//       28     12  nonce
//       40     32  HMAC-SHA-256 of the 40 bytes in front of it
//       72     32  SHA-256 of the 72 bytes in front of it
//      104         cipher text, as long as the plain text, and 16 bytes of tag
//
// PBKDF2 (over HMAC-SHA-512) makes 64 bytes: 32 are AES's key, 32 the header's. They are one block of its output, so
// whoever guesses passwords gains nothing by computing the one half and not the other.
//
// - The digest finds an accident in the header before anything is derived. It has no key, so it is no hindrance to
//   somebody who changes the header on purpose.
// - The code under the header's key finds a wrong password before the content is read, and a header that somebody
//   changed. Which of the two it was cannot be told: another salt gives another key, as another password does. The code
//   also holds the file to one password, since a GCM cipher text alone can be made to open under several keys. (Two
//   that HMAC takes for one stay one: a password above 128 bytes, and its SHA-512 digest.)
// - The tag finds damaged content, and the content of another file: the salt is drawn for each and decides the key, so
//   the header needs no authentication together with the content, for which the library's GCM has no operation.
// - Whoever makes the file chooses the iterations, and with them how long opening it takes: they have an upper bound.
#include "Files.h"
#include "Program.h"
#include "Secrets.h"

#include <foundation/crypto/openssl/CryptoProvider.h>
#include <foundation/crypto/utils/Exceptions.h>

#include <cstddef>
#include <fstream>
#include <istream>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::AESMode;
using foundation::crypto::utils::AESPaddingMode;
using foundation::crypto::utils::ByteArray;
using foundation::crypto::utils::Exception;
using secrets::Password;

constexpr std::size_t iterationsAt = 8;
constexpr std::size_t saltAt = 12;
constexpr std::size_t nonceAt = 28;
constexpr std::size_t codeAt = 40;
constexpr std::size_t digestAt = 72;
constexpr std::size_t headerSize = 104;

constexpr unsigned long iterations = 210000;       // a tenth of a second or so
constexpr unsigned long mostIterations = 10000000; // some seconds

enum Status { wrongPassword = 3, damaged = 4 };

CryptoProvider const provider;

ByteArray part(ByteArray const& header, std::size_t from, std::size_t to) {
    return {header.data() + from, header.data() + to};
}

void append(ByteArray& header, ByteArray const& bytes) {
    header.insert(header.end(), bytes.begin(), bytes.end());
}

/// Both keys: AES's, and behind it the header's.
secrets::Wiped<ByteArray> deriveKeys(Password const& password, ByteArray const& header, unsigned long count) {
    std::string const salt(header.begin() + saltAt, header.begin() + nonceAt);
    return secrets::Wiped(provider.deriveKeyUsingPBKDF2(*password, salt, 64, static_cast<int>(count)));
}

ByteArray codeOf(ByteArray const& header, secrets::Wiped<ByteArray> const& keys) {
    secrets::Wiped const key(part(*keys, 32, 64));
    return provider.createHMACSHA256DigestEngine(*key)->computeDigest(part(header, 0, codeAt));
}

ByteArray digestOf(ByteArray const& header) {
    return provider.createSHA256DigestEngine()->computeDigest(part(header, 0, digestAt));
}

auto aesKey(secrets::Wiped<ByteArray> const& keys) {
    return provider.createAES256Key(*keys); // of the first 32 bytes
}

void seal(std::istream& input, std::string const& path, std::ostream& output, Password const& password) {
    auto const prng = provider.createDefaultCryptoPRNG({});
    ByteArray header{'z', 'r', 'f', 'l', 'p', 'w', 'd', 1};
    for (unsigned const shift : {24U, 16U, 8U, 0U}) {
        header.push_back(static_cast<unsigned char>(iterations >> shift));
    }
    append(header, prng->generateRandomBytes(nonceAt - saltAt));
    append(header, prng->generateRandomBytes(codeAt - nonceAt));
    auto const keys = deriveKeys(password, header, iterations);
    append(header, codeOf(header, keys));
    append(header, digestOf(header));

    output.write(reinterpret_cast<char const*>(header.data()), headerSize);
    auto const encryptor = provider.createAES256Encryptor(aesKey(keys), part(header, nonceAt, codeAt), AESMode::GCM,
                                                          AESPaddingMode::NoPadding, nullptr);
    files::named(path, [&] { encryptor->encrypt(input, output); });
}

[[noreturn]] void refuse(std::string const& path, std::string const& reason) {
    throw program::Failure(damaged, path + ": " + reason);
}

ByteArray readHeader(std::istream& input, std::string const& path) {
    ByteArray header(headerSize);
    input.read(reinterpret_cast<char*>(header.data()), headerSize);
    files::requireReadToItsEnd(input, path);
    header.resize(static_cast<std::size_t>(input.gcount()));
    if (files::view(header).substr(0, 7) != "zrflpwd") {
        refuse(path, "it was not sealed with a password, or is damaged at its very begin");
    }
    if (header.size() < headerSize) {
        refuse(path, "it is cut off in its header; try another copy of it");
    }
    if (header[7] != 1) {
        refuse(path,
               "it has version " + std::to_string(header[7]) + " of the format, and this program knows version 1");
    }
    if (digestOf(header) != part(header, digestAt, headerSize)) {
        refuse(path, "its header is damaged; try another copy of it");
    }
    return header;
}

unsigned long iterationsOf(ByteArray const& header, std::string const& path) {
    unsigned long count = 0;
    for (unsigned char const byte : part(header, iterationsAt, saltAt)) {
        count = count << 8U | byte;
    }
    if (count < 1 || count > mostIterations) {
        refuse(path, "it asks for " + std::to_string(count) + " iterations, and 1 to " +
                         std::to_string(mostIterations) + " are taken");
    }
    return count;
}

template <class AskForPassword>
void open(std::istream& input, std::string const& path, std::ostream& output, AskForPassword&& askForPassword) {
    ByteArray const header = readHeader(input, path);
    unsigned long const count = iterationsOf(header, path);
    auto const keys = deriveKeys(std::forward<AskForPassword>(askForPassword)(), header, count);
    if (!secrets::equal(codeOf(header, keys), part(header, codeAt, digestAt))) {
        throw program::Failure(wrongPassword, path + ": wrong password (or somebody changed the header on purpose)");
    }
    auto const decryptor = provider.createAES256Decryptor(aesKey(keys), part(header, nonceAt, codeAt), AESMode::GCM,
                                                          AESPaddingMode::NoPadding, nullptr);
    try {
        decryptor->decrypt(input, output); // writes nothing before the tag was right
    } catch (Exception const& error) {
        std::string const text = error.what(); // the texts are part of the library's interface
        if (text == "Tag verification failed or decryption error" ||
            text == "Input data is smaller than the tag size") {
            refuse(path, "the password is right, but what it protects is damaged; try another copy of it");
        }
        throw std::runtime_error(path + ": " + text);
    }
}

int run(program::Arguments const& given) {
    program::require((given.size() == 3 || given.size() == 4) && (given[0] == "seal" || given[0] == "open"));
    std::string const& inputPath = given[1];
    std::string const& outputPath = given[2];
    std::string const* const passwordFile = given.size() == 4 ? &given[3] : nullptr;
    if (passwordFile != nullptr) {
        files::requireDistinct(*passwordFile, outputPath); // nothing opens a file whose password is gone
    }
    std::ifstream input = files::open(inputPath);
    std::ostringstream result;
    if (given[0] == "seal") {
        seal(input, inputPath, result, secrets::password(secrets::Use::toSeal, outputPath, passwordFile));
    } else {
        open(input, inputPath, result,
             [&] { return secrets::password(secrets::Use::toOpen, inputPath, passwordFile); });
    }
    files::requireReadToItsEnd(input, inputPath);
    files::write(outputPath, result);
    return 0;
}

} // namespace

int main(int count, char** arguments) {
    return program::run(count, arguments, "usage: seal_with_password seal|open IN OUT [PASSWORDFILE]\n",
                        "Without PASSWORDFILE the password is asked for at the terminal.\n"
                        "At most 2147483647 bytes can be sealed. Memory: 12 MiB and 3 times the size of IN. Status 3:\n"
                        "wrong password. 4: IN is damaged, or was not sealed with a password.\n",
                        run);
}
