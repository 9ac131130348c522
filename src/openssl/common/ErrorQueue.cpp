#include "common/ErrorQueue.h"

#include "common/Check.h"
#include "common/Handles.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <openssl/bio.h>
#include <openssl/buffer.h>

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

std::string getOpenSSLErrorLines() {
    BIOUPtr const bio(BIO_new(BIO_s_mem()));
    ERR_print_errors(bio.get());

    BUF_MEM* memory = nullptr;
    require(BIO_get_mem_ptr(bio.get(), &memory) == 1, "Failed to write out OpenSSL errors");
    return memory->length == 0 ? std::string() : std::string(memory->data, memory->length);
}

} // namespace foundation::crypto::openssl
