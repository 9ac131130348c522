#ifndef ZRFL_TESTS_ABI_PLUGIN_H
#define ZRFL_TESTS_ABI_PLUGIN_H

#include <foundation/crypto/interfaces/IDigestEngine.h>

#include <exception>
#include <memory>

/// What a plug-in hands to a host that does not link the library itself.
struct Handed {
    std::shared_ptr<foundation::crypto::interfaces::IDigestEngine> engine;
    std::exception_ptr exception; ///< An exception that the library threw.
};

/// The plug-in's one function, named "handOver".
using HandOver = void(Handed& handed);

#endif
