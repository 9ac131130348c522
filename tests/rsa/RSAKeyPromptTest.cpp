// Nobody is ever asked for a password: not on a terminal, and not by reading the host's standard input.
#include "support/Bytes.h"
#include "support/RSAKeys.h"
#include "support/Terminal.h"
#include "support/Throws.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <gtest/gtest.h>

#include <openssl/bio.h>
#include <openssl/pem.h>

#include <cstdio>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace support;
using foundation::crypto::openssl::CryptoProvider;
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

/// Throws unless `load` fails as a reader does that cannot open the key.
template <class Load> void mustFail(Load&& load) {
    if (!throwsExactly<InternalException>("Fail to create EVP_PKEYUPtr; the given raw pointer is NULL", false, load)) {
        throw std::logic_error("the key was not refused in the reader's words");
    }
}

template <class OfSize> void loadWithoutItsPassword(ByteArray const& encoded) {
    CryptoProvider const provider;
    for (std::string const& password : {std::string(), std::string("wrong"), std::string(1, '\0')}) {
        mustFail([&] {
            std::istringstream stream(text(encoded));
            OfSize::createPrivateKey(stream, password);
        });
        mustFail([&] {
            std::istringstream stream(text(encoded));
            provider.getPrivateKeySignatureMethod(stream, password);
        });
        mustFail([&] { provider.getPrivateKeySignatureMethod(encoded, password); });
    }
    mustFail([&] { OfSize::createPrivateKey(encoded); });
    mustFail([&] { OfSize::createPublicKey(encoded); });
    mustFail([&] {
        std::istringstream stream(text(encoded));
        OfSize::createPublicKey(stream);
    });
    mustFail([&] {
        std::istringstream stream(text(encoded));
        provider.getPublicKeySignatureMethod(stream);
    });
    mustFail([&] { provider.getPublicKeySignatureMethod(encoded); });
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

/// What the library must not do: libcrypto's reader without a pass phrase.
void askForThePassword() {
    if (std::freopen("/dev/null", "w", stderr) == nullptr) { // where it asks when there is no terminal
        throw std::runtime_error("no /dev/null");
    }
    ByteArray const& encoded = encryptedKeys().front().encoded;
    BIO* const bio = BIO_new_mem_buf(encoded.data(), static_cast<int>(encoded.size()));
    EVP_PKEY_free(PEM_read_bio_PrivateKey(bio, nullptr, nullptr, nullptr));
    BIO_free_all(bio);
}

TEST(RSAKeyPrompt, IsNeverWrittenOnTheTerminal) {
    encryptedKeys(); // read before the process is split
    TerminalUse const use = runAtTerminal(loadAllWithoutTheirPasswords);
    EXPECT_TRUE(use.finished);
    EXPECT_EQ(use.written, "");
}

TEST(RSAKeyPrompt, NeverReadsTheStandardInput) {
    encryptedKeys();
    TerminalUse const use = runWithInput("password\n", loadAllWithoutTheirPasswords);
    EXPECT_TRUE(use.finished);
    EXPECT_EQ(use.unread, "password\n");
}

TEST(RSAKeyPrompt, WouldHaveBeenSeen) {
    encryptedKeys();
    TerminalUse const atTerminal = runAtTerminal(askForThePassword);
    EXPECT_FALSE(atTerminal.finished);
    EXPECT_EQ(atTerminal.written, "Enter PEM pass phrase:");
    EXPECT_NE(runWithInput("password\n", askForThePassword).unread, "password\n");
}

} // namespace
