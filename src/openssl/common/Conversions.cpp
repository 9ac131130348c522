#include "common/Conversions.h"

#include "common/Check.h"

#include <openssl/core_names.h>
#include <openssl/pem.h>

#include <climits>
#include <cstddef>

namespace foundation::crypto::openssl {

namespace {

EVP_PKEYUPtr requireReadable(EVP_PKEY* key) {
    require<utils::InvalidKeyEncoding>(key != nullptr, "Could not create key from bytes in PEM encoding. Is the key "
                                                       "really in PEM encoding? DER is not supported.");
    return EVP_PKEYUPtr(key);
}

/// The curve of an `EVP_PKEY_EC` key, from the group name among its public parameters.
utils::EllipticCurve getNamedCurve(EVP_PKEY const* key) {
    OSSL_PARAM* exported = nullptr;
    int const result = EVP_PKEY_todata(key, EVP_PKEY_PUBLIC_KEY, &exported);
    Owned<OSSL_PARAM> const parameters(exported);
    require(result == 1, "Could not extract public key information from EVP_PKEY");

    OSSL_PARAM const* const group = OSSL_PARAM_locate_const(parameters.get(), OSSL_PKEY_PARAM_GROUP_NAME);
    char const* name = nullptr;
    require(group != nullptr && OSSL_PARAM_get_utf8_string_ptr(group, &name) == 1,
            "Expected EVP_PKEY to have group parameter since it's an EVP_PKEY_EC");
    if (std::string(name) != SN_X9_62_prime256v1) {
        throw utils::KeyAndCurveMismatch(std::string("Stored key is not a supported ECC Curve. Curve: ") + name);
    }
    return utils::EllipticCurve::P256;
}

utils::EllipticCurve getCurve(EVP_PKEY const* key) {
    int const type = EVP_PKEY_get_base_id(key);
    switch (type) {
    case EVP_PKEY_ED25519:
        return utils::EllipticCurve::Curve25519;
    case EVP_PKEY_ED448:
        throw utils::KeyAndCurveMismatch("Stored key uses Ed448, which is not currently supported");
    case EVP_PKEY_EC:
        return getNamedCurve(key);
    default:
        throw utils::KeyAndCurveMismatch("Stored key is not ECC-based. OpenSSL type id: " + std::to_string(type));
    }
}

} // namespace

BIOUPtr newMemoryBIO() {
    return BIOUPtr(BIO_new(BIO_s_mem()));
}

EC_POINTUPtr toECPoint(EC_GROUP const* group, ByteArray const& bytes) {
    require(group != nullptr, "Failed to create EC_POINT from ByteArray. Argument is nullptr");
    BN_CTXUPtr const context(BN_CTX_new());
    EC_POINTUPtr point(EC_POINT_new(group));
    require(EC_POINT_oct2point(group, point.get(), bytes.data(), bytes.size(), context.get()) == 1,
            "Failed to convert point from bytes to an EC_POINT");
    return point;
}

ByteArray toByteArray(EC_GROUP const* group, EC_POINT const* point) {
    require(group != nullptr && point != nullptr, "Failed to create ByteArray from EC_POINT. Argument(s) are nullptr");
    BN_CTXUPtr const context(BN_CTX_new());
    auto const encode = [&](unsigned char* bytes, std::size_t size) {
        return EC_POINT_point2oct(group, point, POINT_CONVERSION_UNCOMPRESSED, bytes, size, context.get());
    };
    std::size_t const size = encode(nullptr, 0);
    require(size != 0, "Failed to get number of bytes to store public point");
    ByteArray bytes(size);
    require(encode(bytes.data(), bytes.size()) != 0, "Failed to convert EC_POINT to ByteArray");
    return bytes;
}

ByteArray toByteArray(BIGNUM const* number) {
    require(number != nullptr, "Failed to convert BIGNUM to ByteArray. Argument is nullptr.");
    int const size = (BN_num_bits(number) + 7) / 8;
    ByteArray bytes(static_cast<std::size_t>(size));
    int const written = BN_bn2bin(number, bytes.data());
    if (written != size) {
        throw utils::InternalException("Wrote " + std::to_string(written) +
                                       " bytes from BIGNUM to ByteArray. Expected: " + std::to_string(size));
    }
    return bytes;
}

Owned<BIGNUM> toNumber(ByteArray const& bytes) {
    bool const isTooLong = bytes.size() > INT_MAX; // its size would be cut, and so the number
    return Owned<BIGNUM>(isTooLong ? nullptr : BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr));
}

ByteArray toByteArray(BIO* bio) {
    require(bio != nullptr, "Failed to write from BIO to ByteArray. Argument is nullptr");
    long const pending = BIO_ctrl(bio, BIO_CTRL_PENDING, 0, nullptr);
    require(pending > 0, "Error occurred while trying to find number of bytes in BIO. "
                         "Expected one or more bytes to be pending");
    ByteArray bytes(static_cast<std::size_t>(pending));
    int const read = BIO_read(bio, bytes.data(), static_cast<int>(pending));
    require(read >= 1, "Failed to read from BIO to ByteArray");
    if (read != pending) {
        throw utils::InternalException("Expected to read " + std::to_string(pending) + " bytes in BIO. Found " +
                                       std::to_string(read) + " bytes.");
    }
    return bytes;
}

ByteArray toByteArray(OSSL_PARAM const& octets) {
    auto const* const data = static_cast<unsigned char const*>(octets.data);
    return {data, data + octets.data_size};
}

void write(std::string_view text, BIO* bio) {
    require(bio != nullptr, "Failed to write string to BIO. Argument is nullptr");
    int const written = BIO_write(bio, text.data(), static_cast<int>(text.size()));
    require(written > 0, "Failed to write to BIO.");
    if (static_cast<std::size_t>(written) != text.size()) {
        throw utils::InternalException("Expected " + std::to_string(text.size()) + " bytes written to BIO. Found " +
                                       std::to_string(written) + " bytes.");
    }
}

EVP_PKEYUPtr readPEMPublicKey(BIO* bio) {
    require(bio != nullptr, "Failed to create EVP_PKEY from BIO. Argument is nullptr");
    return requireReadable(PEM_read_bio_PUBKEY(bio, nullptr, nullptr, noPassPhrase()));
}

EVP_PKEYUPtr readPEMPrivateKey(BIO* bio, std::string const& password) {
    require(bio != nullptr, "Failed to create EVP_PKEY from BIO. Argument is nullptr");
    return requireReadable(PEM_read_bio_PrivateKey(bio, nullptr, nullptr, passPhrase(password)));
}

void checkCurve(EVP_PKEY const* key, utils::EllipticCurve expected) {
    require(key != nullptr, "Failed to sanity check EVP_PKEY. Argument is nullptr");
    utils::EllipticCurve const found = getCurve(key);
    if (found != expected) {
        throw utils::KeyAndCurveMismatch("Actual curve (" + getName(found) + ") does not match expected curve (" +
                                         getName(expected) + ")");
    }
}

} // namespace foundation::crypto::openssl
