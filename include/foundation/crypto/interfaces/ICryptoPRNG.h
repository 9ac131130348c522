#ifndef FOUNDATION_CRYPTO_INTERFACES_ICRYPTOPRNG_H
#define FOUNDATION_CRYPTO_INTERFACES_ICRYPTOPRNG_H

#include "foundation/crypto/utils/ByteArray.h"

#include <cstddef>
#include <memory>
#include <string>

namespace foundation::crypto::interfaces {

/// @addtogroup reference-random
/// @{

/// Hands out cryptographically secure random bytes from libcrypto's generator (NIST SP 800-90A). That generator belongs
/// to the whole process and seeds itself from the operating system: every object of this kind draws from it, and a seed
/// given to one of them is mixed into what all of them hand out. Output can never be reproduced from a seed.
///
/// Safe to share between threads.
class ICryptoPRNG {
public:
    virtual ~ICryptoPRNG() = default;

    /// Returns one random byte.
    ///
    /// @throws utils::InternalException as `generateRandomBytes`.
    virtual unsigned char generateRandomByte() = 0;

    /// Returns `size` random bytes; 0 gives an empty array and does not ask the generator. On failure no bytes are
    /// returned, and nothing is tried again.
    ///
    /// @throws utils::InternalException when the generator fails ("Unable to generate random bytes. Error=" and
    ///         libcrypto's error text), when memory runs out (the text names the size), or when `size` is larger than
    ///         an array can be.
    virtual ByteArray generateRandomBytes(std::size_t size) = 0;

    /// True when the object was made with a seed that was not empty. The generator is seeded either way.
    virtual bool isSeeded() const = 0;

    /// The algorithm's name, "CTR-DRBG".
    virtual std::string getPRNGName() const = 0;
};

/// The pointer as operations take and return it.
using CryptoPRNGPtr = std::shared_ptr<ICryptoPRNG>;

/// @}

} // namespace foundation::crypto::interfaces

#endif
