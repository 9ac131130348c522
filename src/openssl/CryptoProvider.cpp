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
#include "rsa/RSASignature.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <openssl/crypto.h>

#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace foundation::crypto::openssl {

using interfaces::ICryptoPRNG;
using interfaces::IDigestEngine;
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

} // namespace

CryptoProvider::CryptoProvider() {
    OPENSSL_init_crypto(OPENSSL_INIT_ADD_ALL_DIGESTS, nullptr);
    OPENSSL_init_crypto(OPENSSL_INIT_LOAD_CRYPTO_STRINGS, nullptr);
}

CryptoProvider::~CryptoProvider() = default;

// Random bytes

std::shared_ptr<ICryptoPRNG> CryptoProvider::createDefaultCryptoPRNG(ByteArray const& seed) const {
    return std::make_shared<DefaultPRNG>(seed);
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

std::shared_ptr<IDigestEngine> CryptoProvider::createHMACSHA1DigestEngine(ByteArray const& key) const {
    return std::make_shared<HMACDigestEngine<utils::HMACSHA1DigestAlgorithm>>(key);
}

std::shared_ptr<IDigestEngine> CryptoProvider::createHMACSHA256DigestEngine(ByteArray const& key) const {
    return std::make_shared<HMACDigestEngine<utils::HMACSHA256DigestAlgorithm>>(key);
}

std::shared_ptr<IDigestEngine> CryptoProvider::createHMACSHA512DigestEngine(ByteArray const& key) const {
    return std::make_shared<HMACDigestEngine<utils::HMACSHA512DigestAlgorithm>>(key);
}

std::shared_ptr<IDigestEngine> CryptoProvider::createBlake2bDigestEngine(ByteArray const& key,
                                                                         ByteArray const& salt) const {
    using Algorithm = utils::Blake2bDigestAlgorithm;
    return std::make_shared<Blake2bDigestEngineImpl<Algorithm>>(key, salt, Algorithm::getDigestSize());
}

// RSA keys

std::shared_ptr<interfaces::IRSAKeyPair<RSAKeySize<1024>>>
CryptoProvider::generateRSA1024KeyPair(std::shared_ptr<ICryptoPRNG> prng) const {
    return std::make_shared<RSAKeyPair<RSAKeySize<1024>>>(std::move(prng));
}

std::shared_ptr<interfaces::IRSAKeyPair<RSAKeySize<2048>>>
CryptoProvider::generateRSA2048KeyPair(std::shared_ptr<ICryptoPRNG> prng) const {
    return std::make_shared<RSAKeyPair<RSAKeySize<2048>>>(std::move(prng));
}

std::shared_ptr<interfaces::IRSAKeyPair<RSAKeySize<4096>>>
CryptoProvider::generateRSA4096KeyPair(std::shared_ptr<ICryptoPRNG> prng) const {
    return std::make_shared<RSAKeyPair<RSAKeySize<4096>>>(std::move(prng));
}

std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<1024>>>
CryptoProvider::createRSA1024PrivateKey(ByteArray const& encodedKey) const {
    return std::make_shared<RSAPrivateKey<RSAKeySize<1024>>>(encodedKey);
}

std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<2048>>>
CryptoProvider::createRSA2048PrivateKey(ByteArray const& encodedKey) const {
    return std::make_shared<RSAPrivateKey<RSAKeySize<2048>>>(encodedKey);
}

std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<4096>>>
CryptoProvider::createRSA4096PrivateKey(ByteArray const& encodedKey) const {
    return std::make_shared<RSAPrivateKey<RSAKeySize<4096>>>(encodedKey);
}

std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<1024>>>
CryptoProvider::createRSA1024PrivateKey(ByteArray const& modulus, ByteArray const& privateExponent,
                                        ByteArray const& publicExponent) const {
    return std::make_shared<RSAPrivateKey<RSAKeySize<1024>>>(modulus, privateExponent, publicExponent);
}

std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<2048>>>
CryptoProvider::createRSA2048PrivateKey(ByteArray const& modulus, ByteArray const& privateExponent,
                                        ByteArray const& publicExponent) const {
    return std::make_shared<RSAPrivateKey<RSAKeySize<2048>>>(modulus, privateExponent, publicExponent);
}

std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<4096>>>
CryptoProvider::createRSA4096PrivateKey(ByteArray const& modulus, ByteArray const& privateExponent,
                                        ByteArray const& publicExponent) const {
    return std::make_shared<RSAPrivateKey<RSAKeySize<4096>>>(modulus, privateExponent, publicExponent);
}

std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<1024>>>
CryptoProvider::createRSA1024PrivateKey(std::istream& encodedKey, std::string const& password) const {
    return std::make_shared<RSAPrivateKey<RSAKeySize<1024>>>(encodedKey, password);
}

std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<2048>>>
CryptoProvider::createRSA2048PrivateKey(std::istream& encodedKey, std::string const& password) const {
    return std::make_shared<RSAPrivateKey<RSAKeySize<2048>>>(encodedKey, password);
}

std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<4096>>>
CryptoProvider::createRSA4096PrivateKey(std::istream& encodedKey, std::string const& password) const {
    return std::make_shared<RSAPrivateKey<RSAKeySize<4096>>>(encodedKey, password);
}

std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<1024>>>
CryptoProvider::createRSA1024PublicKey(ByteArray const& encodedKey) const {
    return std::make_shared<RSAPublicKey<RSAKeySize<1024>>>(encodedKey);
}

std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<2048>>>
CryptoProvider::createRSA2048PublicKey(ByteArray const& encodedKey) const {
    return std::make_shared<RSAPublicKey<RSAKeySize<2048>>>(encodedKey);
}

std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<4096>>>
CryptoProvider::createRSA4096PublicKey(ByteArray const& encodedKey) const {
    return std::make_shared<RSAPublicKey<RSAKeySize<4096>>>(encodedKey);
}

std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<1024>>>
CryptoProvider::createRSA1024PublicKey(ByteArray const& modulus, ByteArray const& publicExponent) const {
    return std::make_shared<RSAPublicKey<RSAKeySize<1024>>>(modulus, publicExponent);
}

std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<2048>>>
CryptoProvider::createRSA2048PublicKey(ByteArray const& modulus, ByteArray const& publicExponent) const {
    return std::make_shared<RSAPublicKey<RSAKeySize<2048>>>(modulus, publicExponent);
}

std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<4096>>>
CryptoProvider::createRSA4096PublicKey(ByteArray const& modulus, ByteArray const& publicExponent) const {
    return std::make_shared<RSAPublicKey<RSAKeySize<4096>>>(modulus, publicExponent);
}

std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<1024>>>
CryptoProvider::createRSA1024PublicKey(std::istream& encodedKey) const {
    return std::make_shared<RSAPublicKey<RSAKeySize<1024>>>(encodedKey);
}

std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<2048>>>
CryptoProvider::createRSA2048PublicKey(std::istream& encodedKey) const {
    return std::make_shared<RSAPublicKey<RSAKeySize<2048>>>(encodedKey);
}

std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<4096>>>
CryptoProvider::createRSA4096PublicKey(std::istream& encodedKey) const {
    return std::make_shared<RSAPublicKey<RSAKeySize<4096>>>(encodedKey);
}

// RSA encryption

std::shared_ptr<interfaces::IRSAEncryptor>
CryptoProvider::createRSA1024Encryptor(std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<1024>>> key,
                                       utils::RSAPaddingMode padding, std::shared_ptr<ICryptoPRNG> prng) const {
    return std::make_shared<RSAEncryptor<RSAKeySize<1024>>>(narrow<RSAPublicKey<RSAKeySize<1024>>>(key), padding,
                                                            narrow<DefaultPRNG>(prng));
}

std::shared_ptr<interfaces::IRSAEncryptor>
CryptoProvider::createRSA2048Encryptor(std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<2048>>> key,
                                       utils::RSAPaddingMode padding, std::shared_ptr<ICryptoPRNG> prng) const {
    return std::make_shared<RSAEncryptor<RSAKeySize<2048>>>(narrow<RSAPublicKey<RSAKeySize<2048>>>(key), padding,
                                                            narrow<DefaultPRNG>(prng));
}

std::shared_ptr<interfaces::IRSAEncryptor>
CryptoProvider::createRSA4096Encryptor(std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<4096>>> key,
                                       utils::RSAPaddingMode padding, std::shared_ptr<ICryptoPRNG> prng) const {
    return std::make_shared<RSAEncryptor<RSAKeySize<4096>>>(narrow<RSAPublicKey<RSAKeySize<4096>>>(key), padding,
                                                            narrow<DefaultPRNG>(prng));
}

std::shared_ptr<interfaces::IRSADecryptor>
CryptoProvider::createRSA1024Decryptor(std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<1024>>> key,
                                       utils::RSAPaddingMode padding, std::shared_ptr<ICryptoPRNG> prng) const {
    return std::make_shared<RSADecryptor<RSAKeySize<1024>>>(narrow<RSAPrivateKey<RSAKeySize<1024>>>(key), padding,
                                                            narrow<DefaultPRNG>(prng));
}

std::shared_ptr<interfaces::IRSADecryptor>
CryptoProvider::createRSA2048Decryptor(std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<2048>>> key,
                                       utils::RSAPaddingMode padding, std::shared_ptr<ICryptoPRNG> prng) const {
    return std::make_shared<RSADecryptor<RSAKeySize<2048>>>(narrow<RSAPrivateKey<RSAKeySize<2048>>>(key), padding,
                                                            narrow<DefaultPRNG>(prng));
}

std::shared_ptr<interfaces::IRSADecryptor>
CryptoProvider::createRSA4096Decryptor(std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<4096>>> key,
                                       utils::RSAPaddingMode padding, std::shared_ptr<ICryptoPRNG> prng) const {
    return std::make_shared<RSADecryptor<RSAKeySize<4096>>>(narrow<RSAPrivateKey<RSAKeySize<4096>>>(key), padding,
                                                            narrow<DefaultPRNG>(prng));
}

// RSA signatures

std::shared_ptr<interfaces::IRSASigner>
CryptoProvider::createRSA1024Signer(std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<1024>>> key,
                                    utils::RSAPaddingMode padding, std::shared_ptr<ICryptoPRNG> prng) const {
    return std::make_shared<RSASigner<RSAKeySize<1024>>>(narrow<RSAPrivateKey<RSAKeySize<1024>>>(key), padding,
                                                         narrow<DefaultPRNG>(prng));
}

std::shared_ptr<interfaces::IRSASigner>
CryptoProvider::createRSA2048Signer(std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<2048>>> key,
                                    utils::RSAPaddingMode padding, std::shared_ptr<ICryptoPRNG> prng) const {
    return std::make_shared<RSASigner<RSAKeySize<2048>>>(narrow<RSAPrivateKey<RSAKeySize<2048>>>(key), padding,
                                                         narrow<DefaultPRNG>(prng));
}

std::shared_ptr<interfaces::IRSASigner>
CryptoProvider::createRSA4096Signer(std::shared_ptr<interfaces::IRSAPrivateKey<RSAKeySize<4096>>> key,
                                    utils::RSAPaddingMode padding, std::shared_ptr<ICryptoPRNG> prng) const {
    return std::make_shared<RSASigner<RSAKeySize<4096>>>(narrow<RSAPrivateKey<RSAKeySize<4096>>>(key), padding,
                                                         narrow<DefaultPRNG>(prng));
}

std::shared_ptr<interfaces::IRSAVerifier>
CryptoProvider::createRSA1024Verifier(std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<1024>>> key,
                                      utils::RSAPaddingMode padding, std::shared_ptr<ICryptoPRNG> prng) const {
    return std::make_shared<RSAVerifier<RSAKeySize<1024>>>(narrow<RSAPublicKey<RSAKeySize<1024>>>(key), padding,
                                                           narrow<DefaultPRNG>(prng));
}

std::shared_ptr<interfaces::IRSAVerifier>
CryptoProvider::createRSA2048Verifier(std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<2048>>> key,
                                      utils::RSAPaddingMode padding, std::shared_ptr<ICryptoPRNG> prng) const {
    return std::make_shared<RSAVerifier<RSAKeySize<2048>>>(narrow<RSAPublicKey<RSAKeySize<2048>>>(key), padding,
                                                           narrow<DefaultPRNG>(prng));
}

std::shared_ptr<interfaces::IRSAVerifier>
CryptoProvider::createRSA4096Verifier(std::shared_ptr<interfaces::IRSAPublicKey<RSAKeySize<4096>>> key,
                                      utils::RSAPaddingMode padding, std::shared_ptr<ICryptoPRNG> prng) const {
    return std::make_shared<RSAVerifier<RSAKeySize<4096>>>(narrow<RSAPublicKey<RSAKeySize<4096>>>(key), padding,
                                                           narrow<DefaultPRNG>(prng));
}

// Elliptic-curve keys

std::shared_ptr<interfaces::IECCKeyPair<EllipticCurve::P256>> CryptoProvider::generateECCP256KeyPair() const {
    return std::make_shared<ECCKeyPair<EllipticCurve::P256>>();
}

std::shared_ptr<interfaces::IECCKeyPair<EllipticCurve::Curve25519>>
CryptoProvider::generateECCCurve25519KeyPair() const {
    return std::make_shared<ECCKeyPair<EllipticCurve::Curve25519>>();
}

std::shared_ptr<interfaces::IECCPrivateKey<EllipticCurve::P256>>
CryptoProvider::createECCP256PrivateKey(ByteArray const& encodedKey) const {
    return std::make_shared<ECCPrivateKey<EllipticCurve::P256>>(encodedKey, ECCKeyInput::Encoded);
}

std::shared_ptr<interfaces::IECCPrivateKey<EllipticCurve::Curve25519>>
CryptoProvider::createECCCurve25519PrivateKey(ByteArray const& encodedKey) const {
    return std::make_shared<ECCPrivateKey<EllipticCurve::Curve25519>>(encodedKey, ECCKeyInput::Encoded);
}

std::shared_ptr<interfaces::IECCPrivateKey<EllipticCurve::P256>>
CryptoProvider::createECCP256PrivateKeyFromInteger(ByteArray const& privateInteger) const {
    return std::make_shared<ECCPrivateKey<EllipticCurve::P256>>(privateInteger, ECCKeyInput::Raw);
}

std::shared_ptr<interfaces::IECCPrivateKey<EllipticCurve::Curve25519>>
CryptoProvider::createECCCurve25519PrivateKeyFromInteger(ByteArray const& privateInteger) const {
    return std::make_shared<ECCPrivateKey<EllipticCurve::Curve25519>>(privateInteger, ECCKeyInput::Raw);
}

std::shared_ptr<interfaces::IECCPrivateKey<EllipticCurve::P256>>
CryptoProvider::createECCP256PrivateKey(std::istream& encodedKey, std::string const& password) const {
    return std::make_shared<ECCPrivateKey<EllipticCurve::P256>>(encodedKey, password);
}

std::shared_ptr<interfaces::IECCPrivateKey<EllipticCurve::Curve25519>>
CryptoProvider::createECCCurve25519PrivateKey(std::istream& encodedKey, std::string const& password) const {
    return std::make_shared<ECCPrivateKey<EllipticCurve::Curve25519>>(encodedKey, password);
}

std::shared_ptr<interfaces::IECCPublicKey<EllipticCurve::P256>>
CryptoProvider::createECCP256PublicKey(ByteArray const& encodedKey) const {
    return std::make_shared<ECCPublicKey<EllipticCurve::P256>>(encodedKey, ECCKeyInput::Encoded);
}

std::shared_ptr<interfaces::IECCPublicKey<EllipticCurve::Curve25519>>
CryptoProvider::createECCCurve25519PublicKey(ByteArray const& encodedKey) const {
    return std::make_shared<ECCPublicKey<EllipticCurve::Curve25519>>(encodedKey, ECCKeyInput::Encoded);
}

std::shared_ptr<interfaces::IECCPublicKey<EllipticCurve::P256>>
CryptoProvider::createECCP256PublicKeyFromPoint(ByteArray const& publicPoint) const {
    return std::make_shared<ECCPublicKey<EllipticCurve::P256>>(publicPoint, ECCKeyInput::Raw);
}

std::shared_ptr<interfaces::IECCPublicKey<EllipticCurve::Curve25519>>
CryptoProvider::createECCCurve25519PublicKeyFromPoint(ByteArray const& publicPoint) const {
    return std::make_shared<ECCPublicKey<EllipticCurve::Curve25519>>(publicPoint, ECCKeyInput::Raw);
}

std::shared_ptr<interfaces::IECCPublicKey<EllipticCurve::P256>>
CryptoProvider::createECCP256PublicKey(std::istream& encodedKey) const {
    return std::make_shared<ECCPublicKey<EllipticCurve::P256>>(encodedKey);
}

std::shared_ptr<interfaces::IECCPublicKey<EllipticCurve::Curve25519>>
CryptoProvider::createECCCurve25519PublicKey(std::istream& encodedKey) const {
    return std::make_shared<ECCPublicKey<EllipticCurve::Curve25519>>(encodedKey);
}

// Elliptic-curve signatures

std::shared_ptr<interfaces::IECCSigner>
CryptoProvider::createECCP256Signer(std::shared_ptr<interfaces::IECCPrivateKey<EllipticCurve::P256>> key) const {
    return std::make_shared<ECCSigner<EllipticCurve::P256>>(narrow<ECCPrivateKey<EllipticCurve::P256>>(key));
}

std::shared_ptr<interfaces::IECCSigner> CryptoProvider::createECCCurve25519Signer(
    std::shared_ptr<interfaces::IECCPrivateKey<EllipticCurve::Curve25519>> key) const {
    return std::make_shared<ECCSigner<EllipticCurve::Curve25519>>(
        narrow<ECCPrivateKey<EllipticCurve::Curve25519>>(key));
}

std::shared_ptr<interfaces::IECCVerifier>
CryptoProvider::createECCP256Verifier(std::shared_ptr<interfaces::IECCPublicKey<EllipticCurve::P256>> key) const {
    return std::make_shared<ECCVerifier<EllipticCurve::P256>>(narrow<ECCPublicKey<EllipticCurve::P256>>(key));
}

std::shared_ptr<interfaces::IECCVerifier> CryptoProvider::createECCCurve25519Verifier(
    std::shared_ptr<interfaces::IECCPublicKey<EllipticCurve::Curve25519>> key) const {
    return std::make_shared<ECCVerifier<EllipticCurve::Curve25519>>(
        narrow<ECCPublicKey<EllipticCurve::Curve25519>>(key));
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

std::shared_ptr<interfaces::IHSMSigner> CryptoProvider::createHSMSigner(utils::HSMObject const& hsmObject,
                                                                        utils::RSAPaddingMode padding,
                                                                        std::shared_ptr<ICryptoPRNG> prng) const {
    return std::make_shared<HSMSigner>(hsmObject, padding, std::move(prng));
}

// Key derivation

ByteArray CryptoProvider::deriveKeyUsingPBKDF2(std::string const& password, std::string const& salt, int keyLength,
                                               int iterations) const {
    return openssl::deriveKeyUsingPBKDF2(password, salt, keyLength, iterations);
}

// BLAKE2b of a chosen size

std::shared_ptr<IDigestEngine> CryptoProvider::createBlake2bDigestEngineWithCustomSize(ByteArray const& key,
                                                                                       ByteArray const& salt,
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
