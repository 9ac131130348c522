#ifndef ZRFL_TESTS_SUPPORT_HOSTSMARK_H
#define ZRFL_TESTS_SUPPORT_HOSTSMARK_H

#include "Bytes.h"
#include "PEM.h"

#include <gtest/gtest.h>

#include <openssl/err.h>
#include <openssl/pem.h>

#include <memory>
#include <string>

namespace support {

/// Whether libcrypto takes back a mark that it has not set when it decrypts a key after PBES2, as OpenSSL 4 does.
bool decryptingTakesMarks();

/// A mark in libcrypto's error queue as a host sets it, on an error of its own.
class HostsMark {
public:
    static constexpr int reason = 77; ///< Of the host's error.

    /// It may be gone after an operation that decrypts a key, where libcrypto itself takes it.
    explicit HostsMark(bool decryptsKey = false) : decryptsKey_(decryptsKey) {
        ERR_clear_error();
        ERR_raise(ERR_LIB_USER, reason);
        ERR_set_mark();
    }

    /// The mark is found once more, with the host's error beneath it and nothing else.
    testing::AssertionResult isThere() const {
        if (ERR_pop_to_mark() != 1) {
            return decryptsKey_ && decryptingTakesMarks() ? testing::AssertionSuccess()
                                                          : testing::AssertionFailure() << "the mark is gone";
        }
        unsigned long const beneath = ERR_get_error();
        if (ERR_GET_LIB(beneath) != ERR_LIB_USER || ERR_GET_REASON(beneath) != reason || ERR_peek_error() != 0) {
            return testing::AssertionFailure() << "other errors are beneath the mark";
        }
        return testing::AssertionSuccess();
    }

private:
    bool decryptsKey_;
};

/// The reason of the error that a host still finds in its queue when raw libcrypto has read an encrypted private key
/// after a mark and the queue was put back to it: the host's own, or 0 where libcrypto has taken that mark.
inline int reasonBehindBareReading(ByteArray const& key, std::string const& password) {
    auto* const given = const_cast<char*>(password.c_str());
    std::unique_ptr<BIO, decltype(&BIO_free)> const bio(BIO_new_mem_buf(key.data(), static_cast<int>(key.size())),
                                                        &BIO_free);
    ERR_clear_error();
    ERR_raise(ERR_LIB_USER, HostsMark::reason);
    ERR_set_mark();
    bool const isPEM = key.at(0) == '-';
    static_cast<void>(owned(isPEM ? PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, given)
                                  : d2i_PKCS8PrivateKey_bio(bio.get(), nullptr, nullptr, given)));
    ERR_pop_to_mark();
    int const reason = ERR_GET_REASON(ERR_get_error());
    EXPECT_EQ(ERR_get_error(), 0U);
    EXPECT_TRUE(reason == HostsMark::reason || OPENSSL_version_major() >= 4);
    return reason;
}

inline bool decryptingTakesMarks() {
    static bool const takes = [] {
        ByteArray const integer(32, 1);
        RawKey const key =
            owned(EVP_PKEY_new_raw_private_key(EVP_PKEY_ED25519, nullptr, integer.data(), integer.size()));
        return reasonBehindBareReading(bytes(encryptedPEM(key, "password")), "password") != HostsMark::reason;
    }();
    return takes;
}

} // namespace support

#endif
