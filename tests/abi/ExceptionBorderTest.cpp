// Exceptions thrown inside one library arrive in another, and in the host, as what they are.
#include "Thrower.h"

#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace foundation::crypto::utils;

template <class E> void expectOwnHandler(std::string const& name) {
    SCOPED_TRACE(name);
    bool caught = false;
    try {
        throwByName(name, "thrown elsewhere");
    } catch (E const& error) {
        caught = true;
        EXPECT_STREQ(error.what(), "thrown elsewhere");
    } catch (...) {
    }
    EXPECT_TRUE(caught);
    EXPECT_THROWS(E, "thrown elsewhere", throwByName(name, "thrown elsewhere"));
    EXPECT_THROW(throwByName(name, "thrown elsewhere"), Exception);
}

TEST(ExceptionBorder, IsCrossedByEveryClassAsItself) {
    expectOwnHandler<Exception>("Exception");
    expectOwnHandler<InternalException>("InternalException");
    expectOwnHandler<InvalidArgument>("InvalidArgument");
    expectOwnHandler<InvalidKey>("InvalidKey");
    expectOwnHandler<InvalidKeyEncoding>("InvalidKeyEncoding");
    expectOwnHandler<KeyAndCurveMismatch>("KeyAndCurveMismatch");
    expectOwnHandler<NotImplemented>("NotImplemented");
    expectOwnHandler<UnsupportedDigestAlgorithm>("UnsupportedDigestAlgorithm");
}

} // namespace
