#include "ecc/ECCKey.h"

#include "ECCOperations.h"
#include "support/ECC.h"
#include "support/FaultTables.h"
#include "support/Faults.h"
#include "support/PEM.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/evp.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace support;
using namespace foundation::crypto;
using utils::InternalException;
using utils::InvalidKeyEncoding;
using utils::KeyAndCurveMismatch;

std::string nullHandle(std::string const& owner) {
    return "Fail to create " + owner + "; the given raw pointer is NULL";
}

std::string const noBIO = nullHandle("BIOUPtr");
std::string const noKey = nullHandle("EVP_PKEYUPtr");
std::string const noKeyContext = nullHandle("EVP_PKEY_CTXUPtr");
std::string const noParameters = nullHandle("OSSL_PARAMUPtr");
std::string const noBuilder = nullHandle("OSSL_PARAM_BLDUPtr");
std::string const noNumberContext = nullHandle("BN_CTXUPtr");
std::string const noMDContext = nullHandle("EVP_MD_CTXUPtr");

std::string const notWritten = "Failed to write to BIO.";
std::string const nothingPending = "Error occurred while trying to find number of bytes in BIO. Expected one or more "
                                   "bytes to be pending";
std::string const notReadBack = "Failed to read from BIO to ByteArray";
std::string const notExportedForCheck = "Could not extract public key information from EVP_PKEY";
std::string const noGroup = "Expected EVP_PKEY to have group parameter since it's an EVP_PKEY_EC";

std::string const noGeneration = "Failed to initialize key context object. OpenSSL error: ";
std::string const noCurve = "Could not set curve. OpenSSL error: ";
std::string const notGenerated = "Failed to generate ECC key pair. OpenSSL error: ";
std::string const notExtracted = "Failed to write public key to BIO. OpenSSL error: ";

std::string const noPoint = "Failed to get public point from private integer";
std::string const noPointSize = "Failed to get number of bytes to store public point";
std::string const notEncoded = "Failed to convert EC_POINT to ByteArray";
std::string const groupNotAdded = "Failed to add group to OSSL_PARAM_BLD";
std::string const integerNotAdded = "Failed to add private integer to OSSL_PARAM_BLD";
std::string const pointNotAdded = "Failed to add public point to OSSL_PARAM_BLD";
std::string const noFromdata = "Failed to initialize EVP_PKEY_CTX";
std::string const notLoadedFromInteger = "Failed to load key from private integer and curve";
std::string const notLoadedFromPoint = "Failed to load key from public point and curve";

std::string const privateNotWritten = "Failed to write private key to BIO";
std::string const publicNotWritten = "Failed to write public key to BIO";
std::string const integerNotExported = "Failed to extract information from private EVP_PKEY";
std::string const integerNotFound = "Could not find 'priv' in parameter list from EVP_PKEY_todata";
std::string const integerNotRead = "Failed to initialize BIGNUM with private integer data";
std::string const pointNotExported = "Failed to extract public point from public EVP_PKEY";
std::string const pointNotFound = "Could not find 'pub' in parameter list from EVP_PKEY_todata";

std::string const noSigning = "Failed while doing setup to generate signature";
std::string const noSize = "Could not calculate size of signature to be generated";
std::string const notSigned = "Could not generate digital signature";

std::vector<Result> const notOne{0, -1, 2};

/// What all members have in common.
template <class Factory> std::vector<Fault> commonFaults() {
    using On = Operations<Factory>;
    return {
        {"GenerateContext", "EVP_PKEY_CTX_new_id", 1, On::generate, noKeyContext},
        {"GenerateInit", "EVP_PKEY_keygen_init", 1, On::generate, noGeneration, asUsual, true},
        {"GenerateInitUnsupported", "EVP_PKEY_keygen_init", 1, On::generate, noGeneration, {-2}, true},
        {"GenerateInitOther", "EVP_PKEY_keygen_init", 1, On::generate, noGeneration, {2}, true},
        {"Generate", "EVP_PKEY_keygen", 1, On::generate, notGenerated, asUsual, true},
        {"GenerateNegative", "EVP_PKEY_keygen", 1, On::generate, notGenerated, {-1}, true},
        {"GenerateOther", "EVP_PKEY_keygen", 1, On::generate, notGenerated, {2}, true},
        {"GenerateNothing", "EVP_PKEY_keygen", 1, On::generate, noKey, {1}},
        {"GenerateBIO", "BIO_new", 1, On::generate, noBIO},
        {"GenerateWritePublic", "PEM_write_bio_PUBKEY", 1, On::generate, notExtracted, notOne, true},
        {"GenerateReadPublic", "PEM_read_bio_PUBKEY", 1, On::generate, notPEM},

        {"ReadPrivateBIO", "BIO_new", 1, On::readPrivate, noBIO},
        {"ReadPrivateWrite", "BIO_write", 1, On::readPrivate, notWritten},
        {"ReadPrivateWriteNothing", "BIO_write", 1, On::readPrivate, notWritten, {0}},
        {"ReadPrivate", "PEM_read_bio_PrivateKey", 1, On::readPrivate, notPEM},
        {"ReadPrivateStreamBIO", "BIO_new", 1, On::readPrivateStream, noBIO},
        {"ReadPrivateStreamWrite", "BIO_write", 1, On::readPrivateStream, notWritten},
        {"ReadPrivateStream", "PEM_read_bio_PrivateKey", 1, On::readPrivateStream, notPEM},
        {"ReadPublicBIO", "BIO_new", 1, On::readPublic, noBIO},
        {"ReadPublicWrite", "BIO_write", 1, On::readPublic, notWritten},
        {"ReadPublic", "PEM_read_bio_PUBKEY", 1, On::readPublic, notPEM},
        {"ReadPublicStreamBIO", "BIO_new", 1, On::readPublicStream, noBIO},
        {"ReadPublicStreamWrite", "BIO_write", 1, On::readPublicStream, notWritten},
        {"ReadPublicStream", "PEM_read_bio_PUBKEY", 1, On::readPublicStream, notPEM},

        {"ExportPrivateDuplicate", "EVP_PKEY_dup", 1, On::exportPrivate, noKey},
        {"ExportPrivateBIO", "BIO_new", 1, On::exportPrivate, noBIO},
        {"ExportPrivate", "PEM_write_bio_PKCS8PrivateKey", 1, On::exportPrivate, privateNotWritten, notOne},
        {"ExportPrivatePending", "BIO_ctrl", 1, On::exportPrivate, nothingPending},
        {"ExportPrivateRead", "BIO_read", 1, On::exportPrivate, notReadBack},
        {"ExportPublicBIO", "BIO_new", 1, On::exportPublic, noBIO},
        {"ExportPublic", "PEM_write_bio_PUBKEY", 1, On::exportPublic, publicNotWritten, notOne},
        {"ExportPublicPending", "BIO_ctrl", 1, On::exportPublic, nothingPending, {-1}},
        {"ExportPublicRead", "BIO_read", 1, On::exportPublic, notReadBack, {0}},
        {"ExportInteger", "EVP_PKEY_todata", 1, On::exportInteger, integerNotExported, notOne},
        {"ExportIntegerNothing", "EVP_PKEY_todata", 1, On::exportInteger, noParameters, {1}},
        {"ExportIntegerFind", "OSSL_PARAM_locate_const", 1, On::exportInteger, integerNotFound},
        {"ExportPoint", "EVP_PKEY_todata", 1, On::exportPoint, pointNotExported, notOne},
        {"ExportPointNothing", "EVP_PKEY_todata", 1, On::exportPoint, noParameters, {1}},
        {"ExportPointFind", "OSSL_PARAM_locate_const", 1, On::exportPoint, pointNotFound},

        {"SignContext", "EVP_MD_CTX_new", 1, On::sign, noMDContext},
        {"SignInit", "EVP_DigestSignInit_ex", 1, On::sign, noSigning, notOne},
        {"SignSize", "EVP_DigestSign", 1, On::sign, noSize, notOne},
        {"SignSizeNothing", "EVP_DigestSign", 1, On::sign, "Max size of signature to be generated is 0", {1}},
        {"Sign", "EVP_DigestSign", 2, On::sign, notSigned, notOne},
        {"SignStreamContext", "EVP_MD_CTX_new", 1, On::signStream, noMDContext},
        {"SignStreamInit", "EVP_DigestSignInit_ex", 1, On::signStream, noSigning, notOne},
        {"SignStreamSize", "EVP_DigestSign", 1, On::signStream, noSize, notOne},
        {"SignStream", "EVP_DigestSign", 2, On::signStream, notSigned, notOne},
        {"VerifyContext", "EVP_MD_CTX_new", 1, On::verify, noMDContext},
        {"VerifyInit", "EVP_DigestVerifyInit_ex", 1, On::verify, noVerifying, notOne},
        {"VerifyStreamContext", "EVP_MD_CTX_new", 1, On::verifyStream, noMDContext},
        {"VerifyStreamInit", "EVP_DigestVerifyInit_ex", 1, On::verifyStream, noVerifying, notOne},
    };
}

std::vector<Fault> p256Faults() {
    using On = Operations<P256>;
    return {
        {"GenerateCurve", "EVP_PKEY_CTX_ctrl_str", 1, On::generate, noCurve, asUsual, true},
        {"GenerateCurveUnsupported", "EVP_PKEY_CTX_ctrl_str", 1, On::generate, noCurve, {-2}, true},
        {"GenerateCheckPublic", "EVP_PKEY_todata", 1, On::generate, notExportedForCheck, notOne},
        {"GenerateCheckPrivate", "EVP_PKEY_todata", 2, On::generate, notExportedForCheck, notOne},
        {"GenerateCheckPublicGroup", "OSSL_PARAM_locate_const", 1, On::generate, noGroup},
        {"GenerateCheckPrivateGroup", "OSSL_PARAM_locate_const", 2, On::generate, noGroup},
        {"ReadPrivateCheck", "EVP_PKEY_todata", 1, On::readPrivate, notExportedForCheck, notOne},
        {"ReadPrivateCheckGroup", "OSSL_PARAM_locate_const", 1, On::readPrivate, noGroup},
        {"ReadPrivateStreamCheck", "EVP_PKEY_todata", 1, On::readPrivateStream, notExportedForCheck, notOne},
        {"ReadPublicCheck", "EVP_PKEY_todata", 1, On::readPublic, notExportedForCheck, notOne},
        {"ReadPublicCheckGroup", "OSSL_PARAM_locate_const", 1, On::readPublic, noGroup},
        {"ReadPublicStreamCheck", "EVP_PKEY_todata", 1, On::readPublicStream, notExportedForCheck, notOne},

        {"FromIntegerNumber", "BN_bin2bn", 1, On::fromInteger, nullHandle("BNUPtr")},
        {"FromIntegerGroup", "EC_GROUP_new_by_curve_name", 1, On::fromInteger, nullHandle("EC_GROUP")},
        {"FromIntegerPoint", "EC_POINT_new", 1, On::fromInteger, nullHandle("EC_POINTUPtr")},
        {"FromIntegerContext", "BN_CTX_new", 1, On::fromInteger, noNumberContext},
        {"FromIntegerMultiply", "EC_POINT_mul", 1, On::fromInteger, noPoint, notOne},
        {"FromIntegerEncodeContext", "BN_CTX_new", 2, On::fromInteger, noNumberContext},
        {"FromIntegerEncodeSize", "EC_POINT_point2oct", 1, On::fromInteger, noPointSize},
        {"FromIntegerEncode", "EC_POINT_point2oct", 2, On::fromInteger, notEncoded},
        {"FromIntegerBuilder", "OSSL_PARAM_BLD_new", 1, On::fromInteger, noBuilder},
        {"FromIntegerAddGroup", "OSSL_PARAM_BLD_push_utf8_string", 1, On::fromInteger, groupNotAdded, notOne},
        {"FromIntegerAddInteger", "OSSL_PARAM_BLD_push_BN", 1, On::fromInteger, integerNotAdded, notOne},
        {"FromIntegerAddPoint", "OSSL_PARAM_BLD_push_octet_string", 1, On::fromInteger, pointNotAdded, notOne},
        {"FromIntegerParameters", "OSSL_PARAM_BLD_to_param", 1, On::fromInteger, noParameters},
        {"FromIntegerKeyContext", "EVP_PKEY_CTX_new_id", 1, On::fromInteger, noKeyContext},
        {"FromIntegerInit", "EVP_PKEY_fromdata_init", 1, On::fromInteger, noFromdata, notOne},
        {"FromInteger", "EVP_PKEY_fromdata", 1, On::fromInteger, notLoadedFromInteger, notOne},
        {"FromIntegerNothing", "EVP_PKEY_fromdata", 1, On::fromInteger, noKey, {1}},
        {"FromIntegerCheck", "EVP_PKEY_todata", 1, On::fromInteger, notExportedForCheck, notOne},

        {"FromPointBuilder", "OSSL_PARAM_BLD_new", 1, On::fromPoint, noBuilder},
        {"FromPointAddGroup", "OSSL_PARAM_BLD_push_utf8_string", 1, On::fromPoint, groupNotAdded, notOne},
        {"FromPointAddPoint", "OSSL_PARAM_BLD_push_octet_string", 1, On::fromPoint, pointNotAdded, notOne},
        {"FromPointParameters", "OSSL_PARAM_BLD_to_param", 1, On::fromPoint, noParameters},
        {"FromPointKeyContext", "EVP_PKEY_CTX_new_id", 1, On::fromPoint, noKeyContext},
        {"FromPointInit", "EVP_PKEY_fromdata_init", 1, On::fromPoint, noFromdata, notOne},
        {"FromPoint", "EVP_PKEY_fromdata", 1, On::fromPoint, notLoadedFromPoint, notOne},
        {"FromPointNothing", "EVP_PKEY_fromdata", 1, On::fromPoint, noKey, {1}},
        {"FromPointCheck", "EVP_PKEY_todata", 1, On::fromPoint, notExportedForCheck, notOne},

        {"ExportIntegerRead", "OSSL_PARAM_get_BN", 1, On::exportInteger, integerNotRead, notOne},
        {"ExportIntegerConvert", "BN_bn2bin", 1, On::exportInteger,
         "Wrote -1 bytes from BIGNUM to ByteArray. Expected: 32"},
    };
}

std::vector<Fault> curve25519Faults() {
    using On = Operations<Curve25519>;
    return {
        {"FromInteger", "EVP_PKEY_new_raw_private_key", 1, On::fromInteger, noKey},
        {"FromPoint", "EVP_PKEY_new_raw_public_key", 1, On::fromPoint, noKey},
    };
}

std::vector<Fault> joined(std::vector<Fault> left, std::vector<Fault> const& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

class ECCFaults : public testing::TestWithParam<Fault> {};

INSTANTIATE_TEST_SUITE_P(P256, ECCFaults, testing::ValuesIn(joined(commonFaults<P256>(), p256Faults())), nameOf);
INSTANTIATE_TEST_SUITE_P(Curve25519, ECCFaults,
                         testing::ValuesIn(joined(commonFaults<Curve25519>(), curve25519Faults())), nameOf);

TEST_P(ECCFaults, AreReportedInTheirOwnWords) {
    if (GetParam().text == notPEM) {
        expectReported<InvalidKeyEncoding>(GetParam());
    } else {
        expectReported<InternalException>(GetParam());
    }
}

Releases const madeKeys{{"EVP_PKEY_free",
                         {"EVP_PKEY_keygen", "EVP_PKEY_fromdata", "EVP_PKEY_dup", "EVP_PKEY_new_raw_private_key",
                          "EVP_PKEY_new_raw_public_key", "PEM_read_bio_PrivateKey", "PEM_read_bio_PUBKEY"}}};

TEST_P(ECCFaults, LeakNothing) {
    expectAllReleased(GetParam(), madeKeys);
}

TYPED_TEST(ECCCalls, LeaveNothingBehind) {
    using On = Operations<TypeParam>;
    for (auto const operation :
         {On::generate, On::readPrivate, On::readPrivateStream, On::readPublic, On::readPublicStream, On::fromInteger,
          On::fromPoint, On::exportPrivate, On::exportPublic, On::exportInteger, On::exportPoint, On::sign,
          On::signStream, On::verify, On::verifyStream}) {
        Recording const recording;
        operation();
        expectAllReleased(recording, madeKeys);
    }
}

TYPED_TEST(ECCCalls, CheckTheCurveOncePerKey) {
    using On = Operations<TypeParam>;
    std::size_t const exports = TypeParam::curve == EllipticCurve::P256 ? 1 : 0;
    for (auto const& [operation, keys] : {std::make_pair(On::generate, 2U),
                                          {On::readPrivate, 1U},
                                          {On::readPrivateStream, 1U},
                                          {On::readPublic, 1U},
                                          {On::readPublicStream, 1U},
                                          {On::fromInteger, 1U},
                                          {On::fromPoint, 1U}}) {
        Recording const recording;
        operation();
        EXPECT_EQ(recording.count("EVP_PKEY_get_base_id"), keys);
        EXPECT_EQ(recording.count("EVP_PKEY_todata"), keys * exports);
    }
}

TYPED_TEST(ECCCalls, LeaveNoErrorOfACallThatSucceeds) {
    using On = Operations<TypeParam>;
    expectForgotten("PEM_read_bio_PrivateKey", {{"Bytes", On::readPrivate}, {"Stream", On::readPrivateStream}});
    expectForgotten("PEM_read_bio_PUBKEY", {{"Bytes", On::readPublic}, {"Stream", On::readPublicStream}});
    expectForgotten("EVP_DigestSign", {{"Bytes", On::sign}, {"Stream", On::signStream}});
    expectForgotten("EVP_DigestVerify", {{"Bytes", On::verify}, {"Stream", On::verifyStream}});
    expectForgotten("EVP_PKEY_get_bits", {{"Signer", On::getSignersSize}, {"Verifier", On::getVerifiersSize}});
}

TYPED_TEST(ECCCalls, TakeTheirKeyTextWhole) {
    using On = Operations<TypeParam>;
    auto const size = std::to_string(On::pair().getPublicKey()->getPEM().size());
    {
        Failing failing("BIO_write");
        failing.returning(10);
        EXPECT_THROWS(InternalException, "Expected " + size + " bytes written to BIO. Found 10 bytes.",
                      On::readPublic());
    }
    Failing failing("BIO_read");
    failing.returning(10);
    EXPECT_THROWS(InternalException, "Expected to read " + size + " bytes in BIO. Found 10 bytes.", On::exportPublic());
}

TYPED_TEST(ECCCalls, ExportPrivateKeysWithoutCipherFromADuplicate) {
    using On = Operations<TypeParam>;
    Recording const recording;
    On::exportPrivate();
    auto const own =
        std::dynamic_pointer_cast<openssl::ECCPrivateKey<TypeParam::curve>>(On::pair().getPrivateKey())->get();
    auto const write = recording.callsOf("PEM_write_bio_PKCS8PrivateKey");
    ASSERT_EQ(write.size(), 1U);
    EXPECT_NE(write[0].arguments.at(1), asNumber(own));
    EXPECT_EQ(std::vector<std::intptr_t>(write[0].arguments.begin() + 2, write[0].arguments.end()),
              std::vector<std::intptr_t>(5, 0));
}

TYPED_TEST(ECCCalls, OfAKeyPairKeepItsKeysApart) {
    auto const pair = TypeParam::generateKeyPair();
    auto const privateKey = std::dynamic_pointer_cast<openssl::ECCPrivateKey<TypeParam::curve>>(pair->getPrivateKey());
    auto const publicKey = std::dynamic_pointer_cast<openssl::ECCPublicKey<TypeParam::curve>>(pair->getPublicKey());
    EXPECT_NE(privateKey->get(), publicKey->get());
    EXPECT_EQ(EVP_PKEY_eq(privateKey->get(), publicKey->get()), 1);

    RawKey const raw(publicKey->get(), [](EVP_PKEY* /*key*/) {});
    EXPECT_ANY_THROW(privatePEM(raw)); // it has no private part
}

TYPED_TEST(ECCCalls, OfAnyKindAnswerToKeysOfAnyType) {
    using On = Operations<TypeParam>;
    for (auto const operation : {On::readPrivate, On::readPublic, On::fromInteger, On::fromPoint, On::generate}) {
        Failing failing("EVP_PKEY_get_base_id");
        failing.returning(EVP_PKEY_RSA);
        EXPECT_THROWS(KeyAndCurveMismatch, "Stored key is not ECC-based. OpenSSL type id: 6", operation());
    }
}

} // namespace
