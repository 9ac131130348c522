#include "digest/HMACDigestEngine.h"

#include "common/Check.h"
#include "digest/DigestSupport.h"

#include <openssl/core_names.h>

#include <limits>
#include <utility>

namespace foundation::crypto::openssl {

void startHMAC(Owned<EVP_MAC_CTX>& context, EVP_MD const* digest, unsigned char* key, std::size_t keySize) {
    Owned<EVP_MAC> mac(EVP_MAC_fetch(nullptr, "HMAC", nullptr));
    require(mac != nullptr, "Could not initialize the EVP MAC. ");
    Owned<EVP_MAC_CTX> fresh(EVP_MAC_CTX_new(mac.get()));
    require(fresh != nullptr, "OpenSSL could not initialize EVP HMAC context. ");
    context = std::move(fresh);
    mac.reset(); // the context has a reference of its own

    // An empty key goes in as the null pointer that an empty array has: whether to accept it is up to libcrypto.
    OSSL_PARAM const parameters[] = {
        OSSL_PARAM_construct_octet_string(OSSL_MAC_PARAM_KEY, key, keySize),
        OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, const_cast<char*>(EVP_MD_get0_name(digest)), 0),
        OSSL_PARAM_construct_end()};
    // libcrypto takes the size as it is but computes with an int: of 2^32 + 16 bytes it would use 16.
    constexpr std::size_t longest = std::numeric_limits<int>::max();
    requireExplained(keySize <= longest && EVP_MAC_init(context.get(), nullptr, 0, parameters) != 0,
                     "Could not initialize the digest context. ");
}

namespace {

Owned<EVP_MAC_CTX> duplicate(EVP_MAC_CTX const* source) {
    Owned<EVP_MAC_CTX> copy(EVP_MAC_CTX_dup(source));
    requireExplained(copy != nullptr, "Could not copy Context. ");
    return copy;
}

} // namespace

template <class Algorithm>
HMACDigestEngine<Algorithm>::HMACDigestEngine(ByteArray const& key) : key_(key.begin(), key.end()) {
    initialize();
}

template <class Algorithm>
HMACDigestEngine<Algorithm>::HMACDigestEngine(HMACDigestEngine const& other)
    : context_(duplicate(other.context_.get())), ready_(other.ready_) {}

template <class Algorithm>
HMACDigestEngine<Algorithm>& HMACDigestEngine<Algorithm>::operator=(HMACDigestEngine const& other) {
    if (this != &other) {
        context_ = duplicate(other.context_.get());
        ready_ = other.ready_;
    }
    return *this;
}

template <class Algorithm> ByteArray HMACDigestEngine<Algorithm>::computeDigest(ByteArray const& data) {
    return updateAndFinalize(*this, data);
}

template <class Algorithm> ByteArray HMACDigestEngine<Algorithm>::computeDigest(std::istream& input) {
    return rethrowAs<utils::InternalException>([&] { return updateAndFinalize(*this, input); });
}

template <class Algorithm> void HMACDigestEngine<Algorithm>::update(ByteArray const& data) {
    update(data.data(), data.size());
}

template <class Algorithm> void HMACDigestEngine<Algorithm>::update(unsigned char const* data, std::size_t size) {
    requireExplained(ready_ && EVP_MAC_update(context_.get(), data, size) == 1,
                     "Could not update data to the digest state. ");
}

template <class Algorithm> ByteArray HMACDigestEngine<Algorithm>::finalize() {
    return rethrowAs<utils::InternalException>([this] {
        ByteArray code(Algorithm::getDigestSize());
        std::size_t written = 0;
        require(ready_ && EVP_MAC_final(context_.get(), code.data(), &written, Algorithm::getDigestSize()) != 0,
                "Failed to perform the final computation. ");
        ready_ = false;
        require(written == Algorithm::getDigestSize(),
                "OpenSSL HMAC digest generation API returned digest of incorrect size.");
        initialize();
        return code;
    });
}

template <class Algorithm> void HMACDigestEngine<Algorithm>::initialize() {
    startHMAC(context_, findDigest<Algorithm>(), key_.data(), key_.size());
    ready_ = true;
}

template class HMACDigestEngine<utils::HMACSHA1DigestAlgorithm>;
template class HMACDigestEngine<utils::HMACSHA256DigestAlgorithm>;
template class HMACDigestEngine<utils::HMACSHA512DigestAlgorithm>;

} // namespace foundation::crypto::openssl
