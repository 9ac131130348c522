#include "foundation/crypto/utils/HSMObject.h"

#include <string>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

namespace foundation::crypto::utils {
namespace {

TEST(HSMObject, ReturnsItsStringsAsGiven) {
    HSMObject const object("dir/module.so", "pkcs11:token=t%201;object=k;type=private?pin-value=1234");

    EXPECT_EQ(object.getModulePath(), "dir/module.so");
    EXPECT_EQ(object.getURI(), "pkcs11:token=t%201;object=k;type=private?pin-value=1234");
}

TEST(HSMObject, ChecksNothing) {
    HSMObject const empty("", "");
    EXPECT_EQ(empty.getModulePath(), "");
    EXPECT_EQ(empty.getURI(), "");

    std::string const withNul("a\0b", 3);
    HSMObject const odd(withNul, withNul);
    EXPECT_EQ(odd.getModulePath(), withNul);
    EXPECT_EQ(odd.getURI(), withNul);
}

TEST(HSMObject, IsAValue) {
    static_assert(std::is_copy_constructible_v<HSMObject> && std::is_copy_assignable_v<HSMObject>);
    static_assert(!std::is_default_constructible_v<HSMObject>);
    static_assert(!std::is_constructible_v<HSMObject, std::string>);
    static_assert(std::is_same_v<std::string, decltype(std::declval<HSMObject const&>().getModulePath())>);
    static_assert(std::is_same_v<std::string, decltype(std::declval<HSMObject const&>().getURI())>);

    HSMObject target("other module", "other URI");
    {
        HSMObject const source("module", "URI");
        HSMObject const copy(source);
        target = copy;
    }
    EXPECT_EQ(target.getModulePath(), "module");
    EXPECT_EQ(target.getURI(), "URI");
}

} // namespace
} // namespace foundation::crypto::utils
