#include "../PEM.h"
#include "../RSA.h"
#include "../Vectors.h"
#include "Families.h"
#include "Signers.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace support::listing {

namespace {

template <unsigned long N> void addRSAKeys(List& list) {
    using Of = RSAKeys<N>;
    using PrivateKey = typename Of::PrivateKey;
    using PublicKey = typename Of::PublicKey;
    std::string const size = std::to_string(N);
    std::string const factory = "ICryptoProvider";
    auto const file = [](char const* name) { return [=] { return readRSAKey(N, name); }; };
    auto const stream = [](char const* name) { return [=] { return Input(readRSAKey(N, name)); }; };
    auto const numbers = [] {
        for (Vector const& vector : readVectors("keys/rsa_numbers.txt")) {
            if (vector.number("bits") == N) {
                return vector;
            }
        }
        throw std::out_of_range("no numbers of that size");
    };

    struct Numbers {
        ByteArray modulus;
        ByteArray privateExponent;
        ByteArray publicExponent;
    };

    auto const given = [=] {
        Vector const vector = numbers();
        return Numbers{vector.bytes("n"), vector.bytes("d"), vector.bytes("e")};
    };
    auto const describePrivate = [](auto const&, PrivateKey const& key) {
        return joined(key->getModulus(), key->getPrivateExponent());
    };
    auto const describePublic = [](auto const&, PublicKey const& key) { return key->getDER(); };
    static auto const prng = [] { return provider.createDefaultCryptoPRNG({}); };
    auto const privateKey = [] { return Of::createPrivateKey(readRSAKey(N, "private.der")); };
    auto const publicKey = [] { return Of::createPublicKey(readRSAKey(N, "public.der")); };

    add(
        list, factory, "generateRSA" + size + "KeyPair", "", prng,
        [](CryptoPRNGPtr const& with) { return Of::generateKeyPair(with); },
        [](auto const&, auto const& pair) {
            return number(pair->getPrivateKey()->getModulus() == pair->getPublicKey()->getModulus() ? 1 : 0);
        });
    std::string const createPrivate = "createRSA" + size + "PrivateKey";
    for (char const* const name : {"private.der", "private.pem", "traditional.der", "traditional.pem"}) {
        add(
            list, factory, createPrivate + "(bytes)", name, file(name),
            [](ByteArray const& encoded) { return Of::createPrivateKey(encoded); }, describePrivate);
    }
    add(
        list, factory, createPrivate + "(numbers)", "", given,
        [](Numbers const& n) { return Of::createPrivateKey(n.modulus, n.privateExponent, n.publicExponent); },
        describePrivate);
    for (char const* const name :
         {"private.der", "private.pem", "encrypted.der", "encrypted.pem", "traditional-encrypted.pem"}) {
        add(
            list, factory, createPrivate + "(stream)", name, stream(name),
            [](auto const& encoded) { return Of::createPrivateKey(*encoded, "password"); }, describePrivate);
    }
    std::string const createPublic = "createRSA" + size + "PublicKey";
    for (char const* const name : {"public.der", "public.pem"}) {
        add(
            list, factory, createPublic + "(bytes)", name, file(name),
            [](ByteArray const& encoded) { return Of::createPublicKey(encoded); }, describePublic);
        add(
            list, factory, createPublic + "(stream)", name, stream(name),
            [](auto const& encoded) { return Of::createPublicKey(*encoded); }, describePublic);
    }
    add(
        list, factory, createPublic + "(numbers)", "", given,
        [](Numbers const& n) { return Of::createPublicKey(n.modulus, n.publicExponent); }, describePublic);

    auto const pair = [] {
        static auto const made = Of::generateKeyPair(prng()); // one is enough, since it never changes
        return made;
    };
    add(
        list, "IRSAKeyPair", "getPublicKey", size, pair, [](auto const& of) { return of->getPublicKey(); },
        describePublic);
    add(
        list, "IRSAKeyPair", "getPrivateKey", size, pair, [](auto const& of) { return of->getPrivateKey(); },
        describePrivate);
    std::string const ofPrivate = "IRSAPrivateKey";
    add(list, ofPrivate, "getKeySize", size, privateKey, [](auto const& key) { return key->getKeySize(); }, asIs);
    add(list, ofPrivate, "getDER", size, privateKey, [](auto const& key) { return key->getDER(); }, asIs);
    add(list, ofPrivate, "getModulus", size, privateKey, [](auto const& key) { return key->getModulus(); }, asIs);
    add(
        list, ofPrivate, "getPrivateExponent", size, privateKey,
        [](auto const& key) { return key->getPrivateExponent(); }, asIs);
    std::string const ofPublic = "IRSAPublicKey";
    add(list, ofPublic, "getKeySize", size, publicKey, [](auto const& key) { return key->getKeySize(); }, asIs);
    add(
        list, ofPublic, "getDER", size, publicKey, [](auto const& key) { return key->getDER(); }, asIs)
        .prepareBare = preparing([] { return readPublic(text(readRSAKey(N, "public.pem"))); },
                                 [](RawKey const& key) { return publicDER(key); }, asIs);
    add(list, ofPublic, "getModulus", size, publicKey, [](auto const& key) { return key->getModulus(); }, asIs);
    add(
        list, ofPublic, "getPublicExponent", size, publicKey, [](auto const& key) { return key->getPublicExponent(); },
        asIs);
}

struct RSAEncryptionUse {
    std::string name;
    RSAPaddingMode padding;
    std::size_t overhead; ///< What the padding takes of a block.
};

std::vector<RSAEncryptionUse> rsaEncryptionUses() {
    return {{"PKCS1", RSAPaddingMode::PKCS1_V1_5, 11},
            {"OAEP1", RSAPaddingMode::OAEP_SHA1, 42},
            {"OAEP256", RSAPaddingMode::OAEP_SHA256, 66},
            {"OAEP512", RSAPaddingMode::OAEP_SHA512, 130}};
}

/// `streamed` is the message of the streams, `room` what a block has for it.
void addRSAEncryptionMembers(List& list, std::string const& kind, ByteArray const& streamed, std::size_t room,
                             Maker<RSAEncryptorPtr> const& encryptor, Maker<RSADecryptorPtr> const& decryptor) {
    auto const firstBlock = [=](ByteArray const& plainText) {
        return plainText.empty() ||
               (plainText.size() == room && std::equal(plainText.begin(), plainText.end(), streamed.begin()));
    };
    auto const cipherText = [=] { return encryptor()->encrypt(message); };
    auto const decrypted = [=](ByteArray const& block) { return decryptor()->decrypt(block); };
    auto const encryptedStream = [=] {
        Streams streams(streamed);
        encryptor()->encrypt(*streams.input, *streams.output);
        return streams.output->written();
    };
    auto const decryptedStream = [=](ByteArray const& blocks) {
        Streams streams(blocks);
        decryptor()->decrypt(*streams.input, *streams.output);
        return streams.output->written();
    };
    add(
        list, "IRSAEncryptor", "encrypt(bytes)", kind, encryptor, [](auto const& by) { return by->encrypt(message); },
        [=](auto const&, ByteArray const& block) { return decrypted(block); });
    add(
        list, "IRSAEncryptor", "encrypt(stream)", kind, [=] { return std::make_pair(encryptor(), Streams(streamed)); },
        [](auto const& with) { return &with.first->encrypt(*with.second.input, *with.second.output); },
        [=](auto const& with, auto const*) { return decryptedStream(with.second.output->written()); },
        [=](auto const& with) { return firstBlock(decryptedStream(with.second.output->written())); });
    add(list, "IRSAEncryptor", "getKeySize", kind, encryptor, [](auto const& by) { return by->getKeySize(); }, asIs);
    add(
        list, "IRSADecryptor", "decrypt(bytes)", kind, [=] { return std::make_pair(decryptor(), cipherText()); },
        [](auto const& with) { return with.first->decrypt(with.second); }, asIs);
    add(
        list, "IRSADecryptor", "decrypt(stream)", kind,
        [=] { return std::make_pair(decryptor(), Streams(encryptedStream())); },
        [](auto const& with) { return &with.first->decrypt(*with.second.input, *with.second.output); },
        [](auto const& with, auto const*) { return with.second.output->written(); },
        [=](auto const& with) { return firstBlock(with.second.output->written()); });
    add(list, "IRSADecryptor", "getKeySize", kind, decryptor, [](auto const& by) { return by->getKeySize(); }, asIs);
}

template <unsigned long N> void addRSAUses(List& list) {
    using Of = RSAKeys<N>;
    std::string const size = std::to_string(N);
    std::string const factory = "ICryptoProvider";

    struct Private {
        typename Of::PrivateKey key = Of::createPrivateKey(readRSAKey(N, "private.der"));
        CryptoPRNGPtr prng = provider.createDefaultCryptoPRNG({});
    };

    struct Public {
        typename Of::PublicKey key = Of::createPublicKey(readRSAKey(N, "public.der"));
        CryptoPRNGPtr prng = provider.createDefaultCryptoPRNG({});
    };

    auto const withPrivate = [] { return Private(); };
    auto const withPublic = [] { return Public(); };

    for (RSAEncryptionUse const& use : rsaEncryptionUses()) {
        auto const& [name, padding, overhead] = use;
        if (N / 8 <= overhead) {
            continue; // the padding leaves no room for a message
        }
        std::string const kind = size + " " + name;
        // Of the smallest key two blocks, which a stream may fail between.
        ByteArray const streamed = N == 1024 ? pseudoRandomBytes(N / 8 - overhead + 1, 4) : message;
        auto const encryptor = [used = padding](Public const& with) {
            return Of::encryptor(with.key, used, with.prng);
        };
        auto const decryptor = [used = padding](Private const& with) {
            return Of::decryptor(with.key, used, with.prng);
        };
        auto const cipherText = [=] { return encryptor(Public())->encrypt(message); };
        auto const decrypted = [=](ByteArray const& block) { return decryptor(Private())->decrypt(block); };
        add(list, factory, "createRSA" + size + "Encryptor", name, withPublic, encryptor,
            [=](auto const&, auto const& made) { return decrypted(made->encrypt(message)); });
        add(list, factory, "createRSA" + size + "Decryptor", name, withPrivate, decryptor,
            [=](auto const&, auto const& made) { return made->decrypt(cipherText()); });
        addRSAEncryptionMembers(
            list, kind, streamed, N / 8 - overhead, [=] { return encryptor(Public()); },
            [=] { return decryptor(Private()); });
    }

    for (auto const& [name, padding] :
         {std::pair("PKCS1", RSAPaddingMode::PKCS1_V1_5), std::pair("PSS", RSAPaddingMode::PSS)}) {
        std::string const kind = size + " " + name;
        auto const signer = [used = padding](Private const& with) { return Of::signer(with.key, used, with.prng); };
        auto const verifier = [used = padding](Public const& with) { return Of::verifier(with.key, used, with.prng); };
        auto const sign = [=] { return signer(Private())->sign(message, sha256()); };
        auto const isRight = [=](ByteArray const& signature) {
            return verifier(Public())->verify(message, signature, sha256()).isValid();
        };
        add(list, factory, "createRSA" + size + "Signer", name, withPrivate, signer,
            [=](auto const&, auto const& made) { return number(isRight(made->sign(message, sha256())) ? 1 : 0); });
        add(list, factory, "createRSA" + size + "Verifier", name, withPublic, verifier,
            [=](auto const&, auto const& made) {
                return number(made->verify(message, sign(), sha256()).isValid() ? 1 : 0);
            });
        addSigner<RSASignerPtr>(list, "IRSASigner", kind, [=] { return signer(Private()); }, isRight, sha256);
        addVerifier<RSAVerifierPtr>(list, "IRSAVerifier", kind, [=] { return verifier(Public()); }, sign, sha256);
    }
}

void addQueries(List& list) {
    std::string const factory = "ICryptoProvider";
    for (char const* const name : {"private.der", "private.pem", "encrypted.der", "encrypted.pem"}) {
        add(
            list, factory, "getPrivateKeySignatureMethod(stream)", name, [=] { return Input(readRSAKey(2048, name)); },
            [](auto const& encoded) { return provider.getPrivateKeySignatureMethod(*encoded, "password"); }, asIs);
        add(
            list, factory, "getPrivateKeySignatureMethod(bytes)", name, [=] { return readRSAKey(2048, name); },
            [](auto const& encoded) { return provider.getPrivateKeySignatureMethod(encoded, "password"); }, asIs);
    }
    for (char const* const name : {"public.der", "public.pem"}) {
        add(
            list, factory, "getPublicKeySignatureMethod(stream)", name, [=] { return Input(readRSAKey(2048, name)); },
            [](auto const& encoded) { return provider.getPublicKeySignatureMethod(*encoded); }, asIs);
        add(
            list, factory, "getPublicKeySignatureMethod(bytes)", name, [=] { return readRSAKey(2048, name); },
            [](auto const& encoded) { return provider.getPublicKeySignatureMethod(encoded); }, asIs);
    }
}

} // namespace

void addRSA(List& list) {
    addRSAKeys<1024>(list);
    addRSAKeys<2048>(list);
    addRSAKeys<4096>(list);
    addRSAUses<1024>(list);
    addRSAUses<2048>(list);
    addRSAUses<4096>(list);
    addQueries(list);
}

} // namespace support::listing
