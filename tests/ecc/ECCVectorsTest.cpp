// Published signatures and keys, each through every form of the operations.
#include "support/ECC.h"
#include "support/Vectors.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using namespace support;

template <class Factory>
bool verifies(ByteArray const& point, ByteArray const& message, ByteArray const& signature,
              DigestEnginePtr const& engine) {
    auto const key = Factory::publicKeyFromPoint(point);
    auto const verifier = Factory::verifier(key);
    bool const valid = verifier->verify(message, signature, engine).isValid();
    std::istringstream stream(text(message));
    EXPECT_EQ(verifier->verify(stream, signature, engine).isValid(), valid);
    auto const reread = Factory::verifier(Factory::publicKey(key->getPEM()));
    EXPECT_EQ(reread->verify(message, signature, engine).isValid(), valid);
    EXPECT_EQ(key->getPublicPoint(), point);
    return valid;
}

std::string expected(Vector const& vector) {
    return vector.expected();
}

TEST(ECCVectors, OfWycheproofAreAnsweredOnP256) {
    for (Vector const& vector : readVectors("ecdsa_p256.txt")) {
        SCOPED_TRACE(vector.id());
        EXPECT_EQ(verifies<P256>(vector.bytes("point"), vector.bytes("msg"), vector.bytes("sig"),
                                 engineNamed(vector.word("hash"))),
                  expected(vector) == "valid");
    }
}

TEST(ECCVectors, OfWycheproofAreAnsweredOnCurve25519) {
    for (Vector const& vector : readVectors("ed25519.txt")) {
        SCOPED_TRACE(vector.id());
        EXPECT_EQ(
            verifies<Curve25519>(vector.bytes("point"), vector.bytes("msg"), vector.bytes("sig"), Curve25519::engine()),
            expected(vector) == "valid");
    }
}

/// That the key derives its public part, whose point is the vector's.
template <class Factory> void expectPoint(typename Factory::PrivateKey const& key, ByteArray const& point) {
    auto const signature = Factory::signer(key)->sign(bytes("abc"), Factory::engine());
    EXPECT_TRUE(verifies<Factory>(point, bytes("abc"), signature, Factory::engine()));
}

TEST(ECCVectors, OfRFC8032AreSignedAndVerified) {
    for (Vector const& vector : readVectors("rfc8032.txt")) {
        SCOPED_TRACE(vector.id());
        auto const key = Curve25519::privateKeyFromInteger(vector.bytes("key"));
        auto const signer = Curve25519::signer(key);
        std::istringstream stream(text(vector.bytes("msg")));
        EXPECT_EQ(hex(signer->sign(vector.bytes("msg"), Curve25519::engine())), vector.word("sig"));
        EXPECT_EQ(hex(signer->sign(stream, Curve25519::engine())), vector.word("sig"));
        EXPECT_TRUE(verifies<Curve25519>(vector.bytes("point"), vector.bytes("msg"), vector.bytes("sig"),
                                         Curve25519::engine()));
        expectPoint<Curve25519>(key, vector.bytes("point"));
        EXPECT_EQ(hex(key->getPrivateInteger()), vector.word("key"));
    }
}

TEST(ECCVectors, OfRFC6979AreVerified) {
    for (Vector const& vector : readVectors("rfc6979.txt")) {
        SCOPED_TRACE(vector.id());
        EXPECT_TRUE(verifies<P256>(vector.bytes("point"), vector.bytes("msg"), vector.bytes("sig"),
                                   engineNamed(vector.word("hash"))));
        auto const key = P256::privateKeyFromInteger(vector.bytes("key"));
        expectPoint<P256>(key, vector.bytes("point"));
        EXPECT_EQ(hex(key->getPrivateInteger()), vector.word("key"));
    }
}

} // namespace
