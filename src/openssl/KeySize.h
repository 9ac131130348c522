#ifndef ZRFL_OPENSSL_KEYSIZE_H
#define ZRFL_OPENSSL_KEYSIZE_H

namespace foundation::crypto::openssl {

/// The number that a size tag carries: 2048 for RSAKeySize<2048>.
template <template <unsigned long> class Tag, unsigned long N> constexpr unsigned long bitsOf(Tag<N> /*size*/) {
    return N;
}

} // namespace foundation::crypto::openssl

#endif
