#ifndef ZRFL_TESTS_COMMON_STREAMREADERS_H
#define ZRFL_TESTS_COMMON_STREAMREADERS_H

#include "common/Check.h"
#include "common/Streams.h"

#include "support/Bytes.h"

#include <gtest/gtest.h>

#include <istream>

/// The two readers of streams as functions of one type, so that a test can go through both.
namespace support {

inline ByteArray extractAtOnce(std::istream& input) {
    using namespace foundation::crypto::openssl;
    auto const bytes = readExtracted<UnfilledSecretBytes>(input, rethrowUnchanged);
    return {bytes.begin(), bytes.end()};
}

inline ByteArray takeAtOnce(std::istream& input) {
    using namespace foundation::crypto::openssl;
    UnfilledSecretBytes const bytes = readUnformatted(input, 16);
    EXPECT_GE(bytes.capacity(), bytes.empty() ? 0 : bytes.size() + 16);
    return {bytes.begin(), bytes.end()};
}

} // namespace support

#endif
