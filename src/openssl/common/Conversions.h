#ifndef ZRFL_OPENSSL_CONVERSIONS_H
#define ZRFL_OPENSSL_CONVERSIONS_H

#include "common/Handles.h"
#include "common/Secrets.h"

#include <foundation/crypto/utils/ByteArray.h>

#include <openssl/pem.h>

#include <string>
#include <string_view>
#include <vector>

namespace foundation::crypto::openssl {

// All failures are utils::InternalException unless stated; a null argument is one of them.

/// A new memory BIO. It wipes what it held, also while it grows, so key text may pass through it.
BIOUPtr newMemoryBIO();

/// `number` as an unsigned big-endian integer without leading zero bytes; empty for zero.
ByteArray toByteArray(BIGNUM const* number);

/// The unsigned big-endian integer in `bytes`, leading zero bytes allowed; empty where libcrypto cannot hold it.
Owned<BIGNUM> toNumber(ByteArray const& bytes);

/// Everything that `bio` holds; an empty `bio` is a failure.
ByteArray toByteArray(BIO* bio);

/// The bytes of a parameter that is an octet string.
ByteArray toByteArray(OSSL_PARAM const& octets);

/// Key bytes as the characters they may be; `bytes` has to outlive the result.
template <class Bytes> std::string_view asText(Bytes const& bytes) {
    return {reinterpret_cast<char const*>(bytes.data()), bytes.size()};
}

/// Writes all of `text`, which is not empty, to `bio`.
void write(std::string_view text, BIO* bio);

/// A pass phrase in the form of libcrypto's user data, for as long as it and `password` live. libcrypto takes no more
/// than 1024 bytes of it, but counts them in 32 bits before: what is longer is cut here.
class PassPhrase {
public:
    explicit PassPhrase(std::string const& password) : start_(password.c_str()) {
        if (password.size() > PEM_BUFSIZE) {
            cut_.assign(start_, start_ + PEM_BUFSIZE);
            cut_.push_back('\0');
            start_ = cut_.data();
        }
    }

    PassPhrase(PassPhrase const&) = delete;
    PassPhrase& operator=(PassPhrase const&) = delete;

    operator void*() const noexcept { return const_cast<char*>(start_); }

private:
    std::vector<char, WipingAllocator<char>> cut_;
    char const* start_;
};

/// Without a pass phrase in a call, libcrypto would ask for one on the terminal.
inline PassPhrase passPhrase(std::string const& password) {
    return PassPhrase(password);
}

/// The pass phrase for readers that take none: the empty one, so that an encrypted block fails instead of prompting.
inline void* noPassPhrase() {
    return const_cast<char*>("");
}

} // namespace foundation::crypto::openssl

#endif
