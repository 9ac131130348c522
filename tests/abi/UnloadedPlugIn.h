#ifndef ZRFL_TESTS_ABI_UNLOADEDPLUGIN_H
#define ZRFL_TESTS_ABI_UNLOADEDPLUGIN_H

#include <foundation/crypto/interfaces/IDigestEngine.h>

#include <exception>

/// What the plug-in hands to a host that does not link the library itself.
struct Handed {
    foundation::crypto::interfaces::DigestEnginePtr engine;
    std::exception_ptr exception; ///< An exception that the library threw.
};

#endif
