#ifndef ZRFL_TESTS_RSA_RSAKEYFORMS_H
#define ZRFL_TESTS_RSA_RSAKEYFORMS_H

#include "support/Bytes.h"

#include <initializer_list>
#include <sstream>
#include <string>
#include <vector>

/// What the tests of RSA keys share: the forms in which each test key is stored, and the texts of those that do not
/// load.
namespace support {

inline std::string const noKey = "Fail to create EVP_PKEYUPtr; the given raw pointer is NULL";
inline std::string const emptyPrivate = "The input private key string is empty";
inline std::string const emptyPublic = "The input public key string is empty";

inline ByteArray joined(std::initializer_list<ByteArray> parts) {
    ByteArray whole;
    for (ByteArray const& part : parts) {
        whole.insert(whole.end(), part.begin(), part.end());
    }
    return whole;
}

inline std::istringstream streamOf(ByteArray const& content) {
    return std::istringstream(text(content));
}

inline std::vector<std::string> const plainPrivateForms{"private.pem", "private.der", "traditional.pem",
                                                        "traditional.der"};
inline std::vector<std::string> const encryptedForms{"encrypted.pem", "encrypted.der", "traditional-encrypted.pem"};
inline std::vector<std::string> const publicForms{"public.pem", "public.der", "traditional-public.pem"};

} // namespace support

#endif
