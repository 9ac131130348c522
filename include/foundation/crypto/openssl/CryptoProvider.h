#ifndef FOUNDATION_CRYPTO_OPENSSL_CRYPTOPROVIDER_H
#define FOUNDATION_CRYPTO_OPENSSL_CRYPTOPROVIDER_H

#include "foundation/crypto/interfaces/ICryptoProvider.h"
#include "foundation/crypto/openssl/Version.h"
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
/// @ingroup reference-provider
class ZRFL_EXPORT CryptoProvider : public interfaces::ICryptoProvider {
public:
    CryptoProvider();
    CryptoProvider(CryptoProvider const&) = default;
    CryptoProvider& operator=(CryptoProvider const&) = default;
    ~CryptoProvider() override;

    // Random bytes (NIST SP 800-90A)
    interfaces::CryptoPRNGPtr createDefaultCryptoPRNG(ByteArray const& seed) const override;

    // Message digests (FIPS 180-4, RFC 1321), HMAC (RFC 2104) and BLAKE2b (RFC 7693)
    interfaces::DigestEnginePtr createMD5DigestEngine() const override;
    interfaces::DigestEnginePtr createSHA1DigestEngine() const override;
    interfaces::DigestEnginePtr createSHA224DigestEngine() const override;
    interfaces::DigestEnginePtr createSHA256DigestEngine() const override;
    interfaces::DigestEnginePtr createSHA384DigestEngine() const override;
    interfaces::DigestEnginePtr createSHA512DigestEngine() const override;
    interfaces::DigestEnginePtr createHMACSHA1DigestEngine(ByteArray const& key) const override;
    interfaces::DigestEnginePtr createHMACSHA256DigestEngine(ByteArray const& key) const override;
    interfaces::DigestEnginePtr createHMACSHA512DigestEngine(ByteArray const& key) const override;
    interfaces::DigestEnginePtr createBlake2bDigestEngine(ByteArray const& key, ByteArray const& salt) const override;

    // RSA keys (RFC 8017) of 1024, 2048 and 4096 bits. RSA-1024 is offered for old data only
    interfaces::RSAKeyPairPtr<1024> generateRSA1024KeyPair(interfaces::CryptoPRNGPtr prng) const override;
    interfaces::RSAKeyPairPtr<2048> generateRSA2048KeyPair(interfaces::CryptoPRNGPtr prng) const override;
    interfaces::RSAKeyPairPtr<4096> generateRSA4096KeyPair(interfaces::CryptoPRNGPtr prng) const override;
    interfaces::RSAPrivateKeyPtr<1024> createRSA1024PrivateKey(ByteArray const& encodedKey) const override;
    interfaces::RSAPrivateKeyPtr<2048> createRSA2048PrivateKey(ByteArray const& encodedKey) const override;
    interfaces::RSAPrivateKeyPtr<4096> createRSA4096PrivateKey(ByteArray const& encodedKey) const override;
    interfaces::RSAPrivateKeyPtr<1024> createRSA1024PrivateKey(ByteArray const& modulus,
                                                               ByteArray const& privateExponent,
                                                               ByteArray const& publicExponent) const override;
    interfaces::RSAPrivateKeyPtr<2048> createRSA2048PrivateKey(ByteArray const& modulus,
                                                               ByteArray const& privateExponent,
                                                               ByteArray const& publicExponent) const override;
    interfaces::RSAPrivateKeyPtr<4096> createRSA4096PrivateKey(ByteArray const& modulus,
                                                               ByteArray const& privateExponent,
                                                               ByteArray const& publicExponent) const override;
    interfaces::RSAPrivateKeyPtr<1024> createRSA1024PrivateKey(std::istream& encodedKey,
                                                               std::string const& password) const override;
    interfaces::RSAPrivateKeyPtr<2048> createRSA2048PrivateKey(std::istream& encodedKey,
                                                               std::string const& password) const override;
    interfaces::RSAPrivateKeyPtr<4096> createRSA4096PrivateKey(std::istream& encodedKey,
                                                               std::string const& password) const override;
    interfaces::RSAPublicKeyPtr<1024> createRSA1024PublicKey(ByteArray const& encodedKey) const override;
    interfaces::RSAPublicKeyPtr<2048> createRSA2048PublicKey(ByteArray const& encodedKey) const override;
    interfaces::RSAPublicKeyPtr<4096> createRSA4096PublicKey(ByteArray const& encodedKey) const override;
    interfaces::RSAPublicKeyPtr<1024> createRSA1024PublicKey(ByteArray const& modulus,
                                                             ByteArray const& publicExponent) const override;
    interfaces::RSAPublicKeyPtr<2048> createRSA2048PublicKey(ByteArray const& modulus,
                                                             ByteArray const& publicExponent) const override;
    interfaces::RSAPublicKeyPtr<4096> createRSA4096PublicKey(ByteArray const& modulus,
                                                             ByteArray const& publicExponent) const override;
    interfaces::RSAPublicKeyPtr<1024> createRSA1024PublicKey(std::istream& encodedKey) const override;
    interfaces::RSAPublicKeyPtr<2048> createRSA2048PublicKey(std::istream& encodedKey) const override;
    interfaces::RSAPublicKeyPtr<4096> createRSA4096PublicKey(std::istream& encodedKey) const override;

    // RSA encryption and signatures (RFC 8017)
    interfaces::RSAEncryptorPtr createRSA1024Encryptor(interfaces::RSAPublicKeyPtr<1024> key,
                                                       utils::RSAPaddingMode padding,
                                                       interfaces::CryptoPRNGPtr prng) const override;
    interfaces::RSAEncryptorPtr createRSA2048Encryptor(interfaces::RSAPublicKeyPtr<2048> key,
                                                       utils::RSAPaddingMode padding,
                                                       interfaces::CryptoPRNGPtr prng) const override;
    interfaces::RSAEncryptorPtr createRSA4096Encryptor(interfaces::RSAPublicKeyPtr<4096> key,
                                                       utils::RSAPaddingMode padding,
                                                       interfaces::CryptoPRNGPtr prng) const override;
    interfaces::RSADecryptorPtr createRSA1024Decryptor(interfaces::RSAPrivateKeyPtr<1024> key,
                                                       utils::RSAPaddingMode padding,
                                                       interfaces::CryptoPRNGPtr prng) const override;
    interfaces::RSADecryptorPtr createRSA2048Decryptor(interfaces::RSAPrivateKeyPtr<2048> key,
                                                       utils::RSAPaddingMode padding,
                                                       interfaces::CryptoPRNGPtr prng) const override;
    interfaces::RSADecryptorPtr createRSA4096Decryptor(interfaces::RSAPrivateKeyPtr<4096> key,
                                                       utils::RSAPaddingMode padding,
                                                       interfaces::CryptoPRNGPtr prng) const override;
    interfaces::RSASignerPtr createRSA1024Signer(interfaces::RSAPrivateKeyPtr<1024> key, utils::RSAPaddingMode padding,
                                                 interfaces::CryptoPRNGPtr prng) const override;
    interfaces::RSASignerPtr createRSA2048Signer(interfaces::RSAPrivateKeyPtr<2048> key, utils::RSAPaddingMode padding,
                                                 interfaces::CryptoPRNGPtr prng) const override;
    interfaces::RSASignerPtr createRSA4096Signer(interfaces::RSAPrivateKeyPtr<4096> key, utils::RSAPaddingMode padding,
                                                 interfaces::CryptoPRNGPtr prng) const override;
    interfaces::RSAVerifierPtr createRSA1024Verifier(interfaces::RSAPublicKeyPtr<1024> key,
                                                     utils::RSAPaddingMode padding,
                                                     interfaces::CryptoPRNGPtr prng) const override;
    interfaces::RSAVerifierPtr createRSA2048Verifier(interfaces::RSAPublicKeyPtr<2048> key,
                                                     utils::RSAPaddingMode padding,
                                                     interfaces::CryptoPRNGPtr prng) const override;
    interfaces::RSAVerifierPtr createRSA4096Verifier(interfaces::RSAPublicKeyPtr<4096> key,
                                                     utils::RSAPaddingMode padding,
                                                     interfaces::CryptoPRNGPtr prng) const override;

    // Elliptic-curve keys: P-256 (FIPS 186-5, SP 800-186) and Ed25519 (RFC 8032), here called Curve25519
    interfaces::ECCKeyPairPtr<utils::EllipticCurve::P256> generateECCP256KeyPair() const override;
    interfaces::ECCKeyPairPtr<utils::EllipticCurve::Curve25519> generateECCCurve25519KeyPair() const override;
    interfaces::ECCPrivateKeyPtr<utils::EllipticCurve::P256>
    createECCP256PrivateKey(ByteArray const& encodedKey) const override;
    interfaces::ECCPrivateKeyPtr<utils::EllipticCurve::Curve25519>
    createECCCurve25519PrivateKey(ByteArray const& encodedKey) const override;
    interfaces::ECCPrivateKeyPtr<utils::EllipticCurve::P256>
    createECCP256PrivateKeyFromInteger(ByteArray const& privateInteger) const override;
    interfaces::ECCPrivateKeyPtr<utils::EllipticCurve::Curve25519>
    createECCCurve25519PrivateKeyFromInteger(ByteArray const& privateInteger) const override;
    interfaces::ECCPrivateKeyPtr<utils::EllipticCurve::P256>
    createECCP256PrivateKey(std::istream& encodedKey, std::string const& password) const override;
    interfaces::ECCPrivateKeyPtr<utils::EllipticCurve::Curve25519>
    createECCCurve25519PrivateKey(std::istream& encodedKey, std::string const& password) const override;
    interfaces::ECCPublicKeyPtr<utils::EllipticCurve::P256>
    createECCP256PublicKey(ByteArray const& encodedKey) const override;
    interfaces::ECCPublicKeyPtr<utils::EllipticCurve::Curve25519>
    createECCCurve25519PublicKey(ByteArray const& encodedKey) const override;
    interfaces::ECCPublicKeyPtr<utils::EllipticCurve::P256>
    createECCP256PublicKeyFromPoint(ByteArray const& publicPoint) const override;
    interfaces::ECCPublicKeyPtr<utils::EllipticCurve::Curve25519>
    createECCCurve25519PublicKeyFromPoint(ByteArray const& publicPoint) const override;
    interfaces::ECCPublicKeyPtr<utils::EllipticCurve::P256>
    createECCP256PublicKey(std::istream& encodedKey) const override;
    interfaces::ECCPublicKeyPtr<utils::EllipticCurve::Curve25519>
    createECCCurve25519PublicKey(std::istream& encodedKey) const override;

    // Elliptic-curve signatures: ECDSA on P-256 and Ed25519 on Curve25519
    interfaces::ECCSignerPtr
    createECCP256Signer(interfaces::ECCPrivateKeyPtr<utils::EllipticCurve::P256> key) const override;
    interfaces::ECCSignerPtr
    createECCCurve25519Signer(interfaces::ECCPrivateKeyPtr<utils::EllipticCurve::Curve25519> key) const override;
    interfaces::ECCVerifierPtr
    createECCP256Verifier(interfaces::ECCPublicKeyPtr<utils::EllipticCurve::P256> key) const override;
    interfaces::ECCVerifierPtr
    createECCCurve25519Verifier(interfaces::ECCPublicKeyPtr<utils::EllipticCurve::Curve25519> key) const override;

    // AES (FIPS 197) with keys of 128, 192 and 256 bits
    interfaces::AESKeyPtr<128> createAES128Key(ByteArray const& keyBytes) const override;
    interfaces::AESKeyPtr<192> createAES192Key(ByteArray const& keyBytes) const override;
    interfaces::AESKeyPtr<256> createAES256Key(ByteArray const& keyBytes) const override;
    interfaces::AESEncryptorPtr createAES128Encryptor(interfaces::AESKeyPtr<128> key,
                                                      ByteArray const& initializationVector, utils::AESMode mode,
                                                      utils::AESPaddingMode padding,
                                                      interfaces::CryptoPRNGPtr prng) const override;
    interfaces::AESEncryptorPtr createAES192Encryptor(interfaces::AESKeyPtr<192> key,
                                                      ByteArray const& initializationVector, utils::AESMode mode,
                                                      utils::AESPaddingMode padding,
                                                      interfaces::CryptoPRNGPtr prng) const override;
    interfaces::AESEncryptorPtr createAES256Encryptor(interfaces::AESKeyPtr<256> key,
                                                      ByteArray const& initializationVector, utils::AESMode mode,
                                                      utils::AESPaddingMode padding,
                                                      interfaces::CryptoPRNGPtr prng) const override;
    interfaces::AESDecryptorPtr createAES128Decryptor(interfaces::AESKeyPtr<128> key,
                                                      ByteArray const& initializationVector, utils::AESMode mode,
                                                      utils::AESPaddingMode padding,
                                                      interfaces::CryptoPRNGPtr prng) const override;
    interfaces::AESDecryptorPtr createAES192Decryptor(interfaces::AESKeyPtr<192> key,
                                                      ByteArray const& initializationVector, utils::AESMode mode,
                                                      utils::AESPaddingMode padding,
                                                      interfaces::CryptoPRNGPtr prng) const override;
    interfaces::AESDecryptorPtr createAES256Decryptor(interfaces::AESKeyPtr<256> key,
                                                      ByteArray const& initializationVector, utils::AESMode mode,
                                                      utils::AESPaddingMode padding,
                                                      interfaces::CryptoPRNGPtr prng) const override;

    // Signatures with a key in a hardware security module (PKCS #11)
    interfaces::HSMSignerPtr createHSMSigner(utils::HSMObject const& hsmObject, utils::RSAPaddingMode padding,
                                             interfaces::CryptoPRNGPtr prng) const override;

    // Key derivation (RFC 8018)
    ByteArray deriveKeyUsingPBKDF2(std::string const& password, std::string const& salt, int keyLength,
                                   int iterations) const override;

    // BLAKE2b with a size of the host's choice
    interfaces::DigestEnginePtr createBlake2bDigestEngineWithCustomSize(ByteArray const& key, ByteArray const& salt,
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
