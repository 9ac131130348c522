#include "foundation/crypto/utils/KeySizes.h"

#include <type_traits>

#include <gtest/gtest.h>

namespace foundation::crypto::utils {
namespace {

template <template <unsigned long> class Tag, unsigned long N> constexpr unsigned long bitsOf(Tag<N>) {
    return N;
}

TEST(KeySizes, AreTagsThatCarryTheirNumberAndNothingElse) {
    static_assert(std::is_empty_v<AESKeySize<128>> && bitsOf(AESKeySize<128>()) == 128);
    static_assert(std::is_empty_v<AESKeySize<192>> && bitsOf(AESKeySize<192>()) == 192);
    static_assert(std::is_empty_v<AESKeySize<256>> && bitsOf(AESKeySize<256>()) == 256);
    static_assert(std::is_empty_v<RSAKeySize<1024>> && bitsOf(RSAKeySize<1024>()) == 1024);
    static_assert(std::is_empty_v<RSAKeySize<2048>> && bitsOf(RSAKeySize<2048>()) == 2048);
    static_assert(std::is_empty_v<RSAKeySize<4096>> && bitsOf(RSAKeySize<4096>()) == 4096);
}

} // namespace
} // namespace foundation::crypto::utils
