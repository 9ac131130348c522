#include "Throws.h"

#include <exception>

namespace support {

Thrown catchFrom(Action action) {
    try {
        action();
    } catch (std::exception const& error) {
        return {typeid(error).name(), error.what()};
    } catch (...) {
        return {"something that is no std::exception", ""};
    }
    return {};
}

testing::AssertionResult throwsExactly(std::type_info const& expected, std::string const& text, bool prefixOnly,
                                       Action action) {
    Thrown const thrown = catchFrom(action);
    if (thrown.type != expected.name()) {
        return testing::AssertionFailure() << "expected exactly " << expected.name() << ", found " << thrown.type
                                           << " with the text \"" << thrown.text << '"';
    }
    std::string const found = prefixOnly ? thrown.text.substr(0, text.size()) : thrown.text;
    if (found != text) {
        return testing::AssertionFailure() << "expected the text \"" << text << "\", found \"" << thrown.text << '"';
    }
    return testing::AssertionSuccess();
}

} // namespace support
