#ifndef FOUNDATION_CRYPTO_UTILS_SIGNATUREVERIFICATIONSTATUS_H
#define FOUNDATION_CRYPTO_UTILS_SIGNATUREVERIFICATIONSTATUS_H

#include "foundation/crypto/utils/Visibility.h"

namespace foundation::crypto::utils {

/// @addtogroup reference-rsa-signatures
/// @{

class SignatureVerificationStatus;

/// The status of a signature that matches its message and key.
ZRFL_EXPORT SignatureVerificationStatus makeValidSignatureVerificationStatus() noexcept;
/// The status of a signature that does not match, or could not be checked.
ZRFL_EXPORT SignatureVerificationStatus makeInvalidSignatureVerificationStatus() noexcept;

/// What a verifier found: valid or invalid, and nothing in between. A small immutable value. No status can be made from
/// a truth value, and none turns into one unless asked to, so a result code is never taken for a verdict by accident:
/// `if (verifier->verify(message, signature, digest))` is meant, `int ok = verifier->verify(...)` does not compile.
/// @ingroup reference-ecc-signatures
class ZRFL_EXPORT SignatureVerificationStatus {
public:
    /// True exactly for a valid signature.
    bool isValid() const noexcept;
    /// As `isValid()`.
    explicit operator bool() const noexcept;

    friend ZRFL_EXPORT bool operator==(SignatureVerificationStatus left, SignatureVerificationStatus right) noexcept;
    friend ZRFL_EXPORT bool operator!=(SignatureVerificationStatus left, SignatureVerificationStatus right) noexcept;

    friend ZRFL_EXPORT SignatureVerificationStatus makeValidSignatureVerificationStatus() noexcept;
    friend ZRFL_EXPORT SignatureVerificationStatus makeInvalidSignatureVerificationStatus() noexcept;

private:
    explicit SignatureVerificationStatus(bool valid) noexcept;

    bool valid_;
};

/// @}

} // namespace foundation::crypto::utils

#endif
