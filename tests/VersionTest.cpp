#include <foundation/crypto/openssl/CryptoProvider.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <dlfcn.h>
#include <link.h>
#include <memory>
#include <string>

namespace {

using foundation::crypto::openssl::version;

/// The file of a library that this process has, with every link followed.
std::string fileOfLoaded(char const* soname) {
    link_map* found = nullptr;
    if (void* const library = dlopen(soname, RTLD_LAZY | RTLD_NOLOAD)) {
        dlinfo(library, RTLD_DI_LINKMAP, static_cast<void*>(&found));
        dlclose(library);
    }
    if (found == nullptr) {
        return "not loaded";
    }
    std::unique_ptr<char, decltype(&std::free)> const path(realpath(found->l_name, nullptr), &std::free);
    return path == nullptr ? "no file" : path.get();
}

TEST(Version, OfTheHeadersIsTheProjects) {
    EXPECT_STREQ(version, ZRFL_PROJECT_VERSION);
    EXPECT_EQ(std::to_string(ZRFL_VERSION_MAJOR) + "." + std::to_string(ZRFL_VERSION_MINOR) + "." +
                  std::to_string(ZRFL_VERSION_PATCH),
              ZRFL_PROJECT_VERSION);
}

// What a host is told to go by where it wants to know which library it runs with.
TEST(Version, StandsInTheNameOfTheLoadedFiles) {
    for (std::string const name : {"libzrflcryptoopenssl.so.", "libzrflcryptoutils.so."}) {
        std::string const file = fileOfLoaded((name + std::to_string(ZRFL_VERSION_MAJOR)).c_str());
        EXPECT_EQ(file.substr(file.rfind('/') + 1), name + version);
    }
}

} // namespace
