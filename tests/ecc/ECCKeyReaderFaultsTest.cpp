#include "ecc/ECCKeyReader.h"

#include "support/Bytes.h"
#include "support/FaultTables.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/pem.h>

#include <string>
#include <vector>

namespace {

using namespace support;
using namespace foundation::crypto::openssl;
using foundation::crypto::utils::EllipticCurve;
using foundation::crypto::utils::InternalException;
using foundation::crypto::utils::InvalidKeyEncoding;

// What an operation works on is made before any call fails.
EVP_PKEYUPtr const key(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"));

void checkKey() {
    checkCurve(key.get(), EllipticCurve::P256);
}

std::string const notExported = "Could not extract public key information from EVP_PKEY";
std::string const noGroup = "Expected EVP_PKEY to have group parameter since it's an EVP_PKEY_EC";

std::vector<Fault> const faults{
    {"Export", "EVP_PKEY_todata", 1, checkKey, notExported, {0, -1, 2, made(0)}},
    {"Locate", "OSSL_PARAM_locate_const", 1, checkKey, noGroup},
    {"Name", "OSSL_PARAM_get_utf8_string_ptr", 1, checkKey, noGroup, {0, -1, 2, made(0)}},
};

class CurveCheckFaults : public testing::TestWithParam<Fault> {};

INSTANTIATE_TEST_SUITE_P(, CurveCheckFaults, testing::ValuesIn(expanded(faults)), nameOf);

TEST_P(CurveCheckFaults, AreReportedInTheirOwnWords) {
    expectReported<InternalException>(GetParam());
}

TEST_P(CurveCheckFaults, LeakNothing) {
    expectAllReleased(GetParam());
}

TEST(CurveCheckCalls, ExportThePublicKeyOnce) {
    Recording const recording;
    checkKey();
    ASSERT_EQ(recording.count("EVP_PKEY_todata"), 1U);
    EXPECT_EQ(recording.callsOf("EVP_PKEY_todata")[0].arguments[1], 134);
    EXPECT_EQ(recording.count("OSSL_PARAM_free"), 1U);
}

TEST(PEMKeyFault, IsOfTheEncoding) {
    std::string const text = "Could not create key from bytes in PEM encoding. Is the key really in PEM encoding? DER "
                             "is not supported.";
    BIOUPtr const keys(BIO_new(BIO_s_mem()));
    ASSERT_EQ(PEM_write_bio_PUBKEY(keys.get(), key.get()), 1);
    ASSERT_EQ(PEM_write_bio_PKCS8PrivateKey(keys.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr), 1);
    {
        Failing const failing("PEM_read_bio_PUBKEY");
        EXPECT_THROWS(InvalidKeyEncoding, text, readPEMPublicKey(keys.get()));
    }
    Failing const failing("PEM_read_bio_PrivateKey");
    EXPECT_THROWS(InvalidKeyEncoding, text, readPEMPrivateKey(keys.get(), ""));
}

TEST(PEMKeyCalls, HaveAPassPhraseSoThatTheyNeverAsk) {
    BIOUPtr const empty(BIO_new(BIO_s_mem()));
    std::string const password = "secret";
    Recording const recording;
    catchFrom([&] { readPEMPrivateKey(empty.get(), password); });
    catchFrom([&] { readPEMPublicKey(empty.get()); });
    auto const privateCall = recording.callsOf("PEM_read_bio_PrivateKey").at(0);
    EXPECT_EQ(privateCall.arguments,
              (std::vector<std::intptr_t>{asNumber(empty.get()), 0, 0, asNumber(password.c_str())}));
    auto const publicCall = recording.callsOf("PEM_read_bio_PUBKEY").at(0);
    EXPECT_STREQ(fromNumber<char const*>(publicCall.arguments[3]), "");
}

} // namespace
