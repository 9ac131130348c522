#include <foundation/crypto/openssl/CryptoProvider.h>

#include "aes/AESKey.h"
#include "aes/AESTransform.h"
#include "digest/Blake2bDigestEngineImpl.h"
#include "digest/DigestEngine.h"
#include "digest/HMACDigestEngine.h"
#include "ecc/ECCKey.h"
#include "ecc/ECCSignature.h"
#include "hsm/HSMSigner.h"
#include "kdf/PBKDF2.h"
#include "random/CryptoPRNG.h"
#include "rsa/RSAEncryption.h"
#include "rsa/RSAKey.h"
#include "rsa/RSAKeyReader.h"
#include "rsa/RSASignature.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <openssl/crypto.h>

#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace foundation::crypto::openssl {

using namespace interfaces;
using utils::AESKeySize;
using utils::EllipticCurve;
using utils::RSAKeySize;

namespace {

using DefaultPRNG = CryptoPRNG<utils::DefaultPRNGAlgorithm>;

/// Whether `object` is of this library's own class. Another copy of the library in the process has classes of the same
/// names, which count as equal for a cast; but its type information, being hidden as ours is, has other addresses.
template <class Own, class Interface> bool isOwn(Interface const& object) {
    static_assert(std::is_final_v<Own>, "a derived class has type information of its own");
    return &typeid(object) == &typeid(Own);
}

/// The library's own class behind an interface; empty for a null or a foreign object.
template <class Own, class Interface> std::shared_ptr<Own> narrow(std::shared_ptr<Interface> const& given) {
    return given != nullptr && isOwn<Own>(*given) ? std::dynamic_pointer_cast<Own>(given) : nullptr;
}

// What each kind of argument is narrowed to.

auto own(CryptoPRNGPtr const& prng) {
    return narrow<DefaultPRNG>(prng);
}

template <unsigned long Bits> auto own(RSAPublicKeyPtr<Bits> const& key) {
    return narrow<RSAPublicKey<RSAKeySize<Bits>>>(key);
}

template <unsigned long Bits> auto own(RSAPrivateKeyPtr<Bits> const& key) {
    return narrow<RSAPrivateKey<RSAKeySize<Bits>>>(key);
}

template <EllipticCurve C> auto own(ECCPublicKeyPtr<C> const& key) {
    return narrow<ECCPublicKey<C>>(key);
}

template <EllipticCurve C> auto own(ECCPrivateKeyPtr<C> const& key) {
    return narrow<ECCPrivateKey<C>>(key);
}

template <unsigned long Bits> auto own(AESKeyPtr<Bits> const& key) {
    return narrow<AESKey<AESKeySize<Bits>>>(key);
}

} // namespace

CryptoProvider::CryptoProvider() {
    OPENSSL_init_crypto(OPENSSL_INIT_ADD_ALL_DIGESTS, nullptr);
    OPENSSL_init_crypto(OPENSSL_INIT_LOAD_CRYPTO_STRINGS, nullptr);
}

CryptoProvider::~CryptoProvider() = default;

// Random bytes

CryptoPRNGPtr CryptoProvider::createDefaultCryptoPRNG(ByteArray const& seed) const {
    return std::make_shared<DefaultPRNG>(seed);
}

// Digests

DigestEnginePtr CryptoProvider::createMD5DigestEngine() const {
    return std::make_shared<DigestEngine<utils::MD5DigestAlgorithm>>();
}

DigestEnginePtr CryptoProvider::createSHA1DigestEngine() const {
    return std::make_shared<DigestEngine<utils::SHA1DigestAlgorithm>>();
}

DigestEnginePtr CryptoProvider::createSHA224DigestEngine() const {
    return std::make_shared<DigestEngine<utils::SHA224DigestAlgorithm>>();
}

DigestEnginePtr CryptoProvider::createSHA256DigestEngine() const {
    return std::make_shared<DigestEngine<utils::SHA256DigestAlgorithm>>();
}

DigestEnginePtr CryptoProvider::createSHA384DigestEngine() const {
    return std::make_shared<DigestEngine<utils::SHA384DigestAlgorithm>>();
}

DigestEnginePtr CryptoProvider::createSHA512DigestEngine() const {
    return std::make_shared<DigestEngine<utils::SHA512DigestAlgorithm>>();
}

// HMAC and BLAKE2b

DigestEnginePtr CryptoProvider::createHMACSHA1DigestEngine(ByteArray const& key) const {
    return std::make_shared<HMACDigestEngine<utils::HMACSHA1DigestAlgorithm>>(key);
}

DigestEnginePtr CryptoProvider::createHMACSHA256DigestEngine(ByteArray const& key) const {
    return std::make_shared<HMACDigestEngine<utils::HMACSHA256DigestAlgorithm>>(key);
}

DigestEnginePtr CryptoProvider::createHMACSHA512DigestEngine(ByteArray const& key) const {
    return std::make_shared<HMACDigestEngine<utils::HMACSHA512DigestAlgorithm>>(key);
}

DigestEnginePtr CryptoProvider::createBlake2bDigestEngine(ByteArray const& key, ByteArray const& salt) const {
    using Algorithm = utils::Blake2bDigestAlgorithm;
    return std::make_shared<Blake2bDigestEngineImpl<Algorithm>>(key, salt, Algorithm::getDigestSize());
}

// RSA keys

RSAKeyPairPtr<1024> CryptoProvider::generateRSA1024KeyPair(CryptoPRNGPtr prng) const {
    return std::make_shared<RSAKeyPair<RSAKeySize<1024>>>(std::move(prng));
}

RSAKeyPairPtr<2048> CryptoProvider::generateRSA2048KeyPair(CryptoPRNGPtr prng) const {
    return std::make_shared<RSAKeyPair<RSAKeySize<2048>>>(std::move(prng));
}

RSAKeyPairPtr<4096> CryptoProvider::generateRSA4096KeyPair(CryptoPRNGPtr prng) const {
    return std::make_shared<RSAKeyPair<RSAKeySize<4096>>>(std::move(prng));
}

RSAPrivateKeyPtr<1024> CryptoProvider::createRSA1024PrivateKey(ByteArray const& encodedKey) const {
    return std::make_shared<RSAPrivateKey<RSAKeySize<1024>>>(encodedKey);
}

RSAPrivateKeyPtr<2048> CryptoProvider::createRSA2048PrivateKey(ByteArray const& encodedKey) const {
    return std::make_shared<RSAPrivateKey<RSAKeySize<2048>>>(encodedKey);
}

RSAPrivateKeyPtr<4096> CryptoProvider::createRSA4096PrivateKey(ByteArray const& encodedKey) const {
    return std::make_shared<RSAPrivateKey<RSAKeySize<4096>>>(encodedKey);
}

RSAPrivateKeyPtr<1024> CryptoProvider::createRSA1024PrivateKey(ByteArray const& modulus,
                                                               ByteArray const& privateExponent,
                                                               ByteArray const& publicExponent) const {
    return std::make_shared<RSAPrivateKey<RSAKeySize<1024>>>(modulus, privateExponent, publicExponent);
}

RSAPrivateKeyPtr<2048> CryptoProvider::createRSA2048PrivateKey(ByteArray const& modulus,
                                                               ByteArray const& privateExponent,
                                                               ByteArray const& publicExponent) const {
    return std::make_shared<RSAPrivateKey<RSAKeySize<2048>>>(modulus, privateExponent, publicExponent);
}

RSAPrivateKeyPtr<4096> CryptoProvider::createRSA4096PrivateKey(ByteArray const& modulus,
                                                               ByteArray const& privateExponent,
                                                               ByteArray const& publicExponent) const {
    return std::make_shared<RSAPrivateKey<RSAKeySize<4096>>>(modulus, privateExponent, publicExponent);
}

RSAPrivateKeyPtr<1024> CryptoProvider::createRSA1024PrivateKey(std::istream& encodedKey,
                                                               std::string const& password) const {
    return std::make_shared<RSAPrivateKey<RSAKeySize<1024>>>(encodedKey, password);
}

RSAPrivateKeyPtr<2048> CryptoProvider::createRSA2048PrivateKey(std::istream& encodedKey,
                                                               std::string const& password) const {
    return std::make_shared<RSAPrivateKey<RSAKeySize<2048>>>(encodedKey, password);
}

RSAPrivateKeyPtr<4096> CryptoProvider::createRSA4096PrivateKey(std::istream& encodedKey,
                                                               std::string const& password) const {
    return std::make_shared<RSAPrivateKey<RSAKeySize<4096>>>(encodedKey, password);
}

RSAPublicKeyPtr<1024> CryptoProvider::createRSA1024PublicKey(ByteArray const& encodedKey) const {
    return std::make_shared<RSAPublicKey<RSAKeySize<1024>>>(encodedKey);
}

RSAPublicKeyPtr<2048> CryptoProvider::createRSA2048PublicKey(ByteArray const& encodedKey) const {
    return std::make_shared<RSAPublicKey<RSAKeySize<2048>>>(encodedKey);
}

RSAPublicKeyPtr<4096> CryptoProvider::createRSA4096PublicKey(ByteArray const& encodedKey) const {
    return std::make_shared<RSAPublicKey<RSAKeySize<4096>>>(encodedKey);
}

RSAPublicKeyPtr<1024> CryptoProvider::createRSA1024PublicKey(ByteArray const& modulus,
                                                             ByteArray const& publicExponent) const {
    return std::make_shared<RSAPublicKey<RSAKeySize<1024>>>(modulus, publicExponent);
}

RSAPublicKeyPtr<2048> CryptoProvider::createRSA2048PublicKey(ByteArray const& modulus,
                                                             ByteArray const& publicExponent) const {
    return std::make_shared<RSAPublicKey<RSAKeySize<2048>>>(modulus, publicExponent);
}

RSAPublicKeyPtr<4096> CryptoProvider::createRSA4096PublicKey(ByteArray const& modulus,
                                                             ByteArray const& publicExponent) const {
    return std::make_shared<RSAPublicKey<RSAKeySize<4096>>>(modulus, publicExponent);
}

RSAPublicKeyPtr<1024> CryptoProvider::createRSA1024PublicKey(std::istream& encodedKey) const {
    return std::make_shared<RSAPublicKey<RSAKeySize<1024>>>(encodedKey);
}

RSAPublicKeyPtr<2048> CryptoProvider::createRSA2048PublicKey(std::istream& encodedKey) const {
    return std::make_shared<RSAPublicKey<RSAKeySize<2048>>>(encodedKey);
}

RSAPublicKeyPtr<4096> CryptoProvider::createRSA4096PublicKey(std::istream& encodedKey) const {
    return std::make_shared<RSAPublicKey<RSAKeySize<4096>>>(encodedKey);
}

// RSA encryption

RSAEncryptorPtr CryptoProvider::createRSA1024Encryptor(RSAPublicKeyPtr<1024> key, utils::RSAPaddingMode padding,
                                                       CryptoPRNGPtr prng) const {
    return std::make_shared<RSAEncryptor<RSAKeySize<1024>>>(own(key), padding, own(prng));
}

RSAEncryptorPtr CryptoProvider::createRSA2048Encryptor(RSAPublicKeyPtr<2048> key, utils::RSAPaddingMode padding,
                                                       CryptoPRNGPtr prng) const {
    return std::make_shared<RSAEncryptor<RSAKeySize<2048>>>(own(key), padding, own(prng));
}

RSAEncryptorPtr CryptoProvider::createRSA4096Encryptor(RSAPublicKeyPtr<4096> key, utils::RSAPaddingMode padding,
                                                       CryptoPRNGPtr prng) const {
    return std::make_shared<RSAEncryptor<RSAKeySize<4096>>>(own(key), padding, own(prng));
}

RSADecryptorPtr CryptoProvider::createRSA1024Decryptor(RSAPrivateKeyPtr<1024> key, utils::RSAPaddingMode padding,
                                                       CryptoPRNGPtr prng) const {
    return std::make_shared<RSADecryptor<RSAKeySize<1024>>>(own(key), padding, own(prng));
}

RSADecryptorPtr CryptoProvider::createRSA2048Decryptor(RSAPrivateKeyPtr<2048> key, utils::RSAPaddingMode padding,
                                                       CryptoPRNGPtr prng) const {
    return std::make_shared<RSADecryptor<RSAKeySize<2048>>>(own(key), padding, own(prng));
}

RSADecryptorPtr CryptoProvider::createRSA4096Decryptor(RSAPrivateKeyPtr<4096> key, utils::RSAPaddingMode padding,
                                                       CryptoPRNGPtr prng) const {
    return std::make_shared<RSADecryptor<RSAKeySize<4096>>>(own(key), padding, own(prng));
}

// RSA signatures

RSASignerPtr CryptoProvider::createRSA1024Signer(RSAPrivateKeyPtr<1024> key, utils::RSAPaddingMode padding,
                                                 CryptoPRNGPtr prng) const {
    return std::make_shared<RSASigner<RSAKeySize<1024>>>(own(key), padding, own(prng));
}

RSASignerPtr CryptoProvider::createRSA2048Signer(RSAPrivateKeyPtr<2048> key, utils::RSAPaddingMode padding,
                                                 CryptoPRNGPtr prng) const {
    return std::make_shared<RSASigner<RSAKeySize<2048>>>(own(key), padding, own(prng));
}

RSASignerPtr CryptoProvider::createRSA4096Signer(RSAPrivateKeyPtr<4096> key, utils::RSAPaddingMode padding,
                                                 CryptoPRNGPtr prng) const {
    return std::make_shared<RSASigner<RSAKeySize<4096>>>(own(key), padding, own(prng));
}

RSAVerifierPtr CryptoProvider::createRSA1024Verifier(RSAPublicKeyPtr<1024> key, utils::RSAPaddingMode padding,
                                                     CryptoPRNGPtr prng) const {
    return std::make_shared<RSAVerifier<RSAKeySize<1024>>>(own(key), padding, own(prng));
}

RSAVerifierPtr CryptoProvider::createRSA2048Verifier(RSAPublicKeyPtr<2048> key, utils::RSAPaddingMode padding,
                                                     CryptoPRNGPtr prng) const {
    return std::make_shared<RSAVerifier<RSAKeySize<2048>>>(own(key), padding, own(prng));
}

RSAVerifierPtr CryptoProvider::createRSA4096Verifier(RSAPublicKeyPtr<4096> key, utils::RSAPaddingMode padding,
                                                     CryptoPRNGPtr prng) const {
    return std::make_shared<RSAVerifier<RSAKeySize<4096>>>(own(key), padding, own(prng));
}

// Elliptic-curve keys

ECCKeyPairPtr<EllipticCurve::P256> CryptoProvider::generateECCP256KeyPair() const {
    return std::make_shared<ECCKeyPair<EllipticCurve::P256>>();
}

ECCKeyPairPtr<EllipticCurve::Curve25519> CryptoProvider::generateECCCurve25519KeyPair() const {
    return std::make_shared<ECCKeyPair<EllipticCurve::Curve25519>>();
}

ECCPrivateKeyPtr<EllipticCurve::P256> CryptoProvider::createECCP256PrivateKey(ByteArray const& encodedKey) const {
    return std::make_shared<ECCPrivateKey<EllipticCurve::P256>>(encodedKey, ECCKeyInput::Encoded);
}

ECCPrivateKeyPtr<EllipticCurve::Curve25519>
CryptoProvider::createECCCurve25519PrivateKey(ByteArray const& encodedKey) const {
    return std::make_shared<ECCPrivateKey<EllipticCurve::Curve25519>>(encodedKey, ECCKeyInput::Encoded);
}

ECCPrivateKeyPtr<EllipticCurve::P256>
CryptoProvider::createECCP256PrivateKeyFromInteger(ByteArray const& privateInteger) const {
    return std::make_shared<ECCPrivateKey<EllipticCurve::P256>>(privateInteger, ECCKeyInput::Raw);
}

ECCPrivateKeyPtr<EllipticCurve::Curve25519>
CryptoProvider::createECCCurve25519PrivateKeyFromInteger(ByteArray const& privateInteger) const {
    return std::make_shared<ECCPrivateKey<EllipticCurve::Curve25519>>(privateInteger, ECCKeyInput::Raw);
}

ECCPrivateKeyPtr<EllipticCurve::P256> CryptoProvider::createECCP256PrivateKey(std::istream& encodedKey,
                                                                              std::string const& password) const {
    return std::make_shared<ECCPrivateKey<EllipticCurve::P256>>(encodedKey, password);
}

ECCPrivateKeyPtr<EllipticCurve::Curve25519>
CryptoProvider::createECCCurve25519PrivateKey(std::istream& encodedKey, std::string const& password) const {
    return std::make_shared<ECCPrivateKey<EllipticCurve::Curve25519>>(encodedKey, password);
}

ECCPublicKeyPtr<EllipticCurve::P256> CryptoProvider::createECCP256PublicKey(ByteArray const& encodedKey) const {
    return std::make_shared<ECCPublicKey<EllipticCurve::P256>>(encodedKey, ECCKeyInput::Encoded);
}

ECCPublicKeyPtr<EllipticCurve::Curve25519>
CryptoProvider::createECCCurve25519PublicKey(ByteArray const& encodedKey) const {
    return std::make_shared<ECCPublicKey<EllipticCurve::Curve25519>>(encodedKey, ECCKeyInput::Encoded);
}

ECCPublicKeyPtr<EllipticCurve::P256>
CryptoProvider::createECCP256PublicKeyFromPoint(ByteArray const& publicPoint) const {
    return std::make_shared<ECCPublicKey<EllipticCurve::P256>>(publicPoint, ECCKeyInput::Raw);
}

ECCPublicKeyPtr<EllipticCurve::Curve25519>
CryptoProvider::createECCCurve25519PublicKeyFromPoint(ByteArray const& publicPoint) const {
    return std::make_shared<ECCPublicKey<EllipticCurve::Curve25519>>(publicPoint, ECCKeyInput::Raw);
}

ECCPublicKeyPtr<EllipticCurve::P256> CryptoProvider::createECCP256PublicKey(std::istream& encodedKey) const {
    return std::make_shared<ECCPublicKey<EllipticCurve::P256>>(encodedKey);
}

ECCPublicKeyPtr<EllipticCurve::Curve25519>
CryptoProvider::createECCCurve25519PublicKey(std::istream& encodedKey) const {
    return std::make_shared<ECCPublicKey<EllipticCurve::Curve25519>>(encodedKey);
}

// Elliptic-curve signatures

ECCSignerPtr CryptoProvider::createECCP256Signer(ECCPrivateKeyPtr<EllipticCurve::P256> key) const {
    return std::make_shared<ECCSigner<EllipticCurve::P256>>(own(key));
}

ECCSignerPtr CryptoProvider::createECCCurve25519Signer(ECCPrivateKeyPtr<EllipticCurve::Curve25519> key) const {
    return std::make_shared<ECCSigner<EllipticCurve::Curve25519>>(own(key));
}

ECCVerifierPtr CryptoProvider::createECCP256Verifier(ECCPublicKeyPtr<EllipticCurve::P256> key) const {
    return std::make_shared<ECCVerifier<EllipticCurve::P256>>(own(key));
}

ECCVerifierPtr CryptoProvider::createECCCurve25519Verifier(ECCPublicKeyPtr<EllipticCurve::Curve25519> key) const {
    return std::make_shared<ECCVerifier<EllipticCurve::Curve25519>>(own(key));
}

// AES

AESKeyPtr<128> CryptoProvider::createAES128Key(ByteArray const& keyBytes) const {
    return std::make_shared<AESKey<AESKeySize<128>>>(keyBytes);
}

AESKeyPtr<192> CryptoProvider::createAES192Key(ByteArray const& keyBytes) const {
    return std::make_shared<AESKey<AESKeySize<192>>>(keyBytes);
}

AESKeyPtr<256> CryptoProvider::createAES256Key(ByteArray const& keyBytes) const {
    return std::make_shared<AESKey<AESKeySize<256>>>(keyBytes);
}

AESEncryptorPtr CryptoProvider::createAES128Encryptor(AESKeyPtr<128> key, ByteArray const& initializationVector,
                                                      utils::AESMode mode, utils::AESPaddingMode padding,
                                                      CryptoPRNGPtr prng) const {
    return std::make_shared<AESEncryptor<AESKeySize<128>>>(own(key), initializationVector, mode, padding, own(prng));
}

AESEncryptorPtr CryptoProvider::createAES192Encryptor(AESKeyPtr<192> key, ByteArray const& initializationVector,
                                                      utils::AESMode mode, utils::AESPaddingMode padding,
                                                      CryptoPRNGPtr prng) const {
    return std::make_shared<AESEncryptor<AESKeySize<192>>>(own(key), initializationVector, mode, padding, own(prng));
}

AESEncryptorPtr CryptoProvider::createAES256Encryptor(AESKeyPtr<256> key, ByteArray const& initializationVector,
                                                      utils::AESMode mode, utils::AESPaddingMode padding,
                                                      CryptoPRNGPtr prng) const {
    return std::make_shared<AESEncryptor<AESKeySize<256>>>(own(key), initializationVector, mode, padding, own(prng));
}

AESDecryptorPtr CryptoProvider::createAES128Decryptor(AESKeyPtr<128> key, ByteArray const& initializationVector,
                                                      utils::AESMode mode, utils::AESPaddingMode padding,
                                                      CryptoPRNGPtr prng) const {
    return std::make_shared<AESDecryptor<AESKeySize<128>>>(own(key), initializationVector, mode, padding, own(prng));
}

AESDecryptorPtr CryptoProvider::createAES192Decryptor(AESKeyPtr<192> key, ByteArray const& initializationVector,
                                                      utils::AESMode mode, utils::AESPaddingMode padding,
                                                      CryptoPRNGPtr prng) const {
    return std::make_shared<AESDecryptor<AESKeySize<192>>>(own(key), initializationVector, mode, padding, own(prng));
}

AESDecryptorPtr CryptoProvider::createAES256Decryptor(AESKeyPtr<256> key, ByteArray const& initializationVector,
                                                      utils::AESMode mode, utils::AESPaddingMode padding,
                                                      CryptoPRNGPtr prng) const {
    return std::make_shared<AESDecryptor<AESKeySize<256>>>(own(key), initializationVector, mode, padding, own(prng));
}

// Signatures by a key in a hardware security module

HSMSignerPtr CryptoProvider::createHSMSigner(utils::HSMObject const& hsmObject, utils::RSAPaddingMode padding,
                                             CryptoPRNGPtr prng) const {
    return std::make_shared<HSMSigner>(hsmObject, padding, std::move(prng));
}

// Key derivation

ByteArray CryptoProvider::deriveKeyUsingPBKDF2(std::string const& password, std::string const& salt, int keyLength,
                                               int iterations) const {
    return openssl::deriveKeyUsingPBKDF2(password, salt, keyLength, iterations);
}

// BLAKE2b of a chosen size

DigestEnginePtr CryptoProvider::createBlake2bDigestEngineWithCustomSize(ByteArray const& key, ByteArray const& salt,
                                                                        unsigned long digestSize) const {
    return std::make_shared<Blake2bDigestEngineImpl<utils::Blake2bDigestAlgorithm>>(key, salt, digestSize);
}

// Which RSA size a key has

interfaces::KeySignatureMethod CryptoProvider::getPrivateKeySignatureMethod(std::istream& encodedKey,
                                                                            std::string const& password) const {
    return getKeySignatureMethod(loadRSAPrivateKey(encodedKey, password).get());
}

interfaces::KeySignatureMethod CryptoProvider::getPrivateKeySignatureMethod(ByteArray const& encodedKey,
                                                                            std::string const& password) const {
    return getKeySignatureMethod(loadRSAPrivateKey(encodedKey, password).get());
}

interfaces::KeySignatureMethod CryptoProvider::getPublicKeySignatureMethod(std::istream& encodedKey) const {
    return getKeySignatureMethod(loadRSAPublicKey(encodedKey).get());
}

interfaces::KeySignatureMethod CryptoProvider::getPublicKeySignatureMethod(ByteArray const& encodedKey) const {
    return getKeySignatureMethod(loadRSAPublicKey(encodedKey).get());
}

} // namespace foundation::crypto::openssl
