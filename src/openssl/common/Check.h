#ifndef ZRFL_OPENSSL_CHECK_H
#define ZRFL_OPENSSL_CHECK_H

#include "common/ErrorQueue.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <exception>
#include <type_traits>
#include <utility>

namespace foundation::crypto::openssl {

/// Throws `Failure(message)` unless `holds`. The condition has to be spelled out at the call, because libcrypto
/// succeeds with 1, with a positive count or with a pointer, and fails with 0, -1 or -2: its results are not to be
/// tested for truth.
template <class Failure = utils::InternalException, class Truth> void require(Truth holds, char const* message) {
    static_assert(std::is_same_v<Truth, bool>, "compare the result with what success is for this call");
    if (!holds) {
        throw Failure(message);
    }
}

/// As `require`, with the thread's libcrypto error text directly after `message`.
template <class Truth> void requireExplained(Truth holds, char const* message) {
    static_assert(std::is_same_v<Truth, bool>, "compare the result with what success is for this call");
    if (!holds) {
        throw utils::InternalException(message + getOpenSSLErrorText());
    }
}

/// Runs `operation`; every standard exception that leaves it, ours included, arrives as `Target` with the same text.
template <class Target, class Operation> decltype(auto) rethrowAs(Operation&& operation) {
    try {
        return std::forward<Operation>(operation)();
    } catch (std::exception const& error) {
        throw Target(error.what());
    }
}

/// As `rethrowAs`, but exceptions of the library's own family pass unchanged, their texts whole.
template <class Target, class Operation> decltype(auto) rethrowForeignAs(Operation&& operation) {
    try {
        return std::forward<Operation>(operation)();
    } catch (utils::Exception const&) {
        throw;
    } catch (std::exception const& error) {
        throw Target(error.what());
    }
}

/// The rules above as objects, for a function that runs only some of its steps under its caller's rule.
template <class Target> struct RethrowAs {
    template <class Operation> decltype(auto) operator()(Operation&& operation) const {
        return rethrowAs<Target>(std::forward<Operation>(operation));
    }
};

template <class Target> struct RethrowForeignAs {
    template <class Operation> decltype(auto) operator()(Operation&& operation) const {
        return rethrowForeignAs<Target>(std::forward<Operation>(operation));
    }
};

struct RethrowUnchanged {
    template <class Operation> decltype(auto) operator()(Operation&& operation) const {
        return std::forward<Operation>(operation)();
    }
};

} // namespace foundation::crypto::openssl

#endif
