#include "foundation/crypto/utils/SignatureVerificationStatus.h"

#include <string>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

namespace foundation::crypto::utils {
namespace {

TEST(SignatureVerificationStatus, SaysWhatItWasMadeToSay) {
    auto const valid = makeValidSignatureVerificationStatus();
    auto const invalid = makeInvalidSignatureVerificationStatus();

    EXPECT_TRUE(valid.isValid());
    EXPECT_FALSE(invalid.isValid());
    EXPECT_TRUE(static_cast<bool>(valid));
    EXPECT_FALSE(static_cast<bool>(invalid));
    EXPECT_EQ(valid ? "valid" : "invalid", std::string("valid"));
    EXPECT_EQ(invalid ? "valid" : "invalid", std::string("invalid"));
}

TEST(SignatureVerificationStatus, ComparesByWhatItSays) {
    auto const valid = makeValidSignatureVerificationStatus();
    auto const invalid = makeInvalidSignatureVerificationStatus();

    EXPECT_TRUE(valid == makeValidSignatureVerificationStatus());
    EXPECT_TRUE(invalid == makeInvalidSignatureVerificationStatus());
    EXPECT_FALSE(valid == invalid);
    EXPECT_FALSE(invalid == valid);

    EXPECT_FALSE(valid != makeValidSignatureVerificationStatus());
    EXPECT_FALSE(invalid != makeInvalidSignatureVerificationStatus());
    EXPECT_TRUE(valid != invalid);
    EXPECT_TRUE(invalid != valid);
}

TEST(SignatureVerificationStatus, IsAValueThatCanBeKeptAndReplaced) {
    static_assert(std::is_trivially_copyable_v<SignatureVerificationStatus>);
    static_assert(sizeof(SignatureVerificationStatus) == 1);

    auto status = makeInvalidSignatureVerificationStatus();
    auto const kept = status;
    status = makeValidSignatureVerificationStatus();

    EXPECT_TRUE(status.isValid());
    EXPECT_FALSE(kept.isValid());
}

template <class Left, class Right, class = void> struct Comparable : std::false_type {};

template <class Left, class Right>
struct Comparable<Left, Right, std::void_t<decltype(std::declval<Left>() == std::declval<Right>())>> : std::true_type {
};

/// A result code must not turn into a verdict, nor a verdict into a number, unless somebody writes it down.
TEST(SignatureVerificationStatus, IsNotConfusedWithATruthValue) {
    static_assert(!std::is_default_constructible_v<SignatureVerificationStatus>);
    static_assert(!std::is_constructible_v<SignatureVerificationStatus, bool>);
    static_assert(!std::is_constructible_v<SignatureVerificationStatus, int>);
    static_assert(!std::is_assignable_v<SignatureVerificationStatus&, bool>);
    static_assert(!std::is_convertible_v<SignatureVerificationStatus, bool>);
    static_assert(!std::is_convertible_v<SignatureVerificationStatus, int>);
    static_assert(Comparable<SignatureVerificationStatus, SignatureVerificationStatus>::value);
    static_assert(!Comparable<SignatureVerificationStatus, bool>::value);
    static_assert(!Comparable<SignatureVerificationStatus, int>::value);
}

TEST(SignatureVerificationStatus, NeverThrows) {
    auto const status = makeValidSignatureVerificationStatus();
    static_assert(noexcept(makeValidSignatureVerificationStatus()));
    static_assert(noexcept(makeInvalidSignatureVerificationStatus()));
    static_assert(noexcept(status.isValid()));
    static_assert(noexcept(static_cast<bool>(status)));
    static_assert(noexcept(status == status) && noexcept(status != status));
    EXPECT_TRUE(status);
}

} // namespace
} // namespace foundation::crypto::utils
