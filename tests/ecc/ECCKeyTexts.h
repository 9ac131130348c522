#ifndef ZRFL_TESTS_ECC_ECCKEYTEXTS_H
#define ZRFL_TESTS_ECC_ECCKEYTEXTS_H

#include <gtest/gtest.h>

#include <string>

/// What the tests of keys expect of a key's PEM text, and of the exception where there is none.
namespace support {

inline std::string const notPEM =
    "Could not create key from bytes in PEM encoding. Is the key really in PEM encoding? DER is "
    "not supported.";

inline void expectBlock(std::string const& pem, std::string const& label) {
    std::string const begin = "-----BEGIN " + label + "-----\n";
    std::string const end = "-----END " + label + "-----\n";
    EXPECT_EQ(pem.substr(0, begin.size()), begin);
    ASSERT_GT(pem.size(), end.size());
    EXPECT_EQ(pem.substr(pem.size() - end.size()), end);
    EXPECT_EQ(pem.find('\0'), std::string::npos);
    EXPECT_EQ(pem.find("-----BEGIN ", 1), std::string::npos);
}

} // namespace support

#endif
