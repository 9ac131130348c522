// A plug-in that brings a copy of the library of its own, with classes of the same names.
#include <foundation/crypto/openssl/CryptoProvider.h>

extern "C" [[gnu::visibility("default")]] foundation::crypto::interfaces::ICryptoProvider* handOver() {
    return new foundation::crypto::openssl::CryptoProvider;
}
