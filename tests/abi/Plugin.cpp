#include "Plugin.h"

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
