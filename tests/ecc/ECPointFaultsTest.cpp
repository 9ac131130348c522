#include "ecc/ECPoint.h"

#include "support/Bytes.h"
#include "support/FaultTables.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/obj_mac.h>

#include <string>
#include <vector>

namespace {

using namespace support;
using namespace foundation::crypto::openssl;
using foundation::crypto::utils::InternalException;

std::string const point = "046b17d1f2e12c4247f8bce6e563a440f277037d812deb33a0f4a13945d898c296"
                          "4fe342e2fe1a7f9b8ee7eb4a7c0f9e162bce33576b315ececbb6406837bf51f5";

// What an operation works on is made before any call fails.
EC_GROUPUPtr const group(EC_GROUP_new_by_curve_name(NID_X9_62_prime256v1));
EC_POINTUPtr const generator = toECPoint(group.get(), unhex(point));

void readPoint() {
    toECPoint(group.get(), unhex(point));
}

void writePoint() {
    toByteArray(group.get(), generator.get());
}

std::string const noContext = "Fail to create BN_CTXUPtr; the given raw pointer is NULL";
std::string const noPoint = "Fail to create EC_POINTUPtr; the given raw pointer is NULL";
std::string const notRead = "Failed to convert point from bytes to an EC_POINT";
std::string const noSize = "Failed to get number of bytes to store public point";
std::string const notWritten = "Failed to convert EC_POINT to ByteArray";

std::vector<Fault> const faults{
    {"ReadContext", "BN_CTX_new", 1, readPoint, noContext},
    {"ReadNew", "EC_POINT_new", 1, readPoint, noPoint},
    {"Read", "EC_POINT_oct2point", 1, readPoint, notRead, {0, -1, 2, made(0)}},
    {"WriteContext", "BN_CTX_new", 1, writePoint, noContext},
    {"WriteSize", "EC_POINT_point2oct", 1, writePoint, noSize, {0, made(0)}},
    {"Write", "EC_POINT_point2oct", 2, writePoint, notWritten, {0, made(0)}},
};

class ECPointFaults : public testing::TestWithParam<Fault> {};

INSTANTIATE_TEST_SUITE_P(, ECPointFaults, testing::ValuesIn(expanded(faults)), nameOf);

TEST_P(ECPointFaults, AreReportedInTheirOwnWords) {
    expectReported<InternalException>(GetParam());
}

TEST_P(ECPointFaults, LeakNothing) {
    expectAllReleased(GetParam());
}

TEST(ECPointCalls, OfReadingAreThoseThatTheWorkNeeds) {
    Recording const recording;
    readPoint();
    EXPECT_EQ(recording.functions(), (std::vector<std::string>{"BN_CTX_new", "EC_POINT_new", "EC_POINT_oct2point",
                                                               "BN_CTX_free", "EC_POINT_free"}));
}

TEST(ECPointCalls, OfWritingAskForTheSizeFirst) {
    Recording const recording;
    writePoint();
    auto const calls = recording.callsOf("EC_POINT_point2oct");
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_EQ(calls[0].arguments[2], 4);
    EXPECT_EQ(calls[0].arguments[3], 0);
    EXPECT_EQ(calls[1].arguments[2], 4);
    EXPECT_EQ(calls[1].arguments[4], 65);
}

} // namespace
