#include "foundation/crypto/utils/Exceptions.h"

#include <cstring>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

namespace foundation::crypto::utils {
namespace {

template <class Failure> class EachException : public testing::Test {};

using AllExceptions = testing::Types<Exception, InternalException, InvalidArgument, InvalidKey, InvalidKeyEncoding,
                                     KeyAndCurveMismatch, NotImplemented, UnsupportedDigestAlgorithm>;
TYPED_TEST_SUITE(EachException, AllExceptions);

template <class Failure> class EachDerivedException : public testing::Test {};

using DerivedExceptions = testing::Types<InternalException, InvalidArgument, InvalidKey, InvalidKeyEncoding,
                                         KeyAndCurveMismatch, NotImplemented, UnsupportedDigestAlgorithm>;
TYPED_TEST_SUITE(EachDerivedException, DerivedExceptions);

/// True when `Base` is an accessible and unambiguous base of `Derived`.
template <class Base, class Derived> constexpr bool derivesFrom = std::is_convertible_v<Derived*, Base*>;

static_assert(derivesFrom<std::runtime_error, Exception>);
static_assert(sizeof(Exception) == sizeof(std::runtime_error), "an exception carries its message and nothing else");

TYPED_TEST(EachException, IsMadeFromItsMessageAndNothingElse) {
    static_assert(std::is_constructible_v<TypeParam, std::string const&>);
    static_assert(!std::is_convertible_v<std::string, TypeParam>, "the constructor is explicit");
    static_assert(!std::is_default_constructible_v<TypeParam>);
    static_assert(!std::is_constructible_v<TypeParam, std::string const&, int>);
    static_assert(!std::is_constructible_v<TypeParam, int>);
    static_assert(std::has_virtual_destructor_v<TypeParam>);
    static_assert(sizeof(TypeParam) == sizeof(Exception));

    EXPECT_STREQ(TypeParam("a message .  ").what(), "a message .  ");
    EXPECT_STREQ(TypeParam("").what(), "");
}

TYPED_TEST(EachException, KeepsMessagesWithNulsWhole) {
    std::string message = "before";
    message += '\0';
    message += std::string(1024, ' ');
    message += "behind";

    TypeParam const failure(message);

    EXPECT_EQ(std::memcmp(failure.what(), message.c_str(), message.size() + 1), 0);
}

TYPED_TEST(EachException, KeepsItsMessageWhenTheOriginalGoes) {
    auto message = std::make_unique<std::string>("a message that is too long for any small-string buffer to hold it");
    TypeParam const failure(*message);
    *message = "overwritten";
    message.reset();

    EXPECT_STREQ(failure.what(), "a message that is too long for any small-string buffer to hold it");
}

TYPED_TEST(EachException, CopiesWithoutThrowing) {
    static_assert(std::is_nothrow_copy_constructible_v<TypeParam>);
    static_assert(std::is_nothrow_copy_assignable_v<TypeParam>);
    static_assert(std::is_nothrow_move_constructible_v<TypeParam>);
    static_assert(std::is_nothrow_move_assignable_v<TypeParam>);

    TypeParam original("original");
    TypeParam const copy(original);
    TypeParam assigned("assigned to");
    assigned = original;
    TypeParam const moved(std::move(original));

    EXPECT_STREQ(copy.what(), "original");
    EXPECT_STREQ(assigned.what(), "original");
    EXPECT_STREQ(moved.what(), "original");
    EXPECT_STREQ(original.what(), "original"); // NOLINT(bugprone-use-after-move): moving is copying here
}

TYPED_TEST(EachException, IsCaughtByEachOfItsBases) {
    EXPECT_THROW(throw TypeParam("own"), TypeParam);
    EXPECT_THROW(throw TypeParam("root"), Exception);
    EXPECT_THROW(throw TypeParam("runtime"), std::runtime_error);
    EXPECT_THROW(throw TypeParam("standard"), std::exception);
}

TYPED_TEST(EachException, SurvivesBeingKeptAndThrownAgain) {
    std::exception_ptr kept;
    try {
        throw TypeParam("kept");
    } catch (...) {
        kept = std::current_exception();
    }
    try {
        std::rethrow_exception(kept);
    } catch (TypeParam const& failure) {
        EXPECT_STREQ(failure.what(), "kept");
    }
}

TYPED_TEST(EachDerivedException, DerivesFromTheRootDirectly) {
    static_assert(derivesFrom<Exception, TypeParam>);

    // Siblings never catch one another.
    static_assert(std::is_same_v<TypeParam, InternalException> || !derivesFrom<InternalException, TypeParam>);
    static_assert(std::is_same_v<TypeParam, InvalidArgument> || !derivesFrom<InvalidArgument, TypeParam>);
    static_assert(std::is_same_v<TypeParam, InvalidKey> || !derivesFrom<InvalidKey, TypeParam>);
    static_assert(std::is_same_v<TypeParam, InvalidKeyEncoding> || !derivesFrom<InvalidKeyEncoding, TypeParam>);
    static_assert(std::is_same_v<TypeParam, KeyAndCurveMismatch> || !derivesFrom<KeyAndCurveMismatch, TypeParam>);
    static_assert(std::is_same_v<TypeParam, NotImplemented> || !derivesFrom<NotImplemented, TypeParam>);
    static_assert(std::is_same_v<TypeParam, UnsupportedDigestAlgorithm> ||
                  !derivesFrom<UnsupportedDigestAlgorithm, TypeParam>);
}

} // namespace
} // namespace foundation::crypto::utils
