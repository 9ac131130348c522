#include "ecc/ECCKey.h"

#include "common/Check.h"
#include "common/Conversions.h"
#include "common/ErrorQueue.h"
#include "common/Secrets.h"
#include "common/Streams.h"
#include "ecc/CurveTraits.h"
#include "ecc/ECCKeyReader.h"

#include <openssl/core_names.h>
#include <openssl/pem.h>

#include <string_view>
#include <utility>

namespace foundation::crypto::openssl {

namespace {

EVP_PKEYUPtr privateKeyFromPEM(std::string_view text, std::string const& password) {
    ErrorQueueMark const mark;
    BIOUPtr const bio = newMemoryBIO();
    write(text, bio.get());
    return readPEMPrivateKey(bio.get(), password);
}

EVP_PKEYUPtr publicKeyFromPEM(std::string_view text) {
    ErrorQueueMark const mark;
    BIOUPtr const bio = newMemoryBIO();
    write(text, bio.get());
    return readPEMPublicKey(bio.get());
}

/// The whole stream, which keeps its format flags.
SecretBytes readKeyText(std::istream& encodedKey) {
    FormatFlagsRestorer const restorer(encodedKey);
    return readExtracted<SecretBytes>(encodedKey, rethrowForeignAs<utils::InternalException>);
}

OSSL_PARAMUPtr exportParameters(EVP_PKEY const* key, int selection, char const* failure) {
    Owned<OSSL_PARAM> parameters;
    bool const isExported = EVP_PKEY_todata(key, selection, receive(parameters)) == 1;
    WipedObject const wipedOnFailure(isExported ? nullptr : parameters.get());
    require(isExported, failure);
    return OSSL_PARAMUPtr(std::move(parameters));
}

ByteArray exportPrivatePEM(EVP_PKEY* key) {
    ErrorQueueMark const mark; // an encoder that runs out of memory may be followed by another that does not
    // Encoding an EC key changes a flag of it for a moment, so that exports at the same time would disturb each other.
    EVP_PKEYUPtr const duplicate(EVP_PKEY_dup(key));
    BIOUPtr const bio = newMemoryBIO();
    require(PEM_write_bio_PKCS8PrivateKey(bio.get(), duplicate.get(), nullptr, nullptr, 0, nullptr, nullptr) == 1,
            "Failed to write private key to BIO");
    return toByteArray(bio.get());
}

ByteArray exportPublicPEM(EVP_PKEY* key) {
    ErrorQueueMark const mark;
    BIOUPtr const bio = newMemoryBIO();
    require(PEM_write_bio_PUBKEY(bio.get(), key) == 1, "Failed to write public key to BIO");
    return toByteArray(bio.get());
}

ByteArray exportPublicPoint(EVP_PKEY* key) {
    ErrorQueueMark const mark;
    OSSL_PARAMUPtr const parameters =
        exportParameters(key, EVP_PKEY_PUBLIC_KEY, "Failed to extract public point from public EVP_PKEY");
    OSSL_PARAM const* const point = OSSL_PARAM_locate_const(parameters.get(), OSSL_PKEY_PARAM_PUB_KEY);
    require(point != nullptr, "Could not find 'pub' in parameter list from EVP_PKEY_todata");
    return toByteArray(*point);
}

template <utils::EllipticCurve C> EVP_PKEYUPtr privateKeyFromInteger(ByteArray const& integer) {
    ErrorQueueMark const mark;
    return CurveTraits<C>::makePrivateKey(integer);
}

template <utils::EllipticCurve C> EVP_PKEYUPtr publicKeyFromPoint(ByteArray const& point) {
    ErrorQueueMark const mark;
    return CurveTraits<C>::makePublicKey(point);
}

template <utils::EllipticCurve C> EVP_PKEYUPtr generate() {
    ErrorQueueMark const mark;
    EVP_PKEY_CTXUPtr const context(EVP_PKEY_CTX_new_id(CurveTraits<C>::keyType, nullptr));
    requireExplained(EVP_PKEY_keygen_init(context.get()) == 1,
                     "Failed to initialize key context object. OpenSSL error: ");
    CurveTraits<C>::chooseCurve(context.get());
    Owned<EVP_PKEY> key;
    requireExplained(EVP_PKEY_keygen(context.get(), receive(key)) == 1,
                     "Failed to generate ECC key pair. OpenSSL error: ");
    return EVP_PKEYUPtr(std::move(key));
}

/// A key of its own with the public part of `key`.
EVP_PKEYUPtr extractPublicKey(EVP_PKEY* key) {
    ErrorQueueMark const mark;
    BIOUPtr const bio = newMemoryBIO();
    requireExplained(PEM_write_bio_PUBKEY(bio.get(), key) == 1, "Failed to write public key to BIO. OpenSSL error: ");
    return readPEMPublicKey(bio.get());
}

} // namespace

template <utils::EllipticCurve C>
ECCPrivateKey<C>::ECCPrivateKey(ByteArray const& bytes, ECCKeyInput kind)
    : ECCPrivateKey(kind == ECCKeyInput::Encoded ? privateKeyFromPEM(asText(bytes), "")
                                                 : privateKeyFromInteger<C>(bytes)) {}

template <utils::EllipticCurve C>
ECCPrivateKey<C>::ECCPrivateKey(std::istream& encodedKey, std::string const& password)
    : ECCPrivateKey(privateKeyFromPEM(asText(readKeyText(encodedKey)), password)) {}

template <utils::EllipticCurve C> ECCPrivateKey<C>::ECCPrivateKey(EVP_PKEYUPtr key) : key_(std::move(key)) {
    checkCurve(key_.get(), C);
}

template <utils::EllipticCurve C> ByteArray ECCPrivateKey<C>::getPEM() const {
    return exportPrivatePEM(key_.get());
}

template <utils::EllipticCurve C> ByteArray ECCPrivateKey<C>::getPrivateInteger() const {
    ErrorQueueMark const mark;
    OSSL_PARAMUPtr const parameters =
        exportParameters(key_.get(), EVP_PKEY_KEYPAIR, "Failed to extract information from private EVP_PKEY");
    WipedObject const wiped(parameters.get());
    OSSL_PARAM const* const integer = OSSL_PARAM_locate_const(parameters.get(), OSSL_PKEY_PARAM_PRIV_KEY);
    require(integer != nullptr, "Could not find 'priv' in parameter list from EVP_PKEY_todata");
    return CurveTraits<C>::readPrivateInteger(*integer);
}

template <utils::EllipticCurve C>
ECCPublicKey<C>::ECCPublicKey(ByteArray const& bytes, ECCKeyInput kind)
    : ECCPublicKey(kind == ECCKeyInput::Encoded ? publicKeyFromPEM(asText(bytes)) : publicKeyFromPoint<C>(bytes)) {}

template <utils::EllipticCurve C>
ECCPublicKey<C>::ECCPublicKey(std::istream& encodedKey)
    : ECCPublicKey(publicKeyFromPEM(asText(readKeyText(encodedKey)))) {}

template <utils::EllipticCurve C> ECCPublicKey<C>::ECCPublicKey(EVP_PKEYUPtr key) : key_(std::move(key)) {
    checkCurve(key_.get(), C);
}

template <utils::EllipticCurve C> ByteArray ECCPublicKey<C>::getPEM() const {
    return exportPublicPEM(key_.get());
}

template <utils::EllipticCurve C> ByteArray ECCPublicKey<C>::getPublicPoint() const {
    return exportPublicPoint(key_.get());
}

template <utils::EllipticCurve C> ECCKeyPair<C>::ECCKeyPair() : ECCKeyPair(generate<C>()) {}

template <utils::EllipticCurve C>
ECCKeyPair<C>::ECCKeyPair(EVP_PKEYUPtr generated)
    : publicKey_(std::make_shared<ECCPublicKey<C>>(extractPublicKey(generated.get()))),
      privateKey_(std::make_shared<ECCPrivateKey<C>>(std::move(generated))) {}

template class ECCPrivateKey<utils::EllipticCurve::P256>;
template class ECCPrivateKey<utils::EllipticCurve::Curve25519>;
template class ECCPublicKey<utils::EllipticCurve::P256>;
template class ECCPublicKey<utils::EllipticCurve::Curve25519>;
template class ECCKeyPair<utils::EllipticCurve::P256>;
template class ECCKeyPair<utils::EllipticCurve::Curve25519>;

} // namespace foundation::crypto::openssl
