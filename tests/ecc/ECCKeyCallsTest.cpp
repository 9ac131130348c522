// Which calls are made on keys, for what.
#include "ECCOperations.h"
#include "support/Bytes.h"
#include "support/ECC.h"
#include "support/Faults.h"

#include <gtest/gtest.h>

#include <openssl/evp.h>
#include <openssl/obj_mac.h>
#include <openssl/param_build.h>
#include <openssl/pem.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

namespace {

using namespace support;

using Functions = std::vector<std::string>;

Functions joined(std::initializer_list<Functions> parts) {
    Functions all;
    for (Functions const& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

Functions callsOf(void (*operation)()) {
    Recording const recording;
    operation();
    return recording.functions();
}

/// The check that each key passes; an Ed25519 key needs no more than its type.
template <class Factory> Functions curveCheck() {
    if (Factory::curve == EllipticCurve::Curve25519) {
        return {"EVP_PKEY_get_base_id"};
    }
    return {"EVP_PKEY_get_base_id", "EVP_PKEY_todata", "OSSL_PARAM_locate_const", "OSSL_PARAM_get_utf8_string_ptr",
            "OSSL_PARAM_free"};
}

template <class Factory> constexpr int keyType = Factory::curve == EllipticCurve::P256 ? EVP_PKEY_EC : EVP_PKEY_ED25519;

std::string textOf(std::intptr_t argument) {
    return fromNumber<char const*>(argument);
}

TYPED_TEST(ECCCalls, OfGenerationAreThoseThatTheWorkNeeds) {
    Functions const chooseCurve =
        TypeParam::curve == EllipticCurve::P256 ? Functions{"EVP_PKEY_CTX_ctrl_str"} : Functions();
    Recording const recording;
    Operations<TypeParam>::generate();
    EXPECT_EQ(recording.functions(), joined({{"EVP_PKEY_CTX_new_id", "EVP_PKEY_keygen_init"},
                                             chooseCurve,
                                             {"EVP_PKEY_keygen", "EVP_PKEY_CTX_free"},
                                             {"BIO_new", "PEM_write_bio_PUBKEY", "PEM_read_bio_PUBKEY", "BIO_free_all"},
                                             curveCheck<TypeParam>(), // the public key's
                                             curveCheck<TypeParam>(), // the private key's
                                             {"EVP_PKEY_free", "EVP_PKEY_free"}}));

    Call const context = recording.callsOf("EVP_PKEY_CTX_new_id").at(0);
    EXPECT_EQ(context.arguments, (std::vector<std::intptr_t>{keyType<TypeParam>, 0}));
    Call const write = recording.callsOf("PEM_write_bio_PUBKEY").at(0);
    Call const read = recording.callsOf("PEM_read_bio_PUBKEY").at(0);
    EXPECT_EQ(read.arguments.at(0), write.arguments.at(0)); // from where it was written to
    EXPECT_EQ(textOf(read.arguments.at(3)), "");
    // The private key is the generated one itself; the public one is another.
    EXPECT_EQ(recording.callsOf("EVP_PKEY_get_base_id").at(1).arguments, (std::vector{write.arguments.at(1)}));
    EXPECT_NE(recording.callsOf("EVP_PKEY_get_base_id").at(0).arguments, (std::vector{write.arguments.at(1)}));
}

TEST(ECCKeyCalls, OfGenerationNameTheCurveOnP256) {
    Recording const recording;
    Operations<P256>::generate();
    auto const arguments = recording.callsOf("EVP_PKEY_CTX_ctrl_str").at(0).arguments;
    EXPECT_EQ(arguments.at(0), recording.callsOf("EVP_PKEY_keygen").at(0).arguments.at(0));
    EXPECT_EQ(textOf(arguments.at(1)), "ec_paramgen_curve");
    EXPECT_EQ(textOf(arguments.at(2)), "P-256");
}

TYPED_TEST(ECCCalls, OfPEMAreThoseThatTheWorkNeeds) {
    using On = Operations<TypeParam>;
    auto const reading = [](char const* reader) {
        return joined({{"BIO_new", "BIO_write", reader, "BIO_free_all"}, curveCheck<TypeParam>(), {"EVP_PKEY_free"}});
    };
    EXPECT_EQ(callsOf(On::readPrivate), reading("PEM_read_bio_PrivateKey"));
    EXPECT_EQ(callsOf(On::readPrivateStream), reading("PEM_read_bio_PrivateKey"));
    EXPECT_EQ(callsOf(On::readPublic), reading("PEM_read_bio_PUBKEY"));
    EXPECT_EQ(callsOf(On::readPublicStream), reading("PEM_read_bio_PUBKEY"));
}

TYPED_TEST(ECCCalls, GiveTheReadersOfPrivateKeysTheirPassword) {
    using On = Operations<TypeParam>;
    std::string password;
    Replacing<decltype(PEM_read_bio_PrivateKey)> const looking(
        "PEM_read_bio_PrivateKey", [&](auto real, BIO* bio, EVP_PKEY** key, pem_password_cb* callback, void* user) {
            EXPECT_TRUE(key == nullptr && callback == nullptr);
            password = static_cast<char const*>(user);
            return real(bio, key, callback, user);
        });
    On::readPrivateStream();
    EXPECT_EQ(password, "x");
    On::readPrivate();
    EXPECT_EQ(password, "");
}

Functions const makeP256Key{"OSSL_PARAM_BLD_to_param", "EVP_PKEY_CTX_new_id", "EVP_PKEY_fromdata_init",
                            "EVP_PKEY_fromdata",       "EVP_PKEY_CTX_free",   "OSSL_PARAM_free",
                            "OSSL_PARAM_BLD_free"};

TEST(ECCKeyCalls, OfAnIntegerOnP256AreThoseThatTheWorkNeeds) {
    ByteArray const integer = Operations<P256>::pair().getPrivateKey()->getPrivateInteger();
    ByteArray const point = Operations<P256>::pair().getPublicKey()->getPublicPoint();
    ByteArray pushed;
    Replacing<decltype(OSSL_PARAM_BLD_push_octet_string)> const looking(
        "OSSL_PARAM_BLD_push_octet_string",
        [&](auto real, OSSL_PARAM_BLD* builder, char const* name, void const* data, std::size_t size) {
            auto const* const octets = static_cast<unsigned char const*>(data);
            pushed.assign(octets, octets + size);
            return real(builder, name, data, size);
        });
    Recording const recording;
    P256::privateKeyFromInteger(integer);
    EXPECT_EQ(recording.functions(),
              joined({{"BN_bin2bn"},
                      {"EC_GROUP_new_by_curve_name", "EC_POINT_new", "BN_CTX_new", "EC_POINT_mul"},
                      {"BN_CTX_new", "EC_POINT_point2oct", "EC_POINT_point2oct", "BN_CTX_free"},
                      {"BN_CTX_free", "EC_POINT_free", "EC_GROUP_free"},
                      {"OSSL_PARAM_BLD_new", "OSSL_PARAM_BLD_push_utf8_string", "OSSL_PARAM_BLD_push_BN",
                       "OSSL_PARAM_BLD_push_octet_string"},
                      makeP256Key,
                      {"BN_free"},
                      curveCheck<P256>(),
                      {"EVP_PKEY_free"}}));

    auto const argumentsOf = [&](char const* function) { return recording.callsOf(function).at(0).arguments; };
    EXPECT_EQ(argumentsOf("BN_bin2bn"), (std::vector<std::intptr_t>{asNumber(integer.data()), 32, 0}));
    EXPECT_EQ(argumentsOf("EC_GROUP_new_by_curve_name"), std::vector<std::intptr_t>{NID_X9_62_prime256v1});
    auto const number = argumentsOf("BN_free").at(0);
    auto const product = argumentsOf("EC_POINT_mul"); // the generator's, which needs no other point or number
    EXPECT_EQ(std::vector<std::intptr_t>(product.begin() + 2, product.begin() + 5),
              (std::vector<std::intptr_t>{number, 0, 0}));
    auto const group = argumentsOf("OSSL_PARAM_BLD_push_utf8_string");
    EXPECT_EQ(textOf(group.at(1)) + "=" + textOf(group.at(2)), "group=prime256v1");
    EXPECT_EQ(textOf(argumentsOf("OSSL_PARAM_BLD_push_BN").at(1)), "priv");
    EXPECT_EQ(argumentsOf("OSSL_PARAM_BLD_push_BN").at(2), number);
    EXPECT_EQ(textOf(argumentsOf("OSSL_PARAM_BLD_push_octet_string").at(1)), "pub");
    EXPECT_EQ(pushed, point);
    EXPECT_EQ(argumentsOf("EVP_PKEY_CTX_new_id"), (std::vector<std::intptr_t>{EVP_PKEY_EC, 0}));
    EXPECT_EQ(argumentsOf("EVP_PKEY_fromdata").at(2), EVP_PKEY_KEYPAIR);
}

TEST(ECCKeyCalls, OfAPointOnP256AreThoseThatTheWorkNeeds) {
    ByteArray const point = Operations<P256>::pair().getPublicKey()->getPublicPoint();
    Recording const recording;
    P256::publicKeyFromPoint(point);
    EXPECT_EQ(recording.functions(),
              joined({{"OSSL_PARAM_BLD_new", "OSSL_PARAM_BLD_push_utf8_string", "OSSL_PARAM_BLD_push_octet_string"},
                      makeP256Key,
                      curveCheck<P256>(),
                      {"EVP_PKEY_free"}}));

    auto const argumentsOf = [&](char const* function) { return recording.callsOf(function).at(0).arguments; };
    auto const group = argumentsOf("OSSL_PARAM_BLD_push_utf8_string");
    EXPECT_EQ(textOf(group.at(1)) + "=" + textOf(group.at(2)), "group=prime256v1");
    auto const octets = argumentsOf("OSSL_PARAM_BLD_push_octet_string");
    EXPECT_EQ(textOf(octets.at(1)), "pub");
    EXPECT_EQ(octets.at(2), asNumber(point.data()));
    EXPECT_EQ(octets.at(3), 65);
    EXPECT_EQ(argumentsOf("EVP_PKEY_CTX_new_id"), (std::vector<std::intptr_t>{EVP_PKEY_EC, 0}));
    EXPECT_EQ(argumentsOf("EVP_PKEY_fromdata").at(2), EVP_PKEY_PUBLIC_KEY);
}

TEST(ECCKeyCalls, OfRawBytesOnCurve25519AreThoseThatTheWorkNeeds) {
    ByteArray const integer = Operations<Curve25519>::pair().getPrivateKey()->getPrivateInteger();
    ByteArray const point = Operations<Curve25519>::pair().getPublicKey()->getPublicPoint();
    Recording const recording;
    Curve25519::privateKeyFromInteger(integer);
    Curve25519::publicKeyFromPoint(point);
    EXPECT_EQ(recording.functions(),
              (Functions{"EVP_PKEY_new_raw_private_key", "EVP_PKEY_get_base_id", "EVP_PKEY_free",
                         "EVP_PKEY_new_raw_public_key", "EVP_PKEY_get_base_id", "EVP_PKEY_free"}));
    EXPECT_EQ(recording.callsOf("EVP_PKEY_new_raw_private_key").at(0).arguments,
              (std::vector<std::intptr_t>{EVP_PKEY_ED25519, 0, asNumber(integer.data()), 32}));
    EXPECT_EQ(recording.callsOf("EVP_PKEY_new_raw_public_key").at(0).arguments,
              (std::vector<std::intptr_t>{EVP_PKEY_ED25519, 0, asNumber(point.data()), 32}));
}

TYPED_TEST(ECCCalls, OfExportsAreThoseThatTheWorkNeeds) {
    using On = Operations<TypeParam>;
    EXPECT_EQ(callsOf(On::exportPrivate), (Functions{"EVP_PKEY_dup", "BIO_new", "PEM_write_bio_PKCS8PrivateKey",
                                                     "BIO_ctrl", "BIO_read", "BIO_free_all", "EVP_PKEY_free"}));
    EXPECT_EQ(callsOf(On::exportPublic),
              (Functions{"BIO_new", "PEM_write_bio_PUBKEY", "BIO_ctrl", "BIO_read", "BIO_free_all"}));

    Functions const readNumber =
        TypeParam::curve == EllipticCurve::P256 ? Functions{"OSSL_PARAM_get_BN", "BN_bn2bin", "BN_free"} : Functions();
    {
        Recording const recording;
        On::exportInteger();
        EXPECT_EQ(recording.functions(),
                  joined({{"EVP_PKEY_todata", "OSSL_PARAM_locate_const"}, readNumber, {"OSSL_PARAM_free"}}));
        EXPECT_EQ(recording.callsOf("EVP_PKEY_todata").at(0).arguments.at(1), EVP_PKEY_KEYPAIR);
        EXPECT_EQ(textOf(recording.callsOf("OSSL_PARAM_locate_const").at(0).arguments.at(1)), "priv");
    }
    Recording const recording;
    On::exportPoint();
    EXPECT_EQ(recording.functions(), (Functions{"EVP_PKEY_todata", "OSSL_PARAM_locate_const", "OSSL_PARAM_free"}));
    EXPECT_EQ(recording.callsOf("EVP_PKEY_todata").at(0).arguments.at(1), EVP_PKEY_PUBLIC_KEY);
    EXPECT_EQ(textOf(recording.callsOf("OSSL_PARAM_locate_const").at(0).arguments.at(1)), "pub");
}

} // namespace
