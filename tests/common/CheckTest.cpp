#include "common/Check.h"

#include "support/Throws.h"

#include <gtest/gtest.h>

#include <openssl/err.h>

#include <new>
#include <stdexcept>

namespace {

using namespace foundation::crypto::openssl;
using namespace foundation::crypto::utils;

TEST(Require, ThrowsNothingWhenItHolds) {
    EXPECT_NO_THROW(require(true, "unused"));
    EXPECT_NO_THROW(requireExplained(true, "unused"));
}

TEST(Require, ThrowsTheChosenTypeWithTheText) {
    EXPECT_THROWS(InternalException, "a text ", require(false, "a text "));
    EXPECT_THROWS(InvalidKey, "a text", require<InvalidKey>(false, "a text"));
}

TEST(Require, ExplainsWithTheErrorTextDirectlyBehind) {
    EXPECT_THROWS(InternalException, "why? No OpenSSL errors.", requireExplained(false, "why? "));
    ERR_raise(ERR_LIB_USER, 1);
    EXPECT_THROWS_PREFIX(InternalException, "why?error:40000001", requireExplained(false, "why?"));
}

TEST(Translation, HandsResultsThrough) {
    EXPECT_EQ(rethrowAs<InternalException>([] { return 7; }), 7);
    EXPECT_EQ(rethrowForeignAs<InternalException>([] { return 7; }), 7);
    int value = 1;
    rethrowAs<InternalException>([&]() -> int& { return value; }) = 2;
    EXPECT_EQ(value, 2);
}

TEST(Translation, TurnsEveryStandardExceptionIntoTheTarget) {
    EXPECT_THROWS(InternalException, "std::bad_alloc", rethrowAs<InternalException>([] { throw std::bad_alloc(); }));
    EXPECT_THROWS(InternalException, "whole", rethrowAs<InternalException>([] { throw InvalidKey("whole"); }));
    EXPECT_THROWS(NotImplemented, "whole", rethrowAs<NotImplemented>([] { throw std::runtime_error("whole"); }));
}

TEST(Translation, CutsATextAtItsFirstNUL) {
    EXPECT_THROWS(InternalException, "before",
                  rethrowAs<InternalException>([] { throw InternalException(std::string("before\0after", 12)); }));
}

TEST(Translation, MayPassTheLibrarysOwnExceptionsUnchanged) {
    EXPECT_THROWS(InvalidKey, "own", rethrowForeignAs<InternalException>([] { throw InvalidKey("own"); }));
    EXPECT_THROWS(InternalException, "foreign",
                  rethrowForeignAs<InternalException>([] { throw std::runtime_error("foreign"); }));
}

TEST(Translation, IsARuleThatCanBeHandedOn) {
    auto const throwOwn = [] { throw InvalidKey("own"); };
    EXPECT_THROWS(InternalException, "own", rethrowAs<InternalException>(throwOwn));
    EXPECT_THROWS(InvalidKey, "own", rethrowForeignAs<InternalException>(throwOwn));
    auto const throwStandard = [] { throw std::runtime_error("foreign"); };
    EXPECT_THROWS(InternalException, "foreign", rethrowAs<InternalException>(throwStandard));
    EXPECT_THROWS(InternalException, "foreign", rethrowForeignAs<InternalException>(throwStandard));
    EXPECT_THROWS(std::runtime_error, "foreign", rethrowUnchanged(throwStandard));
    EXPECT_EQ(rethrowUnchanged([] { return 7; }), 7);
}

TEST(Translation, LeavesAloneWhatIsNoStandardException) {
    EXPECT_THROW(rethrowAs<InternalException>([] { throw 7; }), int);
    EXPECT_THROW(rethrowForeignAs<InternalException>([] { throw 7; }), int);
}

} // namespace
