#ifndef FOUNDATION_CRYPTO_INTERFACES_IAESKEY_H
#define FOUNDATION_CRYPTO_INTERFACES_IAESKEY_H

#include "foundation/crypto/utils/ByteArray.h"
#include "foundation/crypto/utils/KeySizes.h"

#include <memory>

namespace foundation::crypto::interfaces {

/// @addtogroup reference-aes
/// @{

/// An AES key (FIPS 197) of the size that `KeySize` names: `utils::AESKeySize` of 128, 192 or 256. It never changes,
/// may be shared between threads, and lives as long as any encryptor or decryptor made from it. Its own bytes are
/// zeroed when the last reference goes.
template <class KeySize> class IAESKey {
public:
    virtual ~IAESKey() = default;

    /// The key's size in bits: 128, 192 or 256.
    virtual unsigned long getKeySize() const = 0;

    /// Returns a copy of the key: 16, 24 or 32 bytes, which the caller looks after (and wipes).
    ///
    /// @throws std::bad_alloc when memory runs out.
    virtual ByteArray getKeyBytes() const = 0;
};

/// The pointer as operations take and return it.
template <unsigned long Bits> using AESKeyPtr = std::shared_ptr<IAESKey<utils::AESKeySize<Bits>>>;

/// @}

} // namespace foundation::crypto::interfaces

#endif
