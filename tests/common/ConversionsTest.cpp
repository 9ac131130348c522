#include "common/Conversions.h"

#include "support/Bytes.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace support;
using namespace foundation::crypto::openssl;
using foundation::crypto::utils::InternalException;

BIOUPtr memory() {
    return BIOUPtr(BIO_new(BIO_s_mem()));
}

BIOUPtr memory(std::string const& content) {
    BIOUPtr bio = memory();
    write(content, bio.get());
    return bio;
}

// Numbers

TEST(Numbers, AreWrittenWithoutLeadingZeros) {
    for (char const* const digits : {"01", "7f", "80", "ff", "0100", "ffff", "010000000000000000", "00ff", "000001"}) {
        ByteArray const bytes = unhex(digits);
        BNUPtr const number(BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr));
        std::string expected = digits;
        while (expected.rfind("00", 0) == 0) {
            expected.erase(0, 2);
        }
        EXPECT_EQ(hex(toByteArray(number.get())), expected);
    }
}

TEST(Numbers, OfZeroAreEmpty) {
    BNUPtr const zero(BN_new());
    EXPECT_EQ(toByteArray(zero.get()), ByteArray());
}

TEST(Numbers, AreNotWrittenFromNothing) {
    EXPECT_THROWS(InternalException, "Failed to convert BIGNUM to ByteArray. Argument is nullptr.",
                  toByteArray(static_cast<BIGNUM const*>(nullptr)));
}

// BIOs

TEST(BIOs, BringBackWhatWasWritten) {
    std::string const content("text\0with a NUL\n", 16);
    EXPECT_EQ(text(toByteArray(memory(content).get())), content);

    EXPECT_EQ(text(toByteArray(memory("1").get())), "1");

    BIOUPtr const bio = memory("one");
    write("two", bio.get());
    EXPECT_EQ(text(toByteArray(bio.get())), "onetwo");
}

TEST(BIOs, ThatAreEmptyAreAFailure) {
    BIOUPtr const bio = memory("read once");
    toByteArray(bio.get());
    EXPECT_THROWS(
        InternalException,
        "Error occurred while trying to find number of bytes in BIO. Expected one or more bytes to be pending",
        toByteArray(bio.get()));
}

TEST(BIOs, TakeNoEmptyText) {
    EXPECT_THROWS(InternalException, "Failed to write to BIO.", write("", memory().get()));
}

TEST(BIOs, ThatAreReadOnlyTakeNoText) {
    BIOUPtr const readOnly(BIO_new_mem_buf("content", 7));
    EXPECT_THROWS(InternalException, "Failed to write to BIO.", write("text", readOnly.get()));
    EXPECT_EQ(text(toByteArray(readOnly.get())), "content");
}

TEST(BIOs, AreNeeded) {
    EXPECT_THROWS(InternalException, "Failed to write string to BIO. Argument is nullptr", write("text", nullptr));
    EXPECT_THROWS(InternalException, "Failed to write from BIO to ByteArray. Argument is nullptr",
                  toByteArray(static_cast<BIO*>(nullptr)));
}

} // namespace
