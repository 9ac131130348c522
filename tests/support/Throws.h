#ifndef ZRFL_TESTS_SUPPORT_THROWS_H
#define ZRFL_TESTS_SUPPORT_THROWS_H

#include <gtest/gtest.h>

#include <exception>
#include <string>
#include <typeinfo>

namespace support {

/// What an operation threw: the name of its dynamic type and its text, or "nothing".
struct Thrown {
    std::string type = "nothing";
    std::string text;
};

template <class Action> Thrown catchFrom(Action&& action) {
    try {
        action();
    } catch (std::exception const& error) {
        return {typeid(error).name(), error.what()};
    } catch (...) {
        return {"something that is no std::exception", ""};
    }
    return {};
}

/// Whether `action` throws an exception whose dynamic type is `Expected` itself, with this text byte for byte; with
/// `prefixOnly`, with a text that begins so.
template <class Expected, class Action>
testing::AssertionResult throwsExactly(std::string const& text, bool prefixOnly, Action&& action) {
    Thrown const thrown = catchFrom(action);
    if (thrown.type != typeid(Expected).name()) {
        return testing::AssertionFailure() << "expected exactly " << typeid(Expected).name() << ", found "
                                           << thrown.type << " with the text \"" << thrown.text << '"';
    }
    std::string const found = prefixOnly ? thrown.text.substr(0, text.size()) : thrown.text;
    if (found != text) {
        return testing::AssertionFailure() << "expected the text \"" << text << "\", found \"" << thrown.text << '"';
    }
    return testing::AssertionSuccess();
}

} // namespace support

/// The statement throws exactly this type with exactly this text.
#define EXPECT_THROWS(type, text, ...)                                                                                 \
    EXPECT_TRUE(::support::throwsExactly<type>(text, false, [&] { static_cast<void>(__VA_ARGS__); }))

/// The statement throws exactly this type with a text that begins with `prefix`; what libcrypto adds follows.
#define EXPECT_THROWS_PREFIX(type, prefix, ...)                                                                        \
    EXPECT_TRUE(::support::throwsExactly<type>(prefix, true, [&] { static_cast<void>(__VA_ARGS__); }))

#endif
