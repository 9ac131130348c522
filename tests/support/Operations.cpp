#include "Operations.h"

#include "AES.h"
#include "ECC.h"
#include "Engines.h"
#include "PEM.h"
#include "PSS.h"
#include "Provider.h"
#include "RSA.h"

#include <openssl/provider.h>
#include <openssl/rsa.h>
#include <openssl/store.h>

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <ostream>
#include <sstream>
#include <streambuf>
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

// What a stream operation works on. A copy of it has streams of its own, with nothing read or written yet.

class Input {
public:
    explicit Input(ByteArray const& content) : Input(text(content)) {}

    explicit Input(std::string const& content) : stream_(std::make_unique<std::istringstream>(content)) {}

    Input(Input const& other) : Input(other.stream_->str()) {}

    std::istream& operator*() const { return *stream_; }

private:
    std::unique_ptr<std::istringstream> stream_;
};

/// Needs no memory that may run out: that a host's own stream fails is another matter.
class Output : public std::ostream {
public:
    Output() : std::ostream(nullptr) { rdbuf(&sink_); }

    ByteArray written() const { return sink_.written(); }

private:
    class Sink : public std::streambuf {
    public:
        Sink() { setp(room_.data(), room_.data() + room_.size()); }

        ByteArray written() const { return ByteArray(pbase(), pptr()); }

    private:
        std::array<char, 4096> room_{};
    };

    Sink sink_;
};

struct Streams {
    explicit Streams(ByteArray const& content) : input(content) {}

    Streams(Streams const& other) : input(other.input) {}

    Input input;
    std::unique_ptr<Output> output = std::make_unique<Output>();
};

/// A run, whatever the types of its arguments and its result.
class Run {
public:
    virtual ~Run() = default;
    virtual void call() = 0;
    virtual ByteArray outcome() = 0;
    virtual std::vector<void const*> made() = 0;
    virtual ByteArray again() = 0;
    virtual bool wroteNoHalf() = 0;
    virtual std::unique_ptr<Run> beside() = 0;
};

OperationRun toOperationRun(std::unique_ptr<Run> only) {
    std::shared_ptr<Run> const run = std::move(only);
    return {[=] { run->call(); },
            [=] { return run->outcome(); },
            [=] { return run->made(); },
            [=] { return run->again(); },
            [=] { return run->wroteNoHalf(); },
            [=] { return toOperationRun(run->beside()); }};
}

/// The use after a call is the same call once more.
struct SameCall {};

struct NothingToWrite {};

/// Calls `call(arguments)`, whose result is `describe(arguments, result)` in bytes. `again(arguments)` is what comes of
/// a use after that.
template <class Arguments, class Call, class Describe, class Again, class NoHalf> class RunOf : public Run {
public:
    RunOf(Arguments arguments, Call call, Describe describe, Again again, NoHalf wroteNoHalf)
        : arguments_(std::move(arguments)), call_(call), describe_(describe), again_(again), wroteNoHalf_(wroteNoHalf) {
    }

    void call() override { result_.emplace(call_(arguments_)); }

    ByteArray outcome() override { return describe_(arguments_, result_.value()); }

    std::vector<void const*> made() override { return objectsIn(result_.value()); }

    ByteArray again() override {
        if constexpr (std::is_same_v<Again, SameCall>) {
            std::unique_ptr<Run> const same = beside();
            same->call();
            return same->outcome();
        } else {
            return again_(arguments_);
        }
    }

    bool wroteNoHalf() override {
        if constexpr (std::is_same_v<NoHalf, NothingToWrite>) {
            return true;
        } else {
            return wroteNoHalf_(arguments_);
        }
    }

    std::unique_ptr<Run> beside() override {
        return std::unique_ptr<Run>(new RunOf(arguments_, call_, describe_, again_, wroteNoHalf_));
    }

private:
    Arguments arguments_;
    Call call_;
    Describe describe_;
    Again again_;
    NoHalf wroteNoHalf_;
    std::optional<std::decay_t<std::invoke_result_t<Call, Arguments&>>> result_;
};

template <class Prepare, class Call, class Describe, class NoHalf = NothingToWrite, class Again = SameCall>
std::function<OperationRun()> preparing(Prepare prepare, Call call, Describe describe, NoHalf wroteNoHalf = {},
                                        Again again = {}) {
    return [=] {
        using Of = RunOf<decltype(prepare()), Call, Describe, Again, NoHalf>;
        // Owners of each such class would take as long to compile as all the rest.
        return toOperationRun(std::unique_ptr<Run>(new Of(prepare(), call, describe, again, wroteNoHalf)));
    };
}

/// Adds the operation whose runs are `preparing(steps...)`.
template <class... Steps>
Operation& add(List& list, std::string interface, std::string name, std::string kind, Steps... steps) {
    return list.emplace_back(
        Operation{std::move(interface), std::move(name), std::move(kind), preparing(std::move(steps)...)});
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

// Random bytes and digests

void addPRNG(List& list) {
    std::string const of = "ICryptoPRNG";
    auto const create = [] { return provider.createDefaultCryptoPRNG(bytes("seed")); };
    add(
        list, "ICryptoProvider", "createDefaultCryptoPRNG", "", [] { return bytes("seed"); },
        [](ByteArray const& seed) { return provider.createDefaultCryptoPRNG(seed); },
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

// The members of objects that several factories make take a `Maker` of them, so that they are compiled once.
template <class Pointer> using Maker = std::function<Pointer()>;

/// The members of the engines that the factory `name` makes.
void addEngineMembers(List& list, std::string const& name, Maker<DigestEnginePtr> const& fresh) {
    std::string const of = "IDigestEngine";
    auto const fed = [=] {
        auto engine = fresh();
        engine->update(message);
        return engine;
    };
    // An engine in the middle of a message first comes to its end, if it can.
    auto const nextMessage = [](DigestEnginePtr const& engine) {
        try {
            engine->finalize();
        } catch (utils::Exception const&) {
        }
        return engine->computeDigest(message);
    };
    auto const addMember = [&](std::string const& member, auto given, auto call, auto describe) {
        add(list, of, member, name, given, call, describe, NothingToWrite(), nextMessage);
    };
    addMember(
        "computeDigest(bytes)", fresh, [](DigestEnginePtr const& engine) { return engine->computeDigest(message); },
        asIs);
    add(
        list, of, "computeDigest(stream)", name, [=] { return std::make_pair(fresh(), Input(message)); },
        [](auto const& given) { return given.first->computeDigest(*given.second); }, asIs, NothingToWrite(),
        [=](auto const& given) { return nextMessage(given.first); });
    auto const finish = [](DigestEnginePtr const& engine, Nothing) { return engine->finalize(); };
    addMember(
        "update(bytes)", fresh,
        [](DigestEnginePtr const& engine) {
            engine->update(message);
            return Nothing();
        },
        finish);
    addMember(
        "update(pointer)", fresh,
        [](DigestEnginePtr const& engine) {
            engine->update(message.data(), message.size());
            return Nothing();
        },
        finish);
    addMember(
        "finalize", fed, [](DigestEnginePtr const& engine) { return engine->finalize(); },
        [](DigestEnginePtr const& engine, ByteArray const& digest) { // it begins anew afterwards
            return joined(digest, engine->computeDigest(message));
        });
    addMember("getDigestName", fresh, [](DigestEnginePtr const& engine) { return engine->getDigestName(); }, asIs);
    addMember(
        "getDigestNameForEVP_MD", fresh, [](DigestEnginePtr const& engine) { return engine->getDigestNameForEVP_MD(); },
        asIs);
    addMember("getDigestSize", fresh, [](DigestEnginePtr const& engine) { return engine->getDigestSize(); }, asIs);
}

/// The factory `name`, which is `create(arguments)`, and the members of the engine that it makes.
template <class Prepare, class Create>
void addEngine(List& list, std::string const& name, Prepare prepare, Create create) {
    add(list, "ICryptoProvider", name, "", prepare, create,
        [](auto const&, DigestEnginePtr const& made) { return made->computeDigest(message); });
    addEngineMembers(list, name, [=] { return create(prepare()); });
}

#define ZRFL_PLAIN_DIGEST(name)                                                                                        \
    addEngine(list, "create" #name "DigestEngine", noArguments,                                                        \
              [](Nothing) { return provider.create##name##DigestEngine(); })
#define ZRFL_HMAC(name)                                                                                                \
    addEngine(                                                                                                         \
        list, "create" #name "DigestEngine", [] { return bytes("a key"); },                                            \
        [](ByteArray const& key) { return provider.create##name##DigestEngine(key); })

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
        [](Blake2b const& given) { return provider.createBlake2bDigestEngine(given.key, given.salt); });
    addEngine(
        list, "createBlake2bDigestEngineWithCustomSize", [] { return ByteArray(); },
        [](ByteArray const& none) { return provider.createBlake2bDigestEngineWithCustomSize(none, none, 20); });
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
        [](Given const& given) { return provider.deriveKeyUsingPBKDF2(given.password, given.salt, 20, 2); }, asIs);
}

// AES

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
void addAES(List& list, CreateKey createKey, CreateEncryptor createEncryptor, CreateDecryptor createDecryptor) {
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

// RSA

DigestEnginePtr sha256() {
    return provider.createSHA256DigestEngine();
}

DigestEnginePtr sha512() {
    return provider.createSHA512DigestEngine();
}

struct ToSign {
    explicit ToSign(DigestEnginePtr engine) : digest(std::move(engine)) {}

    ByteArray bytes = message;
    Input stream{message};
    DigestEnginePtr digest;
};

/// The members of a signer, of any family; `isRight(signature)` judges its signatures, those by hand included.
template <class SignerPtr>
void addSigner(List& list, std::string const& of, std::string const& kind, Maker<SignerPtr> const& create,
               std::function<bool(ByteArray const&)> const& isRight, DigestEnginePtr (*digest)(),
               std::function<OperationRun()> const& prepareBare = {}) {
    using Given = std::pair<SignerPtr, ToSign>;
    auto const prepare = [=] { return Given(create(), ToSign(digest())); };
    auto const judge = [=](auto const&, ByteArray const& signature) { return number(isRight(signature) ? 1 : 0); };
    add(
        list, of, "sign(bytes)", kind, prepare,
        [](Given const& with) { return with.first->sign(with.second.bytes, with.second.digest); }, judge)
        .prepareBare = prepareBare;
    add(
        list, of, "sign(stream)", kind, prepare,
        [](Given const& with) { return with.first->sign(*with.second.stream, with.second.digest); }, judge)
        .prepareBare = prepareBare;
    add(list, of, "getKeySize", kind, create, [](auto const& signer) { return signer->getKeySize(); }, asIs);
}

template <class VerifierPtr>
void addVerifier(List& list, std::string const& of, std::string const& kind, Maker<VerifierPtr> const& create,
                 Maker<ByteArray> const& sign, DigestEnginePtr (*digest)()) {
    struct Verification {
        VerifierPtr verifier;
        ByteArray signature;
    };

    auto const prepare = [=] { return std::make_pair(Verification{create(), sign()}, ToSign(digest())); };
    add(
        list, of, "verify(bytes)", kind, prepare,
        [](auto const& given) {
            auto const& [by, signed_] = given;
            return by.verifier->verify(signed_.bytes, by.signature, signed_.digest).isValid();
        },
        asIs)
        .negative = number(0);
    add(
        list, of, "verify(stream)", kind, prepare,
        [](auto const& given) {
            auto const& [by, signed_] = given;
            return by.verifier->verify(*signed_.stream, by.signature, signed_.digest).isValid();
        },
        asIs)
        .negative = number(0);
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

// Elliptic curves

ByteArray signByHand(RawKey const& key, char const* digest, ByteArray const& data) {
    auto const requireOne = [](int result) {
        if (result != 1) {
            throw std::runtime_error("libcrypto cannot sign");
        }
    };
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> const context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    requireOne(context != nullptr ? 1 : 0);
    requireOne(EVP_DigestSignInit_ex(context.get(), nullptr, digest, nullptr, nullptr, key.get(), nullptr));
    std::size_t size = 0;
    requireOne(EVP_DigestSign(context.get(), nullptr, &size, data.data(), data.size()));
    ByteArray signature(size);
    requireOne(EVP_DigestSign(context.get(), signature.data(), &size, data.data(), data.size()));
    signature.resize(size);
    return signature;
}

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
        list, factory, createPrivate + "(stream)", "encrypted.pem",
        [=] {
            static ByteArray const encrypted = bytes(encryptedPEM(readPrivate(text(privateText())), "password"));
            return Input(encrypted);
        },
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
    // Out of memory, libcrypto may make a wrong ECDSA signature, or look for a nonce for seconds.
    std::function<OperationRun()> const signingByHand =
        preparing([=] { return readPrivate(text(readKey(file + "-private.pem"))); },
                  [](RawKey const& key) { return signByHand(key, "sha512", message); },
                  [=](auto const&, ByteArray const& signature) { return number(isRight(signature) ? 1 : 0); });
    addSigner<ECCSignerPtr>(
        list, "IECCSigner", curve, [=] { return Of::signer(privateKey()); }, isRight, sha512,
        Of::curve == EllipticCurve::P256 ? signingByHand : nullptr);
    addVerifier<ECCVerifierPtr>(list, "IECCVerifier", curve, [=] { return Of::verifier(publicKey()); }, sign, sha512);
}

void addHSMFactory(List& list) {
    add(
        list, "ICryptoProvider", "createHSMSigner", "", [] { return HSMObject("module", "uri"); },
        [](HSMObject const& key) { return provider.createHSMSigner(key, RSAPaddingMode::PSS, nullptr); },
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

namespace {

/// The calls of the signer of a module, by hand: a signature, or, where there is nothing to sign, the size of the key.
ByteArray useModuleByHand(HSMObject const& object, ByteArray const* toSign) {
    auto const require = [](bool succeeded) {
        if (!succeeded) {
            throw std::runtime_error("libcrypto or the module failed");
        }
    };
    std::unique_ptr<OSSL_LIB_CTX, decltype(&OSSL_LIB_CTX_free)> const library(OSSL_LIB_CTX_new(), &OSSL_LIB_CTX_free);
    require(library != nullptr && OSSL_PROVIDER_set_default_search_path(library.get(), ZRFL_PKCS11_PROVIDER_DIR) == 1);
    std::unique_ptr<OSSL_PROVIDER, decltype(&OSSL_PROVIDER_unload)> const provider(
        OSSL_PROVIDER_load(library.get(), "pkcs11prov"), &OSSL_PROVIDER_unload);
    require(provider != nullptr);
    require(OSSL_PROVIDER_add_conf_parameter(provider.get(), "pkcs11_module", object.getModulePath().c_str()) == 1);
    require(OSSL_PROVIDER_add_conf_parameter(provider.get(), "force_login", "1") == 1);
    require(OSSL_PROVIDER_add_conf_parameter(provider.get(), "debug_level", "0") == 1);
    RawKey key;
    {
        std::unique_ptr<OSSL_STORE_CTX, decltype(&OSSL_STORE_close)> const store(
            OSSL_STORE_open_ex(object.getURI().c_str(), library.get(), nullptr, nullptr, nullptr, nullptr, nullptr,
                               nullptr),
            &OSSL_STORE_close);
        require(store != nullptr);
        while (OSSL_STORE_INFO* const loaded = OSSL_STORE_load(store.get())) {
            std::unique_ptr<OSSL_STORE_INFO, decltype(&OSSL_STORE_INFO_free)> const info(loaded, &OSSL_STORE_INFO_free);
            if (OSSL_STORE_INFO_get_type(info.get()) == OSSL_STORE_INFO_PKEY) {
                key = owned(OSSL_STORE_INFO_get1_PKEY(info.get()));
            }
        }
    }
    require(key != nullptr);
    int const bits = EVP_PKEY_get_bits(key.get());
    if (toSign == nullptr) {
        return number(static_cast<unsigned long>(bits));
    }
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> const context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    EVP_PKEY_CTX* keyContext = nullptr;
    require(context != nullptr && EVP_DigestSignInit_ex(context.get(), &keyContext, "sha256", library.get(), nullptr,
                                                        key.get(), nullptr) == 1);
    require(EVP_PKEY_CTX_set_rsa_padding(keyContext, RSA_PKCS1_PSS_PADDING) > 0);
    require(EVP_PKEY_CTX_set_rsa_pss_saltlen(keyContext, 32) > 0);
    std::size_t size = 0;
    require(EVP_DigestSign(context.get(), nullptr, &size, toSign->data(), toSign->size()) == 1);
    ByteArray signature(size);
    require(EVP_DigestSign(context.get(), signature.data(), &size, toSign->data(), toSign->size()) == 1);
    signature.resize(size);
    return signature;
}

} // namespace

std::vector<Operation> hsmOperations(HSMObject const& key, ByteArray const& publicKey) {
    List list;
    auto const isRight = [=](ByteArray const& signature) {
        return isPSSWithSalt(32, readPublic(text(publicKey)).get(), "sha256", message, signature);
    };
    // The provider module for PKCS #11 does not live through every want of memory.
    auto const signingByHand = preparing(
        noArguments, [=](Nothing) { return useModuleByHand(key, &message); },
        [=](auto const&, ByteArray const& signature) { return number(isRight(signature) ? 1 : 0); });
    addSigner<interfaces::HSMSignerPtr>(
        list, "IHSMSigner", "PSS", [=] { return provider.createHSMSigner(key, RSAPaddingMode::PSS, nullptr); }, isRight,
        sha256, signingByHand);
    for (Operation& operation : list) {
        if (operation.name == "getKeySize") {
            operation.prepareBare =
                preparing(noArguments, [=](Nothing) { return useModuleByHand(key, nullptr); }, asIs);
        }
    }
    return list;
}

} // namespace support
