// A plug-in that is unloaded while the host still has an object and an exception of the library.
#include "UnloadedPlugIn.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

extern "C" [[gnu::visibility("default")]] void handOver(Handed& handed) {
    foundation::crypto::openssl::CryptoProvider const provider;
    handed.engine = provider.createSHA256DigestEngine();
    try {
        provider.createAES128Key({});
    } catch (...) {
        handed.exception = std::current_exception();
    }
}
