#include "Operations.h"

#include "AES.h"
#include "ECC.h"
#include "Engines.h"
#include "PEM.h"
#include "PSS.h"
#include "Provider.h"
#include "RSA.h"

#include <memory>
#include <optional>
#include <sstream>
#include <type_traits>
#include <utility>

namespace support {

namespace {

using namespace foundation::crypto;
using utils::HSMObject;

using List = std::vector<Operation>;

struct Nothing {};

Nothing noArguments() {
    return {};
}

template <class Interface> void const* mostDerived(std::shared_ptr<Interface> const& object) {
    return dynamic_cast<void const*>(object.get());
}

template <class Result> std::vector<void const*> objectsIn(Result const& /*result*/) {
    return {};
}

template <class Interface> std::vector<void const*> objectsIn(std::shared_ptr<Interface> const& object) {
    return {mostDerived(object)};
}

template <class KeySize>
std::vector<void const*> objectsIn(std::shared_ptr<interfaces::IRSAKeyPair<KeySize>> const& pair) {
    return {mostDerived(pair), mostDerived(pair->getPublicKey()), mostDerived(pair->getPrivateKey())};
}

template <EllipticCurve C> std::vector<void const*> objectsIn(ECCKeyPairPtr<C> const& pair) {
    return {mostDerived(pair), mostDerived(pair->getPrivateKey()), mostDerived(pair->getPublicKey())};
}

template <class Arguments, class Call, class Describe>
OperationRun makeRun(std::shared_ptr<Arguments> const& arguments, Call call, Describe describe) {
    using Result = std::decay_t<decltype(call(*arguments))>;
    auto const result = std::make_shared<std::optional<Result>>();
    return {[=] { result->emplace(call(*arguments)); }, [=] { return describe(*arguments, result->value()); },
            [=] { return objectsIn(result->value()); },
            [=] { return makeRun(std::make_shared<Arguments>(*arguments), call, describe); }};
}

/// Adds the operation that is `call(arguments)` after `arguments = prepare()`, and whose result is
/// `describe(arguments, result)` in bytes.
template <class Prepare, class Call, class Describe>
void add(List& list, std::string interface, std::string name, std::string kind, Prepare prepare, Call call,
         Describe describe) {
    list.push_back({std::move(interface), std::move(name), std::move(kind), [=] {
                        using Arguments = decltype(prepare());
                        return makeRun(std::make_shared<Arguments>(prepare()), call, describe);
                    }});
}

ByteArray number(unsigned long value) {
    return bytes(std::to_string(value));
}

ByteArray joined(ByteArray left, ByteArray const& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

/// For results that are bytes already, or numbers or words.
auto const asIs = [](auto const& /*arguments*/, auto const& result) {
    using Result = std::decay_t<decltype(result)>;
    if constexpr (std::is_same_v<Result, ByteArray>) {
        return result;
    } else if constexpr (std::is_same_v<Result, std::string>) {
        return bytes(result);
    } else {
        return number(static_cast<unsigned long>(result));
    }
};

ByteArray const message = bytes("a message");

/// A stream to read. A copy of it is another one, which begins at the beginning.
class Input {
public:
    explicit Input(ByteArray const& content) : Input(text(content)) {}

    explicit Input(std::string const& content) : stream_(std::make_unique<std::istringstream>(content)) {}

    Input(Input const& other) : Input(other.stream_->str()) {}

    std::istream& operator*() const { return *stream_; }

private:
    std::unique_ptr<std::istringstream> stream_;
};

/// What a stream operation works on. A copy has streams of its own, with nothing read or written yet.
struct Streams {
    explicit Streams(ByteArray const& content) : input(content) {}

    Streams(Streams const& other) : input(other.input) {}

    Input input;
    std::unique_ptr<std::ostringstream> output = std::make_unique<std::ostringstream>();

    ByteArray written() const { return bytes(output->str()); }
};

// Random bytes and digests

void addPRNG(List& list) {
    std::string const of = "ICryptoPRNG";
    auto const create = [] { return readyProvider.createDefaultCryptoPRNG(bytes("seed")); };
    add(
        list, "ICryptoProvider", "createDefaultCryptoPRNG", "", [] { return bytes("seed"); },
        [](ByteArray const& seed) { return readyProvider.createDefaultCryptoPRNG(seed); },
        [](auto const&, CryptoPRNGPtr const& made) { return number(made->generateRandomBytes(100).size()); });
    add(
        list, of, "generateRandomByte", "", create,
        [](CryptoPRNGPtr const& prng) { return prng->generateRandomByte(); },
        [](auto const&, unsigned char) { return ByteArray(); });
    add(
        list, of, "generateRandomBytes", "", create,
        [](CryptoPRNGPtr const& prng) { return prng->generateRandomBytes(100); },
        [](auto const&, ByteArray const& drawn) { return number(drawn.size()); });
    add(list, of, "isSeeded", "", create, [](CryptoPRNGPtr const& prng) { return prng->isSeeded(); }, asIs);
    add(list, of, "getPRNGName", "", create, [](CryptoPRNGPtr const& prng) { return prng->getPRNGName(); }, asIs);
}

/// The factory `name`, which is `create(arguments)`, and the members of the engine that it makes.
template <class Prepare, class Create>
void addEngine(List& list, std::string const& name, Prepare prepare, Create create) {
    std::string const of = "IDigestEngine";
    auto const fresh = [=] { return create(prepare()); };
    add(list, "ICryptoProvider", name, "", prepare, create,
        [](auto const&, DigestEnginePtr const& made) { return made->computeDigest(message); });
    add(
        list, of, "computeDigest(bytes)", name, fresh,
        [](DigestEnginePtr const& engine) { return engine->computeDigest(message); }, asIs);
    add(
        list, of, "computeDigest(stream)", name, [=] { return std::make_pair(fresh(), Input(message)); },
        [](auto const& given) { return given.first->computeDigest(*given.second); }, asIs);
    auto const finish = [](DigestEnginePtr const& engine, Nothing) { return engine->finalize(); };
    add(
        list, of, "update(bytes)", name, fresh,
        [](DigestEnginePtr const& engine) {
            engine->update(message);
            return Nothing();
        },
        finish);
    add(
        list, of, "update(pointer)", name, fresh,
        [](DigestEnginePtr const& engine) {
            engine->update(message.data(), message.size());
            return Nothing();
        },
        finish);
    add(
        list, of, "finalize", name,
        [=] {
            auto engine = fresh();
            engine->update(message);
            return engine;
        },
        [](DigestEnginePtr const& engine) { return engine->finalize(); },
        [](DigestEnginePtr const& engine, ByteArray const& digest) { // it begins anew afterwards
            return joined(digest, engine->computeDigest(message));
        });
    add(
        list, of, "getDigestName", name, fresh, [](DigestEnginePtr const& engine) { return engine->getDigestName(); },
        asIs);
    add(
        list, of, "getDigestNameForEVP_MD", name, fresh,
        [](DigestEnginePtr const& engine) { return engine->getDigestNameForEVP_MD(); }, asIs);
    add(
        list, of, "getDigestSize", name, fresh, [](DigestEnginePtr const& engine) { return engine->getDigestSize(); },
        asIs);
}

#define ZRFL_PLAIN_DIGEST(name)                                                                                        \
    addEngine(list, "create" #name "DigestEngine", noArguments,                                                        \
              [](Nothing) { return readyProvider.create##name##DigestEngine(); })
#define ZRFL_HMAC(name)                                                                                                \
    addEngine(                                                                                                         \
        list, "create" #name "DigestEngine", [] { return bytes("a key"); },                                            \
        [](ByteArray const& key) { return readyProvider.create##name##DigestEngine(key); })

void addEngines(List& list) {
    ZRFL_PLAIN_DIGEST(MD5);
    ZRFL_PLAIN_DIGEST(SHA1);
    ZRFL_PLAIN_DIGEST(SHA224);
    ZRFL_PLAIN_DIGEST(SHA256);
    ZRFL_PLAIN_DIGEST(SHA384);
    ZRFL_PLAIN_DIGEST(SHA512);
    ZRFL_HMAC(HMACSHA1);
    ZRFL_HMAC(HMACSHA256);
    ZRFL_HMAC(HMACSHA512);

    struct Blake2b {
        ByteArray key = bytes("a key");
        ByteArray salt = bytes("a salt");
    };

    addEngine(
        list, "createBlake2bDigestEngine", [] { return Blake2b(); },
        [](Blake2b const& given) { return readyProvider.createBlake2bDigestEngine(given.key, given.salt); });
    addEngine(
        list, "createBlake2bDigestEngineWithCustomSize", [] { return ByteArray(); },
        [](ByteArray const& none) { return readyProvider.createBlake2bDigestEngineWithCustomSize(none, none, 20); });
}

#undef ZRFL_PLAIN_DIGEST
#undef ZRFL_HMAC

void addDerivation(List& list) {
    struct Given {
        std::string password = "a password";
        std::string salt = "a salt";
    };

    add(
        list, "ICryptoProvider", "deriveKeyUsingPBKDF2", "", [] { return Given(); },
        [](Given const& given) { return readyProvider.deriveKeyUsingPBKDF2(given.password, given.salt, 20, 2); }, asIs);
}

// AES

template <unsigned long Bits, class CreateKey, class CreateEncryptor, class CreateDecryptor>
void addAES(List& list, CreateKey createKey, CreateEncryptor createEncryptor, CreateDecryptor createDecryptor) {
    using Key = interfaces::AESKeyPtr<Bits>;
    std::string const size = std::to_string(Bits);
    auto const keyBytes = [] { return pseudoRandomBytes(Bits / 8); };
    auto const key = [=] { return (readyProvider.*createKey)(keyBytes()); };
    add(
        list, "ICryptoProvider", "createAES" + size + "Key", "", keyBytes,
        [=](ByteArray const& given) { return (readyProvider.*createKey)(given); },
        [](auto const&, Key const& made) { return made->getKeyBytes(); });
    add(list, "IAESKey", "getKeySize", size, key, [](Key const& given) { return given->getKeySize(); }, asIs);
    add(list, "IAESKey", "getKeyBytes", size, key, [](Key const& given) { return given->getKeyBytes(); }, asIs);

    for (auto const& [modeName, mode] : aesModes()) {
        std::string const kind = size + " " + modeName;

        struct Given {
            Key key;
            ByteArray iv = pseudoRandomBytes(16, 2);
            CryptoPRNGPtr prng = {};
        };

        auto const given = [=] { return Given{key()}; };
        auto const encryptor = [=, used = mode](Given const& from) {
            return (readyProvider.*createEncryptor)(from.key, from.iv, used, AESPaddingMode::PKCS7, from.prng);
        };
        auto const decryptor = [=, used = mode](Given const& from) {
            return (readyProvider.*createDecryptor)(from.key, from.iv, used, AESPaddingMode::PKCS7, from.prng);
        };
        auto const cipherText = [=] { return encryptor(given())->encrypt(message); };
        add(list, "ICryptoProvider", "createAES" + size + "Encryptor", modeName, given, encryptor,
            [](auto const&, AESEncryptorPtr const& made) { return made->encrypt(message); });
        add(
            list, "ICryptoProvider", "createAES" + size + "Encryptor", modeName + ", vector drawn",
            [=] { return Given{key(), {}, readyProvider.createDefaultCryptoPRNG({})}; }, encryptor,
            [](auto const&, AESEncryptorPtr const& made) { return number(made->encrypt(message).size()); });
        add(list, "ICryptoProvider", "createAES" + size + "Decryptor", modeName, given, decryptor,
            [=](auto const&, AESDecryptorPtr const& made) { return made->decrypt(cipherText()); });

        add(
            list, "IAESEncryptor", "encrypt(bytes)", kind, [=] { return encryptor(given()); },
            [](AESEncryptorPtr const& by) { return by->encrypt(message); }, asIs);
        add(
            list, "IAESEncryptor", "encrypt(stream)", kind,
            [=] { return std::make_pair(encryptor(given()), Streams(message)); },
            [](auto const& with) {
                auto& [input, output] = with.second;
                return &with.first->encrypt(*input, *output) == output.get();
            },
            [](auto const& with, bool) { return with.second.written(); });
        add(
            list, "IAESEncryptor", "getKeySize", kind, [=] { return encryptor(given()); },
            [](AESEncryptorPtr const& by) { return by->getKeySize(); }, asIs);

        add(
            list, "IAESDecryptor", "decrypt(bytes)", kind,
            [=] { return std::make_pair(decryptor(given()), cipherText()); },
            [](auto const& with) { return with.first->decrypt(with.second); }, asIs);
        add(
            list, "IAESDecryptor", "decrypt(stream)", kind,
            [=] { return std::make_pair(decryptor(given()), Streams(cipherText())); },
            [](auto const& with) {
                auto& [input, output] = with.second;
                return &with.first->decrypt(*input, *output) == output.get();
            },
            [](auto const& with, bool) { return with.second.written(); });
        add(
            list, "IAESDecryptor", "getKeySize", kind, [=] { return decryptor(given()); },
            [](AESDecryptorPtr const& by) { return by->getKeySize(); }, asIs);
    }
}

// RSA

DigestEnginePtr sha256() {
    return readyProvider.createSHA256DigestEngine();
}

DigestEnginePtr sha512() {
    return readyProvider.createSHA512DigestEngine();
}

struct ToSign {
    explicit ToSign(DigestEnginePtr engine) : digest(std::move(engine)) {}

    ByteArray bytes = message;
    Input stream{message};
    DigestEnginePtr digest;
};

/// The members of a signer, of any family; `isRight(signature)` judges its signatures.
template <class Create, class Judge>
void addSigner(List& list, std::string const& of, std::string const& kind, Create create, Judge isRight,
               DigestEnginePtr (*digest)()) {
    using Given = std::pair<decltype(create()), ToSign>;
    auto const prepare = [=] { return Given(create(), ToSign(digest())); };
    auto const judge = [=](auto const&, ByteArray const& signature) { return number(isRight(signature) ? 1 : 0); };
    add(
        list, of, "sign(bytes)", kind, prepare,
        [](Given const& with) { return with.first->sign(with.second.bytes, with.second.digest); }, judge);
    add(
        list, of, "sign(stream)", kind, prepare,
        [](Given const& with) { return with.first->sign(*with.second.stream, with.second.digest); }, judge);
    add(list, of, "getKeySize", kind, create, [](auto const& signer) { return signer->getKeySize(); }, asIs);
}

template <class Create, class Sign>
void addVerifier(List& list, std::string const& of, std::string const& kind, Create create, Sign sign,
                 DigestEnginePtr (*digest)()) {
    struct Given {
        decltype(create()) verifier;
        ByteArray signature;
        ToSign message;
    };

    auto const prepare = [=] { return Given{create(), sign(), ToSign(digest())}; };
    add(
        list, of, "verify(bytes)", kind, prepare,
        [](Given const& with) {
            return with.verifier->verify(with.message.bytes, with.signature, with.message.digest).isValid();
        },
        asIs);
    add(
        list, of, "verify(stream)", kind, prepare,
        [](Given const& with) {
            return with.verifier->verify(*with.message.stream, with.signature, with.message.digest).isValid();
        },
        asIs);
    add(list, of, "getKeySize", kind, create, [](auto const& verifier) { return verifier->getKeySize(); }, asIs);
}

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
    static auto const prng = [] { return readyProvider.createDefaultCryptoPRNG({}); };
    auto const privateKey = [] { return Of::createPrivateKey(readRSAKey(N, "private.der")); };
    auto const publicKey = [] { return Of::createPublicKey(readRSAKey(N, "public.der")); };

    add(
        list, factory, "generateRSA" + size + "KeyPair", "", prng,
        [](CryptoPRNGPtr const& with) { return Of::generateKeyPair(with); },
        [](auto const&, auto const& pair) {
            return number(pair->getPrivateKey()->getModulus() == pair->getPublicKey()->getModulus() ? 1 : 0);
        });
    std::string const createPrivate = "createRSA" + size + "PrivateKey";
    for (char const* const name : {"private.der", "private.pem", "traditional.der"}) {
        add(
            list, factory, createPrivate + "(bytes)", name, file(name),
            [](ByteArray const& encoded) { return Of::createPrivateKey(encoded); }, describePrivate);
    }
    add(
        list, factory, createPrivate + "(numbers)", "", given,
        [](Numbers const& n) { return Of::createPrivateKey(n.modulus, n.privateExponent, n.publicExponent); },
        describePrivate);
    for (char const* const name : {"encrypted.der", "encrypted.pem", "traditional-encrypted.pem"}) {
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
    add(list, ofPublic, "getDER", size, publicKey, [](auto const& key) { return key->getDER(); }, asIs);
    add(list, ofPublic, "getModulus", size, publicKey, [](auto const& key) { return key->getModulus(); }, asIs);
    add(
        list, ofPublic, "getPublicExponent", size, publicKey, [](auto const& key) { return key->getPublicExponent(); },
        asIs);
}

template <unsigned long N> void addRSAUses(List& list) {
    using Of = RSAKeys<N>;
    std::string const size = std::to_string(N);
    std::string const factory = "ICryptoProvider";

    struct Private {
        typename Of::PrivateKey key = Of::createPrivateKey(readRSAKey(N, "private.der"));
        CryptoPRNGPtr prng = readyProvider.createDefaultCryptoPRNG({});
    };

    struct Public {
        typename Of::PublicKey key = Of::createPublicKey(readRSAKey(N, "public.der"));
        CryptoPRNGPtr prng = readyProvider.createDefaultCryptoPRNG({});
    };

    auto const withPrivate = [] { return Private(); };
    auto const withPublic = [] { return Public(); };

    for (auto const& [name, padding] :
         {std::pair("PKCS1", RSAPaddingMode::PKCS1_V1_5), std::pair("OAEP1", RSAPaddingMode::OAEP_SHA1)}) {
        std::string const kind = size + " " + name;
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
        add(
            list, "IRSAEncryptor", "encrypt(bytes)", kind, [=] { return encryptor(Public()); },
            [](auto const& by) { return by->encrypt(message); },
            [=](auto const&, ByteArray const& block) { return decrypted(block); });
        add(
            list, "IRSAEncryptor", "encrypt(stream)", kind,
            [=] { return std::make_pair(encryptor(Public()), Streams(message)); },
            [](auto const& with) {
                auto& [input, output] = with.second;
                return &with.first->encrypt(*input, *output) == output.get();
            },
            [=](auto const& with, bool) { return decrypted(with.second.written()); });
        add(
            list, "IRSAEncryptor", "getKeySize", kind, [=] { return encryptor(Public()); },
            [](auto const& by) { return by->getKeySize(); }, asIs);
        add(
            list, "IRSADecryptor", "decrypt(bytes)", kind,
            [=] { return std::make_pair(decryptor(Private()), cipherText()); },
            [](auto const& with) { return with.first->decrypt(with.second); }, asIs);
        add(
            list, "IRSADecryptor", "decrypt(stream)", kind,
            [=] { return std::make_pair(decryptor(Private()), Streams(cipherText())); },
            [](auto const& with) {
                auto& [input, output] = with.second;
                return &with.first->decrypt(*input, *output) == output.get();
            },
            [](auto const& with, bool) { return with.second.written(); });
        add(
            list, "IRSADecryptor", "getKeySize", kind, [=] { return decryptor(Private()); },
            [](auto const& by) { return by->getKeySize(); }, asIs);
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
        addSigner(list, "IRSASigner", kind, [=] { return signer(Private()); }, isRight, sha256);
        addVerifier(list, "IRSAVerifier", kind, [=] { return verifier(Public()); }, sign, sha256);
    }
}

void addQueries(List& list) {
    std::string const factory = "ICryptoProvider";
    for (char const* const name : {"encrypted.der", "encrypted.pem"}) {
        add(
            list, factory, "getPrivateKeySignatureMethod(stream)", name, [=] { return Input(readRSAKey(2048, name)); },
            [](auto const& encoded) { return readyProvider.getPrivateKeySignatureMethod(*encoded, "password"); }, asIs);
        add(
            list, factory, "getPrivateKeySignatureMethod(bytes)", name, [=] { return readRSAKey(2048, name); },
            [](auto const& encoded) { return readyProvider.getPrivateKeySignatureMethod(encoded, "password"); }, asIs);
    }
    for (char const* const name : {"public.der", "public.pem"}) {
        add(
            list, factory, "getPublicKeySignatureMethod(stream)", name, [=] { return Input(readRSAKey(2048, name)); },
            [](auto const& encoded) { return readyProvider.getPublicKeySignatureMethod(*encoded); }, asIs);
        add(
            list, factory, "getPublicKeySignatureMethod(bytes)", name, [=] { return readRSAKey(2048, name); },
            [](auto const& encoded) { return readyProvider.getPublicKeySignatureMethod(encoded); }, asIs);
    }
}

// Elliptic curves

template <class Of> void addECC(List& list, std::string const& file) {
    std::string const curve = Of::name;
    std::string const factory = "ICryptoProvider";
    auto const privateText = [=] { return readKey(file + "-private.pem"); };
    auto const publicText = [=] { return readKey(file + "-public.pem"); };
    auto const privateKey = [=] { return Of::privateKey(privateText()); };
    auto const publicKey = [=] { return Of::publicKey(publicText()); };
    auto const describePrivate = [](auto const&, auto const& key) { return key->getPEM(); };
    auto const describePublic = [](auto const&, auto const& key) { return key->getPEM(); };

    add(
        list, factory, "generateECC" + curve + "KeyPair", "", noArguments,
        [](Nothing) { return Of::generateKeyPair(); },
        [](auto const&, auto const& pair) {
            ByteArray const signature = Of::signer(pair->getPrivateKey())->sign(message, Of::engine());
            bool const isValid = Of::verifier(pair->getPublicKey())->verify(message, signature, Of::engine()).isValid();
            return number(isValid ? 1 : 0);
        });
    std::string const createPrivate = "createECC" + curve + "PrivateKey";
    add(
        list, factory, createPrivate + "(bytes)", "", privateText,
        [](ByteArray const& encoded) { return Of::privateKey(encoded); }, describePrivate);
    add(
        list, factory, createPrivate + "FromInteger", "", [=] { return privateKey()->getPrivateInteger(); },
        [](ByteArray const& integer) { return Of::privateKeyFromInteger(integer); }, describePrivate);
    add(
        list, factory, createPrivate + "(stream)", "",
        [=] { return Input(encryptedPEM(readPrivate(text(privateText())), "password")); },
        [](auto const& encoded) { return Of::privateKey(*encoded, "password"); }, describePrivate);
    std::string const createPublic = "createECC" + curve + "PublicKey";
    add(
        list, factory, createPublic + "(bytes)", "", publicText,
        [](ByteArray const& encoded) { return Of::publicKey(encoded); }, describePublic);
    add(
        list, factory, createPublic + "FromPoint", "", [=] { return publicKey()->getPublicPoint(); },
        [](ByteArray const& point) { return Of::publicKeyFromPoint(point); }, describePublic);
    add(
        list, factory, createPublic + "(stream)", "", [=] { return Input(publicText()); },
        [](auto const& encoded) { return Of::publicKey(*encoded); }, describePublic);

    static auto const pair = Of::generateKeyPair(); // one is enough, since it never changes
    add(
        list, "IECCKeyPair", "getPrivateKey", curve, noArguments, [](Nothing) { return pair->getPrivateKey(); },
        describePrivate);
    add(
        list, "IECCKeyPair", "getPublicKey", curve, noArguments, [](Nothing) { return pair->getPublicKey(); },
        describePublic);
    add(list, "IECCPrivateKey", "getPEM", curve, privateKey, [](auto const& key) { return key->getPEM(); }, asIs);
    add(
        list, "IECCPrivateKey", "getPrivateInteger", curve, privateKey,
        [](auto const& key) { return key->getPrivateInteger(); }, asIs);
    add(list, "IECCPublicKey", "getPEM", curve, publicKey, [](auto const& key) { return key->getPEM(); }, asIs);
    add(
        list, "IECCPublicKey", "getPublicPoint", curve, publicKey,
        [](auto const& key) { return key->getPublicPoint(); }, asIs);
}

/// Signatures over SHA-512, which both curves take.
template <class Of> void addECCSignatures(List& list, std::string const& file) {
    std::string const curve = Of::name;
    std::string const factory = "ICryptoProvider";
    auto const privateKey = [=] { return Of::privateKey(readKey(file + "-private.pem")); };
    auto const publicKey = [=] { return Of::publicKey(readKey(file + "-public.pem")); };
    auto const sign = [=] { return Of::signer(privateKey())->sign(message, sha512()); };
    auto const isRight = [=](ByteArray const& signature) {
        return Of::verifier(publicKey())->verify(message, signature, sha512()).isValid();
    };
    add(
        list, factory, "createECC" + curve + "Signer", "", privateKey, [](auto const& key) { return Of::signer(key); },
        [=](auto const&, auto const& made) { return number(isRight(made->sign(message, sha512())) ? 1 : 0); });
    add(
        list, factory, "createECC" + curve + "Verifier", "", publicKey,
        [](auto const& key) { return Of::verifier(key); },
        [=](auto const&, auto const& made) {
            return number(made->verify(message, sign(), sha512()).isValid() ? 1 : 0);
        });
    addSigner(list, "IECCSigner", curve, [=] { return Of::signer(privateKey()); }, isRight, sha512);
    addVerifier(list, "IECCVerifier", curve, [=] { return Of::verifier(publicKey()); }, sign, sha512);
}

void addHSMFactory(List& list) {
    add(
        list, "ICryptoProvider", "createHSMSigner", "", [] { return HSMObject("module", "uri"); },
        [](HSMObject const& key) { return readyProvider.createHSMSigner(key, RSAPaddingMode::PSS, nullptr); },
        [](auto const&, auto const& made) { return number(made != nullptr ? 1 : 0); });
}

} // namespace

std::vector<Operation> const& operations() {
    static List const all = [] {
        List list;
        addPRNG(list);
        addEngines(list);
        addDerivation(list);
        addAES<128>(list, &CryptoProvider::createAES128Key, &CryptoProvider::createAES128Encryptor,
                    &CryptoProvider::createAES128Decryptor);
        addAES<192>(list, &CryptoProvider::createAES192Key, &CryptoProvider::createAES192Encryptor,
                    &CryptoProvider::createAES192Decryptor);
        addAES<256>(list, &CryptoProvider::createAES256Key, &CryptoProvider::createAES256Encryptor,
                    &CryptoProvider::createAES256Decryptor);
        addRSAKeys<1024>(list);
        addRSAKeys<2048>(list);
        addRSAKeys<4096>(list);
        addRSAUses<1024>(list);
        addRSAUses<2048>(list);
        addRSAUses<4096>(list);
        addQueries(list);
        addECC<P256>(list, "p256");
        addECC<Curve25519>(list, "ed25519");
        addECCSignatures<P256>(list, "p256");
        addECCSignatures<Curve25519>(list, "ed25519");
        addHSMFactory(list);
        return list;
    }();
    return all;
}

std::vector<Operation> hsmOperations(HSMObject const& key, ByteArray const& publicKey) {
    List list;
    addSigner(
        list, "IHSMSigner", "PSS", [=] { return readyProvider.createHSMSigner(key, RSAPaddingMode::PSS, nullptr); },
        [=](ByteArray const& signature) {
            return isPSSWithSalt(32, readPublic(text(publicKey)).get(), "sha256", message, signature);
        },
        sha256);
    return list;
}

} // namespace support
