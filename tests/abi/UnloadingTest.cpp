// A host that does not link the library gets an object and an exception of it through a plug-in, and closes the
// plug-in. A program of its own, without the means that other tests share, since those link the library's half.
#include "UnloadedPlugIn.h"

#include "support/PlugIn.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <dlfcn.h>
#include <exception>
#include <string>

namespace {

bool isLoaded(char const* file) {
    void* const handle = dlopen(file, RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) {
        dlclose(handle);
    }
    return handle != nullptr;
}

bool const libraryWasLinked = isLoaded(ZRFL_OPENSSL_LIBRARY) || isLoaded(ZRFL_UTILS_LIBRARY);

/// What the plug-in handed over before it was unloaded.
Handed takeFromPlugIn() {
    support::PlugIn<void(Handed&)> const plugIn(ZRFL_UNLOADED_PLUG_IN);
    Handed handed;
    plugIn.handOver()(handed);
    plugIn.unload();
    return handed;
}

TEST(Unloading, LeavesTheLibrariesInPlace) {
    ASSERT_FALSE(libraryWasLinked);
    takeFromPlugIn();
    EXPECT_FALSE(isLoaded(ZRFL_UNLOADED_PLUG_IN));
    EXPECT_TRUE(isLoaded(ZRFL_OPENSSL_LIBRARY));
    EXPECT_TRUE(isLoaded(ZRFL_UTILS_LIBRARY));
}

TEST(Unloading, LeavesObjectsUsable) {
    auto engine = takeFromPlugIn().engine;
    ASSERT_NE(engine, nullptr);
    EXPECT_EQ(engine->getDigestName(), "SHA256");
    EXPECT_EQ(engine->computeDigest({'a', 'b', 'c'}).size(), engine->getDigestSize());
    engine.reset();
}

TEST(Unloading, LeavesExceptionsThatCanBeCaughtAndReleased) {
    std::string message;
    try {
        std::rethrow_exception(takeFromPlugIn().exception);
    } catch (std::exception const& error) {
        message = error.what();
    }
    EXPECT_EQ(message, "AES 128-bit key data must contain at least 16 bytes.");
}

} // namespace
