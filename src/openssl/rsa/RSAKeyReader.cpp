#include "rsa/RSAKeyReader.h"

#include "common/Check.h"
#include "common/Conversions.h"
#include "common/ErrorQueue.h"
#include "common/Secrets.h"
#include "common/Streams.h"

#include <openssl/pem.h>
#include <openssl/x509.h>

#include <cstddef>

namespace foundation::crypto::openssl {

namespace {

void writeEncodedKey(std::string_view encodedKey, BIO* bio, char const* notWritten, char const* notWhole) {
    int const written = BIO_write(bio, encodedKey.data(), static_cast<int>(encodedKey.size()));
    require(written >= 1, notWritten);
    require(static_cast<std::size_t>(written) == encodedKey.size(), notWhole);
}

void writePrivateKey(std::string_view encodedKey, BIO* bio) {
    writeEncodedKey(encodedKey, bio, "Failed to write the input private key to BIO",
                    "The length of bytes written into the private key BIO does not match the expected length");
}

void writePublicKey(std::string_view encodedKey, BIO* bio) {
    writeEncodedKey(encodedKey, bio, "Failed to write the input public key to BIO",
                    "The length of bytes written into the public key BIO does not match the expected length");
}

bool isPEM(std::string_view encodedKey) {
    std::size_t const begin = encodedKey.find("-----BEGIN ");
    std::size_t const end = encodedKey.find("-----END ");
    return end != std::string_view::npos && begin < end;
}

SecretBytes readKeyText(std::istream& encodedKey) {
    return readExtracted<SecretBytes>(encodedKey, rethrowAs<utils::InternalException>);
}

} // namespace

EVP_PKEYUPtr loadRSAPrivateKey(std::string_view encodedKey, std::string const& password) {
    return rethrowAs<utils::InternalException>([&] {
        ErrorQueueMark const mark;
        require(!encodedKey.empty(), "The input private key string is empty");
        BIOUPtr const bio = newMemoryBIO();
        writePrivateKey(encodedKey, bio.get());
        if (isPEM(encodedKey)) {
            return EVP_PKEYUPtr(PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, passPhrase(password)));
        }
        if (EVP_PKEY* const encrypted = d2i_PKCS8PrivateKey_bio(bio.get(), nullptr, nullptr, passPhrase(password))) {
            return EVP_PKEYUPtr(encrypted);
        }
        // That attempt has consumed the input, in part at least.
        BIO_ctrl(bio.get(), BIO_CTRL_RESET, 0, nullptr);
        writePrivateKey(encodedKey, bio.get());
        return EVP_PKEYUPtr(d2i_PrivateKey_bio(bio.get(), nullptr));
    });
}

EVP_PKEYUPtr loadRSAPrivateKey(ByteArray const& encodedKey, std::string const& password) {
    return loadRSAPrivateKey(asText(encodedKey), password);
}

EVP_PKEYUPtr loadRSAPrivateKey(std::istream& encodedKey, std::string const& password) {
    return loadRSAPrivateKey(asText(readKeyText(encodedKey)), password);
}

EVP_PKEYUPtr loadRSAPublicKey(std::string_view encodedKey) {
    return rethrowAs<utils::InternalException>([&] {
        ErrorQueueMark const mark;
        require(!encodedKey.empty(), "The input public key string is empty");
        BIOUPtr const bio = newMemoryBIO();
        writePublicKey(encodedKey, bio.get());
        return EVP_PKEYUPtr(isPEM(encodedKey) ? PEM_read_bio_PUBKEY(bio.get(), nullptr, nullptr, noPassPhrase())
                                              : d2i_PUBKEY_bio(bio.get(), nullptr));
    });
}

EVP_PKEYUPtr loadRSAPublicKey(ByteArray const& encodedKey) {
    return loadRSAPublicKey(asText(encodedKey));
}

EVP_PKEYUPtr loadRSAPublicKey(std::istream& encodedKey) {
    return loadRSAPublicKey(asText(readKeyText(encodedKey)));
}

interfaces::KeySignatureMethod getKeySignatureMethod(EVP_PKEY const* key) {
    return rethrowAs<utils::InternalException>([&] {
        switch (EVP_PKEY_get_bits(key)) {
        case 1024:
            return interfaces::KeySignatureMethod::RSA1024;
        case 2048:
            return interfaces::KeySignatureMethod::RSA2048;
        case 4096:
            return interfaces::KeySignatureMethod::RSA4096;
        default:
            throw utils::InternalException("Unsupported Key size");
        }
    });
}

} // namespace foundation::crypto::openssl
