#ifndef ZRFL_TESTS_SUPPORT_FAULTS_H
#define ZRFL_TESTS_SUPPORT_FAULTS_H

#include "Allocations.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

/// Failing, replacing and recording the calls that the library makes into libcrypto. A test program that links the
/// interposers (Interposers.cpp) defines those functions itself, in front of libcrypto's own; each forwards to the real
/// one unless a test says otherwise. Only calls made on the thread of the test count, and only those that the library
/// or the test program itself makes: not those of libcrypto's provider modules.
namespace support {

/// What a function returns, and so how it can fail.
enum class Returns { Nothing, Number, Size, Object };

/// One call that was made: the function and its arguments, numbers and pointers alike as numbers.
struct Call {
    std::string function;
    std::vector<std::intptr_t> arguments;
    Returns returns;
};

/// Keeps the calls of interposed functions that are made while it lives, the failing and replaced ones included.
class Recording {
public:
    Recording();
    ~Recording();
    Recording(Recording const&) = delete;
    Recording& operator=(Recording const&) = delete;

    std::vector<Call> const& calls() const { return calls_; }

    std::vector<Call> callsOf(std::string const& function) const;

    std::size_t count(std::string const& function) const { return callsOf(function).size(); }

    /// The names alone, in the order of the calls.
    std::vector<std::string> functions() const;

private:
    friend struct FaultState;
    std::vector<Call> calls_;
};

/// Makes the n-th call of `function` that follows (1 is the next) fail: it is not carried out, unless the test says so,
/// and returns its failure result. The test that holds it fails if that call is never made.
class Failing {
public:
    explicit Failing(std::string function, int nth = 1);
    ~Failing();
    Failing(Failing const&) = delete;
    Failing& operator=(Failing const&) = delete;

    /// Also leaves an entry with this text in libcrypto's error queue when the call fails.
    Failing& withError(std::string text);
    /// The call returns `result` in place of the function's usual failure result.
    Failing& returning(std::intptr_t result);
    /// The call is carried out, effects and all, and reports failure all the same. A new object that it would return is
    /// released.
    Failing& carriedOut(bool carriedOut = true);
    /// The call is carried out and succeeds: all that is left of the failure is the error of `withError`.
    Failing& succeeding();

    bool isCarriedOut() const { return carriedOut_; }

    bool happened() const { return left_ <= 0; }

private:
    friend struct FaultState;
    std::string function_;
    int left_;
    std::string error_;
    bool hasResult_ = false;
    std::intptr_t result_ = 0;
    bool carriedOut_ = false;
    bool succeeds_ = false;
};

namespace detail {
class Replacement {
protected:
    Replacement(std::string function, void* replacement);
    ~Replacement();

public:
    Replacement(Replacement const&) = delete;
    Replacement& operator=(Replacement const&) = delete;

    std::string function;
    void* body; ///< A std::function<R(R (*real)(A...), A...)>.
};
} // namespace detail

/// While it lives, `body(real, arguments...)` runs in place of the function; name its type as in
/// `Replacing<decltype(EVP_DigestFinal_ex)> const shorter("EVP_DigestFinal_ex", [](auto real, auto... a) { ... });`
template <class Signature> class Replacing;

template <class R, class... A> class Replacing<R(A...)> : private detail::Replacement {
public:
    using Body = std::function<R(R (*)(A...), A...)>;

    Replacing(std::string name, Body replacement)
        : detail::Replacement(std::move(name), &body_), body_(std::move(replacement)) {}

private:
    Body body_;
};

// The interposers of a shared library (see tests/CMakeLists.txt) ask the program, hence the visibility.

/// While it lives, no call on this thread is recorded, failed or replaced.
class [[gnu::visibility("default")]] Unwatched {
public:
    Unwatched();
    ~Unwatched();
    Unwatched(Unwatched const&) = delete;
    Unwatched& operator=(Unwatched const&) = delete;

private:
    bool before_;
};

/// What an interposer asks: whether this call is to be recorded, failed or replaced.
struct Verdict {
    bool fails = false;
    bool hasResult = false;
    std::intptr_t result = 0;
    bool carriedOut = false;
    void* replacement = nullptr;
};

// Of the program, also for interposers in a shared library.
[[gnu::visibility("default")]] bool isWatched(void const* caller);
[[gnu::visibility("default")]] Verdict judge(Call const& call);

template <class T> std::intptr_t asNumber(T value) {
    if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<std::intptr_t>(value);
    } else {
        return static_cast<std::intptr_t>(value);
    }
}

template <class R> R fromNumber(std::intptr_t number) {
    if constexpr (std::is_pointer_v<R>) {
        return reinterpret_cast<R>(number);
    } else {
        return static_cast<R>(number);
    }
}

template <class R> constexpr Returns returnsOf() {
    if constexpr (std::is_void_v<R>) {
        return Returns::Nothing;
    } else if constexpr (std::is_pointer_v<R>) {
        return Returns::Object;
    } else {
        return std::is_signed_v<R> ? Returns::Number : Returns::Size;
    }
}

/// For functions whose result is no object of the caller's to release.
inline constexpr auto keepResult = [](auto /*result*/) {};

/// The body of every interposer. What is allocated meanwhile is its own, or of a module that libcrypto loads.
template <class R, class... A, class Release>
R intercept(char const* function, void const* caller, R (*real)(A...), std::intptr_t failure,
            std::common_type_t<std::tuple<A...>> arguments, Release release) {
    ForeignAllocations const foreign;
    if (!isWatched(caller)) {
        return std::apply(real, arguments);
    }
    Verdict const verdict =
        judge({function, std::apply([](auto... a) { return std::vector<std::intptr_t>{asNumber(a)...}; }, arguments),
               returnsOf<R>()});
    auto const carryOut = [&] {
        if (verdict.replacement == nullptr) {
            return std::apply(real, arguments);
        }
        auto& body = *static_cast<std::function<R(R(*)(A...), A...)>*>(verdict.replacement);
        return std::apply([&](auto... a) { return body(real, a...); }, arguments);
    };
    if (!verdict.fails) {
        return carryOut();
    }
    if (verdict.carriedOut) {
        if constexpr (std::is_void_v<R>) {
            carryOut();
        } else {
            R const result = carryOut();
            Unwatched const own;
            release(result);
        }
    }
    return fromNumber<R>(verdict.hasResult ? verdict.result : failure);
}

} // namespace support

#endif
