#include "ecc/ECPoint.h"

#include "support/Bytes.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/obj_mac.h>

#include <string>
#include <utility>

namespace {

using namespace support;
using namespace foundation::crypto::openssl;
using foundation::crypto::utils::InternalException;

// The generator of P-256 (SEC 2, section 2.4.2).
std::string const x = "6b17d1f2e12c4247f8bce6e563a440f277037d812deb33a0f4a13945d898c296";
std::string const y = "4fe342e2fe1a7f9b8ee7eb4a7c0f9e162bce33576b315ececbb6406837bf51f5";

EC_GROUPUPtr p256() {
    return EC_GROUPUPtr(EC_GROUP_new_by_curve_name(NID_X9_62_prime256v1));
}

TEST(Points, AreReadFromEveryEncodingAndWrittenUncompressed) {
    EC_GROUPUPtr const group = p256();
    for (std::string const& encoded : {"04" + x + y, "03" + x, "07" + x + y}) { // y is odd
        EXPECT_EQ(hex(toByteArray(group.get(), toECPoint(group.get(), unhex(encoded)).get())), "04" + x + y);
    }
    EXPECT_EQ(hex(toByteArray(group.get(), toECPoint(group.get(), unhex("00")).get())), "00"); // the one at infinity
}

TEST(Points, ThatAreNoneAreRefused) {
    EC_GROUPUPtr const group = p256();
    std::string wrongY = y;
    wrongY.back() = '6';
    for (std::string const& encoded :
         {std::string(), "04" + x, "04" + x + y + "00", "04" + x + wrongY, "02" + x + y, "05" + x + y, x + y}) {
        EXPECT_THROWS(InternalException, "Failed to convert point from bytes to an EC_POINT",
                      toECPoint(group.get(), unhex(encoded)));
    }
}

TEST(Points, AreNotMadeFromNothing) {
    EC_GROUPUPtr const group = p256();
    EC_POINTUPtr const point(EC_POINT_new(group.get()));
    EXPECT_THROWS(InternalException, "Failed to create EC_POINT from ByteArray. Argument is nullptr",
                  toECPoint(nullptr, unhex("04" + x + y)));
    for (auto const& [givenGroup, givenPoint] : {std::pair<EC_GROUP const*, EC_POINT const*>{nullptr, nullptr},
                                                 {group.get(), nullptr},
                                                 {nullptr, point.get()}}) {
        EXPECT_THROWS(InternalException, "Failed to create ByteArray from EC_POINT. Argument(s) are nullptr",
                      toByteArray(givenGroup, givenPoint));
    }
}

} // namespace
