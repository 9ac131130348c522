#ifndef ZRFL_TESTS_SUPPORT_ECC_H
#define ZRFL_TESTS_SUPPORT_ECC_H

#include "Bytes.h"
#include "Engines.h"
#include "Provider.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <gtest/gtest.h>

#include <istream>
#include <memory>
#include <string>
#include <utility>

namespace support {

using foundation::crypto::interfaces::ECCKeyPairPtr;
using foundation::crypto::interfaces::ECCPrivateKeyPtr;
using foundation::crypto::interfaces::ECCPublicKeyPtr;
using foundation::crypto::interfaces::ECCSignerPtr;
using foundation::crypto::interfaces::ECCVerifierPtr;
using foundation::crypto::interfaces::IECCPrivateKey;
using foundation::crypto::interfaces::IECCPublicKey;
using foundation::crypto::utils::EllipticCurve;

/// The provider's operations of one curve, under names that leave the curve out, and what tests know about it.
template <EllipticCurve C> struct ECCFactory;

#define ZRFL_ECC_FACTORY(curveName)                                                                                    \
    static constexpr auto curve = EllipticCurve::curveName;                                                            \
    static constexpr auto name = #curveName;                                                                           \
    using PrivateKey = ECCPrivateKeyPtr<curve>;                                                                        \
    using PublicKey = ECCPublicKeyPtr<curve>;                                                                          \
    using KeyPair = ECCKeyPairPtr<curve>;                                                                              \
    static KeyPair generateKeyPair() {                                                                                 \
        return provider.generateECC##curveName##KeyPair();                                                             \
    }                                                                                                                  \
    static PrivateKey privateKey(ByteArray const& encoded) {                                                           \
        return provider.createECC##curveName##PrivateKey(encoded);                                                     \
    }                                                                                                                  \
    static PrivateKey privateKey(std::istream& encoded, std::string const& password) {                                 \
        return provider.createECC##curveName##PrivateKey(encoded, password);                                           \
    }                                                                                                                  \
    static PrivateKey privateKeyFromInteger(ByteArray const& integer) {                                                \
        return provider.createECC##curveName##PrivateKeyFromInteger(integer);                                          \
    }                                                                                                                  \
    static PublicKey publicKey(ByteArray const& encoded) {                                                             \
        return provider.createECC##curveName##PublicKey(encoded);                                                      \
    }                                                                                                                  \
    static PublicKey publicKey(std::istream& encoded) {                                                                \
        return provider.createECC##curveName##PublicKey(encoded);                                                      \
    }                                                                                                                  \
    static PublicKey publicKeyFromPoint(ByteArray const& point) {                                                      \
        return provider.createECC##curveName##PublicKeyFromPoint(point);                                               \
    }                                                                                                                  \
    static ECCSignerPtr signer(PrivateKey key) {                                                                       \
        return provider.createECC##curveName##Signer(std::move(key));                                                  \
    }                                                                                                                  \
    static ECCVerifierPtr verifier(PublicKey key) {                                                                    \
        return provider.createECC##curveName##Verifier(std::move(key));                                                \
    }

template <> struct ECCFactory<EllipticCurve::P256> {
    ZRFL_ECC_FACTORY(P256)
    using Other = ECCFactory<EllipticCurve::Curve25519>;
    static constexpr std::size_t pointSize = 65;

    /// An engine that the curve accepts.
    static DigestEnginePtr engine() { return provider.createSHA256DigestEngine(); }
};

template <> struct ECCFactory<EllipticCurve::Curve25519> {
    ZRFL_ECC_FACTORY(Curve25519)
    using Other = ECCFactory<EllipticCurve::P256>;
    static constexpr std::size_t pointSize = 32;

    static DigestEnginePtr engine() { return provider.createSHA512DigestEngine(); }
};

#undef ZRFL_ECC_FACTORY

using P256 = ECCFactory<EllipticCurve::P256>;
using Curve25519 = ECCFactory<EllipticCurve::Curve25519>;
using BothCurves = testing::Types<P256, Curve25519>;

/// Names the typed tests after their curve.
struct CurveNames {
    template <class Factory> static std::string GetName(int /*index*/) { return Factory::name; }
};

/// A host's own keys.
template <EllipticCurve C> class ForeignPrivateKey final : public IECCPrivateKey<C> {
public:
    ByteArray getPEM() const override { return {}; }

    ByteArray getPrivateInteger() const override { return {}; }
};

template <EllipticCurve C> class ForeignPublicKey final : public IECCPublicKey<C> {
public:
    ByteArray getPEM() const override { return {}; }

    ByteArray getPublicPoint() const override { return {}; }
};

} // namespace support

#endif
