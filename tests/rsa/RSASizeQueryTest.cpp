// The queries for the size.
#include "RSAKeyForms.h"
#include "support/Bytes.h"
#include "support/Provider.h"
#include "support/RSAKeys.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

using namespace support;
using foundation::crypto::interfaces::KeySignatureMethod;
using foundation::crypto::utils::InternalException;

std::string const unsupportedSize = "Unsupported Key size";

TEST(RSASizeQuery, KnowsTheThreeSizes) {
    struct {
        unsigned long bits;
        KeySignatureMethod method;
    } const rows[] = {
        {1024, KeySignatureMethod::RSA1024}, {2048, KeySignatureMethod::RSA2048}, {4096, KeySignatureMethod::RSA4096}};

    for (auto const& [bits, method] : rows) {
        SCOPED_TRACE(bits);
        auto const expectPrivate = [&, method = method](ByteArray const& encoded, std::string const& password) {
            std::istringstream stream = streamOf(encoded);
            EXPECT_EQ(provider.getPrivateKeySignatureMethod(stream, password), method);
            EXPECT_EQ(provider.getPrivateKeySignatureMethod(encoded, password), method);
        };
        for (std::string const& form : plainPrivateForms) {
            expectPrivate(readRSAKey(bits, form), "");
        }
        for (std::string const& form : encryptedForms) {
            expectPrivate(readRSAKey(bits, form), "password");
        }
        for (std::string const& form : publicForms) {
            std::istringstream stream = streamOf(readRSAKey(bits, form));
            EXPECT_EQ(provider.getPublicKeySignatureMethod(stream), method);
            EXPECT_EQ(provider.getPublicKeySignatureMethod(readRSAKey(bits, form)), method);
        }
    }
}

TEST(RSASizeQuery, RefusesEveryOtherSize) {
    for (std::string const key : {"p256", "rsa3072", "ed25519"}) {
        SCOPED_TRACE(key);
        ByteArray const privateKey = readKey(key + "-private.pem");
        ByteArray const publicKey = readKey(key + "-public.pem");
        std::istringstream privateStream = streamOf(privateKey);
        std::istringstream publicStream = streamOf(publicKey);
        EXPECT_THROWS(InternalException, unsupportedSize, provider.getPrivateKeySignatureMethod(privateKey, ""));
        EXPECT_THROWS(InternalException, unsupportedSize, provider.getPrivateKeySignatureMethod(privateStream, ""));
        EXPECT_THROWS(InternalException, unsupportedSize, provider.getPublicKeySignatureMethod(publicKey));
        EXPECT_THROWS(InternalException, unsupportedSize, provider.getPublicKeySignatureMethod(publicStream));
    }
}

TEST(RSASizeQuery, LooksAtNothingButTheSize) {
    EXPECT_EQ(provider.getPrivateKeySignatureMethod(readKey("dsa1024-private.pem"), ""), KeySignatureMethod::RSA1024);
    EXPECT_EQ(provider.getPublicKeySignatureMethod(readKey("rsapss2048-public.pem")), KeySignatureMethod::RSA2048);
    EXPECT_EQ(provider.getPrivateKeySignatureMethod(readKey("dh2048-private.pem"), ""), KeySignatureMethod::RSA2048);
    EXPECT_EQ(provider.getPublicKeySignatureMethod(readKey("mlkem1024-public.pem")), KeySignatureMethod::RSA1024);
}

TEST(RSASizeQuery, ReportsWhatTheLoadersReport) {
    std::istringstream empty;
    EXPECT_THROWS(InternalException, emptyPrivate, provider.getPrivateKeySignatureMethod(empty, ""));
    EXPECT_THROWS(InternalException, emptyPrivate, provider.getPrivateKeySignatureMethod(ByteArray(), ""));
    EXPECT_THROWS(InternalException, emptyPublic, provider.getPublicKeySignatureMethod(empty));
    EXPECT_THROWS(InternalException, emptyPublic, provider.getPublicKeySignatureMethod(ByteArray()));

    ByteArray const encrypted = readRSAKey(1024, "encrypted.pem");
    std::istringstream stream = streamOf(encrypted);
    EXPECT_THROWS(InternalException, noKey, provider.getPrivateKeySignatureMethod(encrypted, "wrong"));
    EXPECT_THROWS(InternalException, noKey, provider.getPrivateKeySignatureMethod(stream, ""));
    EXPECT_THROWS(InternalException, noKey, provider.getPublicKeySignatureMethod(encrypted));
    EXPECT_THROWS(InternalException, noKey, provider.getPublicKeySignatureMethod(bytes("no key")));
}

TEST(RSASizeQuery, TakesBlanksAndLineBreaksAsPartOfTheKey) {
    std::istringstream stream(" \n\t\n" + text(readRSAKey(2048, "private.pem")));
    EXPECT_EQ(provider.getPrivateKeySignatureMethod(stream, ""), KeySignatureMethod::RSA2048);
    std::istringstream blanks(" \n");
    EXPECT_THROWS(InternalException, noKey, provider.getPrivateKeySignatureMethod(blanks, ""));
    ByteArray const der = readRSAKey(2048, "private.der"); // not DER any more with a blank before it
    EXPECT_THROWS(InternalException, noKey, provider.getPrivateKeySignatureMethod(joined({bytes(" "), der}), ""));
}

} // namespace
