#include "kdf/PBKDF2.h"

#include "common/Check.h"
#include "common/Secrets.h"

#include <openssl/evp.h>

#include <cstddef>

namespace foundation::crypto::openssl {

ByteArray deriveKeyUsingPBKDF2(std::string const& password, std::string const& salt, int keyLength, int iterations) {
    constexpr std::size_t longest = 65535;
    require<utils::InvalidArgument>(password.size() <= longest, "Password is longer than the allowed size of 65535");
    require<utils::InvalidArgument>(salt.size() <= longest, "Salt is longer than the allowed size of 65535");

    ByteArray key(static_cast<std::size_t>(keyLength)); // a negative length is more than any array can hold
    // libcrypto accepts a key of no bytes, which is no key.
    if (keyLength == 0 ||
        PKCS5_PBKDF2_HMAC(password.data(), static_cast<int>(password.size()),
                          reinterpret_cast<unsigned char const*>(salt.data()), static_cast<int>(salt.size()),
                          iterations, EVP_sha512(), keyLength, key.data()) == 0) {
        Wiped const partial(key);
        throw utils::InternalException("Key derivation is unsuccessful.");
    }
    return key;
}

} // namespace foundation::crypto::openssl
