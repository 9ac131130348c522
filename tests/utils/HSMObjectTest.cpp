#include "foundation/crypto/utils/HSMObject.h"

#include "support/Allocations.h"
#include "support/Bytes.h"

#include <cstddef>
#include <cstring>
#include <functional>
#include <new>
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

    HSMObject moved(std::move(target));
    EXPECT_EQ(moved.getURI(), "URI");
    HSMObject assigned("other module", "other URI");
    assigned = std::move(moved);
    EXPECT_EQ(assigned.getModulePath(), "module");
    EXPECT_EQ(assigned.getURI(), "URI");
    HSMObject& itself = assigned;
    assigned = itself;
    assigned = std::move(itself);
    EXPECT_EQ(assigned.getURI(), "URI");
}

// Hosts have been compiled against two strings and nothing else.
TEST(HSMObject, IsLaidOutAsItsTwoStrings) {
    static_assert(sizeof(HSMObject) == 2 * sizeof(std::string) && alignof(HSMObject) == alignof(std::string));
    static_assert(std::is_nothrow_move_constructible_v<HSMObject> && std::is_nothrow_move_assignable_v<HSMObject>);
    static_assert(std::is_nothrow_destructible_v<HSMObject>);

    HSMObject const object("module", "URI");
    auto const* const strings = reinterpret_cast<std::string const*>(&object);
    EXPECT_EQ(strings[0], "module");
    EXPECT_EQ(strings[1], "URI");
}

// What is left of both strings, in memory that the test looks at afterwards: of short ones in the objects themselves,
// of long ones in the blocks that they release.
class HSMObjectMemory : public testing::TestWithParam<std::size_t> {
protected:
    std::string const modulePath = std::string(GetParam(), 'm');
    std::string const uri = std::string(GetParam(), 'u');

    using Place = std::aligned_storage_t<sizeof(HSMObject), alignof(HSMObject)>;

    HSMObject* make(Place& place) const { return new (&place) HSMObject(modulePath, uri); }

    static bool holds(Place const& place, std::string const& text) {
        return memmem(&place, sizeof(place), text.data(), text.size()) != nullptr;
    }

    static void expectNothingIn(Place const& place) {
        EXPECT_FALSE(holds(place, "mmmm"));
        EXPECT_FALSE(holds(place, "uuuu"));
    }

    /// Releases no block of the heap with a part of either string in it.
    static void expectNothingReleasedBy(std::function<void()> const& operation) {
        for (std::string const secret : {"mmmm", "uuuu"}) {
            support::ReleaseWatch const watch(support::bytes(secret));
            operation();
            EXPECT_EQ(watch.blocksWithSecret(), 0U);
        }
    }
};

INSTANTIATE_TEST_SUITE_P(OfStrings, HSMObjectMemory, testing::Values(8, 15, 16, 100),
                         testing::PrintToStringParamName());

TEST_P(HSMObjectMemory, IsWipedWhereAnObjectEnds) {
    expectNothingReleasedBy([&] {
        Place place{};
        make(place)->~HSMObject();
        expectNothingIn(place);
    });
}

TEST_P(HSMObjectMemory, IsWipedWhereACopyEnds) {
    HSMObject const object(modulePath, uri);
    expectNothingReleasedBy([&] {
        Place place{};
        (new (&place) HSMObject(object))->~HSMObject();
        expectNothingIn(place);
    });
}

TEST_P(HSMObjectMemory, IsWipedInAnObjectThatIsMovedFrom) {
    expectNothingReleasedBy([&] {
        Place place{};
        HSMObject* const source = make(place);
        HSMObject target(std::move(*source));
        expectNothingIn(place);

        *source = std::move(target);
        HSMObject assigned("other module", "other URI");
        assigned = std::move(*source);
        expectNothingIn(place);
        source->~HSMObject();
    });
}

TEST_P(HSMObjectMemory, IsWipedInAnObjectThatIsAssignedTo) {
    HSMObject const other("m2", "u2");
    expectNothingReleasedBy([&] {
        Place place{};
        HSMObject* const target = make(place);
        *target = other;
        expectNothingIn(place);
        EXPECT_EQ(target->getURI(), "u2");
        target->~HSMObject();

        make(place);
        *target = HSMObject("m2", "u2");
        expectNothingIn(place);
        EXPECT_EQ(target->getURI(), "u2");
        target->~HSMObject();
    });
}

} // namespace
} // namespace foundation::crypto::utils
