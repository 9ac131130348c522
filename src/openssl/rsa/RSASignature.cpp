#include "rsa/RSASignature.h"

#include "common/Check.h"
#include "common/ErrorQueue.h"
#include "common/Signature.h"
#include "common/Streams.h"
#include "rsa/PSS.h"

#include <openssl/rsa.h>

#include <cstddef>
#include <string>
#include <utility>

namespace foundation::crypto::openssl {

using interfaces::CryptoPRNGPtr;
using interfaces::DigestEnginePtr;
using utils::RSAPaddingMode;
using utils::SignatureVerificationStatus;

namespace {

/// libcrypto's number for the padding of a signature. Whatever the enumeration does not know is PSS.
int getSignaturePadding(RSAPaddingMode padding) {
    switch (padding) {
    case RSAPaddingMode::OAEP_SHA1:
    case RSAPaddingMode::OAEP_SHA256:
    case RSAPaddingMode::OAEP_SHA512:
        throw utils::InternalException("Cannot use OAEP as Padding Algorithm for Signatures in OpenSSL.");
    case RSAPaddingMode::PKCS1_V1_5:
        return RSA_PKCS1_PADDING;
    case RSAPaddingMode::PSS:
    default:
        return RSA_PKCS1_PSS_PADDING;
    }
}

/// Sets the salt's length for `PSS` itself; the other values that sign as PSS have libcrypto's own.
bool setSaltLength(EVP_PKEY_CTX* context, RSAPaddingMode padding, std::string const& digestName) {
    return padding != RSAPaddingMode::PSS || setPSSSaltLength(context, digestName);
}

ByteArray signRSA(EVP_PKEY* key, RSAPaddingMode padding, Message message, DigestEnginePtr const& digest) {
    int const signaturePadding = getSignaturePadding(padding);
    std::string const digestName =
        rethrowForeignAs<utils::InternalException>([&] { return getDigestNameForSignature(digest); });

    ErrorQueueMark const mark;
    EVP_MD_CTXUPtr const context(EVP_MD_CTX_new());
    require(EVP_DigestSignInit_ex(context.get(), nullptr, digestName.c_str(), nullptr, nullptr, key, nullptr) == 1,
            "Failed to initialize the digest for signing.");
    EVP_PKEY_CTX* const keyContext = EVP_MD_CTX_get_pkey_ctx(context.get());
    require(EVP_PKEY_CTX_set_rsa_padding(keyContext, signaturePadding) > 0,
            "Failed to get the OpenSSL pkey context for signing.");
    require(setSaltLength(keyContext, padding, digestName),
            "Failed to set the salt length for pkey context when signing.");
    return sign(context.get(), message);
}

bool isSignedRSA(EVP_PKEY* key, std::size_t modulusSize, RSAPaddingMode padding, int signaturePadding, Message message,
                 ByteArray const& signature, DigestEnginePtr const& digest) {
    std::string const digestName = getDigestNameForSignature(digest);
    if (signature.size() != modulusSize) {
        return false; // RFC 8017, 8.1.2 and 8.2.2, step 1, where libcrypto takes any PSS signature of the same number
    }
    EVP_MD_CTXUPtr const context(EVP_MD_CTX_new());
    if (EVP_DigestVerifyInit_ex(context.get(), nullptr, digestName.c_str(), nullptr, nullptr, key, nullptr) != 1) {
        return false;
    }
    EVP_PKEY_CTX* const keyContext = EVP_MD_CTX_get_pkey_ctx(context.get());
    return EVP_PKEY_CTX_set_rsa_padding(keyContext, signaturePadding) > 0 &&
           setSaltLength(keyContext, padding, digestName) &&
           EVP_DigestVerify(context.get(), signature.data(), signature.size(), message.data, message.size) == 1;
}

SignatureVerificationStatus verifyRSA(EVP_PKEY* key, std::size_t modulusSize, RSAPaddingMode padding, Message message,
                                      ByteArray const& signature, DigestEnginePtr const& digest) {
    int const signaturePadding = getSignaturePadding(padding);
    ErrorQueueMark const mark; // what hinders the check is no more than an answer: nothing was shown to be signed
    bool const isSigned = holdsWithoutThrowing(
        [&] { return isSignedRSA(key, modulusSize, padding, signaturePadding, message, signature, digest); });
    return isSigned ? utils::makeValidSignatureVerificationStatus() : utils::makeInvalidSignatureVerificationStatus();
}

UnfilledSecretBytes readMessage(std::istream& message) {
    return readExtracted<UnfilledSecretBytes>(message, rethrowForeignAs<utils::InternalException>);
}

} // namespace

template <class KeySize>
RSASigner<KeySize>::RSASigner(std::shared_ptr<RSAPrivateKey<KeySize>> key, RSAPaddingMode padding, CryptoPRNGPtr prng)
    : key_(std::move(key)), padding_(padding), prng_(std::move(prng)) {
    require<utils::InvalidKey>(key_ != nullptr, "The signing key does not exist.");
    require(prng_ != nullptr, "The PRNG does not exist.");
}

template <class KeySize> ByteArray RSASigner<KeySize>::sign(ByteArray const& message, DigestEnginePtr digest) const {
    return signRSA(key_->get(), padding_, message, digest);
}

template <class KeySize> ByteArray RSASigner<KeySize>::sign(std::istream& message, DigestEnginePtr digest) const {
    return signRSA(key_->get(), padding_, readMessage(message), digest);
}

template <class KeySize>
RSAVerifier<KeySize>::RSAVerifier(std::shared_ptr<RSAPublicKey<KeySize>> key, RSAPaddingMode padding,
                                  CryptoPRNGPtr prng)
    : key_(std::move(key)), padding_(padding), prng_(std::move(prng)) {
    require<utils::InvalidKey>(key_ != nullptr, "The verifying key does not exist. Please correct.");
    require(prng_ != nullptr, "The PRNG does not exist. Please correct.");
}

template <class KeySize>
SignatureVerificationStatus RSAVerifier<KeySize>::verify(ByteArray const& message, ByteArray const& signature,
                                                         DigestEnginePtr digest) const {
    return verifyRSA(key_->get(), modulusBytes<KeySize>, padding_, message, signature, digest);
}

template <class KeySize>
SignatureVerificationStatus RSAVerifier<KeySize>::verify(std::istream& message, ByteArray const& signature,
                                                         DigestEnginePtr digest) const {
    return verifyRSA(key_->get(), modulusBytes<KeySize>, padding_, readMessage(message), signature, digest);
}

template class RSASigner<utils::RSAKeySize<1024>>;
template class RSASigner<utils::RSAKeySize<2048>>;
template class RSASigner<utils::RSAKeySize<4096>>;
template class RSAVerifier<utils::RSAKeySize<1024>>;
template class RSAVerifier<utils::RSAKeySize<2048>>;
template class RSAVerifier<utils::RSAKeySize<4096>>;

} // namespace foundation::crypto::openssl
