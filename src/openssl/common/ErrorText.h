#ifndef ZRFL_OPENSSL_ERRORTEXT_H
#define ZRFL_OPENSSL_ERRORTEXT_H

#include <string>

namespace foundation::crypto::openssl {

/// Empties the calling thread's libcrypto error queue into text: 1024 characters for each error, oldest first, each the
/// error's description, a NUL and blanks to fill. "No OpenSSL errors." when the queue is empty.
std::string getOpenSSLErrorText();

} // namespace foundation::crypto::openssl

#endif
