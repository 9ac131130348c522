#ifndef FOUNDATION_CRYPTO_INTERFACES_ICRYPTOPROVIDER_H
#define FOUNDATION_CRYPTO_INTERFACES_ICRYPTOPROVIDER_H

#include "foundation/crypto/interfaces/IAESKey.h"
#include "foundation/crypto/interfaces/IAESTransform.h"
#include "foundation/crypto/interfaces/ICryptoPRNG.h"
#include "foundation/crypto/interfaces/IDigestEngine.h"
#include "foundation/crypto/interfaces/IECCKey.h"
#include "foundation/crypto/interfaces/IECCSignature.h"
#include "foundation/crypto/interfaces/IHSMSigner.h"
#include "foundation/crypto/interfaces/IRSAEncryption.h"
#include "foundation/crypto/interfaces/IRSAKey.h"
#include "foundation/crypto/interfaces/IRSASignature.h"
#include "foundation/crypto/interfaces/KeySignatureMethod.h"
#include "foundation/crypto/utils/AESMode.h"
#include "foundation/crypto/utils/ByteArray.h"
#include "foundation/crypto/utils/EllipticCurve.h"
#include "foundation/crypto/utils/Exceptions.h"
#include "foundation/crypto/utils/HSMObject.h"
#include "foundation/crypto/utils/KeySizes.h"
#include "foundation/crypto/utils/RSAPaddingMode.h"

#include <iosfwd>
#include <memory>
#include <string>

namespace foundation::crypto::interfaces {

/// Makes every object of the library. It holds no state, all its operations are const, and any number of threads may
/// use one provider. What it returns is never null, belongs to the caller, and outlives the provider.
///
/// Keys and random generators handed in must come from this library (from any provider object). One that is null or of
/// another implementation, another copy of this library in the process included, counts as missing; what then happens
/// is said with each operation. Objects keep shared references to the keys and generators they were made with, and to
/// nothing else of the caller's. Values outside an enumeration are passed on; what then happens is said with each.
///
/// Failures are exceptions of the family of `utils::Exception`, whose message texts are part of the interface; where
/// libcrypto fails, every operation throws `utils::InternalException`. Standard exceptions met on the way arrive as the
/// latter with their text, except that `std::bad_alloc` may leave any operation that makes something. One that succeeds
/// leaves the thread's libcrypto error queue as it was; the entries of one that fails may stay, and stand in the text
/// of a later exception. Join the threads that use the library before `exit`: libcrypto cleans up under them.
///
/// Operations are called by position: the declarations stand in the order of the binary interface, which never changes.
/// @ingroup reference-provider
class ICryptoProvider {
public:
    virtual ~ICryptoProvider() = default;

    // ---- Random bytes (NIST SP 800-90A)

    /// Makes a random generator. A `seed` that is not empty is mixed into libcrypto's generator, which the whole
    /// process shares and which is seeded from the operating system anyway; it does not make the output reproducible.
    /// Of a seed above 2147483647 bytes the first so many count.
    virtual CryptoPRNGPtr createDefaultCryptoPRNG(ByteArray const& seed) const = 0;

    // ---- Message digests (FIPS 180-4, RFC 1321), HMAC (RFC 2104) and BLAKE2b (RFC 7693)

    /// Makes a digest engine for MD5, 16 bytes; broken, for old formats only.
    /// @throws utils::InternalException when libcrypto does not offer the digest; so do the next five.
    virtual DigestEnginePtr createMD5DigestEngine() const = 0;

    /// Makes a digest engine for SHA-1, 20 bytes; broken for signatures.
    virtual DigestEnginePtr createSHA1DigestEngine() const = 0;

    /// Makes a digest engine for SHA-224, 28 bytes.
    virtual DigestEnginePtr createSHA224DigestEngine() const = 0;

    /// Makes a digest engine for SHA-256, 32 bytes.
    virtual DigestEnginePtr createSHA256DigestEngine() const = 0;

    /// Makes a digest engine for SHA-384, 48 bytes.
    virtual DigestEnginePtr createSHA384DigestEngine() const = 0;

    /// Makes a digest engine for SHA-512, 64 bytes.
    virtual DigestEnginePtr createSHA512DigestEngine() const = 0;

    /// Makes an HMAC engine with SHA-1, 20 bytes. The engine keeps its own copy of `key`, which may have any length but
    /// 0; a key longer than the hash's block counts by its hash.
    ///
    /// @throws utils::InternalException for an empty key and for one above 2147483647 bytes ("Could not initialize the
    ///         digest context. " and libcrypto's error text).
    virtual DigestEnginePtr createHMACSHA1DigestEngine(ByteArray const& key) const = 0;

    /// The same with SHA-256, 32 bytes.
    virtual DigestEnginePtr createHMACSHA256DigestEngine(ByteArray const& key) const = 0;

    /// The same with SHA-512, 64 bytes.
    virtual DigestEnginePtr createHMACSHA512DigestEngine(ByteArray const& key) const = 0;

    /// Makes a BLAKE2b engine with a digest of 64 bytes. With an empty `key` it is a plain hash, and `salt` has no
    /// effect; otherwise it is BLAKE2b's own keyed MAC, with a key of 1 to 64 bytes and a salt of 0 to 16 bytes. The
    /// engine keeps copies of both.
    ///
    /// @throws utils::InternalException for a longer key or salt with a key ("Could not initialize the digest context
    ///         in MAC mode.").
    virtual DigestEnginePtr createBlake2bDigestEngine(ByteArray const& key, ByteArray const& salt) const = 0;

    // ---- RSA keys (RFC 8017) of 1024, 2048 and 4096 bits. RSA-1024 is offered for old data only

    /// Generates a key pair with the public exponent 65537; for 4096 bits that may take seconds. The random bytes come
    /// from libcrypto's generator: `prng` is kept by the pair but not drawn from, and may be of any implementation.
    ///
    /// @throws utils::InternalException for a null `prng` ("The PRNG does not exist.").
    virtual RSAKeyPairPtr<1024> generateRSA1024KeyPair(CryptoPRNGPtr prng) const = 0;

    /// The same for 2048 bits.
    virtual RSAKeyPairPtr<2048> generateRSA2048KeyPair(CryptoPRNGPtr prng) const = 0;

    /// The same for 4096 bits.
    virtual RSAKeyPairPtr<4096> generateRSA4096KeyPair(CryptoPRNGPtr prng) const = 0;

    /// Reads a private key. `encodedKey` is PEM when "-----BEGIN " stands in it before "-----END "; otherwise it is
    /// DER, PKCS #8 (RFC 5208) or PKCS #1 (RFC 8017, appendix A.1.2). Text before a PEM block, and bytes after a DER
    /// one, are skipped. An encrypted key opens only if its password is the empty one. The input decides what reading
    /// costs: an encrypted key may ask for billions of iterations, a DSA key of 9 KB takes 8 s. Read private keys, in
    /// whatever form, from sources you trust or with a time limit.
    ///
    /// @throws utils::Exception for a key of another size ("The input data corresponds to a private key of size 2048
    ///         instead of the expected size 1024").
    /// @throws utils::InternalException for an empty input ("The input private key string is empty") or one that is no
    ///         readable key.
    virtual RSAPrivateKeyPtr<1024> createRSA1024PrivateKey(ByteArray const& encodedKey) const = 0;

    /// The same for 2048 bits.
    virtual RSAPrivateKeyPtr<2048> createRSA2048PrivateKey(ByteArray const& encodedKey) const = 0;

    /// The same for 4096 bits.
    virtual RSAPrivateKeyPtr<4096> createRSA4096PrivateKey(ByteArray const& encodedKey) const = 0;

    /// Makes a private key from its numbers, in the order n, d, e: big-endian, unsigned, leading zero bytes allowed.
    /// Only the size of the modulus is checked; exponents that do not belong to it, or are exchanged, show when the key
    /// is used. Such a key lacks the CRT factors: it is about eight times slower to sign and decrypt with, and
    /// `getDER()` cannot export it.
    ///
    /// @throws utils::Exception for a modulus of another size.
    /// @throws utils::InternalException when libcrypto does not take the numbers, as for a private exponent with more
    ///         bits than the modulus ("Failed to generate the private key from the modulus and the exponents").
    virtual RSAPrivateKeyPtr<1024> createRSA1024PrivateKey(ByteArray const& modulus, ByteArray const& privateExponent,
                                                           ByteArray const& publicExponent) const = 0;

    /// The same for 2048 bits.
    virtual RSAPrivateKeyPtr<2048> createRSA2048PrivateKey(ByteArray const& modulus, ByteArray const& privateExponent,
                                                           ByteArray const& publicExponent) const = 0;

    /// The same for 4096 bits.
    virtual RSAPrivateKeyPtr<4096> createRSA4096PrivateKey(ByteArray const& modulus, ByteArray const& privateExponent,
                                                           ByteArray const& publicExponent) const = 0;

    /// Reads a private key from a stream, from its current position to its end, in the forms of the first of these
    /// operations; the stream is left at eof and fail, with `skipws` cleared. `password` opens an encrypted key, PEM or
    /// PKCS #8 DER, and is ignored for one that is not encrypted. It ends at its first NUL, is cut at 1024 bytes, and
    /// may be empty; nobody is ever asked for one.
    ///
    /// @throws utils::Exception for a key of another size.
    /// @throws utils::InternalException for an empty stream or one that throws, a key that cannot be read, or a wrong
    ///         password.
    virtual RSAPrivateKeyPtr<1024> createRSA1024PrivateKey(std::istream& encodedKey,
                                                           std::string const& password) const = 0;

    /// The same for 2048 bits.
    virtual RSAPrivateKeyPtr<2048> createRSA2048PrivateKey(std::istream& encodedKey,
                                                           std::string const& password) const = 0;

    /// The same for 4096 bits.
    virtual RSAPrivateKeyPtr<4096> createRSA4096PrivateKey(std::istream& encodedKey,
                                                           std::string const& password) const = 0;

    /// Reads a public key. `encodedKey` is PEM when "-----BEGIN " stands in it before "-----END " ("PUBLIC KEY" or "RSA
    /// PUBLIC KEY"); otherwise it is DER, X.509 SubjectPublicKeyInfo (RFC 5280) only.
    ///
    /// @throws utils::Exception for a key of another size ("The input data corresponds to a public key of size 2048
    ///         instead of the expected size 1024").
    /// @throws utils::InternalException for an empty input ("The input public key string is empty") or one that is no
    ///         readable key.
    virtual RSAPublicKeyPtr<1024> createRSA1024PublicKey(ByteArray const& encodedKey) const = 0;

    /// The same for 2048 bits.
    virtual RSAPublicKeyPtr<2048> createRSA2048PublicKey(ByteArray const& encodedKey) const = 0;

    /// The same for 4096 bits.
    virtual RSAPublicKeyPtr<4096> createRSA4096PublicKey(ByteArray const& encodedKey) const = 0;

    /// Makes a public key from its numbers n and e: big-endian, unsigned, leading zero bytes allowed. Only the size of
    /// the modulus is checked.
    ///
    /// @throws utils::Exception for a modulus of another size (an empty one, or 0, has size 0).
    /// @throws utils::InternalException when libcrypto does not take the numbers.
    virtual RSAPublicKeyPtr<1024> createRSA1024PublicKey(ByteArray const& modulus,
                                                         ByteArray const& publicExponent) const = 0;

    /// The same for 2048 bits.
    virtual RSAPublicKeyPtr<2048> createRSA2048PublicKey(ByteArray const& modulus,
                                                         ByteArray const& publicExponent) const = 0;

    /// The same for 4096 bits.
    virtual RSAPublicKeyPtr<4096> createRSA4096PublicKey(ByteArray const& modulus,
                                                         ByteArray const& publicExponent) const = 0;

    /// Reads a public key from a stream, from its current position to its end, in the forms of the first of these
    /// operations. The stream is left at eof and fail, with `skipws` set, whatever it was before (cleared when reading
    /// throws).
    ///
    /// @throws utils::NotImplemented for a stream that throws while it is read, with the text of what it threw.
    /// @throws utils::Exception for a key of another size.
    /// @throws utils::InternalException for an empty stream, or a key that cannot be read.
    virtual RSAPublicKeyPtr<1024> createRSA1024PublicKey(std::istream& encodedKey) const = 0;

    /// The same for 2048 bits.
    virtual RSAPublicKeyPtr<2048> createRSA2048PublicKey(std::istream& encodedKey) const = 0;

    /// The same for 4096 bits.
    virtual RSAPublicKeyPtr<4096> createRSA4096PublicKey(std::istream& encodedKey) const = 0;

    // ---- RSA encryption and signatures (RFC 8017)

    /// Makes an encryptor, which keeps `key` and `prng`. Each of its calls refuses a `padding` outside the enumeration.
    ///
    /// @throws utils::InvalidKey for a missing key ("The encryption key does not exist."); looked for first.
    /// @throws utils::InternalException for a missing `prng` ("The PRNG does not exist."), or for `PSS` ("Cannot use
    ///         PSS as Padding Algorithm for encryption.").
    virtual RSAEncryptorPtr createRSA1024Encryptor(RSAPublicKeyPtr<1024> key, utils::RSAPaddingMode padding,
                                                   CryptoPRNGPtr prng) const = 0;

    /// The same for 2048 bits.
    virtual RSAEncryptorPtr createRSA2048Encryptor(RSAPublicKeyPtr<2048> key, utils::RSAPaddingMode padding,
                                                   CryptoPRNGPtr prng) const = 0;

    /// The same for 4096 bits.
    virtual RSAEncryptorPtr createRSA4096Encryptor(RSAPublicKeyPtr<4096> key, utils::RSAPaddingMode padding,
                                                   CryptoPRNGPtr prng) const = 0;

    /// Makes a decryptor; as the encryptor. The texts are "The decryption key does not exist." and "Cannot use PSS as
    /// Padding Algorithm for decryption.". With `PKCS1_V1_5` an altered block is not an error: read `IRSADecryptor`.
    ///
    /// @throws utils::InvalidKey, utils::InternalException as the encryptor.
    virtual RSADecryptorPtr createRSA1024Decryptor(RSAPrivateKeyPtr<1024> key, utils::RSAPaddingMode padding,
                                                   CryptoPRNGPtr prng) const = 0;

    /// The same for 2048 bits.
    virtual RSADecryptorPtr createRSA2048Decryptor(RSAPrivateKeyPtr<2048> key, utils::RSAPaddingMode padding,
                                                   CryptoPRNGPtr prng) const = 0;

    /// The same for 4096 bits.
    virtual RSADecryptorPtr createRSA4096Decryptor(RSAPrivateKeyPtr<4096> key, utils::RSAPaddingMode padding,
                                                   CryptoPRNGPtr prng) const = 0;

    /// Makes a signer, which keeps `key` and `prng` but never draws from it. Each of its calls looks at the padding.
    ///
    /// @throws utils::InvalidKey for a missing key ("The signing key does not exist."); looked for first.
    /// @throws utils::InternalException for a missing `prng` ("The PRNG does not exist.").
    virtual RSASignerPtr createRSA1024Signer(RSAPrivateKeyPtr<1024> key, utils::RSAPaddingMode padding,
                                             CryptoPRNGPtr prng) const = 0;

    /// The same for 2048 bits.
    virtual RSASignerPtr createRSA2048Signer(RSAPrivateKeyPtr<2048> key, utils::RSAPaddingMode padding,
                                             CryptoPRNGPtr prng) const = 0;

    /// The same for 4096 bits.
    virtual RSASignerPtr createRSA4096Signer(RSAPrivateKeyPtr<4096> key, utils::RSAPaddingMode padding,
                                             CryptoPRNGPtr prng) const = 0;

    /// Makes a verifier; as the signer. The texts are "The verifying key does not exist. Please correct." and "The PRNG
    /// does not exist. Please correct.".
    ///
    /// @throws utils::InvalidKey, utils::InternalException as the signer.
    virtual RSAVerifierPtr createRSA1024Verifier(RSAPublicKeyPtr<1024> key, utils::RSAPaddingMode padding,
                                                 CryptoPRNGPtr prng) const = 0;

    /// The same for 2048 bits.
    virtual RSAVerifierPtr createRSA2048Verifier(RSAPublicKeyPtr<2048> key, utils::RSAPaddingMode padding,
                                                 CryptoPRNGPtr prng) const = 0;

    /// The same for 4096 bits.
    virtual RSAVerifierPtr createRSA4096Verifier(RSAPublicKeyPtr<4096> key, utils::RSAPaddingMode padding,
                                                 CryptoPRNGPtr prng) const = 0;

    // ---- Elliptic-curve keys: P-256 (FIPS 186-5, SP 800-186) and Ed25519 (RFC 8032), here called Curve25519

    /// Generates a key pair on P-256 with libcrypto's random generator.
    virtual ECCKeyPairPtr<utils::EllipticCurve::P256> generateECCP256KeyPair() const = 0;

    /// The same on Curve25519.
    virtual ECCKeyPairPtr<utils::EllipticCurve::Curve25519> generateECCCurve25519KeyPair() const = 0;

    /// Reads a private key on P-256 from PEM text (RFC 7468); text and other blocks before it are skipped. DER is not
    /// supported. An encrypted key opens only if its password is the empty one. Mind what reading can cost, as for RSA.
    ///
    /// @throws utils::InvalidKeyEncoding for anything but a readable PEM private key, or for a password other than the
    ///         key's.
    /// @throws utils::KeyAndCurveMismatch for a key on another curve, or of another kind, RSA for instance.
    /// @throws utils::InternalException for an empty input.
    virtual ECCPrivateKeyPtr<utils::EllipticCurve::P256> createECCP256PrivateKey(ByteArray const& encodedKey) const = 0;

    /// The same on Curve25519.
    virtual ECCPrivateKeyPtr<utils::EllipticCurve::Curve25519>
    createECCCurve25519PrivateKey(ByteArray const& encodedKey) const = 0;

    /// Makes a private key on P-256 from its number, big-endian, of any length, leading zero bytes included; the public
    /// point is computed. The number is not checked against the curve's order: a host gives one from 1 to the order
    /// less 1. Of other numbers, 0 and the order are taken, and one of more than 256 bits makes a key that can neither
    /// sign nor be exported.
    ///
    /// @throws utils::InternalException for an empty input ("No bytes to initialize from in private integer"), or when
    ///         libcrypto does not take the number.
    virtual ECCPrivateKeyPtr<utils::EllipticCurve::P256>
    createECCP256PrivateKeyFromInteger(ByteArray const& privateInteger) const = 0;

    /// Makes a private key for Ed25519 from its 32 raw bytes; the public key is computed.
    ///
    /// @throws utils::InternalException for any other length ("Fail to create EVP_PKEYUPtr; the given raw pointer is
    ///         NULL").
    virtual ECCPrivateKeyPtr<utils::EllipticCurve::Curve25519>
    createECCCurve25519PrivateKeyFromInteger(ByteArray const& privateInteger) const = 0;

    /// Reads a private key on P-256 as PEM text from a stream, from its current position to its end. The stream is left
    /// at eof and fail; its format flags are as before, also after a failure. `password` opens an encrypted key and is
    /// ignored for one that is not. It ends at its first NUL, is cut at 1024 bytes, and may be empty; nobody is ever
    /// asked for one.
    ///
    /// @throws utils::InvalidKeyEncoding, utils::KeyAndCurveMismatch, utils::InternalException as the form that takes
    ///         bytes; the last one also for a stream that throws.
    virtual ECCPrivateKeyPtr<utils::EllipticCurve::P256> createECCP256PrivateKey(std::istream& encodedKey,
                                                                                 std::string const& password) const = 0;

    /// The same on Curve25519.
    virtual ECCPrivateKeyPtr<utils::EllipticCurve::Curve25519>
    createECCCurve25519PrivateKey(std::istream& encodedKey, std::string const& password) const = 0;

    /// Reads a public key on P-256 from PEM text, "PUBLIC KEY" (SubjectPublicKeyInfo, RFC 7468). DER is not supported.
    ///
    /// @throws utils::InvalidKeyEncoding, utils::KeyAndCurveMismatch, utils::InternalException as for private keys.
    virtual ECCPublicKeyPtr<utils::EllipticCurve::P256> createECCP256PublicKey(ByteArray const& encodedKey) const = 0;

    /// The same on Curve25519.
    virtual ECCPublicKeyPtr<utils::EllipticCurve::Curve25519>
    createECCCurve25519PublicKey(ByteArray const& encodedKey) const = 0;

    /// Makes a public key on P-256 from its point, encoded after SEC 1: uncompressed (65 bytes), compressed (33) or
    /// hybrid (65). The single byte 00, the point at infinity, is taken too.
    ///
    /// @throws utils::InternalException for a point that is not on the curve or not well formed ("Failed to load key
    ///         from public point and curve").
    virtual ECCPublicKeyPtr<utils::EllipticCurve::P256>
    createECCP256PublicKeyFromPoint(ByteArray const& publicPoint) const = 0;

    /// Makes a public key for Ed25519 from its 32 raw bytes, whatever they are.
    ///
    /// @throws utils::InternalException for any other length ("Fail to create EVP_PKEYUPtr; the given raw pointer is
    ///         NULL").
    virtual ECCPublicKeyPtr<utils::EllipticCurve::Curve25519>
    createECCCurve25519PublicKeyFromPoint(ByteArray const& publicPoint) const = 0;

    /// Reads a public key on P-256 as PEM text from a stream; with the stream as for private keys.
    ///
    /// @throws utils::InvalidKeyEncoding, utils::KeyAndCurveMismatch, utils::InternalException as for private keys.
    virtual ECCPublicKeyPtr<utils::EllipticCurve::P256> createECCP256PublicKey(std::istream& encodedKey) const = 0;

    /// The same on Curve25519.
    virtual ECCPublicKeyPtr<utils::EllipticCurve::Curve25519>
    createECCCurve25519PublicKey(std::istream& encodedKey) const = 0;

    // ---- Elliptic-curve signatures: ECDSA on P-256 and Ed25519 on Curve25519

    /// Makes a signer, which keeps `key`. Nothing is checked here: without a usable key each signature fails, with
    /// `utils::InternalException` "Failed while doing setup to generate signature".
    virtual ECCSignerPtr createECCP256Signer(ECCPrivateKeyPtr<utils::EllipticCurve::P256> key) const = 0;

    /// The same on Curve25519.
    virtual ECCSignerPtr createECCCurve25519Signer(ECCPrivateKeyPtr<utils::EllipticCurve::Curve25519> key) const = 0;

    /// Makes a verifier, which keeps `key`. Nothing is checked here: without a usable key each verification fails, with
    /// `utils::InternalException` "Failed while doing setup to verify signature".
    virtual ECCVerifierPtr createECCP256Verifier(ECCPublicKeyPtr<utils::EllipticCurve::P256> key) const = 0;

    /// The same on Curve25519.
    virtual ECCVerifierPtr createECCCurve25519Verifier(ECCPublicKeyPtr<utils::EllipticCurve::Curve25519> key) const = 0;

    // ---- AES (FIPS 197) with keys of 128, 192 and 256 bits

    /// Makes a key from the first 16 bytes of `keyBytes`; bytes beyond them are ignored without a word. The bytes are
    /// taken as they are.
    ///
    /// @throws utils::InternalException for fewer bytes ("AES 128-bit key data must contain at least 16 bytes.").
    virtual AESKeyPtr<128> createAES128Key(ByteArray const& keyBytes) const = 0;

    /// The same for 192 bits, from the first 24 bytes.
    virtual AESKeyPtr<192> createAES192Key(ByteArray const& keyBytes) const = 0;

    /// The same for 256 bits, from the first 32 bytes.
    virtual AESKeyPtr<256> createAES256Key(ByteArray const& keyBytes) const = 0;

    /// Makes an encryptor (NIST SP 800-38A, SP 800-38D), which keeps `key`, `prng` and a copy of
    /// `initializationVector`. **All its messages are encrypted with that one vector: make a new encryptor for each
    /// message, in GCM always.**
    ///
    /// - GCM takes the whole vector as its nonce, of any length from 1 to 128 bytes; 12 is the length to use.
    /// - The other modes take its first 16 bytes; more are ignored.
    /// - An empty vector makes the encryptor draw 16 bytes from `prng`, in every mode. They are not reported, so nobody
    ///   else can decrypt: give a vector of your own for data that leaves the object. With a vector `prng` is not used
    ///   and may be null.
    ///
    /// An unknown `mode`, or a missing key, is not refused here but by each call of the encryptor. `padding` matters to
    /// CBC alone.
    ///
    /// @throws utils::InternalException for a vector of 1 to 15 bytes in a mode other than GCM ("Initialization vector
    ///         must contain 16 bytes."), or for an empty vector with a missing `prng` ("The PRNG does not exist.") or
    ///         one that fails.
    virtual AESEncryptorPtr createAES128Encryptor(AESKeyPtr<128> key, ByteArray const& initializationVector,
                                                  utils::AESMode mode, utils::AESPaddingMode padding,
                                                  CryptoPRNGPtr prng) const = 0;

    /// The same for 192 bits.
    virtual AESEncryptorPtr createAES192Encryptor(AESKeyPtr<192> key, ByteArray const& initializationVector,
                                                  utils::AESMode mode, utils::AESPaddingMode padding,
                                                  CryptoPRNGPtr prng) const = 0;

    /// The same for 256 bits.
    virtual AESEncryptorPtr createAES256Encryptor(AESKeyPtr<256> key, ByteArray const& initializationVector,
                                                  utils::AESMode mode, utils::AESPaddingMode padding,
                                                  CryptoPRNGPtr prng) const = 0;

    /// Makes a decryptor; everything as for the encryptor, and with the same vector, mode and padding. A decryptor made
    /// with an empty vector can decrypt nothing.
    ///
    /// @throws utils::InternalException as for the encryptor.
    virtual AESDecryptorPtr createAES128Decryptor(AESKeyPtr<128> key, ByteArray const& initializationVector,
                                                  utils::AESMode mode, utils::AESPaddingMode padding,
                                                  CryptoPRNGPtr prng) const = 0;

    /// The same for 192 bits.
    virtual AESDecryptorPtr createAES192Decryptor(AESKeyPtr<192> key, ByteArray const& initializationVector,
                                                  utils::AESMode mode, utils::AESPaddingMode padding,
                                                  CryptoPRNGPtr prng) const = 0;

    /// The same for 256 bits.
    virtual AESDecryptorPtr createAES256Decryptor(AESKeyPtr<256> key, ByteArray const& initializationVector,
                                                  utils::AESMode mode, utils::AESPaddingMode padding,
                                                  CryptoPRNGPtr prng) const = 0;

    // ---- Signatures with a key in a hardware security module (PKCS #11)

    /// Makes a signer for the private key that `hsmObject` describes, of which it keeps a copy; `prng` is kept and
    /// never used. Nothing is checked and no module is loaded here: a wrong path, URI or padding shows at the first
    /// call. **A host must make the calls of all its HSM signers one at a time**: read `IHSMSigner` before using one.
    virtual HSMSignerPtr createHSMSigner(utils::HSMObject const& hsmObject, utils::RSAPaddingMode padding,
                                         CryptoPRNGPtr prng) const = 0;

    // ---- Key derivation (RFC 8018)

    /// Derives `keyLength` bytes with PBKDF2 over HMAC-SHA-512. `password` and `salt` count byte for byte, NULs
    /// included, and may be empty, with at most 65535 bytes each. No minimum is asked of salt or iterations: choose a
    /// random salt of 16 bytes or more, and as many iterations as can be borne (NIST SP 800-132).
    ///
    /// @throws utils::InvalidArgument for a longer password ("Password is longer than the allowed size of 65535"),
    ///         looked for first, or a longer salt ("Salt is longer than the allowed size of 65535").
    /// @throws std::length_error for a negative `keyLength`.
    /// @throws utils::InternalException for a `keyLength` of 0, fewer than one iteration, or a libcrypto failure ("Key
    ///         derivation is unsuccessful.").
    virtual ByteArray deriveKeyUsingPBKDF2(std::string const& password, std::string const& salt, int keyLength,
                                           int iterations) const = 0;

    // ---- BLAKE2b with a size of the host's choice

    /// As `createBlake2bDigestEngine`, with a digest of `digestSize` bytes, 1 to 64. A shorter digest is not the
    /// beginning of a longer one.
    ///
    /// @throws utils::InternalException for another size ("Invalid digest size for Blake2b digest engine."), looked for
    ///         first, and as `createBlake2bDigestEngine`.
    virtual DigestEnginePtr createBlake2bDigestEngineWithCustomSize(ByteArray const& key, ByteArray const& salt,
                                                                    unsigned long digestSize) const = 0;

    // ---- Which RSA key is this?

    /// Tells the size of an RSA private key, read from a stream to its end; the stream is left at eof and fail, with
    /// `skipws` cleared. Forms and password are those of `createRSA1024PrivateKey` with a stream. Only the number of
    /// bits is looked at, not the kind of key.
    ///
    /// @throws utils::InternalException for a key of another size, elliptic-curve keys included ("Unsupported Key
    ///         size"); for an empty input ("The input private key string is empty"); for a key that cannot be read; for
    ///         a stream that throws.
    virtual KeySignatureMethod getPrivateKeySignatureMethod(std::istream& encodedKey,
                                                            std::string const& password) const = 0;

    /// The same for a key in memory.
    virtual KeySignatureMethod getPrivateKeySignatureMethod(ByteArray const& encodedKey,
                                                            std::string const& password) const = 0;

    /// Tells the size of an RSA public key, in the forms of `createRSA1024PublicKey`; otherwise as for private keys.
    ///
    /// @throws utils::InternalException as for private keys (for an empty input, "The input public key string is
    ///         empty").
    virtual KeySignatureMethod getPublicKeySignatureMethod(std::istream& encodedKey) const = 0;

    /// The same for a key in memory.
    virtual KeySignatureMethod getPublicKeySignatureMethod(ByteArray const& encodedKey) const = 0;
};

} // namespace foundation::crypto::interfaces

#endif
