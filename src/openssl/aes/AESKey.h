#ifndef ZRFL_OPENSSL_AESKEY_H
#define ZRFL_OPENSSL_AESKEY_H

#include "common/KeySize.h"
#include "common/Secrets.h"

#include <foundation/crypto/interfaces/IAESKey.h>
#include <foundation/crypto/utils/ByteArray.h>
#include <foundation/crypto/utils/KeySizes.h>

namespace foundation::crypto::openssl {

/// The bytes of one AES key, wiped when they are released; `KeySize` is one of the AES size tags.
template <class KeySize> class AESKey final : public interfaces::IAESKey<KeySize> {
public:
    /// Keeps the first bytes of `keyData`, as many as the key has; what follows them is ignored.
    ///
    /// @throws utils::InternalException when there are fewer.
    explicit AESKey(ByteArray const& keyData);
    ~AESKey() override = default;
    AESKey(AESKey const&) = delete;
    AESKey& operator=(AESKey const&) = delete;

    unsigned long getKeySize() const override { return bitsOf(KeySize()); }

    ByteArray getKeyBytes() const override { return {bytes_.begin(), bytes_.end()}; }

    /// The first byte of the key, for libcrypto; valid as long as the key lives.
    unsigned char const* data() const noexcept { return bytes_.data(); }

private:
    SecretBytes bytes_;
};

extern template class AESKey<utils::AESKeySize<128>>;
extern template class AESKey<utils::AESKeySize<192>>;
extern template class AESKey<utils::AESKeySize<256>>;

} // namespace foundation::crypto::openssl

#endif
