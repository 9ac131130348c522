#ifndef ZRFL_EXAMPLES_SERIALIZEDHSMSIGNER_H
#define ZRFL_EXAMPLES_SERIALIZEDHSMSIGNER_H

#include <foundation/crypto/interfaces/IHSMSigner.h>

#include <cstddef>
#include <exception>
#include <istream>
#include <iterator>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>

/// An HSM signer for hosts with several threads: passes calls on to another signer, one at a time. All objects of this
/// class take turns, because what calls would disturb, the PKCS #11 module, is there once for the whole process,
/// whatever the signers and tokens. Copy this file into your program and wrap every HSM signer that it makes:
///
///     auto const signer = std::make_shared<SerializedHSMSigner>(provider.createHSMSigner(key, padding, prng));
///
/// Nothing of the host's runs during a call's turn: a stream is read before it, and so is the digest engine asked for
/// its names. What the signer throws, and in which order it looks for faults, stays.
class SerializedHSMSigner final : public foundation::crypto::interfaces::IHSMSigner {
    using ByteArray = foundation::crypto::utils::ByteArray;
    using DigestEnginePtr = foundation::crypto::interfaces::DigestEnginePtr;
    using IDigestEngine = foundation::crypto::interfaces::IDigestEngine;

public:
    /// @throws std::invalid_argument for an empty `signer`.
    explicit SerializedHSMSigner(std::shared_ptr<IHSMSigner const> signer) : signer_(std::move(signer)) {
        if (signer_ == nullptr) {
            throw std::invalid_argument("There is no HSM signer to pass calls on to.");
        }
    }

    ByteArray sign(ByteArray const& message, DigestEnginePtr digest) const override {
        auto const names = digest == nullptr ? nullptr : std::make_shared<DigestNames>(*digest);
        std::lock_guard<std::mutex> const turn(mutex());
        return signer_->sign(message, names);
    }

    /// The stream is left as the signer itself would leave it.
    ByteArray sign(std::istream& message, DigestEnginePtr digest) const override {
        message.unsetf(std::ios_base::skipws);
        ByteArray const bytes{std::istream_iterator<unsigned char>(message), std::istream_iterator<unsigned char>()};
        return sign(bytes, std::move(digest));
    }

    unsigned long getKeySize() const override {
        std::lock_guard<std::mutex> const turn(mutex());
        return signer_->getKeySize();
    }

    /// Held during each call. Lock it around everything else that must not meet one: other use of a PKCS #11 module,
    /// fork().
    ///
    /// Plug-ins that each have a copy of this class share the mutex only as far as its symbol is visible: hence the
    /// attribute, for those that are built with -fvisibility=hidden. GCC then marks the symbol as unique in the
    /// process, which holds for dlopen() with RTLD_LOCAL and for -Bsymbolic as well. It does not hold where a version
    /// script hides the symbol, nor with -flto or -fno-gnu-unique, nor with clang, whose plug-ins share it only when
    /// they are opened with RTLD_GLOBAL and linked without -Bsymbolic; nor does the main program take part unless it is
    /// linked with -rdynamic and its plug-ins without -Bsymbolic. There, let this function return a mutex of the main
    /// program's that it hands to every plug-in.
    __attribute__((visibility("default"))) static std::mutex& mutex() {
        static std::mutex oneAtATime;
        return oneAtATime;
    }

private:
    /// What was answered to a question, given again when it is asked anew: a value, or the exception in its place.
    template <class Value> class Answer {
    public:
        template <class Question> explicit Answer(Question&& ask) {
            try {
                value_ = std::forward<Question>(ask)();
            } catch (std::exception const&) {
                failure_ = std::current_exception();
            }
        }

        Value get() const {
            if (failure_ != nullptr) {
                std::rethrow_exception(failure_);
            }
            return value_;
        }

    private:
        Value value_{};
        std::exception_ptr failure_;
    };

    /// An engine that has another one's names and size, which is all that a signer asks for.
    class DigestNames final : public IDigestEngine {
    public:
        explicit DigestNames(IDigestEngine const& digest)
            : name_([&] { return digest.getDigestName(); }),
              nameForEVP_([&] { return digest.getDigestNameForEVP_MD(); }),
              size_([&] { return digest.getDigestSize(); }) {}

        ByteArray computeDigest(ByteArray const& /*data*/) override { refuse(); }

        ByteArray computeDigest(std::istream& /*input*/) override { refuse(); }

        void update(ByteArray const& /*data*/) override { refuse(); }

        void update(unsigned char const* /*data*/, std::size_t /*size*/) override { refuse(); }

        ByteArray finalize() override { refuse(); }

        std::string getDigestName() const override { return name_.get(); }

        std::string getDigestNameForEVP_MD() const override { return nameForEVP_.get(); }

        std::size_t getDigestSize() const override { return size_.get(); }

    private:
        [[noreturn]] static void refuse() { throw std::logic_error("A signer may only ask a digest for its names."); }

        Answer<std::string> name_;
        Answer<std::string> nameForEVP_;
        Answer<std::size_t> size_;
    };

    std::shared_ptr<IHSMSigner const> signer_;
};

#endif
