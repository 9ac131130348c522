#ifndef ZRFL_EXAMPLES_SERIALIZEDHSMSIGNER_H
#define ZRFL_EXAMPLES_SERIALIZEDHSMSIGNER_H

#include <foundation/crypto/interfaces/IHSMSigner.h>

#include <istream>
#include <memory>
#include <mutex>
#include <utility>

/// An HSM signer for hosts with several threads: passes calls on to another signer, one at a time. All objects of this
/// class take turns, because what calls would disturb, the PKCS #11 module, is there once for the whole process,
/// whatever the signers and tokens. Copy this file into your program and wrap every HSM signer that it makes:
///
///     auto const signer = std::make_shared<SerializedHSMSigner>(provider.createHSMSigner(key, padding, prng));
class SerializedHSMSigner final : public foundation::crypto::interfaces::IHSMSigner {
    using ByteArray = foundation::crypto::utils::ByteArray;
    using IDigestEngine = foundation::crypto::interfaces::IDigestEngine;

public:
    explicit SerializedHSMSigner(std::shared_ptr<IHSMSigner const> signer) : signer_(std::move(signer)) {}

    ByteArray sign(ByteArray const& message, std::shared_ptr<IDigestEngine> digest) const override {
        std::lock_guard<std::mutex> const turn(mutex());
        return signer_->sign(message, std::move(digest));
    }

    /// The stream is read during the call's turn, so one that is slow to deliver holds up the others.
    ByteArray sign(std::istream& message, std::shared_ptr<IDigestEngine> digest) const override {
        std::lock_guard<std::mutex> const turn(mutex());
        return signer_->sign(message, std::move(digest));
    }

    unsigned long getKeySize() const override {
        std::lock_guard<std::mutex> const turn(mutex());
        return signer_->getKeySize();
    }

    /// Held during each call. Lock it around everything else that must not meet one: other use of a PKCS #11 module,
    /// fork().
    static std::mutex& mutex() {
        static std::mutex oneAtATime;
        return oneAtATime;
    }

private:
    std::shared_ptr<IHSMSigner const> signer_;
};

#endif
