#include "ecc/ECCKey.h"
#include "ecc/ECCSignature.h"

#include "support/ECC.h"
#include "support/FaultTables.h"
#include "support/PEM.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/err.h>
#include <openssl/obj_mac.h>

#include <initializer_list>
#include <sstream>
#include <string>
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

std::string const notPEM = "Could not create key from bytes in PEM encoding. Is the key really in PEM encoding? DER is "
                           "not supported.";
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
std::string const noVerifying = "Failed while doing setup to verify signature";

/// The operations, each over keys made beforehand.
template <class Factory> struct Operations {
    static auto const& pair() {
        static auto const made = [] { // one whose integer has no leading zero byte, which few have
            auto generated = Factory::generateKeyPair();
            while (generated->getPrivateKey()->getPrivateInteger().size() != 32) {
                generated = Factory::generateKeyPair();
            }
            return generated;
        }();
        return *made;
    }

    static void generate() { Factory::generateKeyPair(); }

    static void readPrivate() {
        static ByteArray const pem = pair().getPrivateKey()->getPEM();
        Factory::privateKey(pem);
    }

    static void readPrivateStream() {
        static std::string const pem = encryptedPEM(support::readPrivate(text(pair().getPrivateKey()->getPEM())), "x");
        std::istringstream stream(pem);
        Factory::privateKey(stream, "x");
    }

    static void readPublic() {
        static ByteArray const pem = pair().getPublicKey()->getPEM();
        Factory::publicKey(pem);
    }

    static void readPublicStream() {
        static ByteArray const pem = pair().getPublicKey()->getPEM();
        std::istringstream stream(text(pem));
        Factory::publicKey(stream);
    }

    static void fromInteger() {
        static ByteArray const integer = pair().getPrivateKey()->getPrivateInteger();
        Factory::privateKeyFromInteger(integer);
    }

    static void fromPoint() {
        static ByteArray const point = pair().getPublicKey()->getPublicPoint();
        Factory::publicKeyFromPoint(point);
    }

    static void exportPrivate() { static_cast<void>(pair().getPrivateKey()->getPEM()); }

    static void exportPublic() { static_cast<void>(pair().getPublicKey()->getPEM()); }

    static void exportInteger() { static_cast<void>(pair().getPrivateKey()->getPrivateInteger()); }

    static void exportPoint() { static_cast<void>(pair().getPublicKey()->getPublicPoint()); }

    static void sign() {
        static auto const signer = Factory::signer(pair().getPrivateKey());
        static auto const engine = Factory::engine();
        signer->sign(bytes("abc"), engine);
    }

    static void signStream() {
        static auto const signer = Factory::signer(pair().getPrivateKey());
        static auto const engine = Factory::engine();
        std::istringstream stream("abc");
        signer->sign(stream, engine);
    }

    static void verify() {
        static auto const verifier = Factory::verifier(pair().getPublicKey());
        static auto const engine = Factory::engine();
        verifier->verify(bytes("abc"), bytes("def"), engine);
    }

    static void verifyStream() {
        static auto const verifier = Factory::verifier(pair().getPublicKey());
        static auto const engine = Factory::engine();
        std::istringstream stream("abc");
        verifier->verify(stream, bytes("def"), engine);
    }

    static void getSignersSize() {
        static auto const signer = Factory::signer(pair().getPrivateKey());
        static_cast<void>(signer->getKeySize());
    }

    static void getVerifiersSize() {
        static auto const verifier = Factory::verifier(pair().getPublicKey());
        static_cast<void>(verifier->getKeySize());
    }

    /// All of them once, so that nothing is made for the first time under a failing call.
    static bool warmUp() {
        for (auto const operation : {generate, readPrivate, readPrivateStream, readPublic, readPublicStream,
                                     fromInteger, fromPoint, sign, signStream, verify, verifyStream}) {
            operation();
        }
        return true;
    }
};

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

template <class Factory> class ECCCalls : public testing::Test {
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(Operations<Factory>::warmUp()); }
};

TYPED_TEST_SUITE(ECCCalls, BothCurves, CurveNames);

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

// Which calls are made, for what

using Functions = std::vector<std::string>;

Functions joined(std::initializer_list<Functions> parts) {
    Functions all;
    for (Functions const& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

Functions callsOf(void (*operation)()) {
    Recording const recording;
    operation();
    return recording.functions();
}

/// The check that each key passes; an Ed25519 key needs no more than its type.
template <class Factory> Functions curveCheck() {
    if (Factory::curve == EllipticCurve::Curve25519) {
        return {"EVP_PKEY_get_base_id"};
    }
    return {"EVP_PKEY_get_base_id", "EVP_PKEY_todata", "OSSL_PARAM_locate_const", "OSSL_PARAM_get_utf8_string_ptr",
            "OSSL_PARAM_free"};
}

template <class Factory> constexpr int keyType = Factory::curve == EllipticCurve::P256 ? EVP_PKEY_EC : EVP_PKEY_ED25519;

std::string textOf(std::intptr_t argument) {
    return fromNumber<char const*>(argument);
}

TYPED_TEST(ECCCalls, OfGenerationAreThoseThatTheWorkNeeds) {
    Functions const chooseCurve =
        TypeParam::curve == EllipticCurve::P256 ? Functions{"EVP_PKEY_CTX_ctrl_str"} : Functions();
    Recording const recording;
    Operations<TypeParam>::generate();
    EXPECT_EQ(recording.functions(), joined({{"EVP_PKEY_CTX_new_id", "EVP_PKEY_keygen_init"},
                                             chooseCurve,
                                             {"EVP_PKEY_keygen", "EVP_PKEY_CTX_free"},
                                             {"BIO_new", "PEM_write_bio_PUBKEY", "PEM_read_bio_PUBKEY", "BIO_free_all"},
                                             curveCheck<TypeParam>(), // the public key's
                                             curveCheck<TypeParam>(), // the private key's
                                             {"EVP_PKEY_free", "EVP_PKEY_free"}}));

    Call const context = recording.callsOf("EVP_PKEY_CTX_new_id").at(0);
    EXPECT_EQ(context.arguments, (std::vector<std::intptr_t>{keyType<TypeParam>, 0}));
    Call const write = recording.callsOf("PEM_write_bio_PUBKEY").at(0);
    Call const read = recording.callsOf("PEM_read_bio_PUBKEY").at(0);
    EXPECT_EQ(read.arguments.at(0), write.arguments.at(0)); // from where it was written to
    EXPECT_EQ(textOf(read.arguments.at(3)), "");
    // The private key is the generated one itself; the public one is another.
    EXPECT_EQ(recording.callsOf("EVP_PKEY_get_base_id").at(1).arguments, (std::vector{write.arguments.at(1)}));
    EXPECT_NE(recording.callsOf("EVP_PKEY_get_base_id").at(0).arguments, (std::vector{write.arguments.at(1)}));
}

TEST(ECCKeyCalls, OfGenerationNameTheCurveOnP256) {
    Recording const recording;
    Operations<P256>::generate();
    auto const arguments = recording.callsOf("EVP_PKEY_CTX_ctrl_str").at(0).arguments;
    EXPECT_EQ(arguments.at(0), recording.callsOf("EVP_PKEY_keygen").at(0).arguments.at(0));
    EXPECT_EQ(textOf(arguments.at(1)), "ec_paramgen_curve");
    EXPECT_EQ(textOf(arguments.at(2)), "P-256");
}

TYPED_TEST(ECCCalls, OfPEMAreThoseThatTheWorkNeeds) {
    using On = Operations<TypeParam>;
    auto const reading = [](char const* reader) {
        return joined({{"BIO_new", "BIO_write", reader, "BIO_free_all"}, curveCheck<TypeParam>(), {"EVP_PKEY_free"}});
    };
    EXPECT_EQ(callsOf(On::readPrivate), reading("PEM_read_bio_PrivateKey"));
    EXPECT_EQ(callsOf(On::readPrivateStream), reading("PEM_read_bio_PrivateKey"));
    EXPECT_EQ(callsOf(On::readPublic), reading("PEM_read_bio_PUBKEY"));
    EXPECT_EQ(callsOf(On::readPublicStream), reading("PEM_read_bio_PUBKEY"));
}

TYPED_TEST(ECCCalls, GiveTheReadersOfPrivateKeysTheirPassword) {
    using On = Operations<TypeParam>;
    std::string password;
    Replacing<decltype(PEM_read_bio_PrivateKey)> const looking(
        "PEM_read_bio_PrivateKey", [&](auto real, BIO* bio, EVP_PKEY** key, pem_password_cb* callback, void* user) {
            EXPECT_TRUE(key == nullptr && callback == nullptr);
            password = static_cast<char const*>(user);
            return real(bio, key, callback, user);
        });
    On::readPrivateStream();
    EXPECT_EQ(password, "x");
    On::readPrivate();
    EXPECT_EQ(password, "");
}

Functions const makeP256Key{"OSSL_PARAM_BLD_to_param", "EVP_PKEY_CTX_new_id", "EVP_PKEY_fromdata_init",
                            "EVP_PKEY_fromdata",       "EVP_PKEY_CTX_free",   "OSSL_PARAM_free",
                            "OSSL_PARAM_BLD_free"};

TEST(ECCKeyCalls, OfAnIntegerOnP256AreThoseThatTheWorkNeeds) {
    ByteArray const integer = Operations<P256>::pair().getPrivateKey()->getPrivateInteger();
    ByteArray const point = Operations<P256>::pair().getPublicKey()->getPublicPoint();
    ByteArray pushed;
    Replacing<decltype(OSSL_PARAM_BLD_push_octet_string)> const looking(
        "OSSL_PARAM_BLD_push_octet_string",
        [&](auto real, OSSL_PARAM_BLD* builder, char const* name, void const* data, std::size_t size) {
            auto const* const octets = static_cast<unsigned char const*>(data);
            pushed.assign(octets, octets + size);
            return real(builder, name, data, size);
        });
    Recording const recording;
    P256::privateKeyFromInteger(integer);
    EXPECT_EQ(recording.functions(),
              joined({{"BN_bin2bn"},
                      {"EC_GROUP_new_by_curve_name", "EC_POINT_new", "BN_CTX_new", "EC_POINT_mul"},
                      {"BN_CTX_new", "EC_POINT_point2oct", "EC_POINT_point2oct", "BN_CTX_free"},
                      {"BN_CTX_free", "EC_POINT_free", "EC_GROUP_free"},
                      {"OSSL_PARAM_BLD_new", "OSSL_PARAM_BLD_push_utf8_string", "OSSL_PARAM_BLD_push_BN",
                       "OSSL_PARAM_BLD_push_octet_string"},
                      makeP256Key,
                      {"BN_free"},
                      curveCheck<P256>(),
                      {"EVP_PKEY_free"}}));

    auto const argumentsOf = [&](char const* function) { return recording.callsOf(function).at(0).arguments; };
    EXPECT_EQ(argumentsOf("BN_bin2bn"), (std::vector<std::intptr_t>{asNumber(integer.data()), 32, 0}));
    EXPECT_EQ(argumentsOf("EC_GROUP_new_by_curve_name"), std::vector<std::intptr_t>{NID_X9_62_prime256v1});
    auto const number = argumentsOf("BN_free").at(0);
    auto const product = argumentsOf("EC_POINT_mul"); // the generator's, which needs no other point or number
    EXPECT_EQ(std::vector<std::intptr_t>(product.begin() + 2, product.begin() + 5),
              (std::vector<std::intptr_t>{number, 0, 0}));
    auto const group = argumentsOf("OSSL_PARAM_BLD_push_utf8_string");
    EXPECT_EQ(textOf(group.at(1)) + "=" + textOf(group.at(2)), "group=prime256v1");
    EXPECT_EQ(textOf(argumentsOf("OSSL_PARAM_BLD_push_BN").at(1)), "priv");
    EXPECT_EQ(argumentsOf("OSSL_PARAM_BLD_push_BN").at(2), number);
    EXPECT_EQ(textOf(argumentsOf("OSSL_PARAM_BLD_push_octet_string").at(1)), "pub");
    EXPECT_EQ(pushed, point);
    EXPECT_EQ(argumentsOf("EVP_PKEY_CTX_new_id"), (std::vector<std::intptr_t>{EVP_PKEY_EC, 0}));
    EXPECT_EQ(argumentsOf("EVP_PKEY_fromdata").at(2), EVP_PKEY_KEYPAIR);
}

TEST(ECCKeyCalls, OfAPointOnP256AreThoseThatTheWorkNeeds) {
    ByteArray const point = Operations<P256>::pair().getPublicKey()->getPublicPoint();
    Recording const recording;
    P256::publicKeyFromPoint(point);
    EXPECT_EQ(recording.functions(),
              joined({{"OSSL_PARAM_BLD_new", "OSSL_PARAM_BLD_push_utf8_string", "OSSL_PARAM_BLD_push_octet_string"},
                      makeP256Key,
                      curveCheck<P256>(),
                      {"EVP_PKEY_free"}}));

    auto const argumentsOf = [&](char const* function) { return recording.callsOf(function).at(0).arguments; };
    auto const group = argumentsOf("OSSL_PARAM_BLD_push_utf8_string");
    EXPECT_EQ(textOf(group.at(1)) + "=" + textOf(group.at(2)), "group=prime256v1");
    auto const octets = argumentsOf("OSSL_PARAM_BLD_push_octet_string");
    EXPECT_EQ(textOf(octets.at(1)), "pub");
    EXPECT_EQ(octets.at(2), asNumber(point.data()));
    EXPECT_EQ(octets.at(3), 65);
    EXPECT_EQ(argumentsOf("EVP_PKEY_CTX_new_id"), (std::vector<std::intptr_t>{EVP_PKEY_EC, 0}));
    EXPECT_EQ(argumentsOf("EVP_PKEY_fromdata").at(2), EVP_PKEY_PUBLIC_KEY);
}

TEST(ECCKeyCalls, OfRawBytesOnCurve25519AreThoseThatTheWorkNeeds) {
    ByteArray const integer = Operations<Curve25519>::pair().getPrivateKey()->getPrivateInteger();
    ByteArray const point = Operations<Curve25519>::pair().getPublicKey()->getPublicPoint();
    Recording const recording;
    Curve25519::privateKeyFromInteger(integer);
    Curve25519::publicKeyFromPoint(point);
    EXPECT_EQ(recording.functions(),
              (Functions{"EVP_PKEY_new_raw_private_key", "EVP_PKEY_get_base_id", "EVP_PKEY_free",
                         "EVP_PKEY_new_raw_public_key", "EVP_PKEY_get_base_id", "EVP_PKEY_free"}));
    EXPECT_EQ(recording.callsOf("EVP_PKEY_new_raw_private_key").at(0).arguments,
              (std::vector<std::intptr_t>{EVP_PKEY_ED25519, 0, asNumber(integer.data()), 32}));
    EXPECT_EQ(recording.callsOf("EVP_PKEY_new_raw_public_key").at(0).arguments,
              (std::vector<std::intptr_t>{EVP_PKEY_ED25519, 0, asNumber(point.data()), 32}));
}

TYPED_TEST(ECCCalls, OfExportsAreThoseThatTheWorkNeeds) {
    using On = Operations<TypeParam>;
    EXPECT_EQ(callsOf(On::exportPrivate), (Functions{"EVP_PKEY_dup", "BIO_new", "PEM_write_bio_PKCS8PrivateKey",
                                                     "BIO_ctrl", "BIO_read", "BIO_free_all", "EVP_PKEY_free"}));
    EXPECT_EQ(callsOf(On::exportPublic),
              (Functions{"BIO_new", "PEM_write_bio_PUBKEY", "BIO_ctrl", "BIO_read", "BIO_free_all"}));

    Functions const readNumber =
        TypeParam::curve == EllipticCurve::P256 ? Functions{"OSSL_PARAM_get_BN", "BN_bn2bin", "BN_free"} : Functions();
    {
        Recording const recording;
        On::exportInteger();
        EXPECT_EQ(recording.functions(),
                  joined({{"EVP_PKEY_todata", "OSSL_PARAM_locate_const"}, readNumber, {"OSSL_PARAM_free"}}));
        EXPECT_EQ(recording.callsOf("EVP_PKEY_todata").at(0).arguments.at(1), EVP_PKEY_KEYPAIR);
        EXPECT_EQ(textOf(recording.callsOf("OSSL_PARAM_locate_const").at(0).arguments.at(1)), "priv");
    }
    Recording const recording;
    On::exportPoint();
    EXPECT_EQ(recording.functions(), (Functions{"EVP_PKEY_todata", "OSSL_PARAM_locate_const", "OSSL_PARAM_free"}));
    EXPECT_EQ(recording.callsOf("EVP_PKEY_todata").at(0).arguments.at(1), EVP_PKEY_PUBLIC_KEY);
    EXPECT_EQ(textOf(recording.callsOf("OSSL_PARAM_locate_const").at(0).arguments.at(1)), "pub");
}

// Signatures

TYPED_TEST(ECCCalls, OfASignatureAreThoseThatTheWorkNeeds) {
    using On = Operations<TypeParam>;
    Recording recording;
    On::sign();
    EXPECT_EQ(recording.functions(), (std::vector<std::string>{"EVP_MD_CTX_new", "EVP_DigestSignInit_ex",
                                                               "EVP_DigestSign", "EVP_DigestSign", "EVP_MD_CTX_free"}));
    auto const key =
        std::dynamic_pointer_cast<openssl::ECCPrivateKey<TypeParam::curve>>(On::pair().getPrivateKey())->get();
    auto const& setup = recording.calls().at(1).arguments;
    EXPECT_EQ(setup.at(1), 0);
    EXPECT_EQ(setup.at(2) != 0, TypeParam::curve == EllipticCurve::P256); // Ed25519 takes no digest
    EXPECT_EQ(setup.at(3), 0);
    EXPECT_EQ(setup.at(4), 0);
    EXPECT_EQ(setup.at(5), asNumber(key));
    EXPECT_EQ(setup.at(6), 0);
}

TYPED_TEST(ECCCalls, OfAVerificationAreThoseThatTheWorkNeeds) {
    using On = Operations<TypeParam>;
    Recording recording;
    On::verify();
    EXPECT_EQ(recording.functions(), (std::vector<std::string>{"EVP_MD_CTX_new", "EVP_DigestVerifyInit_ex",
                                                               "EVP_DigestVerify", "EVP_MD_CTX_free"}));
    EXPECT_EQ(recording.calls().at(1).arguments.at(2) != 0, TypeParam::curve == EllipticCurve::P256);
}

// libcrypto cuts the size of an ECDSA signature to 32 bits.
TYPED_TEST(ECCCalls, ThatVerifyNeverSeeASignatureLongerThanTheKeyMakes) {
    auto const key = Operations<TypeParam>::pair().getPublicKey();
    auto const verifier = TypeParam::verifier(key);
    auto const longest = static_cast<std::size_t>(
        EVP_PKEY_get_size(std::dynamic_pointer_cast<openssl::ECCPublicKey<TypeParam::curve>>(key)->get()));
    int asked = 0;
    auto const engine = std::make_shared<HostEngine>([] { return "SHA512"; },
                                                     [&] {
                                                         ++asked;
                                                         return "sha512";
                                                     });
    for (std::size_t const size : {longest, longest + 1, std::size_t(100000)}) {
        ByteArray const signature(size, 0x30);
        std::istringstream stream("abc");
        asked = 0;
        Recording const recording;
        EXPECT_FALSE(verifier->verify(bytes("abc"), signature, engine).isValid());
        EXPECT_FALSE(verifier->verify(stream, signature, engine).isValid());
        EXPECT_EQ(recording.count("EVP_DigestVerify"), size == longest ? 2U : 0U);
        EXPECT_EQ(recording.functions().empty(), size != longest);
        EXPECT_EQ(asked, 2);
    }
    ByteArray const tooLong(longest + 1);
    EXPECT_THROWS(utils::UnsupportedDigestAlgorithm,
                  "Insecure digest algorithm should not be used for signing/verification: SHA1",
                  verifier->verify(bytes("abc"), tooLong, engineNamed("sha1")));
    EXPECT_THROWS(InternalException, noVerifying, // without a key that is told, whatever the signature
                  TypeParam::verifier(nullptr)->verify(bytes("abc"), tooLong, engine));
}

TEST(ECCSignatureCalls, NameTheDigestOfTheEngineOnP256) {
    for (std::string const name : {"sha224", "sha256", "sha384", "sha512"}) {
        std::string named;
        Replacing<decltype(EVP_DigestSignInit_ex)> const looking(
            "EVP_DigestSignInit_ex", [&](auto real, auto context, auto keyContext, char const* digest, auto... others) {
                named = digest;
                return real(context, keyContext, digest, others...);
            });
        P256::signer(Operations<P256>::pair().getPrivateKey())->sign(bytes("abc"), engineNamed(name));
        EXPECT_EQ(named, name);
    }
}

TYPED_TEST(ECCCalls, AreNotMadeForARefusedDigest) {
    auto const signer = TypeParam::signer(Operations<TypeParam>::pair().getPrivateKey());
    auto const verifier = TypeParam::verifier(Operations<TypeParam>::pair().getPublicKey());
    auto const refused = engineNamed("sha1");
    Recording const recording;
    EXPECT_ANY_THROW(signer->sign(bytes("abc"), refused));
    EXPECT_ANY_THROW(signer->sign(bytes("abc"), nullptr));
    EXPECT_ANY_THROW(verifier->verify(bytes("abc"), bytes("abc"), refused));
    EXPECT_ANY_THROW(verifier->verify(bytes("abc"), bytes("abc"), nullptr));
    EXPECT_EQ(recording.functions(), std::vector<std::string>());
}

/// Answers the size query with `most` and the signature itself with `size` bytes.
auto signatureOf(std::size_t most, std::size_t size) {
    return [=](auto /*real*/, EVP_MD_CTX* /*context*/, unsigned char* signature, std::size_t* written,
               unsigned char const* /*data*/, std::size_t /*dataSize*/) {
        if (signature != nullptr) {
            EXPECT_EQ(*written, most); // the room there is
            std::fill_n(signature, size, static_cast<unsigned char>(0xab));
        }
        *written = signature == nullptr ? most : size;
        return 1;
    };
}

TYPED_TEST(ECCCalls, CutASignatureToItsFinalLength) {
    auto const signer = TypeParam::signer(Operations<TypeParam>::pair().getPrivateKey());
    for (std::size_t const size : {72U, 71U, 70U, 8U, 1U}) {
        Replacing<decltype(EVP_DigestSign)> const shorter("EVP_DigestSign", signatureOf(72, size));
        EXPECT_EQ(signer->sign(bytes("abc"), TypeParam::engine()), ByteArray(size, 0xab));
    }
}

TYPED_TEST(ECCCalls, RefuseASignatureOfNothing) {
    {
        Replacing<decltype(EVP_DigestSign)> const none("EVP_DigestSign", signatureOf(0, 0));
        EXPECT_THROWS(InternalException, "Max size of signature to be generated is 0", Operations<TypeParam>::sign());
    }
    Replacing<decltype(EVP_DigestSign)> const none("EVP_DigestSign", signatureOf(72, 0));
    EXPECT_THROWS(InternalException, "Size of generated signature is 0", Operations<TypeParam>::sign());
}

TYPED_TEST(ECCCalls, AreValidForTheResultOneAlone) {
    auto const verifier = TypeParam::verifier(Operations<TypeParam>::pair().getPublicKey());
    for (int const result : {1, 0, -1, -2, 2}) {
        Failing failing("EVP_DigestVerify");
        failing.returning(result).withError("malformed");
        EXPECT_EQ(verifier->verify(bytes("abc"), bytes("abc"), TypeParam::engine()).isValid(), result == 1) << result;
        EXPECT_EQ(ERR_peek_error(), 0U);
    }
}

TYPED_TEST(ECCCalls, AnswerWhateverBitsLibcryptoNames) {
    auto const signer = TypeParam::signer(Operations<TypeParam>::pair().getPrivateKey());
    auto const verifier = TypeParam::verifier(Operations<TypeParam>::pair().getPublicKey());
    for (int const bits : {253, 256, 0, -1}) {
        {
            Failing failing("EVP_PKEY_get_bits");
            failing.returning(bits);
            EXPECT_EQ(signer->getKeySize(), bits);
        }
        Failing failing("EVP_PKEY_get_bits");
        failing.returning(bits);
        EXPECT_EQ(verifier->getKeySize(), bits);
    }
}

} // namespace
