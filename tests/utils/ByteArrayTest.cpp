#include "foundation/crypto/utils/ByteArray.h"

#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

namespace foundation::crypto {
namespace {

TEST(ByteArray, IsOneTypeUnderThreeNames) {
    static_assert(std::is_same_v<utils::ByteArray, std::vector<unsigned char>>);
    static_assert(std::is_same_v<interfaces::ByteArray, utils::ByteArray>);
    static_assert(std::is_same_v<openssl::ByteArray, utils::ByteArray>);
}

} // namespace
} // namespace foundation::crypto
