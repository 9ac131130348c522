#ifndef ZRFL_OPENSSL_ERRORQUEUE_H
#define ZRFL_OPENSSL_ERRORQUEUE_H

#include <openssl/err.h>

#include <exception>
#include <string>

namespace foundation::crypto::openssl {

/// Empties the calling thread's libcrypto error queue into the lines that libcrypto itself prints, one for each error,
/// with the place in its source; empty when the queue is. Nothing in the library calls it: it is kept for looking
/// into a failure by hand.
///
/// @throws utils::InternalException when the lines cannot be collected.
std::string getOpenSSLErrorLines();

/// Around an operation that may fail inside and yet return normally: forgets the errors that libcrypto queued
/// meanwhile, so that the host finds its queue as it left it. An exception on its way out keeps them, since they
/// explain it.
class ErrorQueueMark {
public:
    ErrorQueueMark() noexcept : exceptions_(std::uncaught_exceptions()) {
        // Looking purges the last entries that libcrypto has struck out but not removed, and the marks on them. Those
        // of the host's on the last of all go to what lies beneath, under ours.
        int marks = 1;
        while (ERR_count_to_mark() == 0 && ERR_clear_last_mark() == 1) {
            ++marks;
        }
        static_cast<void>(ERR_peek_last_error());
        for (; marks > 0; --marks) {
            ERR_set_mark();
        }
    }

    ~ErrorQueueMark() {
        if (std::uncaught_exceptions() > exceptions_) {
            ERR_clear_last_mark();
        } else {
            ERR_pop_to_mark();
        }
    }

    ErrorQueueMark(ErrorQueueMark const&) = delete;
    ErrorQueueMark& operator=(ErrorQueueMark const&) = delete;

private:
    int exceptions_;
};

} // namespace foundation::crypto::openssl

#endif
