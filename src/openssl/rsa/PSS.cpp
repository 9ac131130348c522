#include "rsa/PSS.h"

#include <openssl/rsa.h>

namespace foundation::crypto::openssl {

bool setPSSSaltLength(EVP_PKEY_CTX* context, std::string const& digestName) {
    int length = RSA_PSS_SALTLEN_AUTO;
    if (digestName == "sha1") {
        length = 20;
    } else if (digestName == "sha256") {
        length = 32;
    } else if (digestName == "sha512") {
        length = 64;
    }
    return EVP_PKEY_CTX_set_rsa_pss_saltlen(context, length) > 0;
}

} // namespace foundation::crypto::openssl
