#include "RSASigning.h"
#include "support/Bytes.h"
#include "support/Engines.h"
#include "support/PEM.h"
#include "support/PSS.h"
#include "support/RSA.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace support;
using namespace foundation::crypto::utils;

std::vector<RSAPaddingMode> const oaepPaddings{RSAPaddingMode::OAEP_SHA1, RSAPaddingMode::OAEP_SHA256,
                                               RSAPaddingMode::OAEP_SHA512};

std::string const oaepRefused = "Cannot use OAEP as Padding Algorithm for Signatures in OpenSSL.";
std::string const notSigned = "Could not generate digital signature";

TEST(RSASignaturePaddings, OfEncryptionAreRefusedAtEachCallBeforeAnythingElse) {
    auto const throwing = hostEngine([]() -> std::string { throw std::runtime_error("flooded"); });
    for (int const bits : sizes) {
        for (RSAPaddingMode const padding : oaepPaddings) {
            auto const signer = rsaTestKeyUser(bits).signer(padding);
            auto const verifier = rsaTestKeyUser(bits).verifier(padding);
            for (DigestEnginePtr const& engine :
                 {engineNamed("sha256"), DigestEnginePtr(), hostEngine("no such hash"), throwing}) {
                EXPECT_THROWS(InternalException, oaepRefused, signer->sign(bytes("message"), engine));
                EXPECT_THROWS(InternalException, oaepRefused, verifier->verify(bytes("message"), {}, engine));
                std::istringstream message("message"); // streams are read before
                EXPECT_THROWS(InternalException, oaepRefused, signer->sign(message, engine));
                EXPECT_TRUE(message.eof() && message.fail());
                std::istringstream again("message");
                EXPECT_THROWS(InternalException, oaepRefused, verifier->verify(again, {}, engine));
                EXPECT_TRUE(again.eof() && again.fail());
            }
        }
    }
}

struct SaltCase {
    int padding;
    std::string hash; // as the engine names it
    int length;       // of the salt, with a key of 2048 bits
};

std::vector<SaltCase> const saltCases{
    // The digest's length for three of the names; for all others the longest: 256 - 2 - the digest's length.
    {4, "sha1", 20},
    {4, "sha256", 32},
    {4, "sha512", 64},
    {4, "md5", 238},
    {4, "sha224", 226},
    {4, "sha384", 206},
    {4, "SHA1", 234},
    {4, "SHA256", 222},
    {4, "Sha512", 190},
    {4, "sha-256", 222},
    {4, "SHA2-512", 190},
    {4, "sha3-256", 222},
    // libcrypto's own: the digest's length.
    {5, "sha1", 20},
    {5, "sha224", 28},
    {5, "sha256", 32},
    {5, "sha384", 48},
    {5, "sha512", 64},
    {-1, "SHA256", 32},
    {std::numeric_limits<int>::max(), "md5", 16},
};

TEST(RSASignaturePaddings, GivePSSItsSalt) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    RawKey const key = readPublic(text(readRSAKey(2048, "public.pem")));
    ByteArray const message = bytes("message");
    for (SaltCase const& row : saltCases) {
        SCOPED_TRACE(std::to_string(row.padding) + " " + row.hash);
        RSAPaddingMode const padding = rsaPadding(row.padding);
        ByteArray const signature = user.signer(padding)->sign(message, hostEngine(row.hash));
        EXPECT_TRUE(isPSSWithSalt(row.length, key.get(), row.hash, message, signature));
        EXPECT_FALSE(isPSSWithSalt(row.length - 1, key.get(), row.hash, message, signature));
        EXPECT_TRUE(user.verifier(padding)->verify(message, signature, hostEngine(row.hash)).isValid());
        // A verifier that reads the length from the signature takes them all.
        EXPECT_TRUE(user.verifier(unknown)->verify(message, signature, hostEngine(row.hash)).isValid());
    }
}

TEST(RSASignaturePaddings, DemandTheSaltOfThreeHashesAndTakeAnyOfTheOthers) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    ByteArray const message = bytes("message");
    for (std::string const& hash : hashes) {
        // Under another name the salt is the longest, with an unknown padding as long as the digest.
        ByteArray const longest =
            user.signer(pss)->sign(message, hostEngine(hash == "md5" ? "MD5" : "SHA" + hash.substr(3)));
        ByteArray const asDigest = sign(*user.signer(unknown), message, hash);
        bool const fixed = hash == "sha1" || hash == "sha256" || hash == "sha512";
        EXPECT_EQ(verify(*user.verifier(pss), message, longest, hash), !fixed) << hash;
        EXPECT_TRUE(verify(*user.verifier(pss), message, asDigest, hash)) << hash;
        EXPECT_TRUE(verify(*user.verifier(unknown), message, longest, hash)) << hash;
    }
}

TEST(RSASignaturePaddings, OfPSSWithSHA512DoNotFitAKeyOf1024Bits) {
    RSAKeyUser const& user = rsaTestKeyUser(1024);
    EXPECT_THROWS(InternalException, notSigned, sign(*user.signer(pss), bytes("message"), "sha512"));
    EXPECT_EQ(sign(*user.signer(unknown), bytes("message"), "sha512").size(), 128U); // with the longest that fits
    EXPECT_FALSE(verify(*user.verifier(pss), bytes("message"), ByteArray(128, 1), "sha512"));
}

} // namespace
