#include "common/ErrorQueue.h"

#include "common/Check.h"
#include "common/Handles.h"

#include <openssl/bio.h>
#include <openssl/buffer.h>

namespace foundation::crypto::openssl {

std::string getOpenSSLErrorLines() {
    BIOUPtr const bio(BIO_new(BIO_s_mem()));
    ERR_print_errors(bio.get());

    BUF_MEM* memory = nullptr;
    require(BIO_get_mem_ptr(bio.get(), &memory) == 1, "Failed to write out OpenSSL errors");
    return {memory->data, memory->length};
}

} // namespace foundation::crypto::openssl
