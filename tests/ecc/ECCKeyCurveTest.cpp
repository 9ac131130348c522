#include "ECCKeyTexts.h"
#include "support/Bytes.h"
#include "support/ECC.h"
#include "support/PEM.h"
#include "support/Throws.h"
#include "support/Vectors.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/crypto.h>
#include <openssl/dsa.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/obj_mac.h>
#include <openssl/params.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace support;
using foundation::crypto::utils::InternalException;
using foundation::crypto::utils::InvalidKeyEncoding;
using foundation::crypto::utils::KeyAndCurveMismatch;

std::string const notECC = "Stored key is not ECC-based. OpenSSL type id: ";
std::string const otherGroup = "Stored key is not a supported ECC Curve. Curve: ";

RawKey makeDSAKey() {
    std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)> const forDomain(
        EVP_PKEY_CTX_new_id(EVP_PKEY_DSA, nullptr), &EVP_PKEY_CTX_free);
    EVP_PKEY* domain = nullptr;
    EVP_PKEY_paramgen_init(forDomain.get());
    EVP_PKEY_CTX_set_dsa_paramgen_bits(forDomain.get(), 1024);
    EVP_PKEY_paramgen(forDomain.get(), &domain);
    RawKey const parameters = owned(domain);

    std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)> const forKey(
        EVP_PKEY_CTX_new(parameters.get(), nullptr), &EVP_PKEY_CTX_free);
    EVP_PKEY* key = nullptr;
    EVP_PKEY_keygen_init(forKey.get());
    EVP_PKEY_keygen(forKey.get(), &key);
    return owned(key);
}

struct ForeignKind {
    std::string name;
    std::function<RawKey()> make;
    std::string text;
};

RawKey onCurve(char const* group) {
    return owned(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", group));
}

RawKey ofType(char const* type) {
    return owned(EVP_PKEY_Q_keygen(nullptr, nullptr, type));
}

std::vector<ForeignKind> const foreignKinds{
    {"P384", [] { return onCurve("P-384"); }, otherGroup + "secp384r1"},
    {"P521", [] { return onCurve("P-521"); }, otherGroup + "secp521r1"},
    {"P192", [] { return onCurve("P-192"); }, otherGroup + "prime192v1"},
    {"secp256k1", [] { return onCurve("secp256k1"); }, otherGroup + "secp256k1"},
    {"brainpool", [] { return onCurve("brainpoolP256r1"); }, otherGroup + "brainpoolP256r1"},
    {"binary", [] { return onCurve("sect283k1"); }, otherGroup + "sect283k1"},
    {"Ed448", [] { return ofType("ED448"); }, "Stored key uses Ed448, which is not currently supported"},
    {"X25519", [] { return ofType("X25519"); }, notECC + "1034"},
    {"X448", [] { return ofType("X448"); }, notECC + "1035"},
    {"RSA", [] { return owned(EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", std::size_t(1024))); }, notECC + "6"},
    {"DSA", makeDSAKey, notECC + "116"},
    {"SM2", [] { return ofType("SM2"); }, notECC + "0"}, // without a number of its own
    {"MLDSA", [] { return ofType("ML-DSA-44"); }, notECC + "0"},
};

class ForeignKinds : public testing::TestWithParam<ForeignKind> {};

INSTANTIATE_TEST_SUITE_P(, ForeignKinds, testing::ValuesIn(foreignKinds),
                         [](auto const& row) { return row.param.name; });

template <class Factory> void expectMismatch(RawKey const& key, std::string const& message) {
    SCOPED_TRACE(Factory::name);
    EXPECT_THROWS(KeyAndCurveMismatch, message, Factory::privateKey(bytes(privatePEM(key))));
    EXPECT_THROWS(KeyAndCurveMismatch, message, Factory::publicKey(bytes(publicPEM(key))));
    std::istringstream privateStream(encryptedPEM(key, "secret"));
    EXPECT_THROWS(KeyAndCurveMismatch, message, Factory::privateKey(privateStream, "secret"));
    std::istringstream publicStream(publicPEM(key));
    EXPECT_THROWS(KeyAndCurveMismatch, message, Factory::publicKey(publicStream));
}

TEST_P(ForeignKinds, AreRefusedByBothCurves) {
    RawKey const key = GetParam().make();
    expectMismatch<P256>(key, GetParam().text);
    expectMismatch<Curve25519>(key, GetParam().text);
}

TEST(P256Keys, AreRefusedByTheOtherCurve) {
    expectMismatch<Curve25519>(readPrivate(text(P256::generateKeyPair()->getPrivateKey()->getPEM())),
                               "Actual curve (P256) does not match expected curve (Curve25519)");
}

TEST(Curve25519Keys, AreRefusedByTheOtherCurve) {
    expectMismatch<P256>(readPrivate(text(Curve25519::generateKeyPair()->getPrivateKey()->getPEM())),
                         "Actual curve (Curve25519) does not match expected curve (P256)");
}

/// A key stored with the parameters of its curve in place of the curve's name.
RawKey withExplicitParameters() {
    std::unique_ptr<EC_GROUP, decltype(&EC_GROUP_free)> const group(EC_GROUP_new_by_curve_name(NID_X9_62_prime256v1),
                                                                    &EC_GROUP_free);
    EC_GROUP_set_asn1_flag(group.get(), OPENSSL_EC_EXPLICIT_CURVE);
    std::unique_ptr<OSSL_PARAM, decltype(&OSSL_PARAM_free)> const parameters(
        EC_GROUP_to_params(group.get(), nullptr, nullptr, nullptr), &OSSL_PARAM_free);
    std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)> const forDomain(
        EVP_PKEY_CTX_new_id(EVP_PKEY_EC, nullptr), &EVP_PKEY_CTX_free);
    EVP_PKEY* domain = nullptr;
    EVP_PKEY_fromdata_init(forDomain.get());
    EVP_PKEY_fromdata(forDomain.get(), &domain, EVP_PKEY_KEY_PARAMETERS, parameters.get());
    RawKey const template_ = owned(domain);

    std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)> const forKey(EVP_PKEY_CTX_new(template_.get(), nullptr),
                                                                             &EVP_PKEY_CTX_free);
    EVP_PKEY* key = nullptr;
    EVP_PKEY_keygen_init(forKey.get());
    EVP_PKEY_keygen(forKey.get(), &key);
    return owned(key);
}

TEST(P256Keys, WithExplicitParametersAreKnownByThem) {
    RawKey const key = withExplicitParameters();
    EXPECT_GT(privatePEM(key).size(), 400U);
    EXPECT_EQ(P256::publicKey(bytes(publicPEM(key)))->getPublicPoint().size(), 65U);
    EXPECT_EQ(text(P256::privateKey(bytes(privatePEM(key)))->getPEM()), privatePEM(key));
}

TEST(P256Keys, OnACurveWithoutANameAreRefused) {
    ByteArray const privateKey = readVectorFile("keys/p256-doubled-generator-private.pem");
    ByteArray const publicKey = readVectorFile("keys/p256-doubled-generator-public.pem");
    if (OPENSSL_version_major() < 4) {
        std::string const message = "Expected EVP_PKEY to have group parameter since it's an EVP_PKEY_EC";
        EXPECT_THROWS(InternalException, message, P256::privateKey(privateKey));
        EXPECT_THROWS(InternalException, message, P256::publicKey(publicKey));
        EXPECT_THROWS(InternalException, message, Curve25519::publicKey(publicKey));
    } else { // which reads no parameters but those of curves that it has a name for
        EXPECT_THROWS(std::runtime_error, "libcrypto made no key", readPrivate(text(privateKey)));
        EXPECT_THROWS(std::runtime_error, "libcrypto made no key", readPublic(text(publicKey)));
        EXPECT_THROWS(InvalidKeyEncoding, notPEM, P256::privateKey(privateKey));
        EXPECT_THROWS(InvalidKeyEncoding, notPEM, P256::publicKey(publicKey));
        EXPECT_THROWS(InvalidKeyEncoding, notPEM, Curve25519::publicKey(publicKey));
    }
}

} // namespace
