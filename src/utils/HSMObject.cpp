#include "foundation/crypto/utils/HSMObject.h"

#include <string.h> // NOLINT(modernize-deprecated-headers): explicit_bzero is of the C library, not of C++

#include <utility>

namespace foundation::crypto::utils {

namespace {

/// All that the string has room for, since a string that was moved from may still hold characters behind its end.
void wipe(std::string& text) noexcept {
    text.resize(text.capacity());
    explicit_bzero(text.data(), text.size());
    text.clear();
}

} // namespace

HSMObject::HSMObject(std::string modulePath, std::string uri) {
    modulePath_.swap(modulePath);
    uri_.swap(uri);
    wipe(modulePath);
    wipe(uri);
}

HSMObject::HSMObject(HSMObject const& other) = default;

HSMObject::HSMObject(HSMObject&& other) noexcept
    : modulePath_(std::move(other.modulePath_)), uri_(std::move(other.uri_)) {
    other.wipeBoth();
}

HSMObject& HSMObject::operator=(HSMObject const& other) {
    return *this = HSMObject(other);
}

HSMObject& HSMObject::operator=(HSMObject&& other) noexcept {
    if (this != &other) {
        wipeBoth();
        modulePath_ = std::move(other.modulePath_);
        uri_ = std::move(other.uri_);
        other.wipeBoth();
    }
    return *this;
}

HSMObject::~HSMObject() {
    wipeBoth();
}

std::string HSMObject::getModulePath() const {
    return modulePath_;
}

std::string HSMObject::getURI() const {
    return uri_;
}

void HSMObject::wipeBoth() noexcept {
    wipe(modulePath_);
    wipe(uri_);
}

} // namespace foundation::crypto::utils
