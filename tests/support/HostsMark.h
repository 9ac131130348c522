#ifndef ZRFL_TESTS_SUPPORT_HOSTSMARK_H
#define ZRFL_TESTS_SUPPORT_HOSTSMARK_H

#include <gtest/gtest.h>

#include <openssl/err.h>

namespace support {

/// A mark in libcrypto's error queue as a host sets it, on an error of its own.
class HostsMark {
public:
    static constexpr int reason = 77; ///< Of the host's error.

    HostsMark() {
        ERR_clear_error();
        ERR_raise(ERR_LIB_USER, reason);
        ERR_set_mark();
    }

    /// The mark is found once more, with the host's error beneath it and nothing else.
    static testing::AssertionResult isThere() {
        if (ERR_pop_to_mark() != 1) {
            return testing::AssertionFailure() << "the mark is gone";
        }
        unsigned long const beneath = ERR_get_error();
        if (ERR_GET_LIB(beneath) != ERR_LIB_USER || ERR_GET_REASON(beneath) != reason || ERR_peek_error() != 0) {
            return testing::AssertionFailure() << "other errors are beneath the mark";
        }
        return testing::AssertionSuccess();
    }
};

} // namespace support

#endif
