#include "digest/DigestEngine.h"

#include "common/Check.h"
#include "digest/DigestSupport.h"

#include <utility>

namespace foundation::crypto::openssl {

template <class Algorithm> DigestEngine<Algorithm>::DigestEngine() {
    createContext();
    requireExplained(EVP_DigestInit_ex(context_.get(), digest_, nullptr) == 1,
                     "Could not initialize the digest context. ");
    ready_ = true;
}

template <class Algorithm> DigestEngine<Algorithm>::DigestEngine(DigestEngine const& other) {
    createContext();
    requireExplained(EVP_MD_CTX_copy_ex(context_.get(), other.context_.get()) == 1, "Could not copy Context. ");
    ready_ = other.ready_;
}

template <class Algorithm> DigestEngine<Algorithm>& DigestEngine<Algorithm>::operator=(DigestEngine const& other) {
    if (this != &other) {
        DigestEngine copy(other);
        std::swap(context_, copy.context_);
        std::swap(ready_, copy.ready_);
    }
    return *this;
}

template <class Algorithm> ByteArray DigestEngine<Algorithm>::computeDigest(ByteArray const& data) {
    return updateAndFinalize(*this, data);
}

template <class Algorithm> ByteArray DigestEngine<Algorithm>::computeDigest(std::istream& input) {
    return rethrowAs<utils::InternalException>([&] { return updateAndFinalize(*this, input); });
}

template <class Algorithm> void DigestEngine<Algorithm>::update(ByteArray const& data) {
    update(data.data(), data.size());
}

template <class Algorithm> void DigestEngine<Algorithm>::update(unsigned char const* data, std::size_t size) {
    requireExplained(ready_ && EVP_DigestUpdate(context_.get(), data, size) == 1,
                     "Could not update data to the digest state. ");
}

template <class Algorithm> ByteArray DigestEngine<Algorithm>::finalize() {
    return rethrowAs<utils::InternalException>([this] {
        ByteArray digest(Algorithm::getDigestSize());
        unsigned int written = 0;
        if (std::exchange(ready_, false)) {
            EVP_DigestFinal_ex(context_.get(), digest.data(), &written); // judged by the length it wrote
        }
        require(written == Algorithm::getDigestSize(),
                "OpenSSL digest generation API returned digest of incorrect size.");
        // Naming no digest keeps the context's own: nothing is fetched, and a failure leaves the context in place.
        requireExplained(EVP_DigestInit_ex(context_.get(), nullptr, nullptr) == 1, "Could not reconstruct a Context. ");
        ready_ = true;
        return digest;
    });
}

template <class Algorithm> void DigestEngine<Algorithm>::createContext() {
    digest_ = findDigest<Algorithm>();
    context_.reset(EVP_MD_CTX_new());
    requireExplained(context_ != nullptr, "Could not construct a context. ");
}

template class DigestEngine<utils::MD5DigestAlgorithm>;
template class DigestEngine<utils::SHA1DigestAlgorithm>;
template class DigestEngine<utils::SHA224DigestAlgorithm>;
template class DigestEngine<utils::SHA256DigestAlgorithm>;
template class DigestEngine<utils::SHA384DigestAlgorithm>;
template class DigestEngine<utils::SHA512DigestAlgorithm>;

} // namespace foundation::crypto::openssl
