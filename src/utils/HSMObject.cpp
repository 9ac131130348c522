#include "foundation/crypto/utils/HSMObject.h"

#include <utility>

namespace foundation::crypto::utils {

HSMObject::HSMObject(std::string modulePath, std::string uri)
    : modulePath_(std::move(modulePath)), uri_(std::move(uri)) {}

std::string HSMObject::getModulePath() const {
    return modulePath_;
}

std::string HSMObject::getURI() const {
    return uri_;
}

} // namespace foundation::crypto::utils
