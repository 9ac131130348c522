#include "foundation/crypto/utils/DefaultPRNGAlgorithm.h"

#include <type_traits>

#include <gtest/gtest.h>

namespace foundation::crypto::utils {
namespace {

TEST(DefaultPRNGAlgorithm, NamesItselfAndCarriesNothing) {
    static_assert(std::is_empty_v<DefaultPRNGAlgorithm>);
    EXPECT_EQ(DefaultPRNGAlgorithm::getPRNGName(), "CTR-DRBG");
}

} // namespace
} // namespace foundation::crypto::utils
