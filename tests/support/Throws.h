#ifndef ZRFL_TESTS_SUPPORT_THROWS_H
#define ZRFL_TESTS_SUPPORT_THROWS_H

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>

namespace support {

/// Refers to something that can be called, for as long as that lives. What takes one is compiled once.
template <class... Arguments> class CallOf {
public:
    template <class Callable, std::enable_if_t<!std::is_same_v<std::decay_t<Callable>, CallOf>, int> = 0>
    CallOf(Callable&& callable)
        : callable_(std::addressof(callable)), call_([](void const* with, Arguments... arguments) {
              (*static_cast<std::remove_reference_t<Callable> const*>(with))(arguments...);
          }) {}

    void operator()(Arguments... arguments) const { call_(callable_, arguments...); }

private:
    void const* callable_;
    void (*call_)(void const*, Arguments...);
};

using Action = CallOf<>;

/// What an operation threw: the name of its dynamic type and its text, or "nothing".
struct Thrown {
    std::string type = "nothing";
    std::string text;
};

Thrown catchFrom(Action action);

/// Whether `action` throws an exception whose dynamic type is `expected` itself, with this text byte for byte; with
/// `prefixOnly`, with a text that begins so.
testing::AssertionResult throwsExactly(std::type_info const& expected, std::string const& text, bool prefixOnly,
                                       Action action);

template <class Expected>
testing::AssertionResult throwsExactly(std::string const& text, bool prefixOnly, Action action) {
    return throwsExactly(typeid(Expected), text, prefixOnly, action);
}

} // namespace support

/// The statement throws exactly this type with exactly this text.
#define EXPECT_THROWS(type, text, ...)                                                                                 \
    EXPECT_TRUE(::support::throwsExactly<type>(text, false, [&] { static_cast<void>(__VA_ARGS__); }))

/// The statement throws exactly this type with a text that begins with `prefix`; what libcrypto adds follows.
#define EXPECT_THROWS_PREFIX(type, prefix, ...)                                                                        \
    EXPECT_TRUE(::support::throwsExactly<type>(prefix, true, [&] { static_cast<void>(__VA_ARGS__); }))

#endif
