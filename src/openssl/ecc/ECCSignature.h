#ifndef ZRFL_OPENSSL_ECCSIGNATURE_H
#define ZRFL_OPENSSL_ECCSIGNATURE_H

#include "ecc/ECCKey.h"

#include <foundation/crypto/interfaces/IECCSignature.h>

#include <istream>
#include <memory>

namespace foundation::crypto::openssl {

/// Signs with a key on the curve `C`. Without a key each signature fails in libcrypto.
template <utils::EllipticCurve C> class ECCSigner final : public interfaces::IECCSigner {
public:
    explicit ECCSigner(std::shared_ptr<ECCPrivateKey<C>> key);

    ByteArray sign(ByteArray const& message, interfaces::DigestEnginePtr digest) const override;
    ByteArray sign(std::istream& message, interfaces::DigestEnginePtr digest) const override;
    long getKeySize() const override;

private:
    std::shared_ptr<ECCPrivateKey<C>> key_;
};

/// Verifies with a key on the curve `C`. Without a key each verification fails in libcrypto.
template <utils::EllipticCurve C> class ECCVerifier final : public interfaces::IECCVerifier {
public:
    explicit ECCVerifier(std::shared_ptr<ECCPublicKey<C>> key);

    utils::SignatureVerificationStatus verify(ByteArray const& message, ByteArray const& signature,
                                              interfaces::DigestEnginePtr digest) const override;
    utils::SignatureVerificationStatus verify(std::istream& message, ByteArray const& signature,
                                              interfaces::DigestEnginePtr digest) const override;
    long getKeySize() const override;

private:
    std::shared_ptr<ECCPublicKey<C>> key_;
};

extern template class ECCSigner<utils::EllipticCurve::P256>;
extern template class ECCSigner<utils::EllipticCurve::Curve25519>;
extern template class ECCVerifier<utils::EllipticCurve::P256>;
extern template class ECCVerifier<utils::EllipticCurve::Curve25519>;

} // namespace foundation::crypto::openssl

#endif
