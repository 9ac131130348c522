#ifndef ZRFL_FUZZ_BARE_H
#define ZRFL_FUZZ_BARE_H

#include "Fuzz.h"

#include <openssl/bio.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/kdf.h>
#include <openssl/params.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <array>
#include <memory>

/// The same work in plain libcrypto calls: what the fuzzers compare the library with. Where libcrypto has two ways to a
/// result, this is mostly the one that the library does not go.
namespace fuzz::bare {

template <auto release> struct Release {
    template <class Object> void operator()(Object* object) const { release(object); }
};

using Bio = std::unique_ptr<BIO, Release<BIO_free>>;
using Number = std::unique_ptr<BIGNUM, Release<BN_clear_free>>;
using Key = std::unique_ptr<EVP_PKEY, Release<EVP_PKEY_free>>;
using KeyContext = std::unique_ptr<EVP_PKEY_CTX, Release<EVP_PKEY_CTX_free>>;
using DigestContext = std::unique_ptr<EVP_MD_CTX, Release<EVP_MD_CTX_free>>;
using Cipher = std::unique_ptr<EVP_CIPHER, Release<EVP_CIPHER_free>>;
using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, Release<EVP_CIPHER_CTX_free>>;

// Keys

inline Bio reader(ByteArray const& text) {
    return Bio(
        BIO_new_mem_buf(text.empty() ? "" : static_cast<void const*>(text.data()), static_cast<int>(text.size())));
}

/// What `write(bio)` writes; nothing where it fails.
template <class Write> std::optional<ByteArray> written(Write&& write) {
    Bio const bio(BIO_new(BIO_s_mem()));
    if (write(bio.get()) != 1) {
        return std::nullopt;
    }
    unsigned char* data = nullptr;
    long const size = BIO_get_mem_data(bio.get(), &data);
    return ByteArray(data, data + size);
}

/// A password counts up to its first NUL, and no more of it than libcrypto's buffer takes.
inline int givePassword(char* buffer, int size, int /*encrypting*/, void* password) {
    auto const& text = *static_cast<std::string const*>(password);
    std::size_t const length = std::min({text.find('\0'), text.size(), static_cast<std::size_t>(size)});
    std::copy_n(text.begin(), length, buffer);
    return static_cast<int>(length);
}

inline Key readPEMPrivateKey(ByteArray const& text, std::string password) {
    return Key(PEM_read_bio_PrivateKey(reader(text).get(), nullptr, givePassword, &password));
}

inline Key readPEMPublicKey(ByteArray const& text) {
    std::string none;
    return Key(PEM_read_bio_PUBKEY(reader(text).get(), nullptr, givePassword, &none));
}

/// The RSA readers' rule.
inline bool isPEM(ByteArray const& text) {
    std::string const characters = asString(text);
    return characters.find("-----END ") != std::string::npos &&
           characters.find("-----BEGIN ") < characters.find("-----END ");
}

inline Key readRSAPrivateKey(ByteArray const& text, std::string password) {
    if (isPEM(text)) {
        return readPEMPrivateKey(text, password);
    }
    Key encrypted(d2i_PKCS8PrivateKey_bio(reader(text).get(), nullptr, givePassword, &password));
    return encrypted != nullptr ? std::move(encrypted) : Key(d2i_PrivateKey_bio(reader(text).get(), nullptr));
}

inline Key readRSAPublicKey(ByteArray const& text) {
    return isPEM(text) ? readPEMPublicKey(text) : Key(d2i_PUBKEY_bio(reader(text).get(), nullptr));
}

inline int bits(Key const& key) {
    return key == nullptr ? 0 : EVP_PKEY_get_bits(key.get());
}

inline ByteArray asBytes(BIGNUM const* number) {
    ByteArray bytes(static_cast<std::size_t>(BN_num_bytes(number)));
    BN_bn2bin(number, bytes.data());
    return bytes;
}

inline Number asNumber(ByteArray const& bytes) {
    return Number(BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr));
}

/// A number among a key's parameters, without leading zeros; nothing where it has none of that name.
inline std::optional<ByteArray> number(EVP_PKEY const* key, char const* name) {
    BIGNUM* found = nullptr;
    bool const isThere = EVP_PKEY_get_bn_param(key, name, &found) == 1;
    Number const owner(found);
    return isThere ? std::make_optional(asBytes(found)) : std::nullopt;
}

/// A parameter that is an octet string.
inline std::optional<ByteArray> octets(EVP_PKEY const* key, char const* name) {
    ByteArray bytes(1024);
    std::size_t size = 0;
    if (EVP_PKEY_get_octet_string_param(key, name, bytes.data(), bytes.size(), &size) != 1) {
        return std::nullopt;
    }
    bytes.resize(size);
    return bytes;
}

inline bool isOnP256(EVP_PKEY const* key) {
    std::array<char, 80> name{};
    return EVP_PKEY_get_base_id(key) == EVP_PKEY_EC &&
           EVP_PKEY_get_utf8_string_param(key, OSSL_PKEY_PARAM_GROUP_NAME, name.data(), name.size(), nullptr) == 1 &&
           std::string(name.data()) == SN_X9_62_prime256v1;
}

// Digests and codes

inline ByteArray digest(std::string const& name, ByteArray const& message) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
    std::size_t size = 0;
    expect(EVP_Q_digest(nullptr, name.c_str(), nullptr, message.data(), message.size(), bytes.data(), &size) == 1,
           "libcrypto computes the digest");
    return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)};
}

// Signatures

/// Whether libcrypto takes `signature` for one of the message with this digest. `configure` sets the padding.
template <class Configure>
bool isSignature(EVP_PKEY* key, std::string const& digestName, ByteArray const& message, ByteArray const& signature,
                 Configure&& configure) {
    ByteArray const hashed = digest(digestName, message);
    KeyContext const context(EVP_PKEY_CTX_new(key, nullptr));
    return context != nullptr && EVP_PKEY_verify_init(context.get()) == 1 && configure(context.get()) &&
           EVP_PKEY_CTX_set_signature_md(context.get(), EVP_get_digestbyname(digestName.c_str())) == 1 &&
           EVP_PKEY_verify(context.get(), signature.data(), signature.size(), hashed.data(), hashed.size()) == 1;
}

inline bool needsNoPadding(EVP_PKEY_CTX* /*context*/) {
    return true;
}

inline bool isEd25519Signature(EVP_PKEY* key, ByteArray const& message, ByteArray const& signature) {
    DigestContext const context(EVP_MD_CTX_new());
    return EVP_DigestVerifyInit(context.get(), nullptr, nullptr, nullptr, key) == 1 &&
           EVP_DigestVerify(context.get(), signature.data(), signature.size(), message.data(), message.size()) == 1;
}

// RSA without a padding: the power alone

using Power = int (*)(EVP_PKEY_CTX*, unsigned char*, std::size_t*, unsigned char const*, std::size_t);

/// The power of `block`, which is brought to the modulus's size by zeros in front or by cutting; nothing where it is
/// no number below the modulus.
inline std::optional<ByteArray> power(EVP_PKEY* key, int (*initialize)(EVP_PKEY_CTX*), Power raise, ByteArray block) {
    auto const size = static_cast<std::size_t>(EVP_PKEY_get_size(key));
    block.resize(std::min(block.size(), size));
    block.insert(block.begin(), size - block.size(), 0);
    KeyContext const context(EVP_PKEY_CTX_new(key, nullptr));
    ByteArray out(size);
    std::size_t outSize = size;
    expect(initialize(context.get()) == 1 && EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_NO_PADDING) == 1,
           "libcrypto is ready for RSA without a padding");
    return raise(context.get(), out.data(), &outSize, block.data(), block.size()) == 1 ? std::make_optional(out)
                                                                                       : std::nullopt;
}

inline std::optional<ByteArray> publicPower(EVP_PKEY* key, ByteArray const& block) {
    return power(key, EVP_PKEY_encrypt_init, EVP_PKEY_encrypt, block);
}

inline std::optional<ByteArray> privatePower(EVP_PKEY* key, ByteArray const& block) {
    return power(key, EVP_PKEY_decrypt_init, EVP_PKEY_decrypt, block);
}

// AES

struct CipherSetup {
    std::string name;
    ByteArray key;
    ByteArray iv;
    bool padded;
};

/// One message in the given direction, fed in two pieces; in GCM the tag stands behind the cipher text.
inline std::optional<ByteArray> transform(CipherSetup const& setup, bool encrypts, ByteArray input) {
    constexpr std::size_t tagSize = 16;
    Cipher const cipher(EVP_CIPHER_fetch(nullptr, setup.name.c_str(), nullptr));
    CipherContext const context(EVP_CIPHER_CTX_new());
    bool const isGCM = EVP_CIPHER_get_mode(cipher.get()) == EVP_CIPH_GCM_MODE;
    std::size_t ivSize = setup.iv.size();
    OSSL_PARAM const ivLength[]{OSSL_PARAM_construct_size_t(OSSL_CIPHER_PARAM_AEAD_IVLEN, &ivSize),
                                OSSL_PARAM_construct_end()};
    if (EVP_CipherInit_ex2(context.get(), cipher.get(), nullptr, nullptr, encrypts ? 1 : 0,
                           isGCM ? ivLength : nullptr) != 1 ||
        EVP_CipherInit_ex2(context.get(), nullptr, setup.key.data(), setup.iv.data(), -1, nullptr) != 1) {
        return std::nullopt;
    }
    EVP_CIPHER_CTX_set_padding(context.get(), setup.padded ? 1 : 0);
    if (isGCM && !encrypts) {
        if (input.size() < tagSize) {
            return std::nullopt;
        }
        ByteArray tag(input.end() - tagSize, input.end());
        input.resize(input.size() - tagSize);
        EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_SET_TAG, tagSize, tag.data());
    }
    ByteArray output(input.size() + 2 * tagSize);
    std::size_t size = 0;
    std::size_t const first = input.size() / 3;
    int written = 0;
    for (auto const& [start, count] : {std::pair(std::size_t(0), first), std::pair(first, input.size() - first)}) {
        if (EVP_CipherUpdate(context.get(), output.data() + size, &written, input.data() + start,
                             static_cast<int>(count)) != 1) {
            return std::nullopt;
        }
        size += static_cast<std::size_t>(written);
    }
    if (EVP_CipherFinal_ex(context.get(), output.data() + size, &written) != 1) {
        return std::nullopt;
    }
    size += static_cast<std::size_t>(written);
    if (isGCM && encrypts) {
        EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_GET_TAG, tagSize, output.data() + size);
        size += tagSize;
    }
    output.resize(size);
    return output;
}

} // namespace fuzz::bare

#endif
