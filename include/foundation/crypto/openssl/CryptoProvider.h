#ifndef FOUNDATION_CRYPTO_OPENSSL_CRYPTOPROVIDER_H
#define FOUNDATION_CRYPTO_OPENSSL_CRYPTOPROVIDER_H

#include "foundation/crypto/interfaces/ICryptoProvider.h"
#include "foundation/crypto/utils/DefaultPRNGAlgorithm.h"
#include "foundation/crypto/utils/DigestAlgorithms.h"
#include "foundation/crypto/utils/SignatureVerificationStatus.h"
#include "foundation/crypto/utils/Visibility.h"

namespace foundation::crypto::openssl {

/// The provider over OpenSSL 3 libcrypto: where a host begins, with this header alone. The operations are described at
/// `interfaces::ICryptoProvider`.
///
/// Constructing one lets libcrypto register its digests and error texts, once per process however many providers are
/// made, and from any thread; it does not fail. A provider holds nothing: it may be made and destroyed at any time,
/// shared between threads and copied, and what it made outlives it.
class ZRFL_EXPORT CryptoProvider : public interfaces::ICryptoProvider {
public:
    CryptoProvider();
    CryptoProvider(CryptoProvider const&) = default;
    CryptoProvider& operator=(CryptoProvider const&) = default;
    ~CryptoProvider() override;

    // Random bytes (NIST SP 800-90A)
    std::shared_ptr<interfaces::ICryptoPRNG> createDefaultCryptoPRNG(ByteArray const& seed) const override;

    // Message digests (FIPS 180-4, RFC 1321), HMAC (RFC 2104) and BLAKE2b (RFC 7693)
    std::shared_ptr<interfaces::IDigestEngine> createMD5DigestEngine() const override;
    std::shared_ptr<interfaces::IDigestEngine> createSHA1DigestEngine() const override;
    std::shared_ptr<interfaces::IDigestEngine> createSHA224DigestEngine() const override;
    std::shared_ptr<interfaces::IDigestEngine> createSHA256DigestEngine() const override;
    std::shared_ptr<interfaces::IDigestEngine> createSHA384DigestEngine() const override;
    std::shared_ptr<interfaces::IDigestEngine> createSHA512DigestEngine() const override;
    std::shared_ptr<interfaces::IDigestEngine> createHMACSHA1DigestEngine(ByteArray const& key) const override;
    std::shared_ptr<interfaces::IDigestEngine> createHMACSHA256DigestEngine(ByteArray const& key) const override;
    std::shared_ptr<interfaces::IDigestEngine> createHMACSHA512DigestEngine(ByteArray const& key) const override;
    std::shared_ptr<interfaces::IDigestEngine> createBlake2bDigestEngine(ByteArray const& key,
                                                                         ByteArray const& salt) const override;

    // RSA keys (RFC 8017) of 1024, 2048 and 4096 bits. RSA-1024 is offered for old data only
    std::shared_ptr<interfaces::IRSAKeyPair<utils::RSAKeySize<1024>>>
    generateRSA1024KeyPair(std::shared_ptr<interfaces::ICryptoPRNG> prng) const override;
    std::shared_ptr<interfaces::IRSAKeyPair<utils::RSAKeySize<2048>>>
    generateRSA2048KeyPair(std::shared_ptr<interfaces::ICryptoPRNG> prng) const override;
    std::shared_ptr<interfaces::IRSAKeyPair<utils::RSAKeySize<4096>>>
    generateRSA4096KeyPair(std::shared_ptr<interfaces::ICryptoPRNG> prng) const override;
    std::shared_ptr<interfaces::IRSAPrivateKey<utils::RSAKeySize<1024>>>
    createRSA1024PrivateKey(ByteArray const& encodedKey) const override;
    std::shared_ptr<interfaces::IRSAPrivateKey<utils::RSAKeySize<2048>>>
    createRSA2048PrivateKey(ByteArray const& encodedKey) const override;
    std::shared_ptr<interfaces::IRSAPrivateKey<utils::RSAKeySize<4096>>>
    createRSA4096PrivateKey(ByteArray const& encodedKey) const override;
    std::shared_ptr<interfaces::IRSAPrivateKey<utils::RSAKeySize<1024>>>
    createRSA1024PrivateKey(ByteArray const& modulus, ByteArray const& privateExponent,
                            ByteArray const& publicExponent) const override;
    std::shared_ptr<interfaces::IRSAPrivateKey<utils::RSAKeySize<2048>>>
    createRSA2048PrivateKey(ByteArray const& modulus, ByteArray const& privateExponent,
                            ByteArray const& publicExponent) const override;
    std::shared_ptr<interfaces::IRSAPrivateKey<utils::RSAKeySize<4096>>>
    createRSA4096PrivateKey(ByteArray const& modulus, ByteArray const& privateExponent,
                            ByteArray const& publicExponent) const override;
    std::shared_ptr<interfaces::IRSAPrivateKey<utils::RSAKeySize<1024>>>
    createRSA1024PrivateKey(std::istream& encodedKey, std::string const& password) const override;
    std::shared_ptr<interfaces::IRSAPrivateKey<utils::RSAKeySize<2048>>>
    createRSA2048PrivateKey(std::istream& encodedKey, std::string const& password) const override;
    std::shared_ptr<interfaces::IRSAPrivateKey<utils::RSAKeySize<4096>>>
    createRSA4096PrivateKey(std::istream& encodedKey, std::string const& password) const override;
    std::shared_ptr<interfaces::IRSAPublicKey<utils::RSAKeySize<1024>>>
    createRSA1024PublicKey(ByteArray const& encodedKey) const override;
    std::shared_ptr<interfaces::IRSAPublicKey<utils::RSAKeySize<2048>>>
    createRSA2048PublicKey(ByteArray const& encodedKey) const override;
    std::shared_ptr<interfaces::IRSAPublicKey<utils::RSAKeySize<4096>>>
    createRSA4096PublicKey(ByteArray const& encodedKey) const override;
    std::shared_ptr<interfaces::IRSAPublicKey<utils::RSAKeySize<1024>>>
    createRSA1024PublicKey(ByteArray const& modulus, ByteArray const& publicExponent) const override;
    std::shared_ptr<interfaces::IRSAPublicKey<utils::RSAKeySize<2048>>>
    createRSA2048PublicKey(ByteArray const& modulus, ByteArray const& publicExponent) const override;
    std::shared_ptr<interfaces::IRSAPublicKey<utils::RSAKeySize<4096>>>
    createRSA4096PublicKey(ByteArray const& modulus, ByteArray const& publicExponent) const override;
    std::shared_ptr<interfaces::IRSAPublicKey<utils::RSAKeySize<1024>>>
    createRSA1024PublicKey(std::istream& encodedKey) const override;
    std::shared_ptr<interfaces::IRSAPublicKey<utils::RSAKeySize<2048>>>
    createRSA2048PublicKey(std::istream& encodedKey) const override;
    std::shared_ptr<interfaces::IRSAPublicKey<utils::RSAKeySize<4096>>>
    createRSA4096PublicKey(std::istream& encodedKey) const override;

    // RSA encryption and signatures (RFC 8017)
    std::shared_ptr<interfaces::IRSAEncryptor>
    createRSA1024Encryptor(std::shared_ptr<interfaces::IRSAPublicKey<utils::RSAKeySize<1024>>> key,
                           utils::RSAPaddingMode padding, std::shared_ptr<interfaces::ICryptoPRNG> prng) const override;
    std::shared_ptr<interfaces::IRSAEncryptor>
    createRSA2048Encryptor(std::shared_ptr<interfaces::IRSAPublicKey<utils::RSAKeySize<2048>>> key,
                           utils::RSAPaddingMode padding, std::shared_ptr<interfaces::ICryptoPRNG> prng) const override;
    std::shared_ptr<interfaces::IRSAEncryptor>
    createRSA4096Encryptor(std::shared_ptr<interfaces::IRSAPublicKey<utils::RSAKeySize<4096>>> key,
                           utils::RSAPaddingMode padding, std::shared_ptr<interfaces::ICryptoPRNG> prng) const override;
    std::shared_ptr<interfaces::IRSADecryptor>
    createRSA1024Decryptor(std::shared_ptr<interfaces::IRSAPrivateKey<utils::RSAKeySize<1024>>> key,
                           utils::RSAPaddingMode padding, std::shared_ptr<interfaces::ICryptoPRNG> prng) const override;
    std::shared_ptr<interfaces::IRSADecryptor>
    createRSA2048Decryptor(std::shared_ptr<interfaces::IRSAPrivateKey<utils::RSAKeySize<2048>>> key,
                           utils::RSAPaddingMode padding, std::shared_ptr<interfaces::ICryptoPRNG> prng) const override;
    std::shared_ptr<interfaces::IRSADecryptor>
    createRSA4096Decryptor(std::shared_ptr<interfaces::IRSAPrivateKey<utils::RSAKeySize<4096>>> key,
                           utils::RSAPaddingMode padding, std::shared_ptr<interfaces::ICryptoPRNG> prng) const override;
    std::shared_ptr<interfaces::IRSASigner>
    createRSA1024Signer(std::shared_ptr<interfaces::IRSAPrivateKey<utils::RSAKeySize<1024>>> key,
                        utils::RSAPaddingMode padding, std::shared_ptr<interfaces::ICryptoPRNG> prng) const override;
    std::shared_ptr<interfaces::IRSASigner>
    createRSA2048Signer(std::shared_ptr<interfaces::IRSAPrivateKey<utils::RSAKeySize<2048>>> key,
                        utils::RSAPaddingMode padding, std::shared_ptr<interfaces::ICryptoPRNG> prng) const override;
    std::shared_ptr<interfaces::IRSASigner>
    createRSA4096Signer(std::shared_ptr<interfaces::IRSAPrivateKey<utils::RSAKeySize<4096>>> key,
                        utils::RSAPaddingMode padding, std::shared_ptr<interfaces::ICryptoPRNG> prng) const override;
    std::shared_ptr<interfaces::IRSAVerifier>
    createRSA1024Verifier(std::shared_ptr<interfaces::IRSAPublicKey<utils::RSAKeySize<1024>>> key,
                          utils::RSAPaddingMode padding, std::shared_ptr<interfaces::ICryptoPRNG> prng) const override;
    std::shared_ptr<interfaces::IRSAVerifier>
    createRSA2048Verifier(std::shared_ptr<interfaces::IRSAPublicKey<utils::RSAKeySize<2048>>> key,
                          utils::RSAPaddingMode padding, std::shared_ptr<interfaces::ICryptoPRNG> prng) const override;
    std::shared_ptr<interfaces::IRSAVerifier>
    createRSA4096Verifier(std::shared_ptr<interfaces::IRSAPublicKey<utils::RSAKeySize<4096>>> key,
                          utils::RSAPaddingMode padding, std::shared_ptr<interfaces::ICryptoPRNG> prng) const override;

    // Elliptic-curve keys: P-256 (FIPS 186-5, SP 800-186) and Ed25519 (RFC 8032), here called Curve25519
    std::shared_ptr<interfaces::IECCKeyPair<utils::EllipticCurve::P256>> generateECCP256KeyPair() const override;
    std::shared_ptr<interfaces::IECCKeyPair<utils::EllipticCurve::Curve25519>>
    generateECCCurve25519KeyPair() const override;
    std::shared_ptr<interfaces::IECCPrivateKey<utils::EllipticCurve::P256>>
    createECCP256PrivateKey(ByteArray const& encodedKey) const override;
    std::shared_ptr<interfaces::IECCPrivateKey<utils::EllipticCurve::Curve25519>>
    createECCCurve25519PrivateKey(ByteArray const& encodedKey) const override;
    std::shared_ptr<interfaces::IECCPrivateKey<utils::EllipticCurve::P256>>
    createECCP256PrivateKeyFromInteger(ByteArray const& privateInteger) const override;
    std::shared_ptr<interfaces::IECCPrivateKey<utils::EllipticCurve::Curve25519>>
    createECCCurve25519PrivateKeyFromInteger(ByteArray const& privateInteger) const override;
    std::shared_ptr<interfaces::IECCPrivateKey<utils::EllipticCurve::P256>>
    createECCP256PrivateKey(std::istream& encodedKey, std::string const& password) const override;
    std::shared_ptr<interfaces::IECCPrivateKey<utils::EllipticCurve::Curve25519>>
    createECCCurve25519PrivateKey(std::istream& encodedKey, std::string const& password) const override;
    std::shared_ptr<interfaces::IECCPublicKey<utils::EllipticCurve::P256>>
    createECCP256PublicKey(ByteArray const& encodedKey) const override;
    std::shared_ptr<interfaces::IECCPublicKey<utils::EllipticCurve::Curve25519>>
    createECCCurve25519PublicKey(ByteArray const& encodedKey) const override;
    std::shared_ptr<interfaces::IECCPublicKey<utils::EllipticCurve::P256>>
    createECCP256PublicKeyFromPoint(ByteArray const& publicPoint) const override;
    std::shared_ptr<interfaces::IECCPublicKey<utils::EllipticCurve::Curve25519>>
    createECCCurve25519PublicKeyFromPoint(ByteArray const& publicPoint) const override;
    std::shared_ptr<interfaces::IECCPublicKey<utils::EllipticCurve::P256>>
    createECCP256PublicKey(std::istream& encodedKey) const override;
    std::shared_ptr<interfaces::IECCPublicKey<utils::EllipticCurve::Curve25519>>
    createECCCurve25519PublicKey(std::istream& encodedKey) const override;

    // Elliptic-curve signatures: ECDSA on P-256 and Ed25519 on Curve25519
    std::shared_ptr<interfaces::IECCSigner>
    createECCP256Signer(std::shared_ptr<interfaces::IECCPrivateKey<utils::EllipticCurve::P256>> key) const override;
    std::shared_ptr<interfaces::IECCSigner> createECCCurve25519Signer(
        std::shared_ptr<interfaces::IECCPrivateKey<utils::EllipticCurve::Curve25519>> key) const override;
    std::shared_ptr<interfaces::IECCVerifier>
    createECCP256Verifier(std::shared_ptr<interfaces::IECCPublicKey<utils::EllipticCurve::P256>> key) const override;
    std::shared_ptr<interfaces::IECCVerifier> createECCCurve25519Verifier(
        std::shared_ptr<interfaces::IECCPublicKey<utils::EllipticCurve::Curve25519>> key) const override;

    // AES (FIPS 197) with keys of 128, 192 and 256 bits
    std::shared_ptr<interfaces::IAESKey<utils::AESKeySize<128>>>
    createAES128Key(ByteArray const& keyBytes) const override;
    std::shared_ptr<interfaces::IAESKey<utils::AESKeySize<192>>>
    createAES192Key(ByteArray const& keyBytes) const override;
    std::shared_ptr<interfaces::IAESKey<utils::AESKeySize<256>>>
    createAES256Key(ByteArray const& keyBytes) const override;
    std::shared_ptr<interfaces::IAESEncryptor>
    createAES128Encryptor(std::shared_ptr<interfaces::IAESKey<utils::AESKeySize<128>>> key,
                          ByteArray const& initializationVector, utils::AESMode mode, utils::AESPaddingMode padding,
                          std::shared_ptr<interfaces::ICryptoPRNG> prng) const override;
    std::shared_ptr<interfaces::IAESEncryptor>
    createAES192Encryptor(std::shared_ptr<interfaces::IAESKey<utils::AESKeySize<192>>> key,
                          ByteArray const& initializationVector, utils::AESMode mode, utils::AESPaddingMode padding,
                          std::shared_ptr<interfaces::ICryptoPRNG> prng) const override;
    std::shared_ptr<interfaces::IAESEncryptor>
    createAES256Encryptor(std::shared_ptr<interfaces::IAESKey<utils::AESKeySize<256>>> key,
                          ByteArray const& initializationVector, utils::AESMode mode, utils::AESPaddingMode padding,
                          std::shared_ptr<interfaces::ICryptoPRNG> prng) const override;
    std::shared_ptr<interfaces::IAESDecryptor>
    createAES128Decryptor(std::shared_ptr<interfaces::IAESKey<utils::AESKeySize<128>>> key,
                          ByteArray const& initializationVector, utils::AESMode mode, utils::AESPaddingMode padding,
                          std::shared_ptr<interfaces::ICryptoPRNG> prng) const override;
    std::shared_ptr<interfaces::IAESDecryptor>
    createAES192Decryptor(std::shared_ptr<interfaces::IAESKey<utils::AESKeySize<192>>> key,
                          ByteArray const& initializationVector, utils::AESMode mode, utils::AESPaddingMode padding,
                          std::shared_ptr<interfaces::ICryptoPRNG> prng) const override;
    std::shared_ptr<interfaces::IAESDecryptor>
    createAES256Decryptor(std::shared_ptr<interfaces::IAESKey<utils::AESKeySize<256>>> key,
                          ByteArray const& initializationVector, utils::AESMode mode, utils::AESPaddingMode padding,
                          std::shared_ptr<interfaces::ICryptoPRNG> prng) const override;

    // Signatures with a key in a hardware security module (PKCS #11)
    std::shared_ptr<interfaces::IHSMSigner>
    createHSMSigner(utils::HSMObject const& hsmObject, utils::RSAPaddingMode padding,
                    std::shared_ptr<interfaces::ICryptoPRNG> prng) const override;

    // Key derivation (RFC 8018)
    ByteArray deriveKeyUsingPBKDF2(std::string const& password, std::string const& salt, int keyLength,
                                   int iterations) const override;

    // BLAKE2b with a size of the host's choice
    std::shared_ptr<interfaces::IDigestEngine>
    createBlake2bDigestEngineWithCustomSize(ByteArray const& key, ByteArray const& salt,
                                            unsigned long digestSize) const override;

    // Which RSA key is this?
    interfaces::KeySignatureMethod getPrivateKeySignatureMethod(std::istream& encodedKey,
                                                                std::string const& password) const override;
    interfaces::KeySignatureMethod getPrivateKeySignatureMethod(ByteArray const& encodedKey,
                                                                std::string const& password) const override;
    interfaces::KeySignatureMethod getPublicKeySignatureMethod(std::istream& encodedKey) const override;
    interfaces::KeySignatureMethod getPublicKeySignatureMethod(ByteArray const& encodedKey) const override;
};

} // namespace foundation::crypto::openssl

#endif
