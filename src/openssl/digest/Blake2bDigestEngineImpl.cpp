#include "digest/Blake2bDigestEngineImpl.h"

#include "common/Check.h"
#include "digest/DigestSupport.h"

#include <openssl/core_names.h>

#include <array>
#include <utility>

namespace foundation::crypto::openssl {

template <class Algorithm>
Blake2bDigestEngineImpl<Algorithm>::Blake2bDigestEngineImpl(ByteArray const& key, ByteArray const& salt,
                                                            std::size_t size)
    : key_(key.begin(), key.end()), salt_(salt.begin(), salt.end()), size_(size) {
    require(size_ - 1 <= 63, "Invalid digest size for Blake2b digest engine."); // 0 wraps around
    initialize();
}

template <class Algorithm>
Blake2bDigestEngineImpl<Algorithm>::Blake2bDigestEngineImpl(Blake2bDigestEngineImpl const& other)
    : key_(other.key_), salt_(other.salt_), size_(other.size_), ready_(other.ready_) {
    if (!isMAC()) {
        digestContext_.reset(EVP_MD_CTX_new());
        require(digestContext_ != nullptr && EVP_MD_CTX_copy_ex(digestContext_.get(), other.digestContext_.get()) == 1,
                "Could not copy underlying EVP_MD_CTX.");
    } else if (other.macContext_ != nullptr) {
        macContext_.reset(EVP_MAC_CTX_dup(other.macContext_.get()));
        require(macContext_ != nullptr, "Failed to duplicate EVP_MAC_CTX");
    }
}

template <class Algorithm>
Blake2bDigestEngineImpl<Algorithm>&
Blake2bDigestEngineImpl<Algorithm>::operator=(Blake2bDigestEngineImpl const& other) {
    if (this != &other) {
        Blake2bDigestEngineImpl copy(other);
        std::swap(key_, copy.key_);
        std::swap(salt_, copy.salt_);
        std::swap(size_, copy.size_);
        std::swap(digestContext_, copy.digestContext_);
        std::swap(macContext_, copy.macContext_);
        std::swap(ready_, copy.ready_);
    }
    return *this;
}

template <class Algorithm> ByteArray Blake2bDigestEngineImpl<Algorithm>::computeDigest(ByteArray const& data) {
    return updateAndFinalize(*this, data);
}

template <class Algorithm> ByteArray Blake2bDigestEngineImpl<Algorithm>::computeDigest(std::istream& input) {
    return rethrowForeignAs<utils::InternalException>([&] { return updateAndFinalize(*this, input); });
}

template <class Algorithm> void Blake2bDigestEngineImpl<Algorithm>::update(ByteArray const& data) {
    update(data.data(), data.size());
}

template <class Algorithm>
void Blake2bDigestEngineImpl<Algorithm>::update(unsigned char const* data, std::size_t size) {
    if (isMAC()) {
        require(ready_ && EVP_MAC_update(macContext_.get(), data, size) == 1, "EVP_MAC_update failed");
    } else {
        require(ready_ && EVP_DigestUpdate(digestContext_.get(), data, size) == 1,
                "Could not update data to the digest state. ");
    }
}

template <class Algorithm> ByteArray Blake2bDigestEngineImpl<Algorithm>::finalize() {
    return rethrowForeignAs<utils::InternalException>([this] {
        ByteArray digest(size_);
        if (isMAC()) {
            std::size_t written = 0;
            bool const made = ready_ && EVP_MAC_final(macContext_.get(), digest.data(), &written, size_) != 0;
            // A call that wrote has used the context up, whatever it reports: libcrypto would go on to give zeros.
            ready_ = ready_ && !made && written == 0;
            require(made, "Failed to finalize the digest generation in Blake-2b MAC mode.");
            require(written == size_, "OpenSSL Blake-2b MAC digest generation returned digest of incorrect size.");
        } else {
            require(ready_ && EVP_DigestFinal_ex(digestContext_.get(), digest.data(), nullptr) == 1,
                    "Failed to finalize the digest generation in Blake-2b non-MAC mode.");
            ready_ = false;
        }
        initialize();
        return digest;
    });
}

template <class Algorithm> void Blake2bDigestEngineImpl<Algorithm>::initialize() {
    if (isMAC()) {
        initializeMAC();
    } else {
        initializeDigest();
    }
    ready_ = true;
}

template <class Algorithm> void Blake2bDigestEngineImpl<Algorithm>::initializeMAC() {
    Owned<EVP_MAC> const mac(EVP_MAC_fetch(nullptr, "BLAKE2BMAC", nullptr));
    require(mac != nullptr, "Failed to fetch BLAKE2BMAC");
    macContext_.reset(EVP_MAC_CTX_new(mac.get()));

    std::array<OSSL_PARAM, 4> parameters{};
    std::size_t count = 0;
    parameters[count++] = OSSL_PARAM_construct_octet_string(OSSL_MAC_PARAM_KEY, key_.data(), key_.size());
    parameters[count++] = OSSL_PARAM_construct_size_t(OSSL_MAC_PARAM_SIZE, &size_);
    if (!salt_.empty()) {
        parameters[count++] = OSSL_PARAM_construct_octet_string(OSSL_MAC_PARAM_SALT, salt_.data(), salt_.size());
    }
    parameters[count] = OSSL_PARAM_construct_end();
    require(macContext_ != nullptr && EVP_MAC_init(macContext_.get(), nullptr, 0, parameters.data()) != 0,
            "Could not initialize the digest context in MAC mode.");
}

template <class Algorithm> void Blake2bDigestEngineImpl<Algorithm>::initializeDigest() {
    digestContext_.reset(EVP_MD_CTX_new());
    OSSL_PARAM const parameters[] = {OSSL_PARAM_construct_size_t(OSSL_DIGEST_PARAM_SIZE, &size_),
                                     OSSL_PARAM_construct_end()};
    // A provider passes over a parameter that it does not know, and the digest would not fit into its array.
    require(digestContext_ != nullptr && EVP_DigestInit_ex2(digestContext_.get(), EVP_blake2b512(), parameters) == 1 &&
                EVP_MD_CTX_get_size_ex(digestContext_.get()) == static_cast<int>(size_),
            "Could not initialize the digest context in non-MAC mode.");
}

template class Blake2bDigestEngineImpl<utils::Blake2bDigestAlgorithm>;

} // namespace foundation::crypto::openssl
