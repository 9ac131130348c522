#include "ecc/ECCKeyReader.h"

#include "ECCOperations.h"

#include "common/Conversions.h"

#include "support/Bytes.h"
#include "support/PEM.h"
#include "support/Throws.h"
#include "support/Vectors.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/dsa.h>
#include <openssl/err.h>
#include <openssl/x509.h>

#include <string>
#include <utility>

namespace {

using namespace support;
using namespace foundation::crypto::openssl;
using foundation::crypto::utils::EllipticCurve;
using foundation::crypto::utils::InternalException;
using foundation::crypto::utils::InvalidKeyEncoding;
using foundation::crypto::utils::KeyAndCurveMismatch;

BIOUPtr memory() {
    return BIOUPtr(BIO_new(BIO_s_mem()));
}

BIOUPtr memory(std::string const& content) {
    BIOUPtr bio = memory();
    write(content, bio.get());
    return bio;
}

template <class... Arguments> RawKey generate(char const* type, Arguments... arguments) {
    return owned(EVP_PKEY_Q_keygen(nullptr, nullptr, type, arguments...));
}

RawKey generateDSA() {
    EVP_PKEY_CTXUPtr const parameterContext(EVP_PKEY_CTX_new_from_name(nullptr, "DSA", nullptr));
    EVP_PKEY* raw = nullptr;
    EXPECT_EQ(EVP_PKEY_paramgen_init(parameterContext.get()), 1);
    EXPECT_EQ(EVP_PKEY_CTX_set_dsa_paramgen_bits(parameterContext.get(), 1024), 1);
    EXPECT_EQ(EVP_PKEY_paramgen(parameterContext.get(), &raw), 1);
    EVP_PKEYUPtr const parameters(std::exchange(raw, nullptr));
    EVP_PKEY_CTXUPtr const context(EVP_PKEY_CTX_new(parameters.get(), nullptr));
    EXPECT_EQ(EVP_PKEY_keygen_init(context.get()), 1);
    EXPECT_EQ(EVP_PKEY_keygen(context.get(), &raw), 1);
    return owned(raw);
}

// Keys

TEST(PEMKeys, AreReadWithOrWithoutAPassword) {
    RawKey const key = generate("EC", "P-256");
    std::string const plain = privatePEM(key);
    std::string const encrypted = encryptedPEM(key, "secret");
    auto const expectSame = [&](EVP_PKEYUPtr const& read) { EXPECT_EQ(EVP_PKEY_eq(read.get(), key.get()), 1); };

    expectSame(readPEMPrivateKey(memory(plain).get(), ""));
    expectSame(readPEMPrivateKey(memory(plain).get(), "ignored"));
    expectSame(readPEMPrivateKey(memory(encrypted).get(), "secret"));
    expectSame(readPEMPublicKey(memory(publicPEM(key)).get()));
    expectSame(readPEMPublicKey(memory("text before\n" + plain + publicPEM(key) + "text after").get()));
}

TEST(PEMKeys, AreRefusedWithoutTheRightPassword) {
    std::string const encrypted = encryptedPEM(generate("EC", "P-256"), "secret");
    for (char const* const password : {"", "wrong", "secret ", "Secret"}) {
        EXPECT_THROWS(InvalidKeyEncoding, notPEM, readPEMPrivateKey(memory(encrypted).get(), password));
    }
}

TEST(PEMKeys, AreRefusedInAnythingElse) {
    RawKey const key = generate("EC", "P-256");
    unsigned char* raw = nullptr;
    int const privateSize = i2d_PrivateKey(key.get(), &raw);
    std::string const privateDER(reinterpret_cast<char const*>(raw), static_cast<std::size_t>(privateSize));
    OPENSSL_free(std::exchange(raw, nullptr));
    int const publicSize = i2d_PUBKEY(key.get(), &raw);
    std::string const publicDER(reinterpret_cast<char const*>(raw), static_cast<std::size_t>(publicSize));
    OPENSSL_free(raw);

    for (std::string const& content : {privateDER, publicDER, std::string("no key at all"), publicPEM(key)}) {
        EXPECT_THROWS(InvalidKeyEncoding, notPEM, readPEMPrivateKey(memory(content).get(), ""));
    }
    for (std::string const& content : {privateDER, publicDER, std::string("no key at all"), privatePEM(key)}) {
        EXPECT_THROWS(InvalidKeyEncoding, notPEM, readPEMPublicKey(memory(content).get()));
    }
    EXPECT_THROWS(InvalidKeyEncoding, notPEM, readPEMPrivateKey(memory().get(), ""));
    EXPECT_THROWS(InvalidKeyEncoding, notPEM, readPEMPublicKey(memory().get()));
}

TEST(PEMKeys, ThatAskForAPasswordWhereNoneIsTakenAreRefusedWithoutAsking) {
    std::string const block = "-----BEGIN PUBLIC KEY-----\nProc-Type: 4,ENCRYPTED\n"
                              "DEK-Info: AES-256-CBC,000102030405060708090A0B0C0D0E0F\n\n"
                              "MFkwEwYHKoZIzj0CAQYIKoZIzj0DAQcDQgAE\n-----END PUBLIC KEY-----\n";
    EXPECT_THROWS(InvalidKeyEncoding, notPEM, readPEMPublicKey(memory(block).get()));
}

TEST(PEMKeys, NeedABIO) {
    std::string const text = "Failed to create EVP_PKEY from BIO. Argument is nullptr";
    EXPECT_THROWS(InternalException, text, readPEMPrivateKey(nullptr, "secret"));
    EXPECT_THROWS(InternalException, text, readPEMPublicKey(nullptr));
}

// Curves

EllipticCurve const bothCurves[] = {EllipticCurve::P256, EllipticCurve::Curve25519};

TEST(CurveCheck, AcceptsTheCurveExpected) {
    RawKey const p256Key = generate("EC", "P-256");
    RawKey const ed25519Key = generate("ED25519");
    ERR_raise(ERR_LIB_USER, 7);
    EXPECT_NO_THROW(checkCurve(p256Key.get(), EllipticCurve::P256));
    EXPECT_NO_THROW(checkCurve(ed25519Key.get(), EllipticCurve::Curve25519));
    EXPECT_NO_THROW(checkCurve(readPEMPublicKey(memory(publicPEM(p256Key)).get()).get(), EllipticCurve::P256));
    EXPECT_EQ(ERR_GET_REASON(ERR_get_error()), 7);
    EXPECT_EQ(ERR_get_error(), 0UL);

    EXPECT_THROWS(KeyAndCurveMismatch, "Actual curve (P256) does not match expected curve (Curve25519)",
                  checkCurve(p256Key.get(), EllipticCurve::Curve25519));
    EXPECT_THROWS(KeyAndCurveMismatch, "Actual curve (Curve25519) does not match expected curve (P256)",
                  checkCurve(ed25519Key.get(), EllipticCurve::P256));
}

TEST(CurveCheck, RefusesOtherNamedCurves) {
    for (auto const& [curve, name] :
         {std::pair{"P-384", "secp384r1"}, std::pair{"P-521", "secp521r1"}, std::pair{"secp256k1", "secp256k1"},
          std::pair{"P-224", "secp224r1"}, std::pair{"brainpoolP256r1", "brainpoolP256r1"}}) {
        RawKey const key = generate("EC", curve);
        for (EllipticCurve const expected : bothCurves) {
            EXPECT_THROWS(KeyAndCurveMismatch, std::string("Stored key is not a supported ECC Curve. Curve: ") + name,
                          checkCurve(key.get(), expected));
        }
    }
}

TEST(CurveCheck, RefusesSM2ByItsCurve) {
    EXPECT_THROWS(KeyAndCurveMismatch, "Stored key is not a supported ECC Curve. Curve: SM2",
                  checkCurve(generate("SM2").get(), EllipticCurve::P256));
}

TEST(CurveCheck, RefusesACurveWithoutAName) {
    std::string const pem = text(readVectorFile("keys/p256-doubled-generator-public.pem"));
    if (OPENSSL_version_major() < 4) {
        EXPECT_THROWS(InternalException, "Expected EVP_PKEY to have group parameter since it's an EVP_PKEY_EC",
                      checkCurve(readPublic(pem).get(), EllipticCurve::P256));
    } else { // which has no keys on such curves
        EXPECT_THROWS(std::runtime_error, "libcrypto made no key", readPublic(pem));
    }
}

TEST(CurveCheck, RefusesEd448InItsOwnWords) {
    RawKey const key = generate("ED448");
    for (EllipticCurve const expected : bothCurves) {
        EXPECT_THROWS(KeyAndCurveMismatch, "Stored key uses Ed448, which is not currently supported",
                      checkCurve(key.get(), expected));
    }
}

TEST(CurveCheck, RefusesOtherKindsOfKeysByTheirNumber) {
    std::string const text = "Stored key is not ECC-based. OpenSSL type id: ";
    RawKey const dsa = generateDSA();
    for (EllipticCurve const expected : bothCurves) {
        EXPECT_THROWS(KeyAndCurveMismatch, text + "6", checkCurve(generate("RSA", std::size_t(1024)).get(), expected));
        EXPECT_THROWS(KeyAndCurveMismatch, text + "116", checkCurve(dsa.get(), expected));
        EXPECT_THROWS(KeyAndCurveMismatch, text + "1034", checkCurve(generate("X25519").get(), expected));
        EXPECT_THROWS(KeyAndCurveMismatch, text + "1035", checkCurve(generate("X448").get(), expected));
        // A key that only a provider knows has no number.
        EXPECT_THROWS(KeyAndCurveMismatch, text + "0", checkCurve(generate("ML-DSA-44").get(), expected));
        EXPECT_THROWS(KeyAndCurveMismatch, text + "0", checkCurve(EVP_PKEYUPtr(EVP_PKEY_new()).get(), expected));
    }
}

TEST(CurveCheck, NeedsAKey) {
    EXPECT_THROWS(InternalException, "Failed to sanity check EVP_PKEY. Argument is nullptr",
                  checkCurve(nullptr, EllipticCurve::P256));
}

} // namespace
