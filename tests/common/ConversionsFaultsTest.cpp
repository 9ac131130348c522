#include "common/Conversions.h"

#include "support/Bytes.h"
#include "support/FaultTables.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

namespace {

using namespace support;
using namespace foundation::crypto::openssl;
using foundation::crypto::utils::InternalException;

// What an operation works on is made before any call fails.
BNUPtr const number(BN_bin2bn(unhex("0102030405").data(), 5, nullptr));
BIOUPtr const bio(BIO_new(BIO_s_mem()));

void writeText() {
    write("text", bio.get());
}

void writeNumber() {
    toByteArray(number.get());
}

void readBIO() {
    BIO_reset(bio.get());
    BIO_puts(bio.get(), "content");
    toByteArray(bio.get());
}

std::string const noTextWritten = "Failed to write to BIO.";
std::string const nothingPending =
    "Error occurred while trying to find number of bytes in BIO. Expected one or more bytes to be pending";
std::string const nothingRead = "Failed to read from BIO to ByteArray";

// Resetting the BIO is its first control call, asking what is pending the second.
std::vector<Fault> const faults{
    {"WriteText", "BIO_write", 1, writeText, noTextWritten, {-1, 0, -2}},
    {"WriteTextShort", "BIO_write", 1, writeText, "Expected 4 bytes written to BIO. Found 3 bytes.", {3, made(3)}},
    {"WriteTextLong", "BIO_write", 1, writeText, "Expected 4 bytes written to BIO. Found 5 bytes.", {5}},
    {"WriteNumber", "BN_bn2bin", 1, writeNumber, "Wrote -1 bytes from BIGNUM to ByteArray. Expected: 5"},
    {"WriteNumberShort", "BN_bn2bin", 1, writeNumber, "Wrote 4 bytes from BIGNUM to ByteArray. Expected: 5", {4}},
    {"Pending", "BIO_ctrl", 2, readBIO, nothingPending, {0, -1}},
    {"ReadBIO", "BIO_read", 1, readBIO, nothingRead, {-1, 0, made(-1)}},
    {"ReadBIOShort", "BIO_read", 1, readBIO, "Expected to read 7 bytes in BIO. Found 6 bytes.", {6}},
};

class ConversionFaults : public testing::TestWithParam<Fault> {};

INSTANTIATE_TEST_SUITE_P(, ConversionFaults, testing::ValuesIn(expanded(faults)), nameOf);

TEST_P(ConversionFaults, AreReportedInTheirOwnWords) {
    expectReported<InternalException>(GetParam());
}

TEST_P(ConversionFaults, LeakNothing) {
    expectAllReleased(GetParam());
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

TEST(ConversionCalls, OfABIOAskWhatIsPendingAndReadIt) {
    BIOUPtr const content(BIO_new(BIO_s_mem()));
    BIO_puts(content.get(), "content");
    Recording const recording;
    toByteArray(content.get());
    EXPECT_EQ(recording.functions(), (std::vector<std::string>{"BIO_ctrl", "BIO_read"}));
    EXPECT_EQ(recording.calls()[0].arguments, (std::vector<std::intptr_t>{asNumber(content.get()), 10, 0, 0}));
}

} // namespace
