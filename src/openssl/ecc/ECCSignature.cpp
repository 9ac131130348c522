#include "ecc/ECCSignature.h"

#include "common/Check.h"
#include "common/ErrorQueue.h"
#include "common/Signature.h"
#include "common/Streams.h"
#include "ecc/CurveTraits.h"
#include "ecc/SigningDigestPolicy.h"

#include <cstddef>
#include <string>
#include <utility>

namespace foundation::crypto::openssl {

using interfaces::DigestEnginePtr;

namespace {

/// The key inside, or null without one, which libcrypto then refuses.
template <class Key> EVP_PKEY* rawKey(std::shared_ptr<Key> const& key) {
    return key == nullptr ? nullptr : key->get();
}

long keyBits(EVP_PKEY const* key) {
    ErrorQueueMark const mark; // without a key libcrypto answers 0 and queues an error
    return EVP_PKEY_get_bits(key);
}

/// The digest's name for libcrypto, once the curve has accepted the digest. What the engine throws is translated.
std::string getAcceptedDigest(DigestEnginePtr const& engine, utils::EllipticCurve curve) {
    requireDigestEngine(engine);
    checkSigningDigest(engine, curve);
    return rethrowForeignAs<utils::InternalException>([&] { return getDigestNameForSignature(engine); });
}

ByteArray signECC(EVP_PKEY* key, char const* digest, Message message) {
    ErrorQueueMark const mark;
    EVP_MD_CTXUPtr const context(EVP_MD_CTX_new());
    require(EVP_DigestSignInit_ex(context.get(), nullptr, digest, nullptr, nullptr, key, nullptr) == 1,
            "Failed while doing setup to generate signature");
    return sign(context.get(), message);
}

utils::SignatureVerificationStatus verifyECC(EVP_PKEY* key, std::size_t longestSignature, char const* digest,
                                             Message message, ByteArray const& signature) {
    if (key != nullptr && signature.size() > longestSignature) {
        return utils::makeInvalidSignatureVerificationStatus(); // libcrypto cuts the size of such a one to 32 bits
    }
    ErrorQueueMark const mark; // a signature that does not match is no error
    EVP_MD_CTXUPtr const context(EVP_MD_CTX_new());
    require(EVP_DigestVerifyInit_ex(context.get(), nullptr, digest, nullptr, nullptr, key, nullptr) == 1,
            "Failed while doing setup to verify signature");
    int const result = EVP_DigestVerify(context.get(), signature.data(), signature.size(), message.data, message.size);
    return result == 1 ? utils::makeValidSignatureVerificationStatus()
                       : utils::makeInvalidSignatureVerificationStatus();
}

template <utils::EllipticCurve C> ByteArray signOn(EVP_PKEY* key, Message message, DigestEnginePtr const& engine) {
    std::string const name = getAcceptedDigest(engine, C);
    return signECC(key, CurveTraits<C>::chooseDigest(name), message);
}

template <utils::EllipticCurve C>
utils::SignatureVerificationStatus verifyOn(EVP_PKEY* key, Message message, ByteArray const& signature,
                                            DigestEnginePtr const& engine) {
    std::string const name = getAcceptedDigest(engine, C);
    return verifyECC(key, CurveTraits<C>::longestSignature, CurveTraits<C>::chooseDigest(name), message, signature);
}

UnfilledSecretBytes readMessage(std::istream& message) {
    return readExtracted<UnfilledSecretBytes>(message, rethrowForeignAs<utils::InternalException>);
}

} // namespace

template <utils::EllipticCurve C>
ECCSigner<C>::ECCSigner(std::shared_ptr<ECCPrivateKey<C>> key) : key_(std::move(key)) {}

template <utils::EllipticCurve C> ByteArray ECCSigner<C>::sign(ByteArray const& message, DigestEnginePtr digest) const {
    return signOn<C>(rawKey(key_), message, digest);
}

template <utils::EllipticCurve C> ByteArray ECCSigner<C>::sign(std::istream& message, DigestEnginePtr digest) const {
    FormatFlagsRestorer const restorer(message);
    return signOn<C>(rawKey(key_), readMessage(message), digest);
}

template <utils::EllipticCurve C> long ECCSigner<C>::getKeySize() const {
    return keyBits(rawKey(key_));
}

template <utils::EllipticCurve C>
ECCVerifier<C>::ECCVerifier(std::shared_ptr<ECCPublicKey<C>> key) : key_(std::move(key)) {}

template <utils::EllipticCurve C>
utils::SignatureVerificationStatus ECCVerifier<C>::verify(ByteArray const& message, ByteArray const& signature,
                                                          DigestEnginePtr digest) const {
    return verifyOn<C>(rawKey(key_), message, signature, digest);
}

template <utils::EllipticCurve C>
utils::SignatureVerificationStatus ECCVerifier<C>::verify(std::istream& message, ByteArray const& signature,
                                                          DigestEnginePtr digest) const {
    FormatFlagsRestorer const restorer(message);
    return verifyOn<C>(rawKey(key_), readMessage(message), signature, digest);
}

template <utils::EllipticCurve C> long ECCVerifier<C>::getKeySize() const {
    return keyBits(rawKey(key_));
}

template class ECCSigner<utils::EllipticCurve::P256>;
template class ECCSigner<utils::EllipticCurve::Curve25519>;
template class ECCVerifier<utils::EllipticCurve::P256>;
template class ECCVerifier<utils::EllipticCurve::Curve25519>;

} // namespace foundation::crypto::openssl
