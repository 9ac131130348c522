#include "rsa/RSAEncryption.h"

#include "common/Check.h"
#include "common/ErrorQueue.h"
#include "common/Secrets.h"
#include "common/Streams.h"

#include <openssl/rand.h>
#include <openssl/rsa.h>

#include <algorithm>
#include <cstddef>
#include <istream>
#include <ostream>
#include <utility>

namespace foundation::crypto::openssl {

using interfaces::CryptoPRNGPtr;
using interfaces::ICryptoPRNG;
using utils::RSAPaddingMode;

namespace {

/// What encryption and decryption differ in: libcrypto's functions and the words for their failures.
struct Direction {
    int (*initialize)(EVP_PKEY_CTX* context);
    int (*transform)(EVP_PKEY_CTX* context, unsigned char* out, std::size_t* outSize, unsigned char const* in,
                     std::size_t size);
    char const* notInitialized;
    char const* unsupportedPadding;
    char const* paddingNotSet;
    char const* unknownSize;
    char const* notTransformed;
};

constexpr Direction encryption{
    EVP_PKEY_encrypt_init,
    EVP_PKEY_encrypt,
    "Failed to initializing the EVP_PKEY_CTX for the encryptor.",
    "Unsupported Padding Algorithm for encryption.",
    "Failed to set the RSA padding mode for the encryptor.",
    "Failed to obtain the output length for encryption.",
    "EVP_PKEY_encrypt failed to generate the encrypted text. Please try using streams for this operation."};

constexpr Direction decryption{EVP_PKEY_decrypt_init,
                               EVP_PKEY_decrypt,
                               "Failed to initializing the EVP_PKEY_CTX for the decryptor.",
                               "Unsupported Padding Algorithm for decryption.",
                               "Failed to set the RSA padding mode for the decryptor.",
                               "Failed to obtain the output length for decryption.",
                               "EVP_PKEY_decrypt failed to generate the decrypted text."};

/// The hash of an OAEP padding (RFC 8017, section 7.1), for its label and for MGF1; null for every other padding.
EVP_MD const* getOAEPDigest(RSAPaddingMode padding) {
    switch (padding) {
    case RSAPaddingMode::OAEP_SHA1:
        return EVP_sha1();
    case RSAPaddingMode::OAEP_SHA256:
        return EVP_sha256();
    case RSAPaddingMode::OAEP_SHA512:
        return EVP_sha512();
    default:
        return nullptr;
    }
}

void setPadding(EVP_PKEY_CTX* context, RSAPaddingMode padding, Direction const& direction) {
    if (EVP_MD const* const digest = getOAEPDigest(padding)) {
        require(EVP_PKEY_CTX_set_rsa_oaep_md(context, digest) > 0, direction.paddingNotSet);
        require(EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_OAEP_PADDING) > 0, direction.paddingNotSet);
    } else {
        require(padding == RSAPaddingMode::PKCS1_V1_5, direction.unsupportedPadding);
        require(EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_PADDING) > 0, direction.paddingNotSet);
    }
}

/// Mixes fresh bytes into the generator from which libcrypto takes the padding and the blinding.
void reseed(ICryptoPRNG& prng) {
    ByteArray seed = prng.generateRandomBytes(32);
    Wiped const wiped(seed);
    RAND_seed(seed.data(), static_cast<int>(seed.size()));
}

/// One RSA operation on one block. A block that is longer than the modulus never reaches libcrypto: it cuts sizes to 32
/// bits, and with some that it does not have to cut it writes past its buffers.
template <class Bytes>
Bytes transformBlock(Direction const& direction, EVP_PKEY* key, std::size_t modulusSize, RSAPaddingMode padding,
                     ICryptoPRNG& prng, unsigned char const* data, std::size_t size) {
    ErrorQueueMark const mark; // removing a padding leaves entries behind, whether it was right or not
    EVP_PKEY_CTXUPtr const context(EVP_PKEY_CTX_new(key, nullptr));
    require(direction.initialize(context.get()) > 0, direction.notInitialized);
    setPadding(context.get(), padding, direction);
    reseed(prng);

    std::size_t outSize = 0;
    std::size_t const taken = std::min(size, modulusSize);
    require(direction.transform(context.get(), nullptr, &outSize, data, taken) > 0, direction.unknownSize);
    require(taken == size, direction.notTransformed);
    Bytes out(outSize);
    require(direction.transform(context.get(), out.data(), &outSize, data, size) > 0, direction.notTransformed);
    out.resize(outSize);
    return out;
}

/// The bytes of a block that the padding takes.
int getOverhead(RSAPaddingMode padding) {
    if (EVP_MD const* const digest = getOAEPDigest(padding)) {
        return 2 * (EVP_MD_get_size(digest) + 1);
    }
    require(padding == RSAPaddingMode::PKCS1_V1_5, encryption.unsupportedPadding);
    return RSA_PKCS1_PADDING_SIZE;
}

/// Writes the bytes to the same effect as inserting one character after the other: a field width pads the first, and
/// the last, inserted by itself, meets whatever state an earlier failure left the stream in.
void write(SecretBytes const& block, std::ostream& output) {
    if (block.empty()) {
        return;
    }
    std::size_t const last = block.size() - 1;
    std::size_t written = 0;
    for (; written < last && output.width() != 0; ++written) {
        output << static_cast<char>(block[written]);
    }
    output.write(reinterpret_cast<char const*>(block.data()) + written, static_cast<std::streamsize>(last - written));
    output << static_cast<char>(block[last]);
}

/// One RSA operation for each `chunkLength` bytes of `input`; what it has read and made in between is wiped.
std::ostream& transformStream(Direction const& direction, EVP_PKEY* key, std::size_t modulusSize,
                              RSAPaddingMode padding, ICryptoPRNG& prng, int chunkLength, std::istream& input,
                              std::ostream& output) {
    require(chunkLength != 0, "chunkLength must be greater than zero");
    require(chunkLength > 0, "chunkLength exceeds maximum ByteArray size");
    SecretBytes chunk(static_cast<std::size_t>(chunkLength));
    while (std::size_t const size = readPiece(input, chunk.data(), chunk.size())) {
        write(transformBlock<SecretBytes>(direction, key, modulusSize, padding, prng, chunk.data(), size), output);
        std::fill(chunk.begin(), chunk.end(), 0); // what the stream's buffer counts next but does not write is zero
    }
    return output;
}

} // namespace

template <class KeySize>
RSAEncryptor<KeySize>::RSAEncryptor(std::shared_ptr<RSAPublicKey<KeySize>> key, RSAPaddingMode padding,
                                    CryptoPRNGPtr prng)
    : key_(std::move(key)), padding_(padding), prng_(std::move(prng)) {
    require<utils::InvalidKey>(key_ != nullptr, "The encryption key does not exist.");
    require(prng_ != nullptr, "The PRNG does not exist.");
    require(padding_ != RSAPaddingMode::PSS, "Cannot use PSS as Padding Algorithm for encryption.");
}

template <class KeySize> ByteArray RSAEncryptor<KeySize>::encrypt(ByteArray const& plainText) const {
    return transformBlock<ByteArray>(encryption, key_->get(), modulusBytes<KeySize>, padding_, *prng_, plainText.data(),
                                     plainText.size());
}

template <class KeySize>
std::ostream& RSAEncryptor<KeySize>::encrypt(std::istream& plainText, std::ostream& cipherText) const {
    return rethrowAs<utils::InternalException>([&]() -> std::ostream& {
        int const chunkLength = EVP_PKEY_get_size(key_->get()) - getOverhead(padding_);
        return transformStream(encryption, key_->get(), modulusBytes<KeySize>, padding_, *prng_, chunkLength, plainText,
                               cipherText);
    });
}

template <class KeySize>
RSADecryptor<KeySize>::RSADecryptor(std::shared_ptr<RSAPrivateKey<KeySize>> key, RSAPaddingMode padding,
                                    CryptoPRNGPtr prng)
    : key_(std::move(key)), padding_(padding), prng_(std::move(prng)) {
    require<utils::InvalidKey>(key_ != nullptr, "The decryption key does not exist.");
    require(prng_ != nullptr, "The PRNG does not exist.");
    require(padding_ != RSAPaddingMode::PSS, "Cannot use PSS as Padding Algorithm for decryption.");
}

template <class KeySize> ByteArray RSADecryptor<KeySize>::decrypt(ByteArray const& cipherText) const {
    return transformBlock<ByteArray>(decryption, key_->get(), modulusBytes<KeySize>, padding_, *prng_,
                                     cipherText.data(), cipherText.size());
}

template <class KeySize>
std::ostream& RSADecryptor<KeySize>::decrypt(std::istream& cipherText, std::ostream& plainText) const {
    return rethrowAs<utils::InternalException>([&]() -> std::ostream& {
        int const chunkLength = EVP_PKEY_get_size(key_->get());
        return transformStream(decryption, key_->get(), modulusBytes<KeySize>, padding_, *prng_, chunkLength,
                               cipherText, plainText);
    });
}

template class RSAEncryptor<utils::RSAKeySize<1024>>;
template class RSAEncryptor<utils::RSAKeySize<2048>>;
template class RSAEncryptor<utils::RSAKeySize<4096>>;
template class RSADecryptor<utils::RSAKeySize<1024>>;
template class RSADecryptor<utils::RSAKeySize<2048>>;
template class RSADecryptor<utils::RSAKeySize<4096>>;

} // namespace foundation::crypto::openssl
