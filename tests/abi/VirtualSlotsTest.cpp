#include "support/VirtualSlots.h"

#include "foundation/crypto/interfaces/ICryptoProvider.h"
#include "foundation/crypto/openssl/CryptoProvider.h"

#include <cstddef>
#include <istream>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <type_traits>
#include <typeinfo>

#include <gtest/gtest.h>

// Clients that were compiled earlier call every operation by its position in the table of virtual functions. The tests
// below hold each position, with the operation's exact type, against a number written out here. They need no library:
// the compiler knows the positions from the headers.

namespace foundation::crypto::interfaces {
namespace {

using support::numberOfSlots;
using support::slotOf;
using utils::AESKeySize;
using utils::AESMode;
using utils::AESPaddingMode;
using utils::EllipticCurve;
using utils::HSMObject;
using utils::RSAKeySize;
using utils::RSAPaddingMode;
using utils::SignatureVerificationStatus;

constexpr auto P256 = EllipticCurve::P256;
constexpr auto Curve25519 = EllipticCurve::Curve25519;

/// What holds for every interface: it has a virtual destructor and no data, and takes `slots` positions in all. Where
/// the operations fill the positions from 2 on, the destructor's pair (complete, deleting) is at 0 and 1.
template <class Interface> void expectInterface(std::size_t slots) {
    static_assert(std::is_abstract_v<Interface>);
    static_assert(std::has_virtual_destructor_v<Interface>);
    static_assert(sizeof(Interface) == sizeof(void*), "an interface has no data");
    EXPECT_EQ(numberOfSlots<Interface>(), slots);
}

// Position, operation, and the operation's type without its class (last, since it may hold commas).
#define EXPECT_SLOT(slot, operation, ...) EXPECT_EQ((slotOf<__VA_ARGS__>(&operation)), std::size_t{slot})

TEST(VirtualSlots, OfTheDigestEngineAreKept) {
    expectInterface<IDigestEngine>(10);
    EXPECT_SLOT(2, IDigestEngine::computeDigest, ByteArray(ByteArray const&));
    EXPECT_SLOT(3, IDigestEngine::computeDigest, ByteArray(std::istream&));
    EXPECT_SLOT(4, IDigestEngine::update, void(ByteArray const&));
    EXPECT_SLOT(5, IDigestEngine::update, void(unsigned char const*, std::size_t));
    EXPECT_SLOT(6, IDigestEngine::finalize, ByteArray());
    EXPECT_SLOT(7, IDigestEngine::getDigestName, std::string() const);
    EXPECT_SLOT(8, IDigestEngine::getDigestNameForEVP_MD, std::string() const);
    EXPECT_SLOT(9, IDigestEngine::getDigestSize, std::size_t() const);
}

TEST(VirtualSlots, OfTheRandomGeneratorAreKept) {
    expectInterface<ICryptoPRNG>(6);
    EXPECT_SLOT(2, ICryptoPRNG::generateRandomByte, unsigned char());
    EXPECT_SLOT(3, ICryptoPRNG::generateRandomBytes, ByteArray(std::size_t));
    EXPECT_SLOT(4, ICryptoPRNG::isSeeded, bool() const);
    EXPECT_SLOT(5, ICryptoPRNG::getPRNGName, std::string() const);
}

using AESSizes = testing::Types<AESKeySize<128>, AESKeySize<192>, AESKeySize<256>>;

template <class KeySize> class AESSlots : public testing::Test {};

TYPED_TEST_SUITE(AESSlots, AESSizes);

TYPED_TEST(AESSlots, OfTheKeyAreKept) {
    expectInterface<IAESKey<TypeParam>>(4);
    EXPECT_SLOT(2, IAESKey<TypeParam>::getKeySize, unsigned long() const);
    EXPECT_SLOT(3, IAESKey<TypeParam>::getKeyBytes, ByteArray() const);
}

TEST(VirtualSlots, OfTheAESTransformsAreKept) {
    expectInterface<IAESEncryptor>(5);
    EXPECT_SLOT(2, IAESEncryptor::encrypt, ByteArray(ByteArray const&) const);
    EXPECT_SLOT(3, IAESEncryptor::encrypt, std::ostream & (std::istream&, std::ostream&) const);
    EXPECT_SLOT(4, IAESEncryptor::getKeySize, unsigned long() const);

    expectInterface<IAESDecryptor>(5);
    EXPECT_SLOT(2, IAESDecryptor::decrypt, ByteArray(ByteArray const&) const);
    EXPECT_SLOT(3, IAESDecryptor::decrypt, std::ostream & (std::istream&, std::ostream&) const);
    EXPECT_SLOT(4, IAESDecryptor::getKeySize, unsigned long() const);
}

using RSASizes = testing::Types<RSAKeySize<1024>, RSAKeySize<2048>, RSAKeySize<4096>>;

template <class KeySize> class RSASlots : public testing::Test {};

TYPED_TEST_SUITE(RSASlots, RSASizes);

TYPED_TEST(RSASlots, OfTheKeyPairAreKept) {
    expectInterface<IRSAKeyPair<TypeParam>>(4);
    EXPECT_SLOT(2, IRSAKeyPair<TypeParam>::getPublicKey, std::shared_ptr<IRSAPublicKey<TypeParam>>() const);
    EXPECT_SLOT(3, IRSAKeyPair<TypeParam>::getPrivateKey, std::shared_ptr<IRSAPrivateKey<TypeParam>>() const);
}

TYPED_TEST(RSASlots, OfThePrivateKeyAreKept) {
    expectInterface<IRSAPrivateKey<TypeParam>>(6);
    EXPECT_SLOT(2, IRSAPrivateKey<TypeParam>::getKeySize, unsigned long() const);
    EXPECT_SLOT(3, IRSAPrivateKey<TypeParam>::getDER, ByteArray() const);
    EXPECT_SLOT(4, IRSAPrivateKey<TypeParam>::getModulus, ByteArray() const);
    EXPECT_SLOT(5, IRSAPrivateKey<TypeParam>::getPrivateExponent, ByteArray() const);
}

TYPED_TEST(RSASlots, OfThePublicKeyAreKept) {
    expectInterface<IRSAPublicKey<TypeParam>>(6);
    EXPECT_SLOT(2, IRSAPublicKey<TypeParam>::getKeySize, unsigned long() const);
    EXPECT_SLOT(3, IRSAPublicKey<TypeParam>::getDER, ByteArray() const);
    EXPECT_SLOT(4, IRSAPublicKey<TypeParam>::getModulus, ByteArray() const);
    EXPECT_SLOT(5, IRSAPublicKey<TypeParam>::getPublicExponent, ByteArray() const);
}

TEST(VirtualSlots, OfRSAEncryptionAreKept) {
    expectInterface<IRSAEncryptor>(5);
    EXPECT_SLOT(2, IRSAEncryptor::encrypt, ByteArray(ByteArray const&) const);
    EXPECT_SLOT(3, IRSAEncryptor::encrypt, std::ostream & (std::istream&, std::ostream&) const);
    EXPECT_SLOT(4, IRSAEncryptor::getKeySize, unsigned long() const);

    expectInterface<IRSADecryptor>(5);
    EXPECT_SLOT(2, IRSADecryptor::decrypt, ByteArray(ByteArray const&) const);
    EXPECT_SLOT(3, IRSADecryptor::decrypt, std::ostream & (std::istream&, std::ostream&) const);
    EXPECT_SLOT(4, IRSADecryptor::getKeySize, unsigned long() const);
}

TEST(VirtualSlots, OfRSASignaturesAreKept) {
    expectInterface<IRSASigner>(5);
    EXPECT_SLOT(2, IRSASigner::sign, ByteArray(ByteArray const&, DigestEnginePtr) const);
    EXPECT_SLOT(3, IRSASigner::sign, ByteArray(std::istream&, DigestEnginePtr) const);
    EXPECT_SLOT(4, IRSASigner::getKeySize, unsigned long() const);

    expectInterface<IRSAVerifier>(5);
    EXPECT_SLOT(2, IRSAVerifier::verify,
                SignatureVerificationStatus(ByteArray const&, ByteArray const&, DigestEnginePtr) const);
    EXPECT_SLOT(3, IRSAVerifier::verify,
                SignatureVerificationStatus(std::istream&, ByteArray const&, DigestEnginePtr) const);
    EXPECT_SLOT(4, IRSAVerifier::getKeySize, unsigned long() const);
}

using Curves =
    testing::Types<std::integral_constant<EllipticCurve, P256>, std::integral_constant<EllipticCurve, Curve25519>>;

template <class Curve> class ECCSlots : public testing::Test {};

TYPED_TEST_SUITE(ECCSlots, Curves);

TYPED_TEST(ECCSlots, OfTheKeyPairAreKept) {
    constexpr auto C = TypeParam::value;
    expectInterface<IECCKeyPair<C>>(4);
    EXPECT_SLOT(2, IECCKeyPair<C>::getPrivateKey, ECCPrivateKeyPtr<C>() const);
    EXPECT_SLOT(3, IECCKeyPair<C>::getPublicKey, ECCPublicKeyPtr<C>() const);
}

TYPED_TEST(ECCSlots, OfThePrivateKeyAreKept) {
    constexpr auto C = TypeParam::value;
    expectInterface<IECCPrivateKey<C>>(4);
    EXPECT_SLOT(2, IECCPrivateKey<C>::getPEM, ByteArray() const);
    EXPECT_SLOT(3, IECCPrivateKey<C>::getPrivateInteger, ByteArray() const);
}

TYPED_TEST(ECCSlots, OfThePublicKeyAreKept) {
    constexpr auto C = TypeParam::value;
    expectInterface<IECCPublicKey<C>>(4);
    EXPECT_SLOT(2, IECCPublicKey<C>::getPEM, ByteArray() const);
    EXPECT_SLOT(3, IECCPublicKey<C>::getPublicPoint, ByteArray() const);
}

TEST(VirtualSlots, OfEllipticCurveSignaturesAreKept) {
    expectInterface<IECCSigner>(5);
    EXPECT_SLOT(2, IECCSigner::sign, ByteArray(ByteArray const&, DigestEnginePtr) const);
    EXPECT_SLOT(3, IECCSigner::sign, ByteArray(std::istream&, DigestEnginePtr) const);
    EXPECT_SLOT(4, IECCSigner::getKeySize, long() const);

    expectInterface<IECCVerifier>(5);
    EXPECT_SLOT(2, IECCVerifier::verify,
                SignatureVerificationStatus(ByteArray const&, ByteArray const&, DigestEnginePtr) const);
    EXPECT_SLOT(3, IECCVerifier::verify,
                SignatureVerificationStatus(std::istream&, ByteArray const&, DigestEnginePtr) const);
    EXPECT_SLOT(4, IECCVerifier::getKeySize, long() const);
}

TEST(VirtualSlots, OfTheHSMSignerAreKept) {
    expectInterface<IHSMSigner>(5);
    EXPECT_SLOT(2, IHSMSigner::sign, ByteArray(ByteArray const&, DigestEnginePtr) const);
    EXPECT_SLOT(3, IHSMSigner::sign, ByteArray(std::istream&, DigestEnginePtr) const);
    EXPECT_SLOT(4, IHSMSigner::getKeySize, unsigned long() const);
}

/// The positions of the provider, which must be the same whether a client knows it by its interface or by its class.
template <class Provider> void expectProviderSlots() {
    EXPECT_EQ(numberOfSlots<Provider>(), std::size_t{80});
    EXPECT_SLOT(2, Provider::createDefaultCryptoPRNG, CryptoPRNGPtr(ByteArray const&) const);
    EXPECT_SLOT(3, Provider::createMD5DigestEngine, DigestEnginePtr() const);
    EXPECT_SLOT(4, Provider::createSHA1DigestEngine, DigestEnginePtr() const);
    EXPECT_SLOT(5, Provider::createSHA224DigestEngine, DigestEnginePtr() const);
    EXPECT_SLOT(6, Provider::createSHA256DigestEngine, DigestEnginePtr() const);
    EXPECT_SLOT(7, Provider::createSHA384DigestEngine, DigestEnginePtr() const);
    EXPECT_SLOT(8, Provider::createSHA512DigestEngine, DigestEnginePtr() const);
    EXPECT_SLOT(9, Provider::createHMACSHA1DigestEngine, DigestEnginePtr(ByteArray const&) const);
    EXPECT_SLOT(10, Provider::createHMACSHA256DigestEngine, DigestEnginePtr(ByteArray const&) const);
    EXPECT_SLOT(11, Provider::createHMACSHA512DigestEngine, DigestEnginePtr(ByteArray const&) const);
    EXPECT_SLOT(12, Provider::createBlake2bDigestEngine, DigestEnginePtr(ByteArray const&, ByteArray const&) const);
    EXPECT_SLOT(13, Provider::generateRSA1024KeyPair, RSAKeyPairPtr<1024>(CryptoPRNGPtr) const);
    EXPECT_SLOT(14, Provider::generateRSA2048KeyPair, RSAKeyPairPtr<2048>(CryptoPRNGPtr) const);
    EXPECT_SLOT(15, Provider::generateRSA4096KeyPair, RSAKeyPairPtr<4096>(CryptoPRNGPtr) const);
    EXPECT_SLOT(16, Provider::createRSA1024PrivateKey, RSAPrivateKeyPtr<1024>(ByteArray const&) const);
    EXPECT_SLOT(17, Provider::createRSA2048PrivateKey, RSAPrivateKeyPtr<2048>(ByteArray const&) const);
    EXPECT_SLOT(18, Provider::createRSA4096PrivateKey, RSAPrivateKeyPtr<4096>(ByteArray const&) const);
    EXPECT_SLOT(19, Provider::createRSA1024PrivateKey,
                RSAPrivateKeyPtr<1024>(ByteArray const&, ByteArray const&, ByteArray const&) const);
    EXPECT_SLOT(20, Provider::createRSA2048PrivateKey,
                RSAPrivateKeyPtr<2048>(ByteArray const&, ByteArray const&, ByteArray const&) const);
    EXPECT_SLOT(21, Provider::createRSA4096PrivateKey,
                RSAPrivateKeyPtr<4096>(ByteArray const&, ByteArray const&, ByteArray const&) const);
    EXPECT_SLOT(22, Provider::createRSA1024PrivateKey, RSAPrivateKeyPtr<1024>(std::istream&, std::string const&) const);
    EXPECT_SLOT(23, Provider::createRSA2048PrivateKey, RSAPrivateKeyPtr<2048>(std::istream&, std::string const&) const);
    EXPECT_SLOT(24, Provider::createRSA4096PrivateKey, RSAPrivateKeyPtr<4096>(std::istream&, std::string const&) const);
    EXPECT_SLOT(25, Provider::createRSA1024PublicKey, RSAPublicKeyPtr<1024>(ByteArray const&) const);
    EXPECT_SLOT(26, Provider::createRSA2048PublicKey, RSAPublicKeyPtr<2048>(ByteArray const&) const);
    EXPECT_SLOT(27, Provider::createRSA4096PublicKey, RSAPublicKeyPtr<4096>(ByteArray const&) const);
    EXPECT_SLOT(28, Provider::createRSA1024PublicKey, RSAPublicKeyPtr<1024>(ByteArray const&, ByteArray const&) const);
    EXPECT_SLOT(29, Provider::createRSA2048PublicKey, RSAPublicKeyPtr<2048>(ByteArray const&, ByteArray const&) const);
    EXPECT_SLOT(30, Provider::createRSA4096PublicKey, RSAPublicKeyPtr<4096>(ByteArray const&, ByteArray const&) const);
    EXPECT_SLOT(31, Provider::createRSA1024PublicKey, RSAPublicKeyPtr<1024>(std::istream&) const);
    EXPECT_SLOT(32, Provider::createRSA2048PublicKey, RSAPublicKeyPtr<2048>(std::istream&) const);
    EXPECT_SLOT(33, Provider::createRSA4096PublicKey, RSAPublicKeyPtr<4096>(std::istream&) const);
    EXPECT_SLOT(34, Provider::createRSA1024Encryptor,
                RSAEncryptorPtr(RSAPublicKeyPtr<1024>, RSAPaddingMode, CryptoPRNGPtr) const);
    EXPECT_SLOT(35, Provider::createRSA2048Encryptor,
                RSAEncryptorPtr(RSAPublicKeyPtr<2048>, RSAPaddingMode, CryptoPRNGPtr) const);
    EXPECT_SLOT(36, Provider::createRSA4096Encryptor,
                RSAEncryptorPtr(RSAPublicKeyPtr<4096>, RSAPaddingMode, CryptoPRNGPtr) const);
    EXPECT_SLOT(37, Provider::createRSA1024Decryptor,
                RSADecryptorPtr(RSAPrivateKeyPtr<1024>, RSAPaddingMode, CryptoPRNGPtr) const);
    EXPECT_SLOT(38, Provider::createRSA2048Decryptor,
                RSADecryptorPtr(RSAPrivateKeyPtr<2048>, RSAPaddingMode, CryptoPRNGPtr) const);
    EXPECT_SLOT(39, Provider::createRSA4096Decryptor,
                RSADecryptorPtr(RSAPrivateKeyPtr<4096>, RSAPaddingMode, CryptoPRNGPtr) const);
    EXPECT_SLOT(40, Provider::createRSA1024Signer,
                RSASignerPtr(RSAPrivateKeyPtr<1024>, RSAPaddingMode, CryptoPRNGPtr) const);
    EXPECT_SLOT(41, Provider::createRSA2048Signer,
                RSASignerPtr(RSAPrivateKeyPtr<2048>, RSAPaddingMode, CryptoPRNGPtr) const);
    EXPECT_SLOT(42, Provider::createRSA4096Signer,
                RSASignerPtr(RSAPrivateKeyPtr<4096>, RSAPaddingMode, CryptoPRNGPtr) const);
    EXPECT_SLOT(43, Provider::createRSA1024Verifier,
                RSAVerifierPtr(RSAPublicKeyPtr<1024>, RSAPaddingMode, CryptoPRNGPtr) const);
    EXPECT_SLOT(44, Provider::createRSA2048Verifier,
                RSAVerifierPtr(RSAPublicKeyPtr<2048>, RSAPaddingMode, CryptoPRNGPtr) const);
    EXPECT_SLOT(45, Provider::createRSA4096Verifier,
                RSAVerifierPtr(RSAPublicKeyPtr<4096>, RSAPaddingMode, CryptoPRNGPtr) const);
    EXPECT_SLOT(46, Provider::generateECCP256KeyPair, ECCKeyPairPtr<P256>() const);
    EXPECT_SLOT(47, Provider::generateECCCurve25519KeyPair, ECCKeyPairPtr<Curve25519>() const);
    EXPECT_SLOT(48, Provider::createECCP256PrivateKey, ECCPrivateKeyPtr<P256>(ByteArray const&) const);
    EXPECT_SLOT(49, Provider::createECCCurve25519PrivateKey, ECCPrivateKeyPtr<Curve25519>(ByteArray const&) const);
    EXPECT_SLOT(50, Provider::createECCP256PrivateKeyFromInteger, ECCPrivateKeyPtr<P256>(ByteArray const&) const);
    EXPECT_SLOT(51, Provider::createECCCurve25519PrivateKeyFromInteger,
                ECCPrivateKeyPtr<Curve25519>(ByteArray const&) const);
    EXPECT_SLOT(52, Provider::createECCP256PrivateKey, ECCPrivateKeyPtr<P256>(std::istream&, std::string const&) const);
    EXPECT_SLOT(53, Provider::createECCCurve25519PrivateKey,
                ECCPrivateKeyPtr<Curve25519>(std::istream&, std::string const&) const);
    EXPECT_SLOT(54, Provider::createECCP256PublicKey, ECCPublicKeyPtr<P256>(ByteArray const&) const);
    EXPECT_SLOT(55, Provider::createECCCurve25519PublicKey, ECCPublicKeyPtr<Curve25519>(ByteArray const&) const);
    EXPECT_SLOT(56, Provider::createECCP256PublicKeyFromPoint, ECCPublicKeyPtr<P256>(ByteArray const&) const);
    EXPECT_SLOT(57, Provider::createECCCurve25519PublicKeyFromPoint,
                ECCPublicKeyPtr<Curve25519>(ByteArray const&) const);
    EXPECT_SLOT(58, Provider::createECCP256PublicKey, ECCPublicKeyPtr<P256>(std::istream&) const);
    EXPECT_SLOT(59, Provider::createECCCurve25519PublicKey, ECCPublicKeyPtr<Curve25519>(std::istream&) const);
    EXPECT_SLOT(60, Provider::createECCP256Signer, ECCSignerPtr(ECCPrivateKeyPtr<P256>) const);
    EXPECT_SLOT(61, Provider::createECCCurve25519Signer, ECCSignerPtr(ECCPrivateKeyPtr<Curve25519>) const);
    EXPECT_SLOT(62, Provider::createECCP256Verifier, ECCVerifierPtr(ECCPublicKeyPtr<P256>) const);
    EXPECT_SLOT(63, Provider::createECCCurve25519Verifier, ECCVerifierPtr(ECCPublicKeyPtr<Curve25519>) const);
    EXPECT_SLOT(64, Provider::createAES128Key, AESKeyPtr<128>(ByteArray const&) const);
    EXPECT_SLOT(65, Provider::createAES192Key, AESKeyPtr<192>(ByteArray const&) const);
    EXPECT_SLOT(66, Provider::createAES256Key, AESKeyPtr<256>(ByteArray const&) const);
    EXPECT_SLOT(67, Provider::createAES128Encryptor,
                AESEncryptorPtr(AESKeyPtr<128>, ByteArray const&, AESMode, AESPaddingMode, CryptoPRNGPtr) const);
    EXPECT_SLOT(68, Provider::createAES192Encryptor,
                AESEncryptorPtr(AESKeyPtr<192>, ByteArray const&, AESMode, AESPaddingMode, CryptoPRNGPtr) const);
    EXPECT_SLOT(69, Provider::createAES256Encryptor,
                AESEncryptorPtr(AESKeyPtr<256>, ByteArray const&, AESMode, AESPaddingMode, CryptoPRNGPtr) const);
    EXPECT_SLOT(70, Provider::createAES128Decryptor,
                AESDecryptorPtr(AESKeyPtr<128>, ByteArray const&, AESMode, AESPaddingMode, CryptoPRNGPtr) const);
    EXPECT_SLOT(71, Provider::createAES192Decryptor,
                AESDecryptorPtr(AESKeyPtr<192>, ByteArray const&, AESMode, AESPaddingMode, CryptoPRNGPtr) const);
    EXPECT_SLOT(72, Provider::createAES256Decryptor,
                AESDecryptorPtr(AESKeyPtr<256>, ByteArray const&, AESMode, AESPaddingMode, CryptoPRNGPtr) const);
    EXPECT_SLOT(73, Provider::createHSMSigner, HSMSignerPtr(HSMObject const&, RSAPaddingMode, CryptoPRNGPtr) const);
    EXPECT_SLOT(74, Provider::deriveKeyUsingPBKDF2, ByteArray(std::string const&, std::string const&, int, int) const);
    EXPECT_SLOT(75, Provider::createBlake2bDigestEngineWithCustomSize,
                DigestEnginePtr(ByteArray const&, ByteArray const&, unsigned long) const);
    EXPECT_SLOT(76, Provider::getPrivateKeySignatureMethod,
                KeySignatureMethod(std::istream&, std::string const&) const);
    EXPECT_SLOT(77, Provider::getPrivateKeySignatureMethod,
                KeySignatureMethod(ByteArray const&, std::string const&) const);
    EXPECT_SLOT(78, Provider::getPublicKeySignatureMethod, KeySignatureMethod(std::istream&) const);
    EXPECT_SLOT(79, Provider::getPublicKeySignatureMethod, KeySignatureMethod(ByteArray const&) const);
}

TEST(VirtualSlots, OfTheProviderInterfaceAreKept) {
    expectInterface<ICryptoProvider>(80);
    expectProviderSlots<ICryptoProvider>();
}

TEST(VirtualSlots, OfTheProviderItselfAreKept) {
    static_assert(std::is_base_of_v<ICryptoProvider, openssl::CryptoProvider>);
    static_assert(!std::is_abstract_v<openssl::CryptoProvider>, "every operation is there");
    static_assert(std::is_default_constructible_v<openssl::CryptoProvider>);
    static_assert(sizeof(openssl::CryptoProvider) == sizeof(void*), "the provider has no data");
    expectProviderSlots<openssl::CryptoProvider>();
}

struct NotVirtual {
    void operation() {}
};

/// A test of the measure itself.
TEST(VirtualSlots, AreNotSeenWhereThereAreNone) {
    EXPECT_EQ(slotOf<void()>(&NotVirtual::operation), std::nullopt);
}

template <class Named> std::string nameOf() {
    return typeid(Named).name();
}

/// Names and template arguments decide how functions and type information of clients and libraries find each other.
TEST(TypeNames, AreThoseOfTheBinaryInterface) {
    EXPECT_EQ(nameOf<ICryptoProvider>(), "N10foundation6crypto10interfaces15ICryptoProviderE");
    EXPECT_EQ(nameOf<KeySignatureMethod>(), "N10foundation6crypto10interfaces18KeySignatureMethodE");
    EXPECT_EQ(nameOf<RSAKeySize<2048>>(), "N10foundation6crypto5utils10RSAKeySizeILm2048EEE");
    EXPECT_EQ(nameOf<AESKeySize<256>>(), "N10foundation6crypto5utils10AESKeySizeILm256EEE");
    EXPECT_EQ(nameOf<IRSAPublicKey<RSAKeySize<2048>>>(),
              "N10foundation6crypto10interfaces13IRSAPublicKeyINS0_5utils10RSAKeySizeILm2048EEEEE");
    EXPECT_EQ(nameOf<IECCPrivateKey<Curve25519>>(),
              "N10foundation6crypto10interfaces14IECCPrivateKeyILNS0_5utils13EllipticCurveE1EEE");
}

} // namespace
} // namespace foundation::crypto::interfaces
