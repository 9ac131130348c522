#include "rsa/RSAKeyReader.h"

#include "RSAKeyOperations.h"
#include "support/FaultTables.h"
#include "support/Provider.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/err.h>
#include <openssl/evp.h>

#include <cstddef>
#include <functional>
#include <istream>
#include <new>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace support;
using namespace foundation::crypto;
using utils::Exception;
using utils::InternalException;

std::string const noBIO = "Fail to create BIOUPtr; the given raw pointer is NULL";
std::string const noBN = "Fail to create BNUPtr; the given raw pointer is NULL";
std::string const noKey = "Fail to create EVP_PKEYUPtr; the given raw pointer is NULL";
std::string const privateNotWritten = "Failed to write the input private key to BIO";
std::string const privateNotWhole =
    "The length of bytes written into the private key BIO does not match the expected length";
std::string const publicNotWritten = "Failed to write the input public key to BIO";
std::string const publicNotWhole =
    "The length of bytes written into the public key BIO does not match the expected length";
std::string const privateNotRead = "Failed to load the modulus and the exponents data from the inputs";
std::string const publicNotRead = "Failed to load the modulus and the public exponent data from the inputs";
std::string const noBytes = "Error occurred while trying to find number of bytes in BIO. "
                            "Expected one or more bytes to be pending";
std::string const noPrivateDER = "Failed to convert RSA private key to DER-form BIO.";
std::string const noPublicDER = "Failed to convert RSA public key to DER-form BIO.";
std::string const noPrivateBuilder = "Failed to initialize the param builder for RSA private key";
std::string const privateModulusNotBuilt = "Failed to build the RSA private key with the given modulus";
std::string const privatePublicExponentNotBuilt = "Failed to build the RSA private key with the given public exponent";
std::string const privateExponentNotBuilt = "Failed to build the RSA private key with the given private exponent";
std::string const noPrivateParameters = "Failed to initialize the param for RSA private key";
std::string const noPrivateContext = "Failed to create the context for RSA private key";
std::string const privateNotPrepared = "Failed to initialize the context for RSA private key";
std::string const privateNotBuilt = "Failed to generate the private key from the modulus and the exponents";
std::string const noPublicBuilder = "Failed to initialize the param builder for RSA public key";
std::string const publicModulusNotBuilt = "Failed to build the RSA public key with the given modulus";
std::string const publicExponentNotBuilt = "Failed to build the RSA public key with the given public exponent";
std::string const noPublicParameters = "Failed to initialize the param for RSA public key";
std::string const noPublicContext = "Failed to create the context for RSA public key";
std::string const publicNotPrepared = "Failed to initialize the context for RSA public key";
std::string const publicNotBuilt = "Failed to generate the public key from the modulus and the exponent";
std::string const noPrivateModulus = "Failed to get the modulus for the private key";
std::string const noPrivateExponent = "Failed to get the private exponent for the private key";
std::string const noPublicModulus = "Failed to get the modulus for the public key";
std::string const noPublicExponent = "Failed to get the public exponent for the public key";
std::string const numberNotWhole = "Wrote 127 bytes from BIGNUM to ByteArray. Expected: 128";
std::string const unsupportedSize = "Unsupported Key size";

std::vector<Result> const notPositive{0, -1, -2, made(0)};
std::vector<Result> const notOne{0, -1, 2};

std::vector<Fault> const faults{
    {"GenerateKey", "EVP_PKEY_Q_keygen", 1, generate, noKey},
    {"GeneratePublicBIO", "BIO_new", 1, generate, noBIO},
    {"GenerateWritePublic", "PEM_write_bio_PUBKEY", 1, generate, "Failed to write the public key to BIO", notOne},
    {"GeneratePrivateBIO", "BIO_new", 2, generate, noBIO},
    {"GenerateWritePrivate", "PEM_write_bio_PrivateKey", 1, generate, "Failed to write the private key to BIO", notOne},
    {"GenerateReadPublic", "PEM_read_bio_PUBKEY", 1, generate, noKey},
    {"GenerateReadPrivate", "PEM_read_bio_PrivateKey", 1, generate, noKey},

    {"PrivatePEMBIO", "BIO_new", 1, loadPrivatePEM, noBIO},
    {"PrivatePEMWrite", "BIO_write", 1, loadPrivatePEM, privateNotWritten, notPositive},
    {"PrivatePEMWriteWhole", "BIO_write", 1, loadPrivatePEM, privateNotWhole, {1, 915, 917}},
    {"PrivatePEMRead", "PEM_read_bio_PrivateKey", 1, loadPrivatePEM, noKey},
    {"PrivateDERBIO", "BIO_new", 1, loadPrivateDER, noBIO},
    {"PrivateDERWrite", "BIO_write", 1, loadPrivateDER, privateNotWritten, {0, -1}},
    {"PrivateDERWriteWhole", "BIO_write", 1, loadPrivateDER, privateNotWhole, {1, 633}},
    {"PrivateDERWriteAgain", "BIO_write", 2, loadPrivateDER, privateNotWritten, {0, -1}},
    {"PrivateDERWriteWholeAgain", "BIO_write", 2, loadPrivateDER, privateNotWhole, {1, 633}},
    {"PrivateDERRead", "d2i_PrivateKey_bio", 1, loadPrivateDER, noKey},
    {"EncryptedDERRead", "d2i_PKCS8PrivateKey_bio", 1, loadEncryptedDER, noKey},
    {"PrivateStreamBIO", "BIO_new", 1, readPrivatePEM, noBIO},
    {"PrivateStreamWrite", "BIO_write", 1, readPrivatePEM, privateNotWritten},
    {"PrivateStreamRead", "PEM_read_bio_PrivateKey", 1, readPrivatePEM, noKey},
    {"PrivateQueryWrite", "BIO_write", 1, queryPrivatePEM, privateNotWritten},
    {"PrivateQueryRead", "PEM_read_bio_PrivateKey", 1, queryPrivatePEM, noKey},
    {"PrivateQueryBits", "EVP_PKEY_get_bits", 1, queryPrivatePEM, unsupportedSize, {0, -1, 1025, 512}},
    {"PrivateStreamQueryRead", "PEM_read_bio_PrivateKey", 1, queryPrivateStream, noKey},
    {"PrivateStreamQueryBits", "EVP_PKEY_get_bits", 1, queryPrivateStream, unsupportedSize},

    {"PublicPEMBIO", "BIO_new", 1, loadPublicPEM, noBIO},
    {"PublicPEMWrite", "BIO_write", 1, loadPublicPEM, publicNotWritten, notPositive},
    {"PublicPEMWriteWhole", "BIO_write", 1, loadPublicPEM, publicNotWhole, {1, 271, 273}},
    {"PublicPEMRead", "PEM_read_bio_PUBKEY", 1, loadPublicPEM, noKey},
    {"PublicDERWrite", "BIO_write", 1, loadPublicDER, publicNotWritten},
    {"PublicDERWriteWhole", "BIO_write", 1, loadPublicDER, publicNotWhole, {161}},
    {"PublicDERRead", "d2i_PUBKEY_bio", 1, loadPublicDER, noKey},
    {"PublicStreamBIO", "BIO_new", 1, readPublicPEM, noBIO},
    {"PublicStreamWrite", "BIO_write", 1, readPublicPEM, publicNotWritten},
    {"PublicStreamRead", "PEM_read_bio_PUBKEY", 1, readPublicPEM, noKey},
    {"PublicQueryRead", "d2i_PUBKEY_bio", 1, queryPublicDER, noKey},
    {"PublicQueryBits", "EVP_PKEY_get_bits", 1, queryPublicDER, unsupportedSize},
    {"PublicStreamQueryRead", "PEM_read_bio_PUBKEY", 1, queryPublicStream, noKey},
    {"PublicStreamQueryBits", "EVP_PKEY_get_bits", 1, queryPublicStream, unsupportedSize},

    {"BuildPrivateKey", "EVP_PKEY_new", 1, buildPrivate, noKey},
    {"BuildPrivateFirstNumber", "BN_bin2bn", 1, buildPrivate, privateNotRead},
    {"BuildPrivateSecondNumber", "BN_bin2bn", 2, buildPrivate, privateNotRead},
    {"BuildPrivateThirdNumber", "BN_bin2bn", 3, buildPrivate, privateNotRead},
    {"BuildPrivateBuilder", "OSSL_PARAM_BLD_new", 1, buildPrivate, noPrivateBuilder},
    {"BuildPrivateModulus", "OSSL_PARAM_BLD_push_BN", 1, buildPrivate, privateModulusNotBuilt, notOne},
    {"BuildPrivatePublicExponent", "OSSL_PARAM_BLD_push_BN", 2, buildPrivate, privatePublicExponentNotBuilt, notOne},
    {"BuildPrivateExponent", "OSSL_PARAM_BLD_push_BN", 3, buildPrivate, privateExponentNotBuilt, notOne},
    {"BuildPrivateParameters", "OSSL_PARAM_BLD_to_param", 1, buildPrivate, noPrivateParameters},
    {"BuildPrivateContext", "EVP_PKEY_CTX_new_from_name", 1, buildPrivate, noPrivateContext},
    {"BuildPrivateInitialize", "EVP_PKEY_fromdata_init", 1, buildPrivate, privateNotPrepared, notPositive},
    {"BuildPrivateFinish", "EVP_PKEY_fromdata", 1, buildPrivate, privateNotBuilt, notPositive},
    {"BuildPrivateFinishWithout", "EVP_PKEY_fromdata", 1, buildPrivate, noKey, {1}},

    {"BuildPublicKey", "EVP_PKEY_new", 1, buildPublic, noKey},
    {"BuildPublicFirstNumber", "BN_bin2bn", 1, buildPublic, publicNotRead},
    {"BuildPublicSecondNumber", "BN_bin2bn", 2, buildPublic, publicNotRead},
    {"BuildPublicBuilder", "OSSL_PARAM_BLD_new", 1, buildPublic, noPublicBuilder},
    {"BuildPublicModulus", "OSSL_PARAM_BLD_push_BN", 1, buildPublic, publicModulusNotBuilt, notOne},
    {"BuildPublicExponent", "OSSL_PARAM_BLD_push_BN", 2, buildPublic, publicExponentNotBuilt, notOne},
    {"BuildPublicParameters", "OSSL_PARAM_BLD_to_param", 1, buildPublic, noPublicParameters},
    {"BuildPublicContext", "EVP_PKEY_CTX_new_from_name", 1, buildPublic, noPublicContext},
    {"BuildPublicInitialize", "EVP_PKEY_fromdata_init", 1, buildPublic, publicNotPrepared, notPositive},
    {"BuildPublicFinish", "EVP_PKEY_fromdata", 1, buildPublic, publicNotBuilt, notPositive},
    {"BuildPublicFinishWithout", "EVP_PKEY_fromdata", 1, buildPublic, noKey, {1}},

    {"ExportPrivateBIO", "BIO_new", 1, exportPrivate, noBIO},
    {"ExportPrivate", "i2d_PKCS8PrivateKey_bio", 1, exportPrivate, noPrivateDER},
    {"ExportPrivateNothing", "i2d_PKCS8PrivateKey_bio", 1, exportPrivate, noBytes, {1}},
    {"ExportPrivatePending", "BIO_ctrl", 1, exportPrivate, noBytes},
    {"ExportPrivateRead", "BIO_read", 1, exportPrivate, "Failed to read from BIO to ByteArray"},
    {"ExportPublicBIO", "BIO_new", 1, exportPublic, noBIO},
    {"ExportPublic", "i2d_PUBKEY_bio", 1, exportPublic, noPublicDER},
    {"ExportPublicNothing", "i2d_PUBKEY_bio", 1, exportPublic, noBytes, {1}},
    {"ExportPublicRead", "BIO_read", 1, exportPublic, "Failed to read from BIO to ByteArray"},
    {"ExportPrivateModulusNumber", "BN_new", 1, exportPrivateModulus, noBN},
    {"ExportPrivateModulus", "EVP_PKEY_get_bn_param", 1, exportPrivateModulus, noPrivateModulus, notOne},
    {"ExportPrivateExponentNumber", "BN_new", 1, exportPrivateExponent, noBN},
    {"ExportPrivateExponent", "EVP_PKEY_get_bn_param", 1, exportPrivateExponent, noPrivateExponent, notOne},
    {"ExportPrivateExponentBytes", "BN_bn2bin", 1, exportPrivateExponent, numberNotWhole, {127}},
    {"ExportPublicModulusNumber", "BN_new", 1, exportPublicModulus, noBN},
    {"ExportPublicModulus", "EVP_PKEY_get_bn_param", 1, exportPublicModulus, noPublicModulus, notOne},
    {"ExportPublicExponentNumber", "BN_new", 1, exportPublicExponent, noBN},
    {"ExportPublicExponent", "EVP_PKEY_get_bn_param", 1, exportPublicExponent, noPublicExponent, notOne},
};

class RSAKeyFaults : public testing::TestWithParam<Fault> {};

INSTANTIATE_TEST_SUITE_P(, RSAKeyFaults, testing::ValuesIn(expanded(faults)), nameOf);

TEST_P(RSAKeyFaults, AreReportedInTheirOwnWords) {
    expectReported<InternalException>(GetParam());
}

TEST_P(RSAKeyFaults, LeakNothing) {
    expectAllReleased(GetParam());
}

TEST(RSAKeyFault, OfTheFirstReaderIsForgottenAfterTheSecond) {
    Failing failing("d2i_PKCS8PrivateKey_bio");
    failing.withError("not for me");
    EXPECT_NO_THROW(loadPrivateDER());
    EXPECT_EQ(ERR_peek_error(), 0U);
}

TEST(RSAKeyFault, ThatIsAnErrorOfACallWhichSucceedsIsForgotten) {
    expectForgotten("PEM_write_bio_PUBKEY", generate);
    expectForgotten("PEM_read_bio_PrivateKey", {{"Generate", generate}, {"Load", loadPrivatePEM}});
    expectForgotten("PEM_read_bio_PUBKEY", {{"Generate", generate}, {"Load", loadPublicPEM}});
    expectForgotten("EVP_PKEY_fromdata", {{"Private", buildPrivate}, {"Public", buildPublic}});
}

TEST(RSAKeyFault, OfTheSizeIsThePlainException) {
    for (auto const& [operation, kind] :
         {std::pair(&loadPrivatePEM, "private"), std::pair(&readPrivatePEM, "private"),
          std::pair(&buildPrivate, "private"), std::pair(&loadPublicPEM, "public"), std::pair(&readPublicPEM, "public"),
          std::pair(&buildPublic, "public"), std::pair(&generate, "public")}) {
        for (int const size : {0, -1, 1023, 2048}) {
            Failing failing("EVP_PKEY_get_bits");
            failing.returning(size);
            EXPECT_THROWS(Exception,
                          std::string("The input data corresponds to a ") + kind + " key of size " +
                              std::to_string(size) + " instead of the expected size 1024",
                          operation());
        }
    }
}

TEST(RSAKeyFault, ThatIsAnExceptionIsTranslated) {
    struct {
        char const* name;
        std::function<void()> operation;
    } const rows[] = {{"loadPrivatePEM", loadPrivatePEM},   {"readPrivatePEM", readPrivatePEM},
                      {"loadPublicPEM", loadPublicPEM},     {"readPublicPEM", readPublicPEM},
                      {"queryPrivatePEM", queryPrivatePEM}, {"queryPublicStream", queryPublicStream}};

    for (auto const& [name, operation] : rows) {
        SCOPED_TRACE(name);
        {
            Replacing<decltype(BIO_write)> const throwing(
                "BIO_write", [](auto, BIO*, void const*, int) -> int { throw std::runtime_error("out of order"); });
            EXPECT_THROWS(InternalException, "out of order", operation());
        }
        {
            Replacing<decltype(BIO_write)> const throwing(
                "BIO_write", [](auto, BIO*, void const*, int) -> int { throw utils::InvalidKey("out of order"); });
            EXPECT_THROWS(InternalException, "out of order", operation());
        }
        {
            Replacing<decltype(BIO_new)> const exhausted(
                "BIO_new", [](auto, BIO_METHOD const*) -> BIO* { throw std::bad_alloc(); });
            EXPECT_THROWS(InternalException, "std::bad_alloc", operation());
        }
    }
    for (auto const& operation : {buildPrivate, buildPublic}) {
        Replacing<decltype(EVP_PKEY_fromdata_init)> const throwing(
            "EVP_PKEY_fromdata_init", [](auto, EVP_PKEY_CTX*) -> int { throw utils::InvalidKey("out of order"); });
        EXPECT_THROWS(InternalException, "out of order", operation());
    }
    for (auto const& operation :
         {exportPrivateModulus, exportPrivateExponent, exportPublicModulus, exportPublicExponent}) {
        {
            Replacing<decltype(BN_bn2bin)> const throwing("BN_bn2bin", [](auto, BIGNUM const*, unsigned char*) -> int {
                throw std::length_error("out of order");
            });
            EXPECT_THROWS(InternalException, "out of order", operation());
        }
        Replacing<decltype(BN_bn2bin)> const throwing(
            "BN_bn2bin", [](auto, BIGNUM const*, unsigned char*) -> int { throw utils::InvalidKey("out of order"); });
        EXPECT_THROWS(InternalException, "out of order", operation());
    }
    for (auto const& operation : {queryPrivatePEM, queryPrivateStream, queryPublicDER, queryPublicStream}) {
        Replacing<decltype(EVP_PKEY_get_bits)> const throwing(
            "EVP_PKEY_get_bits", [](auto, EVP_PKEY const*) -> int { throw utils::InvalidKey("out of order"); });
        Recording const recording;
        EXPECT_THROWS(InternalException, "out of order", operation());
        EXPECT_EQ(recording.count("EVP_PKEY_free"), 1U);
    }
}

TEST(RSAKeyFault, OfAStreamOfTheQueriesIsInternal) {
    struct Broken : std::streambuf {
        int_type underflow() override { throw utils::NotImplemented("gone"); }
    } buffer;

    std::istream stream(&buffer);
    stream.exceptions(std::ios_base::badbit);
    EXPECT_THROWS(InternalException, "gone", provider.getPublicKeySignatureMethod(stream));
}

TEST(RSAKeyFault, OfANumberThatIsNotThereIsReported) {
    Replacing<decltype(EVP_PKEY_get_bn_param)> const forgetful("EVP_PKEY_get_bn_param",
                                                               [](auto, EVP_PKEY const*, char const*, BIGNUM** number) {
                                                                   *number = nullptr;
                                                                   return 1;
                                                               });
    EXPECT_THROWS(InternalException, noPrivateModulus, exportPrivateModulus());
    EXPECT_THROWS(InternalException, noPublicExponent, exportPublicExponent());
}

TEST(RSAKeyFault, OfATextThatIsTooLongForItsLengthIsReported) {
    std::string const five = "12345";
    std::string_view const wrapped(five.data(), (std::size_t(1) << 32U) + 5); // only the 5 bytes are ever looked at
    EXPECT_THROWS(InternalException, privateNotWhole, openssl::loadRSAPrivateKey(wrapped, ""));
    EXPECT_THROWS(InternalException, publicNotWhole, openssl::loadRSAPublicKey(wrapped));
    std::string_view const negative(five.data(), std::size_t(1) << 31U);
    EXPECT_THROWS(InternalException, privateNotWritten, openssl::loadRSAPrivateKey(negative, ""));
    EXPECT_THROWS(InternalException, publicNotWritten, openssl::loadRSAPublicKey(negative));
}

} // namespace
