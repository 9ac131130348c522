#ifndef ZRFL_TESTS_RSA_RSASIGNING_H
#define ZRFL_TESTS_RSA_RSASIGNING_H

#include "support/Bytes.h"
#include "support/Engines.h"
#include "support/RSA.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

/// What the tests of RSA signatures share: the paddings and hashes, engines of a host, and signing in one call.
namespace support {

inline constexpr RSAPaddingMode pkcs1 = RSAPaddingMode::PKCS1_V1_5;
inline constexpr RSAPaddingMode pss = RSAPaddingMode::PSS;
inline RSAPaddingMode const unknown = rsaPadding(5); // signs as PSS with libcrypto's own salt
inline std::vector<int> const sizes{1024, 2048, 4096};
inline std::vector<std::string> const hashes{"md5", "sha1", "sha224", "sha256", "sha384", "sha512"};

inline std::string const notInitialized = "Failed to initialize the digest for signing.";

/// A host's own engine that only answers for the name by which libcrypto knows the hash.
inline DigestEnginePtr hostEngine(std::string const& name) {
    return std::make_shared<HostEngine>("", name);
}

inline DigestEnginePtr hostEngine(HostEngine::Answer answer) {
    return std::make_shared<HostEngine>(nullptr, std::move(answer));
}

inline ByteArray sign(IRSASigner const& signer, ByteArray const& message, std::string const& hash = "sha256") {
    return signer.sign(message, engineNamed(hash));
}

inline bool verify(IRSAVerifier const& verifier, ByteArray const& message, ByteArray const& signature,
                   std::string const& hash = "sha256") {
    return verifier.verify(message, signature, engineNamed(hash)).isValid();
}

} // namespace support

#endif
