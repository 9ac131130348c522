#ifndef ZRFL_OPENSSL_DIGESTENGINE_H
#define ZRFL_OPENSSL_DIGESTENGINE_H

#include "common/Handles.h"

#include <foundation/crypto/interfaces/IDigestEngine.h>
#include <foundation/crypto/utils/DigestAlgorithms.h>

namespace foundation::crypto::openssl {

/// A message digest (FIPS 180-4, RFC 1321); `Algorithm` is one of the plain digest descriptors. A copy continues the
/// message of its source independently.
template <class Algorithm> class DigestEngine final : public interfaces::IDigestEngine {
public:
    DigestEngine();
    DigestEngine(DigestEngine const& other);
    DigestEngine& operator=(DigestEngine const& other);
    ~DigestEngine() override = default;

    ByteArray computeDigest(ByteArray const& data) override;
    ByteArray computeDigest(std::istream& input) override;
    void update(ByteArray const& data) override;
    void update(unsigned char const* data, std::size_t size) override;
    ByteArray finalize() override;

    std::string getDigestName() const override { return Algorithm::getDigestName(); }

    std::string getDigestNameForEVP_MD() const override { return Algorithm::getDigestNameForEVP_MD(); }

    std::size_t getDigestSize() const override { return Algorithm::getDigestSize(); }

private:
    void createContext();

    Owned<EVP_MD_CTX> context_;
    EVP_MD const* digest_ = nullptr;
    bool ready_ = false; // whether the context takes a message; else it is used up, or was never initialised
};

extern template class DigestEngine<utils::MD5DigestAlgorithm>;
extern template class DigestEngine<utils::SHA1DigestAlgorithm>;
extern template class DigestEngine<utils::SHA224DigestAlgorithm>;
extern template class DigestEngine<utils::SHA256DigestAlgorithm>;
extern template class DigestEngine<utils::SHA384DigestAlgorithm>;
extern template class DigestEngine<utils::SHA512DigestAlgorithm>;

} // namespace foundation::crypto::openssl

#endif
