#ifndef ZRFL_OPENSSL_BLAKE2BDIGESTENGINEIMPL_H
#define ZRFL_OPENSSL_BLAKE2BDIGESTENGINEIMPL_H

#include "common/Handles.h"
#include "common/Secrets.h"

#include <foundation/crypto/interfaces/IDigestEngine.h>
#include <foundation/crypto/utils/DigestAlgorithms.h>

namespace foundation::crypto::openssl {

/// BLAKE2b (RFC 7693) with an output of 1 to 64 bytes: a plain hash without a key, its own keyed MAC with one. A plain
/// hash ignores the salt. A copy continues the message of its source independently, with the same key, salt and size.
template <class Algorithm> class Blake2bDigestEngineImpl final : public interfaces::IDigestEngine {
public:
    Blake2bDigestEngineImpl(ByteArray const& key, ByteArray const& salt, std::size_t size);
    Blake2bDigestEngineImpl(Blake2bDigestEngineImpl const& other);
    Blake2bDigestEngineImpl& operator=(Blake2bDigestEngineImpl const& other);
    ~Blake2bDigestEngineImpl() override = default;

    ByteArray computeDigest(ByteArray const& data) override;
    ByteArray computeDigest(std::istream& input) override;
    void update(ByteArray const& data) override;
    void update(unsigned char const* data, std::size_t size) override;
    ByteArray finalize() override;

    std::string getDigestName() const override { return Algorithm::getDigestName(); }

    std::string getDigestNameForEVP_MD() const override { return isMAC() ? "BLAKE2BMAC" : "BLAKE2B"; }

    std::size_t getDigestSize() const override { return size_; }

private:
    bool isMAC() const noexcept { return !key_.empty(); }

    void initialize();
    void initializeMAC();
    void initializeDigest();

    SecretBytes key_;
    ByteArray salt_;
    std::size_t size_;
    Owned<EVP_MD_CTX> digestContext_; ///< Empty for a MAC.
    Owned<EVP_MAC_CTX> macContext_;   ///< Empty for a plain hash.
    /// Whether the context takes a message; else it is used up, missing, or was never initialised.
    bool ready_ = false;
};

extern template class Blake2bDigestEngineImpl<utils::Blake2bDigestAlgorithm>;

} // namespace foundation::crypto::openssl

#endif
