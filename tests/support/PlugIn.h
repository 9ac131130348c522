#ifndef ZRFL_TESTS_SUPPORT_PLUGIN_H
#define ZRFL_TESTS_SUPPORT_PLUGIN_H

#include <dlfcn.h>
#include <stdexcept>

namespace support {

/// A plug-in of the test program, with one function, named "handOver". It finds symbols in the process, and gives none.
template <class HandOver> class PlugIn {
public:
    explicit PlugIn(char const* file) : library_(dlopen(file, RTLD_NOW | RTLD_LOCAL)) {
        if (library_ == nullptr) {
            throw std::runtime_error(dlerror()); // NOLINT(concurrency-mt-unsafe)
        }
    }

    HandOver* handOver() const { return reinterpret_cast<HandOver*>(dlsym(library_, "handOver")); }

    /// Without it the plug-in stays.
    void unload() const { dlclose(library_); }

private:
    void* library_;
};

} // namespace support

#endif
