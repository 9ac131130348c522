#include "common/ErrorQueue.h"
#include "common/ErrorText.h"

#include "support/Bytes.h"
#include "support/Faults.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

using namespace support;
using namespace foundation::crypto::openssl;
using foundation::crypto::utils::InternalException;

void queueErrors(int count) {
    for (int reason = 1; reason <= count; ++reason) {
        ERR_raise(ERR_LIB_USER, reason);
    }
}

/// The 1024 characters in which one error appears.
std::string block(unsigned long code) {
    std::string text(1024, ' ');
    ERR_error_string_n(code, text.data(), text.size());
    return text;
}

TEST(ErrorText, OfAnEmptyQueueSaysSo) {
    EXPECT_EQ(getOpenSSLErrorText(), "No OpenSSL errors.");
}

TEST(ErrorText, OfOneErrorIsItsDescriptionANULAndBlanks) {
    queueErrors(1);
    unsigned long const code = ERR_peek_error();
    std::string const text = getOpenSSLErrorText();
    EXPECT_EQ(text, block(code));
    ASSERT_EQ(text.size(), 1024U);
    std::size_t const end = text.find('\0');
    ASSERT_NE(end, std::string::npos);
    EXPECT_EQ(text.substr(0, 6), "error:");
    EXPECT_EQ(text.substr(end + 1), std::string(1024 - end - 1, ' '));
}

TEST(ErrorText, ListsEveryErrorOldestFirstAndEmptiesTheQueue) {
    queueErrors(3);
    std::string const text = getOpenSSLErrorText();
    EXPECT_EQ(text, block(ERR_PACK(ERR_LIB_USER, 0, 1)) + block(ERR_PACK(ERR_LIB_USER, 0, 2)) +
                        block(ERR_PACK(ERR_LIB_USER, 0, 3)));
    EXPECT_EQ(ERR_peek_error(), 0U);
    EXPECT_EQ(getOpenSSLErrorText(), "No OpenSSL errors.");
}

TEST(ErrorText, EndsWithAFullQueue) {
    queueErrors(40);
    EXPECT_EQ(getOpenSSLErrorText().size() % 1024, 0U);
    EXPECT_EQ(getOpenSSLErrorText(), "No OpenSSL errors.");
}

TEST(ErrorText, BelongsToTheCallingThread) {
    queueErrors(1);
    std::string other;
    std::thread([&] { other = getOpenSSLErrorText(); }).join();
    EXPECT_EQ(other, "No OpenSSL errors.");
    EXPECT_EQ(getOpenSSLErrorText().size(), 1024U);
}

TEST(ErrorLines, HaveOneLineForEachErrorAndEmptyTheQueue) {
    queueErrors(2);
    std::string const lines = getOpenSSLErrorLines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 2);
    EXPECT_NE(lines.find("40000001"), std::string::npos);
    EXPECT_LT(lines.find("40000001"), lines.find("40000002"));
    EXPECT_EQ(ERR_peek_error(), 0U);
}

TEST(ErrorLines, OfAnEmptyQueueAreNone) {
    EXPECT_EQ(getOpenSSLErrorLines(), "");
}

TEST(ErrorLines, ThatCannotBeCollectedAreReported) {
    {
        Failing const failing("BIO_new");
        EXPECT_THROWS(InternalException, "Fail to create BIOUPtr; the given raw pointer is NULL",
                      getOpenSSLErrorLines());
    }
    for (int const result : {0, -2}) {
        Failing failing("BIO_ctrl");
        failing.returning(result);
        EXPECT_THROWS(InternalException, "Failed to write out OpenSSL errors", getOpenSSLErrorLines());
    }
}

TEST(ErrorQueueMarks, ForgetWhatWasQueuedBehindThem) {
    queueErrors(2);
    unsigned long const last = ERR_peek_last_error();
    {
        ErrorQueueMark const mark;
        ERR_raise(ERR_LIB_USER, 9);
        {
            ErrorQueueMark const inner;
            ERR_raise(ERR_LIB_USER, 10);
        }
        EXPECT_EQ(ERR_GET_REASON(ERR_peek_last_error()), 9);
    }
    EXPECT_EQ(ERR_peek_last_error(), last);
    EXPECT_EQ(getOpenSSLErrorText().size(), 2 * 1024U);
}

TEST(ErrorQueueMarks, LeaveAnEmptyQueueEmpty) {
    {
        ErrorQueueMark const mark;
        queueErrors(3);
    }
    EXPECT_EQ(ERR_peek_error(), 0U);
}

/// A decryption that leaves an entry in the queue which libcrypto has struck out: it counts as none, and is removed at
/// the next look.
class StrikingOut {
public:
    StrikingOut() {
        EXPECT_EQ(EVP_PKEY_decrypt_init(context_.get()), 1);
        EXPECT_EQ(EVP_PKEY_CTX_set_rsa_padding(context_.get(), RSA_PKCS1_PADDING), 1);
        decrypt(); // a key's first use tidies up behind itself
    }

    void decrypt() {
        ByteArray text(block_.size());
        std::size_t size = text.size();
        EXPECT_EQ(EVP_PKEY_decrypt(context_.get(), text.data(), &size, block_.data(), block_.size()), 1);
    }

private:
    std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key_{EVP_RSA_gen(1024), EVP_PKEY_free};
    std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)> context_{EVP_PKEY_CTX_new(key_.get(), nullptr),
                                                                         EVP_PKEY_CTX_free};
    ByteArray block_ = ByteArray(128);
};

TEST(ErrorQueueMarks, KeepWhatAHostQueuedBeforeAnEntryThatIsStruckOut) {
    StrikingOut host;
    ERR_clear_error();
    queueErrors(1);
    unsigned long const queued = ERR_peek_error();
    host.decrypt();
    {
        ErrorQueueMark const mark;
        ERR_peek_last_error();
    }
    EXPECT_EQ(ERR_get_error(), queued);
    EXPECT_EQ(ERR_get_error(), 0U);
}

TEST(ErrorQueueMarks, KeepAHostsMarksOnItsLastErrorStruckOutOrNot) {
    StrikingOut host;

    struct Host {
        int marksBefore;
        bool strikesOut;
        int marksBehind;
    };

    for (auto const& [marksBefore, strikesOut, marksBehind] :
         {Host{0, true, 0}, Host{0, true, 1}, Host{0, true, 2}, Host{1, true, 1}, Host{2, true, 2}, Host{1, false, 0},
          Host{2, false, 0}}) {
        ERR_clear_error();
        queueErrors(2);
        for (int mark = 0; mark < marksBefore; ++mark) {
            ERR_set_mark();
        }
        if (strikesOut) {
            host.decrypt();
        }
        for (int mark = 0; mark < marksBehind; ++mark) {
            ERR_set_mark();
        }
        {
            ErrorQueueMark const mark;
            queueErrors(3);
        }
        for (int mark = 0; mark < marksBefore + marksBehind; ++mark) {
            queueErrors(1);
            EXPECT_EQ(ERR_pop_to_mark(), 1);
        }
        EXPECT_EQ(ERR_GET_REASON(ERR_peek_last_error()), 2);
        EXPECT_EQ(ERR_count_to_mark(), 2) << "a mark was left behind";
    }
    ERR_clear_error();
    host.decrypt();
    ERR_set_mark();
    {
        ErrorQueueMark const mark;
        queueErrors(1);
    }
    EXPECT_EQ(ERR_peek_error(), 0U);
}

TEST(ErrorQueueMarks, KeepTheErrorsThatExplainAnException) {
    for (int const before : {0, 2}) {
        ERR_clear_error();
        queueErrors(before);
        try {
            ErrorQueueMark const mark;
            ERR_raise(ERR_LIB_USER, 9);
            throw std::runtime_error("out");
        } catch (std::runtime_error const&) {
            EXPECT_EQ(ERR_GET_REASON(ERR_peek_last_error()), 9);
        }
        EXPECT_EQ(ERR_pop_to_mark(), 0) << "a mark was left behind";
    }
}

} // namespace
