#include "Thrower.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <map>

namespace {

namespace utils = foundation::crypto::utils;

template <class E> void raise(std::string const& text) {
    throw E(text);
}

std::map<std::string, void (*)(std::string const&)> const throwers{
    {"Exception", &raise<utils::Exception>},
    {"InternalException", &raise<utils::InternalException>},
    {"InvalidArgument", &raise<utils::InvalidArgument>},
    {"InvalidKey", &raise<utils::InvalidKey>},
    {"InvalidKeyEncoding", &raise<utils::InvalidKeyEncoding>},
    {"KeyAndCurveMismatch", &raise<utils::KeyAndCurveMismatch>},
    {"NotImplemented", &raise<utils::NotImplemented>},
    {"UnsupportedDigestAlgorithm", &raise<utils::UnsupportedDigestAlgorithm>},
};

} // namespace

void throwByName(std::string const& name, std::string const& text) {
    throwers.at(name)(text);
}
