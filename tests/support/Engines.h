#ifndef ZRFL_TESTS_SUPPORT_ENGINES_H
#define ZRFL_TESTS_SUPPORT_ENGINES_H

#include "Bytes.h"
#include "Provider.h"

#include <foundation/crypto/interfaces/IDigestEngine.h>

#include <gtest/gtest.h>

#include <functional>
#include <istream>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace support {

using foundation::crypto::interfaces::DigestEnginePtr;
using foundation::crypto::interfaces::IDigestEngine;
using foundation::crypto::openssl::CryptoProvider;

/// The engine of the digest that libcrypto calls `name`.
inline DigestEnginePtr engineNamed(std::string const& name) {
    for (auto const create : {&CryptoProvider::createMD5DigestEngine, &CryptoProvider::createSHA1DigestEngine,
                              &CryptoProvider::createSHA224DigestEngine, &CryptoProvider::createSHA256DigestEngine,
                              &CryptoProvider::createSHA384DigestEngine, &CryptoProvider::createSHA512DigestEngine}) {
        auto engine = (provider.*create)();
        if (engine->getDigestNameForEVP_MD() == name) {
            return engine;
        }
    }
    throw std::out_of_range(name);
}

/// A host's own engine: it answers for its names by functions and can do nothing else.
class HostEngine final : public IDigestEngine {
public:
    using Answer = std::function<std::string()>;

    HostEngine(Answer digestName, Answer evpName) : digestName_(std::move(digestName)), evpName_(std::move(evpName)) {}

    HostEngine(std::string const& digestName, std::string const& evpName)
        : HostEngine([=] { return digestName; }, [=] { return evpName; }) {}

    ByteArray computeDigest(ByteArray const& /*data*/) override { return unused(); }

    ByteArray computeDigest(std::istream& /*input*/) override { return unused(); }

    void update(ByteArray const& /*data*/) override { unused(); }

    void update(unsigned char const* /*data*/, std::size_t /*size*/) override { unused(); }

    ByteArray finalize() override { return unused(); }

    std::string getDigestName() const override { return digestName_(); }

    std::string getDigestNameForEVP_MD() const override { return evpName_(); }

    std::size_t getDigestSize() const override { return unused().size(); }

private:
    static ByteArray unused() {
        ADD_FAILURE() << "a signature asks an engine for nothing but names";
        return {};
    }

    Answer digestName_;
    Answer evpName_;
};

} // namespace support

#endif
