#include "aes/AESKey.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <cstddef>
#include <string>

namespace foundation::crypto::openssl {

namespace {

SecretBytes takeKey(ByteArray const& keyData, unsigned long bits) {
    std::size_t const size = bits / 8;
    if (keyData.size() < size) {
        throw utils::InternalException("AES " + std::to_string(bits) + "-bit key data must contain at least " +
                                       std::to_string(size) + " bytes.");
    }
    return {keyData.data(), keyData.data() + size};
}

} // namespace

template <class KeySize>
AESKey<KeySize>::AESKey(ByteArray const& keyData) : bytes_(takeKey(keyData, bitsOf(KeySize()))) {}

template class AESKey<utils::AESKeySize<128>>;
template class AESKey<utils::AESKeySize<192>>;
template class AESKey<utils::AESKeySize<256>>;

} // namespace foundation::crypto::openssl
