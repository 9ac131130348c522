#include "support/KeyPromptTests.h"
#include "support/RSAKeys.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <gtest/gtest.h>

#include <openssl/bio.h>
#include <openssl/pem.h>

#include <istream>
#include <string>
#include <vector>

namespace support {

namespace {

using foundation::crypto::utils::InternalException;

struct EncryptedKey {
    unsigned long bits;
    ByteArray encoded;
};

std::vector<EncryptedKey> const& encryptedKeys() {
    static std::vector<EncryptedKey> const keys = [] {
        std::vector<EncryptedKey> read;
        for (unsigned long const bits : {1024UL, 2048UL, 4096UL}) {
            for (std::string const form : {"encrypted.pem", "encrypted.der", "traditional-encrypted.pem"}) {
                read.push_back({bits, readRSAKey(bits, form)});
            }
        }
        return read;
    }();
    return keys;
}

template <class OfSize> void loadWithoutItsPassword(ByteArray const& encoded) {
    CryptoProvider const provider;
    auto const mustFail = [&](auto&&... readers) {
        mustRefuse<InternalException>("Fail to create EVP_PKEYUPtr; the given raw pointer is NULL", text(encoded),
                                      readers...);
    };
    for (std::string const& password : uselessPasswords) {
        mustFail([&](std::istream& stream) { OfSize::createPrivateKey(stream, password); },
                 [&](std::istream& stream) { provider.getPrivateKeySignatureMethod(stream, password); },
                 [&](std::istream&) { provider.getPrivateKeySignatureMethod(encoded, password); });
    }
    mustFail([&](std::istream&) { OfSize::createPrivateKey(encoded); },
             [&](std::istream&) { OfSize::createPublicKey(encoded); },
             [&](std::istream& stream) { OfSize::createPublicKey(stream); },
             [&](std::istream& stream) { provider.getPublicKeySignatureMethod(stream); },
             [&](std::istream&) { provider.getPublicKeySignatureMethod(encoded); });
}

void loadAllWithoutTheirPasswords() {
    for (EncryptedKey const& key : encryptedKeys()) {
        switch (key.bits) {
        case 1024:
            loadWithoutItsPassword<RSAKeys<1024>>(key.encoded);
            break;
        case 2048:
            loadWithoutItsPassword<RSAKeys<2048>>(key.encoded);
            break;
        default:
            loadWithoutItsPassword<RSAKeys<4096>>(key.encoded);
        }
    }
}

void readWithoutPassPhrase() {
    ByteArray const& encoded = encryptedKeys().front().encoded;
    BIO* const bio = BIO_new_mem_buf(encoded.data(), static_cast<int>(encoded.size()));
    EVP_PKEY_free(PEM_read_bio_PrivateKey(bio, nullptr, nullptr, nullptr));
    BIO_free_all(bio);
}

INSTANTIATE_TEST_SUITE_P(RSA, KeyPrompt,
                         testing::Values(KeyPromptCase{[] { encryptedKeys(); }, loadAllWithoutTheirPasswords,
                                                       readWithoutPassPhrase}),
                         [](auto const&) { return "EncryptedKeys"; });

} // namespace

} // namespace support
