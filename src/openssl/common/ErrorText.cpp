#include "common/ErrorText.h"

#include <openssl/err.h>

#include <cstddef>

namespace foundation::crypto::openssl {

std::string getOpenSSLErrorText() {
    constexpr std::size_t textSize = 1024;

    unsigned long code = ERR_get_error();
    if (code == 0) {
        return "No OpenSSL errors.";
    }
    std::string text;
    for (; code != 0; code = ERR_get_error()) {
        std::size_t const start = text.size();
        text.resize(start + textSize, ' ');
        ERR_error_string_n(code, &text[start], textSize);
    }
    return text;
}

} // namespace foundation::crypto::openssl
