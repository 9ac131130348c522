#ifndef ZRFL_OPENSSL_KEYSIZE_H
#define ZRFL_OPENSSL_KEYSIZE_H

namespace foundation::crypto::openssl {

/// The number of bits that a size tag names: 256 for `utils::AESKeySize<256>`.
template <template <unsigned long> class Tag, unsigned long N> constexpr unsigned long bitsOf(Tag<N> /*size*/) {
    return N;
}

} // namespace foundation::crypto::openssl

#endif
