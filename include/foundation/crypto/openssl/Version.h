#ifndef FOUNDATION_CRYPTO_OPENSSL_VERSION_H
#define FOUNDATION_CRYPTO_OPENSSL_VERSION_H

/// The version of these headers, for `#if`: a host may be compiled with several. Semantic versioning; the soname
/// carries the major number.
#define ZRFL_VERSION_MAJOR 1
#define ZRFL_VERSION_MINOR 0
#define ZRFL_VERSION_PATCH 0

namespace foundation::crypto::openssl {

/// @addtogroup reference-provider
/// @{

/// The version of the headers that a host was compiled with. That of the library it runs with may be a later one:
/// `docs/compatibility.md` tells how to find out.
inline constexpr char version[] = "1.0.0";

/// @}

} // namespace foundation::crypto::openssl

#endif
