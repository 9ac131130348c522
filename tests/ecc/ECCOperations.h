#ifndef ZRFL_TESTS_ECC_ECCOPERATIONS_H
#define ZRFL_TESTS_ECC_ECCOPERATIONS_H

#include "support/Bytes.h"
#include "support/ECC.h"
#include "support/PEM.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

/// What the tests with failing and recorded libcrypto calls have of both curves.
namespace support {

inline std::string const notPEM =
    "Could not create key from bytes in PEM encoding. Is the key really in PEM encoding? DER is not supported.";
inline std::string const noVerifying = "Failed while doing setup to verify signature";

/// The operations, each over keys made beforehand.
template <class Factory> struct Operations {
    static auto const& pair() {
        static auto const made = [] { // one whose integer has no leading zero byte, which few have
            auto generated = Factory::generateKeyPair();
            while (generated->getPrivateKey()->getPrivateInteger().size() != 32) {
                generated = Factory::generateKeyPair();
            }
            return generated;
        }();
        return *made;
    }

    static void generate() { Factory::generateKeyPair(); }

    static void readPrivate() {
        static ByteArray const pem = pair().getPrivateKey()->getPEM();
        Factory::privateKey(pem);
    }

    static void readPrivateStream() {
        static std::string const pem = encryptedPEM(support::readPrivate(text(pair().getPrivateKey()->getPEM())), "x");
        std::istringstream stream(pem);
        Factory::privateKey(stream, "x");
    }

    static void readPublic() {
        static ByteArray const pem = pair().getPublicKey()->getPEM();
        Factory::publicKey(pem);
    }

    static void readPublicStream() {
        static ByteArray const pem = pair().getPublicKey()->getPEM();
        std::istringstream stream(text(pem));
        Factory::publicKey(stream);
    }

    static void fromInteger() {
        static ByteArray const integer = pair().getPrivateKey()->getPrivateInteger();
        Factory::privateKeyFromInteger(integer);
    }

    static void fromPoint() {
        static ByteArray const point = pair().getPublicKey()->getPublicPoint();
        Factory::publicKeyFromPoint(point);
    }

    static void exportPrivate() { static_cast<void>(pair().getPrivateKey()->getPEM()); }

    static void exportPublic() { static_cast<void>(pair().getPublicKey()->getPEM()); }

    static void exportInteger() { static_cast<void>(pair().getPrivateKey()->getPrivateInteger()); }

    static void exportPoint() { static_cast<void>(pair().getPublicKey()->getPublicPoint()); }

    static void sign() {
        static auto const signer = Factory::signer(pair().getPrivateKey());
        static auto const engine = Factory::engine();
        signer->sign(bytes("abc"), engine);
    }

    static void signStream() {
        static auto const signer = Factory::signer(pair().getPrivateKey());
        static auto const engine = Factory::engine();
        std::istringstream stream("abc");
        signer->sign(stream, engine);
    }

    static void verify() {
        static auto const verifier = Factory::verifier(pair().getPublicKey());
        static auto const engine = Factory::engine();
        verifier->verify(bytes("abc"), bytes("def"), engine);
    }

    static void verifyStream() {
        static auto const verifier = Factory::verifier(pair().getPublicKey());
        static auto const engine = Factory::engine();
        std::istringstream stream("abc");
        verifier->verify(stream, bytes("def"), engine);
    }

    static void getSignersSize() {
        static auto const signer = Factory::signer(pair().getPrivateKey());
        static_cast<void>(signer->getKeySize());
    }

    static void getVerifiersSize() {
        static auto const verifier = Factory::verifier(pair().getPublicKey());
        static_cast<void>(verifier->getKeySize());
    }

    /// All of them once, so that nothing is made for the first time under a failing call.
    static bool warmUp() {
        for (auto const operation : {generate, readPrivate, readPrivateStream, readPublic, readPublicStream,
                                     fromInteger, fromPoint, sign, signStream, verify, verifyStream}) {
            operation();
        }
        return true;
    }
};

template <class Factory> class ECCCalls : public testing::Test {
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(Operations<Factory>::warmUp()); }
};

TYPED_TEST_SUITE(ECCCalls, BothCurves, CurveNames);

} // namespace support

#endif
