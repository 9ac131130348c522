#include "common/Conversions.h"
#include "ecc/ECCKeyReader.h"
#include "ecc/ECPoint.h"

#include "support/Bytes.h"
#include "support/Faults.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/obj_mac.h>
#include <openssl/pem.h>

#include <algorithm>
#include <climits>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace support;
using namespace foundation::crypto::openssl;
using foundation::crypto::utils::EllipticCurve;
using foundation::crypto::utils::InternalException;
using foundation::crypto::utils::InvalidKeyEncoding;

std::string const point = "046b17d1f2e12c4247f8bce6e563a440f277037d812deb33a0f4a13945d898c296"
                          "4fe342e2fe1a7f9b8ee7eb4a7c0f9e162bce33576b315ececbb6406837bf51f5";

struct Fault {
    std::string name;
    std::string call;
    int nth;
    std::optional<std::intptr_t> result; // in place of the function's usual failure
    std::function<void()> operation;
    std::string text;
};

// What an operation works on is made before any call fails.
EC_GROUPUPtr const group(EC_GROUP_new_by_curve_name(NID_X9_62_prime256v1));
EC_POINTUPtr const generator = toECPoint(group.get(), unhex(point));
BNUPtr const number(BN_bin2bn(unhex("0102030405").data(), 5, nullptr));
EVP_PKEYUPtr const key(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"));
BIOUPtr const bio(BIO_new(BIO_s_mem()));

void refill() {
    BIO_reset(bio.get());
    BIO_puts(bio.get(), "content");
}

void readPoint() {
    toECPoint(group.get(), unhex(point));
}

void writePoint() {
    toByteArray(group.get(), generator.get());
}

void writeText() {
    write("text", bio.get());
}

void writeNumber() {
    toByteArray(number.get());
}

void readBIO() {
    toByteArray(bio.get());
}

void checkKey() {
    checkCurve(key.get(), EllipticCurve::P256);
}

std::string const noPointRead = "Failed to convert point from bytes to an EC_POINT";
std::string const noTextWritten = "Failed to write to BIO.";
std::string const nothingPending =
    "Error occurred while trying to find number of bytes in BIO. Expected one or more bytes to be pending";
std::string const nothingRead = "Failed to read from BIO to ByteArray";
std::string const noGroup = "Expected EVP_PKEY to have group parameter since it's an EVP_PKEY_EC";
std::string const noContext = "Fail to create BN_CTXUPtr; the given raw pointer is NULL";

std::vector<Fault> const faults{
    {"ReadPointContext", "BN_CTX_new", 1, {}, readPoint, noContext},
    {"ReadPointNew", "EC_POINT_new", 1, {}, readPoint, "Fail to create EC_POINTUPtr; the given raw pointer is NULL"},
    {"ReadPoint", "EC_POINT_oct2point", 1, {}, readPoint, noPointRead},
    {"ReadPointNegative", "EC_POINT_oct2point", 1, -1, readPoint, noPointRead},
    {"ReadPointTwo", "EC_POINT_oct2point", 1, 2, readPoint, noPointRead},
    {"WritePointContext", "BN_CTX_new", 1, {}, writePoint, noContext},
    {"WritePointSize", "EC_POINT_point2oct", 1, {}, writePoint, "Failed to get number of bytes to store public point"},
    {"WritePoint", "EC_POINT_point2oct", 2, {}, writePoint, "Failed to convert EC_POINT to ByteArray"},
    {"WriteText", "BIO_write", 1, {}, writeText, noTextWritten},
    {"WriteTextNone", "BIO_write", 1, 0, writeText, noTextWritten},
    {"WriteTextUnsupported", "BIO_write", 1, -2, writeText, noTextWritten},
    {"WriteTextShort", "BIO_write", 1, 3, writeText, "Expected 4 bytes written to BIO. Found 3 bytes."},
    {"WriteTextLong", "BIO_write", 1, 5, writeText, "Expected 4 bytes written to BIO. Found 5 bytes."},
    {"WriteNumber", "BN_bn2bin", 1, {}, writeNumber, "Wrote -1 bytes from BIGNUM to ByteArray. Expected: 5"},
    {"WriteNumberShort", "BN_bn2bin", 1, 4, writeNumber, "Wrote 4 bytes from BIGNUM to ByteArray. Expected: 5"},
    {"PendingNone", "BIO_ctrl", 1, {}, readBIO, nothingPending},
    {"PendingNegative", "BIO_ctrl", 1, -1, readBIO, nothingPending},
    {"ReadBIO", "BIO_read", 1, {}, readBIO, nothingRead},
    {"ReadBIONone", "BIO_read", 1, 0, readBIO, nothingRead},
    {"ReadBIOShort", "BIO_read", 1, 6, readBIO, "Expected to read 7 bytes in BIO. Found 6 bytes."},
    {"CheckExport", "EVP_PKEY_todata", 1, {}, checkKey, "Could not extract public key information from EVP_PKEY"},
    {"CheckLocate", "OSSL_PARAM_locate_const", 1, {}, checkKey, noGroup},
    {"CheckName", "OSSL_PARAM_get_utf8_string_ptr", 1, {}, checkKey, noGroup},
};

class ConversionFaults : public testing::TestWithParam<Fault> {};

INSTANTIATE_TEST_SUITE_P(, ConversionFaults, testing::ValuesIn(faults), [](auto const& row) { return row.param.name; });

TEST_P(ConversionFaults, AreReportedInTheirOwnWords) {
    refill();
    Failing failing(GetParam().call, GetParam().nth);
    failing.withError("not part of the text");
    if (GetParam().result) {
        failing.returning(*GetParam().result);
    }
    EXPECT_THROWS(InternalException, GetParam().text, GetParam().operation());
}

TEST_P(ConversionFaults, LeakNothing) {
    refill();
    Recording const recording;
    {
        Failing failing(GetParam().call, GetParam().nth);
        if (GetParam().result) {
            failing.returning(*GetParam().result);
        }
        catchFrom(GetParam().operation);
    }
    for (auto const& [create, release] : {std::pair{"BN_CTX_new", "BN_CTX_free"}, {"EC_POINT_new", "EC_POINT_free"}}) {
        std::size_t const failed = GetParam().call == create ? 1 : 0;
        EXPECT_EQ(recording.count(release), recording.count(create) - failed) << create;
    }
    if (GetParam().call == "OSSL_PARAM_locate_const" || GetParam().call == "OSSL_PARAM_get_utf8_string_ptr") {
        EXPECT_EQ(recording.count("OSSL_PARAM_free"), 1U);
    }
}

TEST(ConversionFault, OfATextThatIsTooLongForItsLengthIsReported) {
    struct {
        std::size_t size;
        int given; // its lowest 32 bits
        std::string text;
    } const rows[] = {
        {(std::size_t(1) << 32U) + 5, 5, "Expected 4294967301 bytes written to BIO. Found 5 bytes."},
        {std::size_t(1) << 32U, 0, noTextWritten},
        {(std::size_t(1) << 32U) - 1, -1, noTextWritten},
        {std::size_t(1) << 31U, INT_MIN, noTextWritten},
    };

    std::string const five = "12345"; // only these are ever looked at
    for (auto const& [size, given, text] : rows) {
        Recording const recording;
        EXPECT_THROWS(InternalException, text, write({five.data(), size}, bio.get()));
        ASSERT_EQ(recording.count("BIO_write"), 1U);
        EXPECT_EQ(recording.calls().at(0).arguments,
                  (std::vector<std::intptr_t>{asNumber(bio.get()), asNumber(five.data()), given}));
    }
}

TEST(ConversionCalls, WriteATextOfTheLargestLengthWhole) {
    std::string const five = "12345";
    Replacing<decltype(BIO_write)> const all("BIO_write", [](auto, BIO*, void const*, int size) { return size; });
    Recording const recording;
    EXPECT_NO_THROW(write({five.data(), INT_MAX}, bio.get()));
    EXPECT_EQ(recording.calls().at(0).arguments.at(2), INT_MAX);
}

TEST(ConversionFault, OfTheReadersIsOfTheEncoding) {
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

TEST(ConversionCalls, AreThoseOfTheConversion) {
    {
        Recording const recording;
        readPoint();
        EXPECT_EQ(recording.functions(), (std::vector<std::string>{"BN_CTX_new", "EC_POINT_new", "EC_POINT_oct2point",
                                                                   "BN_CTX_free", "EC_POINT_free"}));
    }
    {
        Recording const recording;
        writePoint();
        auto const calls = recording.callsOf("EC_POINT_point2oct");
        ASSERT_EQ(calls.size(), 2U);
        EXPECT_EQ(calls[0].arguments[2], 4);
        EXPECT_EQ(calls[0].arguments[3], 0);
        EXPECT_EQ(calls[1].arguments[2], 4);
        EXPECT_EQ(calls[1].arguments[4], 65);
    }
    {
        refill();
        Recording const recording;
        readBIO();
        EXPECT_EQ(recording.functions(), (std::vector<std::string>{"BIO_ctrl", "BIO_read"}));
        EXPECT_EQ(recording.calls()[0].arguments, (std::vector<std::intptr_t>{asNumber(bio.get()), 10, 0, 0}));
    }
    {
        Recording const recording;
        checkKey();
        ASSERT_EQ(recording.count("EVP_PKEY_todata"), 1U);
        EXPECT_EQ(recording.callsOf("EVP_PKEY_todata")[0].arguments[1], 134);
        EXPECT_EQ(recording.count("OSSL_PARAM_free"), 1U);
    }
}

TEST(ConversionCalls, GiveTheReadersAPassPhraseSoThatTheyNeverAsk) {
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
