#ifndef ZRFL_TESTS_RSA_RSABLOCKS_H
#define ZRFL_TESTS_RSA_RSABLOCKS_H

#include "support/RSAKeys.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

/// What the tests of RSA encryption share: the paddings, the room that each leaves, and streams of blocks.
namespace support {

inline constexpr RSAPaddingMode oaep1 = RSAPaddingMode::OAEP_SHA1;
inline constexpr RSAPaddingMode oaep256 = RSAPaddingMode::OAEP_SHA256;
inline constexpr RSAPaddingMode oaep512 = RSAPaddingMode::OAEP_SHA512;
inline constexpr RSAPaddingMode pkcs1 = RSAPaddingMode::PKCS1_V1_5;
inline std::vector<int> const sizes{1024, 2048, 4096};
inline std::vector<RSAPaddingMode> const paddings{oaep1, oaep256, oaep512, pkcs1};

inline std::string const notDecrypted = "EVP_PKEY_decrypt failed to generate the decrypted text.";

/// The bytes that one block takes; negative when not even the padding has room.
inline int limitOf(int bits, RSAPaddingMode padding) {
    static std::map<RSAPaddingMode, int> const shares{{oaep1, 42}, {oaep256, 66}, {oaep512, 130}, {pkcs1, 11}};
    return bits / 8 - shares.at(padding);
}

inline std::string encryptStream(IRSAEncryptor const& encryptor, std::string const& plainText) {
    std::istringstream input(plainText);
    std::ostringstream output;
    EXPECT_EQ(&encryptor.encrypt(input, output), &output);
    return output.str();
}

inline std::string decryptStream(IRSADecryptor const& decryptor, std::string const& cipherText) {
    std::istringstream input(cipherText);
    std::ostringstream output;
    EXPECT_EQ(&decryptor.decrypt(input, output), &output);
    return output.str();
}

inline std::string describe(int bits, RSAPaddingMode padding) {
    return std::to_string(bits) + " bits, padding " + std::to_string(static_cast<int>(padding));
}

} // namespace support

#endif
