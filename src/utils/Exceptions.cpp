#include "foundation/crypto/utils/Exceptions.h"

namespace foundation::crypto::utils {

Exception::Exception(std::string const& message) : std::runtime_error(message) {}

Exception::~Exception() = default;

InternalException::InternalException(std::string const& message) : Exception(message) {}

InternalException::~InternalException() = default;

InvalidArgument::InvalidArgument(std::string const& message) : Exception(message) {}

InvalidArgument::~InvalidArgument() = default;

InvalidKey::InvalidKey(std::string const& message) : Exception(message) {}

InvalidKey::~InvalidKey() = default;

InvalidKeyEncoding::InvalidKeyEncoding(std::string const& message) : Exception(message) {}

InvalidKeyEncoding::~InvalidKeyEncoding() = default;

KeyAndCurveMismatch::KeyAndCurveMismatch(std::string const& message) : Exception(message) {}

KeyAndCurveMismatch::~KeyAndCurveMismatch() = default;

NotImplemented::NotImplemented(std::string const& message) : Exception(message) {}

NotImplemented::~NotImplemented() = default;

UnsupportedDigestAlgorithm::UnsupportedDigestAlgorithm(std::string const& message) : Exception(message) {}

UnsupportedDigestAlgorithm::~UnsupportedDigestAlgorithm() = default;

} // namespace foundation::crypto::utils
