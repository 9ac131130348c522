#ifndef ZRFL_OPENSSL_CHECK_H
#define ZRFL_OPENSSL_CHECK_H

#include "common/ErrorText.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <exception>
#include <new>
#include <type_traits>
#include <utility>

namespace foundation::crypto::openssl {

// Throwing stands in functions of its own, so that the checks of a call that succeeds are no more than comparisons.

template <class Failure> [[noreturn]] void fail(char const* message) {
    throw Failure(message);
}

[[noreturn]] inline void failExplained(char const* message) {
    throw utils::InternalException(message + getOpenSSLErrorText());
}

/// Throws `Failure(message)` unless `holds`. The condition has to be spelled out at the call, because libcrypto
/// succeeds with 1, with a positive count or with a pointer, and fails with 0, -1 or -2: its results are not to be
/// tested for truth.
template <class Failure = utils::InternalException, class Truth> void require(Truth holds, char const* message) {
    static_assert(std::is_same_v<Truth, bool>, "compare the result with what success is for this call");
    if (!holds) {
        fail<Failure>(message);
    }
}

/// As `require`, with the thread's libcrypto error text directly after `message`.
template <class Truth> void requireExplained(Truth holds, char const* message) {
    static_assert(std::is_same_v<Truth, bool>, "compare the result with what success is for this call");
    if (!holds) {
        failExplained(message);
    }
}

// The guards: what an operation's caller gets to see of the exceptions that leave it. They are objects, so that one can
// be handed to a function that runs only some of its steps under its caller's rule.

/// `rethrowAs<Target>(operation)` runs `operation`; every standard exception that leaves it, ours included, arrives as
/// `Target` with the same text.
template <class Target> struct RethrowAs {
    template <class Operation> decltype(auto) operator()(Operation&& operation) const {
        try {
            return std::forward<Operation>(operation)();
        } catch (std::exception const& error) {
            throw Target(error.what());
        }
    }
};
template <class Target> inline constexpr RethrowAs<Target> rethrowAs{};

/// As `rethrowAs`, but exceptions of the library's own family pass unchanged, their texts whole.
template <class Target> struct RethrowForeignAs {
    template <class Operation> decltype(auto) operator()(Operation&& operation) const {
        try {
            return std::forward<Operation>(operation)();
        } catch (utils::Exception const&) {
            throw;
        } catch (std::exception const& error) {
            throw Target(error.what());
        }
    }
};
template <class Target> inline constexpr RethrowForeignAs<Target> rethrowForeignAs{};

/// The guard of a family that translates nothing.
struct RethrowUnchanged {
    template <class Operation> decltype(auto) operator()(Operation&& operation) const {
        return std::forward<Operation>(operation)();
    }
};

inline constexpr RethrowUnchanged rethrowUnchanged{};

/// Runs `operation`; memory that runs out arrives as `Target` with what `explain` puts behind the exception's text.
template <class Target, class Operation, class Explain>
decltype(auto) rethrowBadAllocAs(Operation&& operation, Explain&& explain) {
    try {
        return std::forward<Operation>(operation)();
    } catch (std::bad_alloc const& error) {
        throw Target(error.what() + std::forward<Explain>(explain)());
    }
}

/// What `operation` answers; `false` where a standard exception leaves it.
template <class Operation> bool holdsWithoutThrowing(Operation&& operation) {
    try {
        return std::forward<Operation>(operation)();
    } catch (std::exception const&) {
        return false;
    }
}

} // namespace foundation::crypto::openssl

#endif
