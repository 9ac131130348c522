#include "foundation/crypto/utils/SignatureVerificationStatus.h"

namespace foundation::crypto::utils {

SignatureVerificationStatus::SignatureVerificationStatus(bool valid) noexcept : valid_(valid) {}

bool SignatureVerificationStatus::isValid() const noexcept {
    return valid_;
}

SignatureVerificationStatus::operator bool() const noexcept {
    return valid_;
}

bool operator==(SignatureVerificationStatus left, SignatureVerificationStatus right) noexcept {
    return left.valid_ == right.valid_;
}

bool operator!=(SignatureVerificationStatus left, SignatureVerificationStatus right) noexcept {
    return !(left == right);
}

SignatureVerificationStatus makeValidSignatureVerificationStatus() noexcept {
    return SignatureVerificationStatus(true);
}

SignatureVerificationStatus makeInvalidSignatureVerificationStatus() noexcept {
    return SignatureVerificationStatus(false);
}

} // namespace foundation::crypto::utils
