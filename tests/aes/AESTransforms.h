#ifndef ZRFL_TESTS_AES_AESTRANSFORMS_H
#define ZRFL_TESTS_AES_AESTRANSFORMS_H

#include "support/AES.h"
#include "support/Bytes.h"

#include <string>

/// What the tests of transforms share.
namespace support {

inline std::string const unsupportedKeySize = "Failed to get the OpenSSL cipher. Unsupported key size";

inline ByteArray const key = pseudoRandomBytes(16, 128);
inline ByteArray const iv = pseudoRandomBytes(16, 16);

inline ByteArray encrypt(AESSetup const& setup, ByteArray const& plainText) {
    return createAESEncryptor(setup)->encrypt(plainText);
}

inline ByteArray decrypt(AESSetup const& setup, ByteArray const& cipherText) {
    return createAESDecryptor(setup)->decrypt(cipherText);
}

} // namespace support

#endif
