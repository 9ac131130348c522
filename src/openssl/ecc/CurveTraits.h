#ifndef ZRFL_OPENSSL_CURVETRAITS_H
#define ZRFL_OPENSSL_CURVETRAITS_H

#include "common/Handles.h"

#include <foundation/crypto/utils/ByteArray.h>
#include <foundation/crypto/utils/EllipticCurve.h>

#include <cstddef>
#include <string>

namespace foundation::crypto::openssl {

/// What the curves do differently; everything else about their keys and signatures is written once. All failures are
/// utils::InternalException.
template <utils::EllipticCurve C> struct CurveTraits;

/// NIST P-256 for ECDSA (FIPS 186-5, SP 800-186).
template <> struct CurveTraits<utils::EllipticCurve::P256> {
    static constexpr int keyType = EVP_PKEY_EC;

    /// The bytes of a signature, as `EVP_PKEY_get_size` tells them of a key: DER with two integers of 33 bytes.
    static constexpr std::size_t longestSignature = 72;

    /// Narrows the key type to the one curve, for a context that generates keys.
    static void chooseCurve(EVP_PKEY_CTX* generation);

    /// The key whose private number is `integer`, big-endian, and whose public point is computed from it.
    static EVP_PKEYUPtr makePrivateKey(ByteArray const& integer);

    /// The key of a point encoded after SEC 1, section 2.3.3.
    static EVP_PKEYUPtr makePublicKey(ByteArray const& point);

    /// The private number among a key's parameters, big-endian and without leading zero bytes.
    static ByteArray readPrivateInteger(OSSL_PARAM const& integer);

    /// ECDSA signs what the digest of the caller's choice makes of the message.
    static char const* chooseDigest(std::string const& name) { return name.c_str(); }
};

/// Curve25519 for Ed25519 (RFC 8032); libcrypto takes and returns its keys as they are, 32 bytes each.
template <> struct CurveTraits<utils::EllipticCurve::Curve25519> {
    static constexpr int keyType = EVP_PKEY_ED25519;

    static constexpr std::size_t longestSignature = 64;

    static void chooseCurve(EVP_PKEY_CTX* /*generation*/) {} // the key type says it all

    static EVP_PKEYUPtr makePrivateKey(ByteArray const& integer);

    static EVP_PKEYUPtr makePublicKey(ByteArray const& point);

    static ByteArray readPrivateInteger(OSSL_PARAM const& integer);

    /// Ed25519 hashes for itself, and libcrypto takes no name of a digest.
    static char const* chooseDigest(std::string const& /*name*/) { return nullptr; }
};

} // namespace foundation::crypto::openssl

#endif
