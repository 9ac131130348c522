#ifndef ZRFL_TESTS_SUPPORT_AES_H
#define ZRFL_TESTS_SUPPORT_AES_H

#include "Bytes.h"
#include "Provider.h"

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace support {

using foundation::crypto::interfaces::AESDecryptorPtr;
using foundation::crypto::interfaces::AESEncryptorPtr;
using foundation::crypto::interfaces::CryptoPRNGPtr;
using foundation::crypto::interfaces::IAESDecryptor;
using foundation::crypto::interfaces::IAESEncryptor;
using foundation::crypto::interfaces::IAESKey;
using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::AESKeySize;
using foundation::crypto::utils::AESMode;
using foundation::crypto::utils::AESPaddingMode;

/// What a transform is made from, whatever the size of its key.
struct AESSetup {
    ByteArray key;
    ByteArray iv;
    AESMode mode = AESMode::CBC;
    AESPaddingMode padding = AESPaddingMode::PKCS7;
    CryptoPRNGPtr prng = {};
};

/// The provider's AES factories for one key size.
struct AESFactories {
    std::size_t bits;
    std::function<AESEncryptorPtr(AESSetup const&)> createEncryptor;
    std::function<AESDecryptorPtr(AESSetup const&)> createDecryptor;

    std::size_t keyBytes() const { return bits / 8; }
};

template <unsigned long Bits, class Key, class Encryptor, class Decryptor>
AESFactories makeAESFactories(Key createKey, Encryptor createEncryptor, Decryptor createDecryptor) {
    return {Bits,
            [=](AESSetup const& setup) {
                return (provider.*createEncryptor)((provider.*createKey)(setup.key), setup.iv, setup.mode,
                                                   setup.padding, setup.prng);
            },
            [=](AESSetup const& setup) {
                return (provider.*createDecryptor)((provider.*createKey)(setup.key), setup.iv, setup.mode,
                                                   setup.padding, setup.prng);
            }};
}

inline std::vector<AESFactories> const& aesFactories() {
    static std::vector<AESFactories> const all{
        makeAESFactories<128>(&CryptoProvider::createAES128Key, &CryptoProvider::createAES128Encryptor,
                              &CryptoProvider::createAES128Decryptor),
        makeAESFactories<192>(&CryptoProvider::createAES192Key, &CryptoProvider::createAES192Encryptor,
                              &CryptoProvider::createAES192Decryptor),
        makeAESFactories<256>(&CryptoProvider::createAES256Key, &CryptoProvider::createAES256Encryptor,
                              &CryptoProvider::createAES256Decryptor)};
    return all;
}

/// The factories for a key of this length.
inline AESFactories const& aesFactoriesFor(ByteArray const& key) {
    for (AESFactories const& factories : aesFactories()) {
        if (factories.keyBytes() == key.size()) {
            return factories;
        }
    }
    throw std::out_of_range("no AES key has " + std::to_string(key.size()) + " bytes");
}

inline AESEncryptorPtr createAESEncryptor(AESSetup const& setup) {
    return aesFactoriesFor(setup.key).createEncryptor(setup);
}

inline AESDecryptorPtr createAESDecryptor(AESSetup const& setup) {
    return aesFactoriesFor(setup.key).createDecryptor(setup);
}

struct NamedAESMode {
    std::string name;
    AESMode mode;
};

inline std::vector<NamedAESMode> const& aesModes() {
    static std::vector<NamedAESMode> const all{{"cbc", AESMode::CBC},
                                               {"cfb", AESMode::CFB},
                                               {"ofb", AESMode::OFB},
                                               {"gcm", AESMode::GCM},
                                               {"ctr", AESMode::CTR}};
    return all;
}

inline AESMode aesModeNamed(std::string const& name) {
    for (NamedAESMode const& row : aesModes()) {
        if (row.name == name) {
            return row.mode;
        }
    }
    throw std::out_of_range("no AES mode " + name);
}

} // namespace support

#endif
