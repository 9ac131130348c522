#include "ecc/CurveTraits.h"

#include "common/Check.h"
#include "common/Conversions.h"
#include "common/Secrets.h"
#include "ecc/ECPoint.h"

#include <openssl/core_names.h>
#include <openssl/obj_mac.h>

#include <utility>

namespace foundation::crypto::openssl {

namespace {

using P256 = CurveTraits<utils::EllipticCurve::P256>;
using Curve25519 = CurveTraits<utils::EllipticCurve::Curve25519>;

ByteArray multiplyGenerator(BIGNUM const* integer) {
    EC_GROUPUPtr const group(EC_GROUP_new_by_curve_name(NID_X9_62_prime256v1));
    EC_POINTUPtr const point(EC_POINT_new(group.get()));
    BN_CTXUPtr const context(BN_CTX_new());
    require(EC_POINT_mul(group.get(), point.get(), integer, nullptr, nullptr, context.get()) == 1,
            "Failed to get public point from private integer");
    return toByteArray(group.get(), point.get());
}

/// Collects the parameters of a key on P-256, beginning with its curve.
class P256Parameters {
public:
    P256Parameters() : builder_(OSSL_PARAM_BLD_new()) {
        require(OSSL_PARAM_BLD_push_utf8_string(builder_.get(), OSSL_PKEY_PARAM_GROUP_NAME, SN_X9_62_prime256v1, 0) ==
                    1,
                "Failed to add group to OSSL_PARAM_BLD");
    }

    void addPrivateInteger(BIGNUM const* integer) {
        require(OSSL_PARAM_BLD_push_BN(builder_.get(), OSSL_PKEY_PARAM_PRIV_KEY, integer) == 1,
                "Failed to add private integer to OSSL_PARAM_BLD");
    }

    /// `point` has to live until the key is made.
    void addPublicPoint(ByteArray const& point) {
        require(OSSL_PARAM_BLD_push_octet_string(builder_.get(), OSSL_PKEY_PARAM_PUB_KEY, point.data(), point.size()) ==
                    1,
                "Failed to add public point to OSSL_PARAM_BLD");
    }

    /// The key of the parameters that `selection` names.
    EVP_PKEYUPtr makeKey(int selection, char const* failure) const {
        OSSL_PARAMUPtr const parameters(OSSL_PARAM_BLD_to_param(builder_.get()));
        WipedObject const wiped(parameters.get());
        EVP_PKEY_CTXUPtr const context(EVP_PKEY_CTX_new_id(P256::keyType, nullptr));
        require(EVP_PKEY_fromdata_init(context.get()) == 1, "Failed to initialize EVP_PKEY_CTX");
        Owned<EVP_PKEY> key;
        require(EVP_PKEY_fromdata(context.get(), receive(key), selection, parameters.get()) == 1, failure);
        return EVP_PKEYUPtr(std::move(key));
    }

private:
    OSSL_PARAM_BLDUPtr builder_;
};

} // namespace

void P256::chooseCurve(EVP_PKEY_CTX* generation) {
    requireExplained(EVP_PKEY_CTX_ctrl_str(generation, "ec_paramgen_curve", "P-256") > 0,
                     "Could not set curve. OpenSSL error: ");
}

EVP_PKEYUPtr P256::makePrivateKey(ByteArray const& integer) {
    require(!integer.empty(), "No bytes to initialize from in private integer");
    BNUPtr const number(toNumber(integer).release());
    WipedObject const wiped(number.get());
    ByteArray const point = multiplyGenerator(number.get());
    P256Parameters parameters;
    parameters.addPrivateInteger(number.get());
    parameters.addPublicPoint(point);
    return parameters.makeKey(EVP_PKEY_KEYPAIR, "Failed to load key from private integer and curve");
}

EVP_PKEYUPtr P256::makePublicKey(ByteArray const& point) {
    P256Parameters parameters;
    parameters.addPublicPoint(point);
    return parameters.makeKey(EVP_PKEY_PUBLIC_KEY, "Failed to load key from public point and curve");
}

ByteArray P256::readPrivateInteger(OSSL_PARAM const& integer) {
    Owned<BIGNUM> number;
    int const result = OSSL_PARAM_get_BN(&integer, receive(number));
    WipedObject const wiped(number.get());
    require(result == 1, "Failed to initialize BIGNUM with private integer data");
    return toByteArray(number.get());
}

EVP_PKEYUPtr Curve25519::makePrivateKey(ByteArray const& integer) {
    return EVP_PKEYUPtr(EVP_PKEY_new_raw_private_key(keyType, nullptr, integer.data(), integer.size()));
}

EVP_PKEYUPtr Curve25519::makePublicKey(ByteArray const& point) {
    return EVP_PKEYUPtr(EVP_PKEY_new_raw_public_key(keyType, nullptr, point.data(), point.size()));
}

ByteArray Curve25519::readPrivateInteger(OSSL_PARAM const& integer) {
    return toByteArray(integer);
}

} // namespace foundation::crypto::openssl
