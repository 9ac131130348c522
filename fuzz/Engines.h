#ifndef ZRFL_FUZZ_ENGINES_H
#define ZRFL_FUZZ_ENGINES_H

#include "Fuzz.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

namespace fuzz {

/// One of the six plain digests' engines.
inline interfaces::DigestEnginePtr makePlainEngine(unsigned int kind) {
    openssl::CryptoProvider const provider;
    constexpr decltype(&openssl::CryptoProvider::createMD5DigestEngine) factories[]{
        &openssl::CryptoProvider::createMD5DigestEngine,    &openssl::CryptoProvider::createSHA1DigestEngine,
        &openssl::CryptoProvider::createSHA224DigestEngine, &openssl::CryptoProvider::createSHA256DigestEngine,
        &openssl::CryptoProvider::createSHA384DigestEngine, &openssl::CryptoProvider::createSHA512DigestEngine};
    return (provider.*factories[kind])();
}

} // namespace fuzz

#endif
