#include "../AES.h"
#include "Families.h"
#include "Runs.h"

#include <string>
#include <utility>
#include <vector>

namespace support::listing {

namespace {

/// A way to use AES, the same with every size of a key.
struct AESUse {
    std::string name;
    AESMode mode;
    AESPaddingMode padding = AESPaddingMode::PKCS7;
    ByteArray iv = pseudoRandomBytes(16, 2);
    ByteArray plainText = message;
};

std::vector<AESUse> aesUses() {
    std::vector<AESUse> uses;
    for (auto const& [name, mode] : aesModes()) {
        uses.push_back({name, mode});
    }
    uses.push_back({"cbc without padding", AESMode::CBC, AESPaddingMode::NoPadding, pseudoRandomBytes(16, 2),
                    pseudoRandomBytes(32, 3)});
    uses.push_back({"gcm with 12 bytes", AESMode::GCM, AESPaddingMode::PKCS7, pseudoRandomBytes(12, 2)});
    return uses;
}

void addAESMembers(List& list, std::string const& kind, ByteArray const& plainText,
                   Maker<AESEncryptorPtr> const& encryptor, Maker<AESDecryptorPtr> const& decryptor) {
    auto const cipherText = [=] { return encryptor()->encrypt(plainText); };
    auto const wroteNothing = [](auto const& with) { return with.second.output->written().empty(); };
    add(
        list, "IAESEncryptor", "encrypt(bytes)", kind, encryptor,
        [=](AESEncryptorPtr const& by) { return by->encrypt(plainText); }, asIs);
    add(
        list, "IAESEncryptor", "encrypt(stream)", kind, [=] { return std::make_pair(encryptor(), Streams(plainText)); },
        [](auto const& with) { return &with.first->encrypt(*with.second.input, *with.second.output); },
        [](auto const& with, auto const*) { return with.second.output->written(); }, wroteNothing);
    add(
        list, "IAESEncryptor", "getKeySize", kind, encryptor,
        [](AESEncryptorPtr const& by) { return by->getKeySize(); }, asIs);

    add(
        list, "IAESDecryptor", "decrypt(bytes)", kind, [=] { return std::make_pair(decryptor(), cipherText()); },
        [](auto const& with) { return with.first->decrypt(with.second); }, asIs);
    add(
        list, "IAESDecryptor", "decrypt(stream)", kind,
        [=] { return std::make_pair(decryptor(), Streams(cipherText())); },
        [](auto const& with) { return &with.first->decrypt(*with.second.input, *with.second.output); },
        [](auto const& with, auto const*) { return with.second.output->written(); }, wroteNothing);
    add(
        list, "IAESDecryptor", "getKeySize", kind, decryptor,
        [](AESDecryptorPtr const& by) { return by->getKeySize(); }, asIs);
}

template <unsigned long Bits, class CreateKey, class CreateEncryptor, class CreateDecryptor>
void addAESOfSize(List& list, CreateKey createKey, CreateEncryptor createEncryptor, CreateDecryptor createDecryptor) {
    using Key = interfaces::AESKeyPtr<Bits>;
    std::string const size = std::to_string(Bits);
    auto const keyBytes = [] { return pseudoRandomBytes(Bits / 8); };
    auto const key = [=] { return (provider.*createKey)(keyBytes()); };
    add(
        list, "ICryptoProvider", "createAES" + size + "Key", "", keyBytes,
        [=](ByteArray const& given) { return (provider.*createKey)(given); },
        [](auto const&, Key const& made) { return made->getKeyBytes(); });
    add(list, "IAESKey", "getKeySize", size, key, [](Key const& given) { return given->getKeySize(); }, asIs);
    add(list, "IAESKey", "getKeyBytes", size, key, [](Key const& given) { return given->getKeyBytes(); }, asIs);

    for (AESUse const& use : aesUses()) {
        std::string const kind = size + " " + use.name;

        struct Given {
            Key key;
            ByteArray iv;
            CryptoPRNGPtr prng = {};
        };

        auto const given = [=] { return Given{key(), use.iv}; };
        auto const withoutVector = [=] { return Given{key(), {}, provider.createDefaultCryptoPRNG({})}; };
        auto const encryptor = [=](Given const& from) {
            return (provider.*createEncryptor)(from.key, from.iv, use.mode, use.padding, from.prng);
        };
        auto const decryptor = [=](Given const& from) {
            return (provider.*createDecryptor)(from.key, from.iv, use.mode, use.padding, from.prng);
        };
        auto const plainText = use.plainText;
        auto const cipherText = [=] { return encryptor(given())->encrypt(plainText); };
        add(list, "ICryptoProvider", "createAES" + size + "Encryptor", use.name, given, encryptor,
            [=](auto const&, AESEncryptorPtr const& made) { return made->encrypt(plainText); });
        add(list, "ICryptoProvider", "createAES" + size + "Encryptor", use.name + ", vector drawn", withoutVector,
            encryptor,
            [=](auto const&, AESEncryptorPtr const& made) { return number(made->encrypt(plainText).size()); });
        add(list, "ICryptoProvider", "createAES" + size + "Decryptor", use.name, given, decryptor,
            [=](auto const&, AESDecryptorPtr const& made) { return made->decrypt(cipherText()); });
        add(list, "ICryptoProvider", "createAES" + size + "Decryptor", use.name + ", vector drawn", withoutVector,
            decryptor, [](auto const&, AESDecryptorPtr const& made) { return number(made->getKeySize()); });
        addAESMembers(list, kind, plainText, [=] { return encryptor(given()); }, [=] { return decryptor(given()); });
    }
}

} // namespace

void addAES(List& list) {
    addAESOfSize<128>(list, &CryptoProvider::createAES128Key, &CryptoProvider::createAES128Encryptor,
                      &CryptoProvider::createAES128Decryptor);
    addAESOfSize<192>(list, &CryptoProvider::createAES192Key, &CryptoProvider::createAES192Encryptor,
                      &CryptoProvider::createAES192Decryptor);
    addAESOfSize<256>(list, &CryptoProvider::createAES256Key, &CryptoProvider::createAES256Encryptor,
                      &CryptoProvider::createAES256Decryptor);
}

} // namespace support::listing
