#ifndef FOUNDATION_CRYPTO_UTILS_VISIBILITY_H
#define FOUNDATION_CRYPTO_UTILS_VISIBILITY_H

/// Marks what a library shows to its host. The libraries are built with hidden visibility, so every class or function
/// whose body lives in one of them and is used from outside carries this mark; so do the exception classes, whose type
/// information a host and the libraries must share for a `catch` across the border to match.
#define ZRFL_EXPORT __attribute__((visibility("default")))

#endif
