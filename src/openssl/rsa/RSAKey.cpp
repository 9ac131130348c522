#include "rsa/RSAKey.h"

#include "common/Check.h"
#include "common/Conversions.h"
#include "common/ErrorQueue.h"
#include "common/Secrets.h"
#include "common/Streams.h"
#include "rsa/RSAKeyReader.h"

#include <openssl/core_names.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <cstddef>
#include <initializer_list>
#include <utility>

namespace foundation::crypto::openssl {

namespace {

/// For the constructor that takes a stream. Unlike the query it has an exception type of its own for a stream that
/// throws, and sets `skipws` in the end.
EVP_PKEYUPtr readRSAPublicKey(std::istream& encodedKey) {
    SecretBytes const text =
        rethrowAs<utils::NotImplemented>([&] { return readExtracted<SecretBytes>(encodedKey, rethrowUnchanged); });
    encodedKey.setf(std::ios_base::skipws);
    return loadRSAPublicKey(asText(text));
}

/// One number of a key, by libcrypto's name for it, and the message for when it is not taken.
struct Component {
    char const* name;
    BIGNUM const* number;
    char const* notTaken;
};

struct BuildMessages {
    char const* noBuilder;
    char const* noParameters;
    char const* noContext;
    char const* contextNotReady;
    char const* notBuilt;
};

EVP_PKEYUPtr buildRSAKey(std::initializer_list<Component> components, BuildMessages const& messages) {
    Owned<OSSL_PARAM_BLD> const builder(OSSL_PARAM_BLD_new());
    require(builder != nullptr, messages.noBuilder);
    for (Component const& component : components) {
        require(OSSL_PARAM_BLD_push_BN(builder.get(), component.name, component.number) == 1, component.notTaken);
    }
    Owned<OSSL_PARAM> const parameters(OSSL_PARAM_BLD_to_param(builder.get()));
    require(parameters != nullptr, messages.noParameters);
    WipedObject const wiped(parameters.get());

    Owned<EVP_PKEY_CTX> const context(EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr));
    require(context != nullptr, messages.noContext);
    require(EVP_PKEY_fromdata_init(context.get()) >= 1, messages.contextNotReady);
    Owned<EVP_PKEY> key;
    require(EVP_PKEY_fromdata(context.get(), receive(key), EVP_PKEY_KEYPAIR, parameters.get()) >= 1, messages.notBuilt);
    return EVP_PKEYUPtr(std::move(key));
}

EVP_PKEYUPtr makeRSAPrivateKey(ByteArray const& modulus, ByteArray const& privateExponent,
                               ByteArray const& publicExponent) {
    return rethrowAs<utils::InternalException>([&] {
        ErrorQueueMark const mark;
        EVP_PKEYUPtr key(EVP_PKEY_new()); // want of memory for a key shows before the numbers are looked at
        Owned<BIGNUM> const n = toNumber(modulus);
        Owned<BIGNUM> const d = toNumber(privateExponent);
        WipedObject const wiped(d.get());
        Owned<BIGNUM> const e = toNumber(publicExponent);
        require(n != nullptr && d != nullptr && e != nullptr,
                "Failed to load the modulus and the exponents data from the inputs");

        key = buildRSAKey(
            {{OSSL_PKEY_PARAM_RSA_N, n.get(), "Failed to build the RSA private key with the given modulus"},
             {OSSL_PKEY_PARAM_RSA_E, e.get(), "Failed to build the RSA private key with the given public exponent"},
             {OSSL_PKEY_PARAM_RSA_D, d.get(), "Failed to build the RSA private key with the given private exponent"}},
            {"Failed to initialize the param builder for RSA private key",
             "Failed to initialize the param for RSA private key", "Failed to create the context for RSA private key",
             "Failed to initialize the context for RSA private key",
             "Failed to generate the private key from the modulus and the exponents"});
        return key;
    });
}

EVP_PKEYUPtr makeRSAPublicKey(ByteArray const& modulus, ByteArray const& publicExponent) {
    return rethrowAs<utils::InternalException>([&] {
        ErrorQueueMark const mark;
        EVP_PKEYUPtr key(EVP_PKEY_new()); // want of memory for a key shows before the numbers are looked at
        Owned<BIGNUM> const n = toNumber(modulus);
        Owned<BIGNUM> const e = toNumber(publicExponent);
        require(n != nullptr && e != nullptr,
                "Failed to load the modulus and the public exponent data from the inputs");

        key = buildRSAKey(
            {{OSSL_PKEY_PARAM_RSA_N, n.get(), "Failed to build the RSA public key with the given modulus"},
             {OSSL_PKEY_PARAM_RSA_E, e.get(), "Failed to build the RSA public key with the given public exponent"}},
            {"Failed to initialize the param builder for RSA public key",
             "Failed to initialize the param for RSA public key", "Failed to create the context for RSA public key",
             "Failed to initialize the context for RSA public key",
             "Failed to generate the public key from the modulus and the exponent"});
        return key;
    });
}

void requireSize(EVP_PKEY const* key, unsigned long expected, char const* kind) {
    int const found = EVP_PKEY_get_bits(key);
    if (static_cast<unsigned long>(found) != expected) {
        throw utils::Exception(std::string("The input data corresponds to a ") + kind + " key of size " +
                               std::to_string(found) + " instead of the expected size " + std::to_string(expected));
    }
}

ByteArray getNumber(EVP_PKEY const* key, char const* name, char const* notFound) {
    return rethrowAs<utils::InternalException>([&] {
        ErrorQueueMark const mark;
        BNUPtr const number(BN_new());
        WipedObject const wiped(number.get()); // it may be the private exponent
        BIGNUM* found = number.get();
        require(EVP_PKEY_get_bn_param(key, name, &found) == 1 && found != nullptr, notFound);
        return toByteArray(found);
    });
}

struct Halves {
    EVP_PKEYUPtr publicKey;
    EVP_PKEYUPtr privateKey;
};

/// Generates a key, and separates its halves by writing each out as PEM text and reading it back.
Halves generateRSAKey(std::size_t bits) {
    ErrorQueueMark const mark;
    EVP_PKEYUPtr const generated(EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", bits));
    BIOUPtr const publicText = newMemoryBIO();
    require(PEM_write_bio_PUBKEY(publicText.get(), generated.get()) == 1, "Failed to write the public key to BIO");
    BIOUPtr const privateText = newMemoryBIO();
    require(PEM_write_bio_PrivateKey(privateText.get(), generated.get(), nullptr, nullptr, 0, nullptr, nullptr) == 1,
            "Failed to write the private key to BIO");
    EVP_PKEYUPtr publicKey(PEM_read_bio_PUBKEY(publicText.get(), nullptr, nullptr, nullptr));
    EVP_PKEYUPtr privateKey(PEM_read_bio_PrivateKey(privateText.get(), nullptr, nullptr, nullptr));
    return {std::move(publicKey), std::move(privateKey)};
}

} // namespace

// Private keys

template <class KeySize> RSAPrivateKey<KeySize>::RSAPrivateKey(EVP_PKEYUPtr key) : key_(std::move(key)) {
    requireSize(key_.get(), bitsOf(KeySize()), "private");
}

template <class KeySize>
RSAPrivateKey<KeySize>::RSAPrivateKey(ByteArray const& encodedKey) : RSAPrivateKey(loadRSAPrivateKey(encodedKey, "")) {}

template <class KeySize>
RSAPrivateKey<KeySize>::RSAPrivateKey(std::istream& encodedKey, std::string const& password)
    : RSAPrivateKey(loadRSAPrivateKey(encodedKey, password)) {}

template <class KeySize>
RSAPrivateKey<KeySize>::RSAPrivateKey(ByteArray const& modulus, ByteArray const& privateExponent,
                                      ByteArray const& publicExponent)
    : RSAPrivateKey(makeRSAPrivateKey(modulus, privateExponent, publicExponent)) {}

template <class KeySize> ByteArray RSAPrivateKey<KeySize>::getDER() const {
    ErrorQueueMark const mark; // an encoder that runs out of memory may be followed by another that does not
    BIOUPtr const bio = newMemoryBIO();
    require(i2d_PKCS8PrivateKey_bio(bio.get(), get(), nullptr, nullptr, 0, nullptr, nullptr) != 0,
            "Failed to convert RSA private key to DER-form BIO.");
    return toByteArray(bio.get());
}

template <class KeySize> ByteArray RSAPrivateKey<KeySize>::getModulus() const {
    return getNumber(get(), OSSL_PKEY_PARAM_RSA_N, "Failed to get the modulus for the private key");
}

template <class KeySize> ByteArray RSAPrivateKey<KeySize>::getPrivateExponent() const {
    return getNumber(get(), OSSL_PKEY_PARAM_RSA_D, "Failed to get the private exponent for the private key");
}

// Public keys

template <class KeySize> RSAPublicKey<KeySize>::RSAPublicKey(EVP_PKEYUPtr key) : key_(std::move(key)) {
    requireSize(key_.get(), bitsOf(KeySize()), "public");
}

template <class KeySize>
RSAPublicKey<KeySize>::RSAPublicKey(ByteArray const& encodedKey) : RSAPublicKey(loadRSAPublicKey(encodedKey)) {}

template <class KeySize>
RSAPublicKey<KeySize>::RSAPublicKey(std::istream& encodedKey) : RSAPublicKey(readRSAPublicKey(encodedKey)) {}

template <class KeySize>
RSAPublicKey<KeySize>::RSAPublicKey(ByteArray const& modulus, ByteArray const& publicExponent)
    : RSAPublicKey(makeRSAPublicKey(modulus, publicExponent)) {}

template <class KeySize> ByteArray RSAPublicKey<KeySize>::getDER() const {
    ErrorQueueMark const mark;
    BIOUPtr const bio = newMemoryBIO();
    require(i2d_PUBKEY_bio(bio.get(), get()) != 0, "Failed to convert RSA public key to DER-form BIO.");
    return toByteArray(bio.get());
}

template <class KeySize> ByteArray RSAPublicKey<KeySize>::getModulus() const {
    return getNumber(get(), OSSL_PKEY_PARAM_RSA_N, "Failed to get the modulus for the public key");
}

template <class KeySize> ByteArray RSAPublicKey<KeySize>::getPublicExponent() const {
    return getNumber(get(), OSSL_PKEY_PARAM_RSA_E, "Failed to get the public exponent for the public key");
}

// Key pairs

template <class KeySize> RSAKeyPair<KeySize>::RSAKeyPair(interfaces::CryptoPRNGPtr prng) : prng_(std::move(prng)) {
    require(prng_ != nullptr, "The PRNG does not exist.");
    Halves halves = generateRSAKey(bitsOf(KeySize()));
    publicKey_ = std::make_shared<RSAPublicKey<KeySize>>(std::move(halves.publicKey));
    privateKey_ = std::make_shared<RSAPrivateKey<KeySize>>(std::move(halves.privateKey));
}

template class RSAPrivateKey<utils::RSAKeySize<1024>>;
template class RSAPrivateKey<utils::RSAKeySize<2048>>;
template class RSAPrivateKey<utils::RSAKeySize<4096>>;
template class RSAPublicKey<utils::RSAKeySize<1024>>;
template class RSAPublicKey<utils::RSAKeySize<2048>>;
template class RSAPublicKey<utils::RSAKeySize<4096>>;
template class RSAKeyPair<utils::RSAKeySize<1024>>;
template class RSAKeyPair<utils::RSAKeySize<2048>>;
template class RSAKeyPair<utils::RSAKeySize<4096>>;

} // namespace foundation::crypto::openssl
