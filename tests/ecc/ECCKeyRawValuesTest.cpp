#include "ECCKeyTexts.h"
#include "support/Bytes.h"
#include "support/ECC.h"
#include "support/PEM.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/core_names.h>
#include <openssl/evp.h>

#include <cstddef>
#include <string>
#include <vector>

namespace {

using namespace support;
using foundation::crypto::utils::InternalException;

std::string const noKey = "Fail to create EVP_PKEYUPtr; the given raw pointer is NULL";
std::string const order = "ffffffff00000000ffffffffffffffffbce6faada7179e84f3b9cac2fc632551";
std::string const generator = "046b17d1f2e12c4247f8bce6e563a440f277037d812deb33a0f4a13945d898c2964fe342e2fe1a7f9b8ee7eb"
                              "4a7c0f9e162bce33576b315ececbb6406837bf51f5";

// Private integers

TEST(P256Keys, FromOneHaveTheGeneratorAsTheirPoint) {
    auto const key = P256::privateKeyFromInteger({0x01});
    EXPECT_EQ(key->getPrivateInteger(), ByteArray{0x01});
    std::string const publicText = publicPEM(readPrivate(text(key->getPEM())));
    EXPECT_EQ(hex(P256::publicKey(bytes(publicText))->getPublicPoint()), generator);
}

TEST(P256Keys, ExportTheirIntegerWithoutLeadingZeros) {
    for (std::size_t size = 1; size <= 32; ++size) {
        ByteArray integer(size, 0xa5);
        integer[0] = 0x01;
        ByteArray padded(40 - size, 0x00);
        padded.insert(padded.end(), integer.begin(), integer.end());

        EXPECT_EQ(P256::privateKeyFromInteger(integer)->getPrivateInteger(), integer);
        EXPECT_EQ(P256::privateKeyFromInteger(padded)->getPrivateInteger(), integer);
        EXPECT_EQ(P256::privateKeyFromInteger(padded)->getPEM(), P256::privateKeyFromInteger(integer)->getPEM());
    }
}

TEST(P256Keys, NeedSomeIntegerBytes) {
    EXPECT_THROWS(InternalException, "No bytes to initialize from in private integer",
                  P256::privateKeyFromInteger(ByteArray()));
}

TEST(P256Keys, FromZeroAreMadeButNotReadBack) {
    for (std::size_t size : {1U, 2U, 32U, 33U}) {
        auto const key = P256::privateKeyFromInteger(ByteArray(size, 0));
        EXPECT_EQ(key->getPrivateInteger(), ByteArray());
        expectBlock(text(key->getPEM()), "PRIVATE KEY");
        EXPECT_THROWS(InternalException, "Could not extract public key information from EVP_PKEY",
                      P256::privateKey(key->getPEM()));
    }
}

TEST(P256Keys, FromTheOrderOrMoreAreMade) {
    std::string const most(64, 'f');
    for (std::string const& integer : {order, order.substr(0, 63) + "2", most}) {
        auto const key = P256::privateKeyFromInteger(unhex(integer));
        EXPECT_EQ(hex(key->getPrivateInteger()), integer);
        expectBlock(text(key->getPEM()), "PRIVATE KEY");
        EXPECT_LE(P256::signer(key)->sign(bytes("abc"), P256::engine()).size(), 72U);
    }
}

TEST(P256Keys, FromMoreThan256BitsAreMadeAndFailAtUse) {
    for (std::string const& integer :
         {"01" + std::string(64, '0'), std::string(66, 'f'), "07" + std::string(198, '3')}) {
        auto const key = P256::privateKeyFromInteger(unhex(integer));
        EXPECT_THROWS(InternalException, "Failed to extract information from private EVP_PKEY",
                      key->getPrivateInteger());
        EXPECT_THROWS(InternalException, "Failed to write private key to BIO", key->getPEM());
        EXPECT_THROWS(InternalException, "Could not generate digital signature",
                      P256::signer(key)->sign(bytes("abc"), P256::engine()));
    }
}

TEST(Curve25519Keys, AreMadeFrom32RawBytesAndNoOtherNumber) {
    for (std::size_t size = 0; size <= 66; ++size) {
        ByteArray const raw = pseudoRandomBytes(size, size + 1);
        if (size == 32) {
            EXPECT_EQ(Curve25519::privateKeyFromInteger(raw)->getPrivateInteger(), raw);
            EXPECT_EQ(Curve25519::publicKeyFromPoint(raw)->getPublicPoint(), raw);
        } else {
            EXPECT_THROWS(InternalException, noKey, Curve25519::privateKeyFromInteger(raw)) << size;
            EXPECT_THROWS(InternalException, noKey, Curve25519::publicKeyFromPoint(raw)) << size;
        }
    }
}

TEST(Curve25519Keys, AreMadeFromAny32Bytes) {
    for (unsigned char const byte : ByteArray{0x00, 0x01, 0x7f, 0x80, 0xff}) {
        ByteArray const raw(32, byte);
        EXPECT_EQ(Curve25519::privateKeyFromInteger(raw)->getPrivateInteger(), raw);
        EXPECT_EQ(Curve25519::publicKeyFromPoint(raw)->getPublicPoint(), raw);
        EXPECT_EQ(Curve25519::publicKey(Curve25519::publicKeyFromPoint(raw)->getPEM())->getPublicPoint(), raw);
    }
}

// Public points

std::string const notAPoint = "Failed to load key from public point and curve";

TEST(P256Keys, AreMadeFromEveryEncodingOfAPoint) {
    std::string const x = generator.substr(2, 64);
    std::string const y = generator.substr(66);
    for (std::string const& point : {generator, "03" + x, "07" + x + y}) { // the generator's Y is odd
        EXPECT_EQ(hex(P256::publicKeyFromPoint(unhex(point))->getPublicPoint()), generator) << point;
    }
    EXPECT_NE(hex(P256::publicKeyFromPoint(unhex("02" + x))->getPublicPoint()), generator);
    EXPECT_EQ(hex(P256::publicKeyFromPoint({0x00})->getPublicPoint()), "00"); // the point at infinity
}

TEST(P256Keys, AreNotMadeFromOtherPoints) {
    std::string const x = generator.substr(2, 64);
    std::string const y = generator.substr(66);
    std::string const p = "ffffffff00000001000000000000000000000000ffffffffffffffffffffffff";
    std::string const changed = y.substr(0, 63) + "4";
    std::vector<std::string> const points{
        "",
        "01",
        "04",
        "0000",
        "04" + x,
        "04" + x + changed,          // not on the curve
        "06" + x + y,                // the wrong parity
        "05" + x + y,                // no such form
        "02" + std::string(64, 'f'), // not below the field's prime
        "04" + p + y,
        "02" + x.substr(2),
        "02" + x + "00",
        "04" + x + y.substr(2),
        "04" + x + y + "00",
        x + y,
    };
    for (std::string const& point : points) {
        EXPECT_THROWS(InternalException, notAPoint, P256::publicKeyFromPoint(unhex(point))) << point;
    }
}

TEST(P256Keys, KeepACompressedPointThatTheirPEMHolds) {
    RawKey const raw = readPrivate(text(P256::privateKeyFromInteger({0x01})->getPEM()));
    EVP_PKEY_set_utf8_string_param(raw.get(), OSSL_PKEY_PARAM_EC_POINT_CONVERSION_FORMAT, "compressed");
    auto const key = P256::publicKey(bytes(publicPEM(raw)));
    EXPECT_EQ(hex(key->getPublicPoint()), "03" + generator.substr(2, 64));
    EXPECT_EQ(text(key->getPEM()), publicPEM(raw));
    EXPECT_EQ(hex(P256::publicKeyFromPoint(key->getPublicPoint())->getPublicPoint()), generator);

    auto const privateKey = P256::privateKey(bytes(privatePEM(raw)));
    EXPECT_EQ(text(privateKey->getPEM()), privatePEM(raw));
    EXPECT_EQ(privateKey->getPrivateInteger(), ByteArray{0x01});
}

} // namespace
