#include <foundation/crypto/openssl/CryptoProvider.h>

#include "AESKey.h"
#include "AESTransform.h"
#include "CryptoPRNG.h"
#include "DigestEngine.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <openssl/crypto.h>

#include <memory>
#include <string>

namespace foundation::crypto::openssl {

using interfaces::ICryptoPRNG;
using interfaces::IDigestEngine;
using utils::AESKeySize;
using utils::EllipticCurve;
using utils::RSAKeySize;

namespace {

using DefaultPRNG = CryptoPRNG<utils::DefaultPRNGAlgorithm>;

[[noreturn]] void notOffered(char const* operation) {
    throw utils::NotImplemented(std::string(operation) + " is not offered by this version.");
}

/// The library's own class behind an interface; empty for a null or a foreign object.
template <class Own, class Interface> std::shared_ptr<Own> narrow(std::shared_ptr<Interface> const& given) {
    return std::dynamic_pointer_cast<Own>(given);
}

} // namespace

CryptoProvider::CryptoProvider() {
    OPENSSL_init_crypto(OPENSSL_INIT_ADD_ALL_DIGESTS, nullptr);
    OPENSSL_init_crypto(OPENSSL_INIT_LOAD_CRYPTO_STRINGS, nullptr);
}

CryptoProvider::~CryptoProvider() = default;

// Random bytes

std::shared_ptr<ICryptoPRNG> CryptoProvider::createDefaultCryptoPRNG(ByteArray const& seed) const {
    return std::make_shared<CryptoPRNG<utils::DefaultPRNGAlgorithm>>(seed);
}

// Digests

std::shared_ptr<IDigestEngine> CryptoProvider::createMD5DigestEngine() const {
    return std::make_shared<DigestEngine<utils::MD5DigestAlgorithm>>();
}

std::shared_ptr<IDigestEngine> CryptoProvider::createSHA1DigestEngine() const {
    return std::make_shared<DigestEngine<utils::SHA1DigestAlgorithm>>();
}

std::shared_ptr<IDigestEngine> CryptoProvider::createSHA224DigestEngine() const {
    return std::make_shared<DigestEngine<utils::SHA224DigestAlgorithm>>();
}

std::shared_ptr<IDigestEngine> CryptoProvider::createSHA256DigestEngine() const {
    return std::make_shared<DigestEngine<utils::SHA256DigestAlgorithm>>();
}

std::shared_ptr<IDigestEngine> CryptoProvider::createSHA384DigestEngine() const {
    return std::make_shared<DigestEngine<utils::SHA384DigestAlgorithm>>();
}

std::shared_ptr<IDigestEngine> CryptoProvider::createSHA512DigestEngine() const {
    return std::make_shared<DigestEngine<utils::SHA512DigestAlgorithm>>();
}

// HMAC and BLAKE2b

std::shared_ptr<IDigestEngine> CryptoProvider::createHMACSHA1DigestEngine(ByteArray const& /*key*/) const {
    notOffered("createHMACSHA1DigestEngine");
}

std::shared_ptr<IDigestEngine> CryptoProvider::createHMACSHA256DigestEngine(ByteArray const& /*key*/) const {
    notOffered("createHMACSHA256DigestEngine");
}

std::shared_ptr<IDigestEngine> CryptoProvider::createHMACSHA512DigestEngine(ByteArray const& /*key*/) const {
    notOffered("createHMACSHA512DigestEngine");
}

std::shared_ptr<IDigestEngine> CryptoProvider::createBlake2bDigestEngine(ByteArray const& /*key*/,
                                                                         ByteArray const& /*salt*/) const {
    notOffered("createBlake2bDigestEngine");
}

// RSA keys

std::shared_ptr<interfaces::IRSAKeyPair<RSAKeySize<1024>>>
CryptoProvider::generateRSA1024KeyPair(std::shared_ptr<ICryptoPRNG> /*prng*/) const {
    notOffered("generateRSA1024KeyPair");
}

std::shared_ptr<interfaces::IRSAKeyPair<RSAKeySize<2048>>>
CryptoProvider::generateRSA2048KeyPair(std::shared_ptr<ICryptoPRNG> /*prng*/) const {
    notOffered("generateRSA2048KeyPair");
}

std::shared_ptr<interfaces::IRSAKeyPair<RSAKeySize<4096>>>
CryptoProvider::generateRSA4096KeyPair(std::shared_ptr<ICryptoPRNG> /*prng*/) const {
    notOffered("generateRSA4096KeyPair");
}

std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<1024>>>
CryptoProvider::createRSA1024PrivateKey(ByteArray const& /*encodedKey*/) const {
    notOffered("createRSA1024PrivateKey");
}

std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<2048>>>
CryptoProvider::createRSA2048PrivateKey(ByteArray const& /*encodedKey*/) const {
    notOffered("createRSA2048PrivateKey");
}

std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<4096>>>
CryptoProvider::createRSA4096PrivateKey(ByteArray const& /*encodedKey*/) const {
    notOffered("createRSA4096PrivateKey");
}

std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<1024>>>
CryptoProvider::createRSA1024PrivateKey(ByteArray const& /*modulus*/, ByteArray const& /*privateExponent*/,
                                        ByteArray const& /*publicExponent*/) const {
    notOffered("createRSA1024PrivateKey");
}

std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<2048>>>
CryptoProvider::createRSA2048PrivateKey(ByteArray const& /*modulus*/, ByteArray const& /*privateExponent*/,
                                        ByteArray const& /*publicExponent*/) const {
    notOffered("createRSA2048PrivateKey");
}

std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<4096>>>
CryptoProvider::createRSA4096PrivateKey(ByteArray const& /*modulus*/, ByteArray const& /*privateExponent*/,
                                        ByteArray const& /*publicExponent*/) const {
    notOffered("createRSA4096PrivateKey");
}

std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<1024>>>
CryptoProvider::createRSA1024PrivateKey(std::istream& /*encodedKey*/, std::string const& /*password*/) const {
    notOffered("createRSA1024PrivateKey");
}

std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<2048>>>
CryptoProvider::createRSA2048PrivateKey(std::istream& /*encodedKey*/, std::string const& /*password*/) const {
    notOffered("createRSA2048PrivateKey");
}

std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<4096>>>
CryptoProvider::createRSA4096PrivateKey(std::istream& /*encodedKey*/, std::string const& /*password*/) const {
    notOffered("createRSA4096PrivateKey");
}

std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<1024>>>
CryptoProvider::createRSA1024PublicKey(ByteArray const& /*encodedKey*/) const {
    notOffered("createRSA1024PublicKey");
}

std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<2048>>>
CryptoProvider::createRSA2048PublicKey(ByteArray const& /*encodedKey*/) const {
    notOffered("createRSA2048PublicKey");
}

std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<4096>>>
CryptoProvider::createRSA4096PublicKey(ByteArray const& /*encodedKey*/) const {
    notOffered("createRSA4096PublicKey");
}

std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<1024>>>
CryptoProvider::createRSA1024PublicKey(ByteArray const& /*modulus*/, ByteArray const& /*publicExponent*/) const {
    notOffered("createRSA1024PublicKey");
}

std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<2048>>>
CryptoProvider::createRSA2048PublicKey(ByteArray const& /*modulus*/, ByteArray const& /*publicExponent*/) const {
    notOffered("createRSA2048PublicKey");
}

std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<4096>>>
CryptoProvider::createRSA4096PublicKey(ByteArray const& /*modulus*/, ByteArray const& /*publicExponent*/) const {
    notOffered("createRSA4096PublicKey");
}

std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<1024>>>
CryptoProvider::createRSA1024PublicKey(std::istream& /*encodedKey*/) const {
    notOffered("createRSA1024PublicKey");
}

std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<2048>>>
CryptoProvider::createRSA2048PublicKey(std::istream& /*encodedKey*/) const {
    notOffered("createRSA2048PublicKey");
}

std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<4096>>>
CryptoProvider::createRSA4096PublicKey(std::istream& /*encodedKey*/) const {
    notOffered("createRSA4096PublicKey");
}

// RSA encryption

std::shared_ptr<interfaces::IRSAEncryptor>
CryptoProvider::createRSA1024Encryptor(std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<1024>>> /*publicKey*/,
                                       utils::RSAPaddingMode /*padding*/, std::shared_ptr<ICryptoPRNG> /*prng*/) const {
    notOffered("createRSA1024Encryptor");
}

std::shared_ptr<interfaces::IRSAEncryptor>
CryptoProvider::createRSA2048Encryptor(std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<2048>>> /*publicKey*/,
                                       utils::RSAPaddingMode /*padding*/, std::shared_ptr<ICryptoPRNG> /*prng*/) const {
    notOffered("createRSA2048Encryptor");
}

std::shared_ptr<interfaces::IRSAEncryptor>
CryptoProvider::createRSA4096Encryptor(std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<4096>>> /*publicKey*/,
                                       utils::RSAPaddingMode /*padding*/, std::shared_ptr<ICryptoPRNG> /*prng*/) const {
    notOffered("createRSA4096Encryptor");
}

std::shared_ptr<interfaces::IRSADecryptor>
CryptoProvider::createRSA1024Decryptor(std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<1024>>> /*privateKey*/,
                                       utils::RSAPaddingMode /*padding*/, std::shared_ptr<ICryptoPRNG> /*prng*/) const {
    notOffered("createRSA1024Decryptor");
}

std::shared_ptr<interfaces::IRSADecryptor>
CryptoProvider::createRSA2048Decryptor(std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<2048>>> /*privateKey*/,
                                       utils::RSAPaddingMode /*padding*/, std::shared_ptr<ICryptoPRNG> /*prng*/) const {
    notOffered("createRSA2048Decryptor");
}

std::shared_ptr<interfaces::IRSADecryptor>
CryptoProvider::createRSA4096Decryptor(std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<4096>>> /*privateKey*/,
                                       utils::RSAPaddingMode /*padding*/, std::shared_ptr<ICryptoPRNG> /*prng*/) const {
    notOffered("createRSA4096Decryptor");
}

// RSA signatures

std::shared_ptr<interfaces::IRSASigner>
CryptoProvider::createRSA1024Signer(std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<1024>>> /*privateKey*/,
                                    utils::RSAPaddingMode /*padding*/, std::shared_ptr<ICryptoPRNG> /*prng*/) const {
    notOffered("createRSA1024Signer");
}

std::shared_ptr<interfaces::IRSASigner>
CryptoProvider::createRSA2048Signer(std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<2048>>> /*privateKey*/,
                                    utils::RSAPaddingMode /*padding*/, std::shared_ptr<ICryptoPRNG> /*prng*/) const {
    notOffered("createRSA2048Signer");
}

std::shared_ptr<interfaces::IRSASigner>
CryptoProvider::createRSA4096Signer(std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<4096>>> /*privateKey*/,
                                    utils::RSAPaddingMode /*padding*/, std::shared_ptr<ICryptoPRNG> /*prng*/) const {
    notOffered("createRSA4096Signer");
}

std::shared_ptr<interfaces::IRSAVerifier>
CryptoProvider::createRSA1024Verifier(std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<1024>>> /*publicKey*/,
                                      utils::RSAPaddingMode /*padding*/, std::shared_ptr<ICryptoPRNG> /*prng*/) const {
    notOffered("createRSA1024Verifier");
}

std::shared_ptr<interfaces::IRSAVerifier>
CryptoProvider::createRSA2048Verifier(std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<2048>>> /*publicKey*/,
                                      utils::RSAPaddingMode /*padding*/, std::shared_ptr<ICryptoPRNG> /*prng*/) const {
    notOffered("createRSA2048Verifier");
}

std::shared_ptr<interfaces::IRSAVerifier>
CryptoProvider::createRSA4096Verifier(std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<4096>>> /*publicKey*/,
                                      utils::RSAPaddingMode /*padding*/, std::shared_ptr<ICryptoPRNG> /*prng*/) const {
    notOffered("createRSA4096Verifier");
}

// Elliptic-curve keys

std::shared_ptr<interfaces::IECCKeyPair<EllipticCurve::P256>> CryptoProvider::generateECCP256KeyPair() const {
    notOffered("generateECCP256KeyPair");
}

std::shared_ptr<interfaces::IECCKeyPair<EllipticCurve::Curve25519>>
CryptoProvider::generateECCCurve25519KeyPair() const {
    notOffered("generateECCCurve25519KeyPair");
}

std::shared_ptr<interfaces::IECCPrivateKey<EllipticCurve::P256>>
CryptoProvider::createECCP256PrivateKey(ByteArray const& /*encodedKey*/) const {
    notOffered("createECCP256PrivateKey");
}

std::shared_ptr<interfaces::IECCPrivateKey<EllipticCurve::Curve25519>>
CryptoProvider::createECCCurve25519PrivateKey(ByteArray const& /*encodedKey*/) const {
    notOffered("createECCCurve25519PrivateKey");
}

std::shared_ptr<interfaces::IECCPrivateKey<EllipticCurve::P256>>
CryptoProvider::createECCP256PrivateKeyFromInteger(ByteArray const& /*privateInteger*/) const {
    notOffered("createECCP256PrivateKeyFromInteger");
}

std::shared_ptr<interfaces::IECCPrivateKey<EllipticCurve::Curve25519>>
CryptoProvider::createECCCurve25519PrivateKeyFromInteger(ByteArray const& /*privateInteger*/) const {
    notOffered("createECCCurve25519PrivateKeyFromInteger");
}

std::shared_ptr<interfaces::IECCPrivateKey<EllipticCurve::P256>>
CryptoProvider::createECCP256PrivateKey(std::istream& /*encodedKey*/, std::string const& /*password*/) const {
    notOffered("createECCP256PrivateKey");
}

std::shared_ptr<interfaces::IECCPrivateKey<EllipticCurve::Curve25519>>
CryptoProvider::createECCCurve25519PrivateKey(std::istream& /*encodedKey*/, std::string const& /*password*/) const {
    notOffered("createECCCurve25519PrivateKey");
}

std::shared_ptr<interfaces::IECCPublicKey<EllipticCurve::P256>>
CryptoProvider::createECCP256PublicKey(ByteArray const& /*encodedKey*/) const {
    notOffered("createECCP256PublicKey");
}

std::shared_ptr<interfaces::IECCPublicKey<EllipticCurve::Curve25519>>
CryptoProvider::createECCCurve25519PublicKey(ByteArray const& /*encodedKey*/) const {
    notOffered("createECCCurve25519PublicKey");
}

std::shared_ptr<interfaces::IECCPublicKey<EllipticCurve::P256>>
CryptoProvider::createECCP256PublicKeyFromPoint(ByteArray const& /*publicPoint*/) const {
    notOffered("createECCP256PublicKeyFromPoint");
}

std::shared_ptr<interfaces::IECCPublicKey<EllipticCurve::Curve25519>>
CryptoProvider::createECCCurve25519PublicKeyFromPoint(ByteArray const& /*publicPoint*/) const {
    notOffered("createECCCurve25519PublicKeyFromPoint");
}

std::shared_ptr<interfaces::IECCPublicKey<EllipticCurve::P256>>
CryptoProvider::createECCP256PublicKey(std::istream& /*encodedKey*/) const {
    notOffered("createECCP256PublicKey");
}

std::shared_ptr<interfaces::IECCPublicKey<EllipticCurve::Curve25519>>
CryptoProvider::createECCCurve25519PublicKey(std::istream& /*encodedKey*/) const {
    notOffered("createECCCurve25519PublicKey");
}

// Elliptic-curve signatures

std::shared_ptr<interfaces::IECCSigner> CryptoProvider::createECCP256Signer(
    std::shared_ptr<interfaces::IECCPrivateKey<EllipticCurve::P256>> /*privateKey*/) const {
    notOffered("createECCP256Signer");
}

std::shared_ptr<interfaces::IECCSigner> CryptoProvider::createECCCurve25519Signer(
    std::shared_ptr<interfaces::IECCPrivateKey<EllipticCurve::Curve25519>> /*privateKey*/) const {
    notOffered("createECCCurve25519Signer");
}

std::shared_ptr<interfaces::IECCVerifier> CryptoProvider::createECCP256Verifier(
    std::shared_ptr<interfaces::IECCPublicKey<EllipticCurve::P256>> /*publicKey*/) const {
    notOffered("createECCP256Verifier");
}

std::shared_ptr<interfaces::IECCVerifier> CryptoProvider::createECCCurve25519Verifier(
    std::shared_ptr<interfaces::IECCPublicKey<EllipticCurve::Curve25519>> /*publicKey*/) const {
    notOffered("createECCCurve25519Verifier");
}

// AES

std::shared_ptr<interfaces::IAESKey<AESKeySize<128>>> CryptoProvider::createAES128Key(ByteArray const& keyBytes) const {
    return std::make_shared<AESKey<AESKeySize<128>>>(keyBytes);
}

std::shared_ptr<interfaces::IAESKey<AESKeySize<192>>> CryptoProvider::createAES192Key(ByteArray const& keyBytes) const {
    return std::make_shared<AESKey<AESKeySize<192>>>(keyBytes);
}

std::shared_ptr<interfaces::IAESKey<AESKeySize<256>>> CryptoProvider::createAES256Key(ByteArray const& keyBytes) const {
    return std::make_shared<AESKey<AESKeySize<256>>>(keyBytes);
}

std::shared_ptr<interfaces::IAESEncryptor>
CryptoProvider::createAES128Encryptor(std::shared_ptr<interfaces::IAESKey<AESKeySize<128>>> key,
                                      ByteArray const& initializationVector, utils::AESMode mode,
                                      utils::AESPaddingMode padding, std::shared_ptr<ICryptoPRNG> prng) const {
    return std::make_shared<AESEncryptor<AESKeySize<128>>>(narrow<AESKey<AESKeySize<128>>>(key), initializationVector,
                                                           mode, padding, narrow<DefaultPRNG>(prng));
}

std::shared_ptr<interfaces::IAESEncryptor>
CryptoProvider::createAES192Encryptor(std::shared_ptr<interfaces::IAESKey<AESKeySize<192>>> key,
                                      ByteArray const& initializationVector, utils::AESMode mode,
                                      utils::AESPaddingMode padding, std::shared_ptr<ICryptoPRNG> prng) const {
    return std::make_shared<AESEncryptor<AESKeySize<192>>>(narrow<AESKey<AESKeySize<192>>>(key), initializationVector,
                                                           mode, padding, narrow<DefaultPRNG>(prng));
}

std::shared_ptr<interfaces::IAESEncryptor>
CryptoProvider::createAES256Encryptor(std::shared_ptr<interfaces::IAESKey<AESKeySize<256>>> key,
                                      ByteArray const& initializationVector, utils::AESMode mode,
                                      utils::AESPaddingMode padding, std::shared_ptr<ICryptoPRNG> prng) const {
    return std::make_shared<AESEncryptor<AESKeySize<256>>>(narrow<AESKey<AESKeySize<256>>>(key), initializationVector,
                                                           mode, padding, narrow<DefaultPRNG>(prng));
}

std::shared_ptr<interfaces::IAESDecryptor>
CryptoProvider::createAES128Decryptor(std::shared_ptr<interfaces::IAESKey<AESKeySize<128>>> key,
                                      ByteArray const& initializationVector, utils::AESMode mode,
                                      utils::AESPaddingMode padding, std::shared_ptr<ICryptoPRNG> prng) const {
    return std::make_shared<AESDecryptor<AESKeySize<128>>>(narrow<AESKey<AESKeySize<128>>>(key), initializationVector,
                                                           mode, padding, narrow<DefaultPRNG>(prng));
}

std::shared_ptr<interfaces::IAESDecryptor>
CryptoProvider::createAES192Decryptor(std::shared_ptr<interfaces::IAESKey<AESKeySize<192>>> key,
                                      ByteArray const& initializationVector, utils::AESMode mode,
                                      utils::AESPaddingMode padding, std::shared_ptr<ICryptoPRNG> prng) const {
    return std::make_shared<AESDecryptor<AESKeySize<192>>>(narrow<AESKey<AESKeySize<192>>>(key), initializationVector,
                                                           mode, padding, narrow<DefaultPRNG>(prng));
}

std::shared_ptr<interfaces::IAESDecryptor>
CryptoProvider::createAES256Decryptor(std::shared_ptr<interfaces::IAESKey<AESKeySize<256>>> key,
                                      ByteArray const& initializationVector, utils::AESMode mode,
                                      utils::AESPaddingMode padding, std::shared_ptr<ICryptoPRNG> prng) const {
    return std::make_shared<AESDecryptor<AESKeySize<256>>>(narrow<AESKey<AESKeySize<256>>>(key), initializationVector,
                                                           mode, padding, narrow<DefaultPRNG>(prng));
}

// Signatures by a key in a hardware security module

std::shared_ptr<interfaces::IHSMSigner> CryptoProvider::createHSMSigner(utils::HSMObject const& /*hsmObject*/,
                                                                        utils::RSAPaddingMode /*padding*/,
                                                                        std::shared_ptr<ICryptoPRNG> /*prng*/) const {
    notOffered("createHSMSigner");
}

// Key derivation

ByteArray CryptoProvider::deriveKeyUsingPBKDF2(std::string const& /*password*/, std::string const& /*salt*/,
                                               int /*keyLength*/, int /*iterations*/) const {
    notOffered("deriveKeyUsingPBKDF2");
}

// BLAKE2b of a chosen size

std::shared_ptr<IDigestEngine>
CryptoProvider::createBlake2bDigestEngineWithCustomSize(ByteArray const& /*key*/, ByteArray const& /*salt*/,
                                                        unsigned long /*digestSize*/) const {
    notOffered("createBlake2bDigestEngineWithCustomSize");
}

// Which RSA size a key has

interfaces::KeySignatureMethod CryptoProvider::getPrivateKeySignatureMethod(std::istream& /*encodedKey*/,
                                                                            std::string const& /*password*/) const {
    notOffered("getPrivateKeySignatureMethod");
}

interfaces::KeySignatureMethod CryptoProvider::getPrivateKeySignatureMethod(ByteArray const& /*encodedKey*/,
                                                                            std::string const& /*password*/) const {
    notOffered("getPrivateKeySignatureMethod");
}

interfaces::KeySignatureMethod CryptoProvider::getPublicKeySignatureMethod(std::istream& /*encodedKey*/) const {
    notOffered("getPublicKeySignatureMethod");
}

interfaces::KeySignatureMethod CryptoProvider::getPublicKeySignatureMethod(ByteArray const& /*encodedKey*/) const {
    notOffered("getPublicKeySignatureMethod");
}

} // namespace foundation::crypto::openssl
