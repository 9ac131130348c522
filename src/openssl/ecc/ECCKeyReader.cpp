#include "ecc/ECCKeyReader.h"

#include "common/Check.h"
#include "common/Conversions.h"
#include "common/ErrorQueue.h"

#include <openssl/core_names.h>
#include <openssl/pem.h>

namespace foundation::crypto::openssl {

namespace {

EVP_PKEYUPtr requireReadable(EVP_PKEY* key) {
    require<utils::InvalidKeyEncoding>(key != nullptr, "Could not create key from bytes in PEM encoding. Is the key "
                                                       "really in PEM encoding? DER is not supported.");
    return EVP_PKEYUPtr(key);
}

/// The curve of an `EVP_PKEY_EC` key, from the group name among its public parameters.
utils::EllipticCurve getNamedCurve(EVP_PKEY const* key) {
    Owned<OSSL_PARAM> parameters;
    require(EVP_PKEY_todata(key, EVP_PKEY_PUBLIC_KEY, receive(parameters)) == 1,
            "Could not extract public key information from EVP_PKEY");

    OSSL_PARAM const* const group = OSSL_PARAM_locate_const(parameters.get(), OSSL_PKEY_PARAM_GROUP_NAME);
    char const* name = nullptr;
    require(group != nullptr && OSSL_PARAM_get_utf8_string_ptr(group, &name) == 1,
            "Expected EVP_PKEY to have group parameter since it's an EVP_PKEY_EC");
    if (std::string(name) != SN_X9_62_prime256v1) {
        throw utils::KeyAndCurveMismatch(std::string("Stored key is not a supported ECC Curve. Curve: ") + name);
    }
    return utils::EllipticCurve::P256;
}

utils::EllipticCurve getCurve(EVP_PKEY const* key) {
    int const type = EVP_PKEY_get_base_id(key);
    switch (type) {
    case EVP_PKEY_ED25519:
        return utils::EllipticCurve::Curve25519;
    case EVP_PKEY_ED448:
        throw utils::KeyAndCurveMismatch("Stored key uses Ed448, which is not currently supported");
    case EVP_PKEY_EC:
        return getNamedCurve(key);
    default:
        throw utils::KeyAndCurveMismatch("Stored key is not ECC-based. OpenSSL type id: " + std::to_string(type));
    }
}

} // namespace

EVP_PKEYUPtr readPEMPublicKey(BIO* bio) {
    require(bio != nullptr, "Failed to create EVP_PKEY from BIO. Argument is nullptr");
    return requireReadable(PEM_read_bio_PUBKEY(bio, nullptr, nullptr, noPassPhrase()));
}

EVP_PKEYUPtr readPEMPrivateKey(BIO* bio, std::string const& password) {
    require(bio != nullptr, "Failed to create EVP_PKEY from BIO. Argument is nullptr");
    return requireReadable(PEM_read_bio_PrivateKey(bio, nullptr, nullptr, passPhrase(password)));
}

void checkCurve(EVP_PKEY const* key, utils::EllipticCurve expected) {
    require(key != nullptr, "Failed to sanity check EVP_PKEY. Argument is nullptr");
    ErrorQueueMark const mark;
    utils::EllipticCurve const found = getCurve(key);
    if (found != expected) {
        throw utils::KeyAndCurveMismatch("Actual curve (" + getName(found) + ") does not match expected curve (" +
                                         getName(expected) + ")");
    }
}

} // namespace foundation::crypto::openssl
