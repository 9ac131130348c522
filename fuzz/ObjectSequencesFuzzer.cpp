// Sequences of operations over several objects at once: each result is what plain libcrypto calls make of the same
// data.
#include "AES.h"

#include "digest/Blake2bDigestEngineImpl.h"
#include "digest/DigestEngine.h"
#include "digest/HMACDigestEngine.h"

#include <foundation/crypto/utils/DigestAlgorithms.h>

#include <array>
#include <memory>
#include <sstream>
#include <vector>

namespace {

using namespace fuzz;
using interfaces::DigestEnginePtr;
using interfaces::IDigestEngine;
using openssl::Blake2bDigestEngineImpl;
using openssl::DigestEngine;
using openssl::HMACDigestEngine;

openssl::CryptoProvider const provider;

/// What an engine computes, in libcrypto's words.
struct Recipe {
    enum Family { Digest, HMAC, Blake2b } family = Digest;

    std::string hash = {};
    ByteArray key = {};
    ByteArray salt = {};
    std::size_t size = 0;

    std::string macName() const { return family == HMAC ? "HMAC" : "BLAKE2BMAC"; }

    /// Nothing where libcrypto refuses the parameters.
    std::optional<ByteArray> compute(ByteArray const& message) const {
        if (family == Digest) {
            return bare::digest(hash, message);
        }
        if (family == Blake2b && (size < 1 || size > 64)) {
            return std::nullopt;
        }
        if (family == Blake2b && key.empty()) {
            return hashWithBlake2b(message);
        }
        ByteArray sized = salt;
        std::size_t wanted = size;
        std::vector<OSSL_PARAM> parameters;
        if (family == Blake2b) {
            parameters.push_back(OSSL_PARAM_construct_size_t(OSSL_MAC_PARAM_SIZE, &wanted));
            if (!salt.empty()) {
                parameters.push_back(
                    OSSL_PARAM_construct_octet_string(OSSL_MAC_PARAM_SALT, sized.data(), sized.size()));
            }
        }
        parameters.push_back(OSSL_PARAM_construct_end());
        ByteArray code(EVP_MAX_MD_SIZE);
        std::size_t written = 0;
        bool const isMade =
            !key.empty() && EVP_Q_mac(nullptr, macName().c_str(), nullptr, family == HMAC ? hash.c_str() : nullptr,
                                      parameters.data(), key.data(), key.size(), message.data(), message.size(),
                                      code.data(), code.size(), &written) != nullptr;
        code.resize(written);
        return isMade ? std::make_optional(code) : std::nullopt;
    }

private:
    ByteArray hashWithBlake2b(ByteArray const& message) const {
        std::size_t wanted = size;
        OSSL_PARAM const parameters[]{OSSL_PARAM_construct_size_t(OSSL_DIGEST_PARAM_SIZE, &wanted),
                                      OSSL_PARAM_construct_end()};
        bare::DigestContext const context(EVP_MD_CTX_new());
        ByteArray digest(size);
        expect(EVP_DigestInit_ex2(context.get(), EVP_blake2b512(), parameters) == 1 &&
                   EVP_DigestUpdate(context.get(), message.data(), message.size()) == 1 &&
                   EVP_DigestFinal_ex(context.get(), digest.data(), nullptr) == 1,
               "libcrypto computes BLAKE2b");
        return digest;
    }
};

/// An engine with what it has been fed.
struct Slot {
    DigestEnginePtr engine;
    DigestEnginePtr (*copy)(IDigestEngine const&) = nullptr; // also tells the class
    void (*assign)(IDigestEngine&, IDigestEngine const&) = nullptr;
    Recipe now;  // for the message in progress
    Recipe next; // for the one after it
    ByteArray message = {};

    /// Whether the engine works; after a failure anything goes.
    explicit operator bool() const { return engine != nullptr; }
};

template <class Engine, class... Arguments> Slot makeSlot(Recipe const& recipe, Arguments const&... arguments) {
    auto const engine = attempt([&] { return std::make_shared<Engine>(arguments...); });
    expect(bool(engine) == recipe.compute({}).has_value(), "an engine is made if libcrypto computes it");
    if (!engine) {
        return {};
    }
    return {*engine.value,
            [](IDigestEngine const& other) -> DigestEnginePtr {
                return std::make_shared<Engine>(dynamic_cast<Engine const&>(other));
            },
            [](IDigestEngine& left, IDigestEngine const& right) {
                dynamic_cast<Engine&>(left) = dynamic_cast<Engine const&>(right);
            },
            recipe, recipe};
}

Slot makeEngine(Input& input) {
    using namespace utils;
    unsigned int const kind = input.below(10);
    ByteArray const key = input.take(input.below(80));
    ByteArray const salt = input.take(input.below(18));
    std::size_t const size = input.below(66);
    switch (kind) {
    case 0:
        return makeSlot<DigestEngine<MD5DigestAlgorithm>>({Recipe::Digest, "md5"});
    case 1:
        return makeSlot<DigestEngine<SHA1DigestAlgorithm>>({Recipe::Digest, "sha1"});
    case 2:
        return makeSlot<DigestEngine<SHA224DigestAlgorithm>>({Recipe::Digest, "sha224"});
    case 3:
        return makeSlot<DigestEngine<SHA256DigestAlgorithm>>({Recipe::Digest, "sha256"});
    case 4:
        return makeSlot<DigestEngine<SHA384DigestAlgorithm>>({Recipe::Digest, "sha384"});
    case 5:
        return makeSlot<DigestEngine<SHA512DigestAlgorithm>>({Recipe::Digest, "sha512"});
    case 6:
        return makeSlot<HMACDigestEngine<HMACSHA1DigestAlgorithm>>({Recipe::HMAC, "sha1", key}, key);
    case 7:
        return makeSlot<HMACDigestEngine<HMACSHA256DigestAlgorithm>>({Recipe::HMAC, "sha256", key}, key);
    case 8:
        return makeSlot<HMACDigestEngine<HMACSHA512DigestAlgorithm>>({Recipe::HMAC, "sha512", key}, key);
    default:
        return makeSlot<Blake2bDigestEngineImpl<Blake2bDigestAlgorithm>>({Recipe::Blake2b, "blake2b", key, salt, size},
                                                                         key, salt, size);
    }
}

/// The message in progress ends with `last`, fed in whichever way `finish(engine)` does.
template <class Finish> void finish(Slot& slot, ByteArray const& last, Finish&& finish) {
    slot.message.insert(slot.message.end(), last.begin(), last.end());
    auto const found = attempt([&] { return finish(*slot.engine); });
    if (slot.next.compute({})) {
        expect(found.value == slot.now.compute(slot.message), "a digest is libcrypto's");
        slot.now = slot.next;
        slot.message.clear();
    } else {
        expect(!found, "an engine that cannot start anew fails");
        attempt([&] { return (slot.engine->update(last), true); });
        expect(!attempt([&] { return slot.engine->finalize(); }), "and stays unusable");
        slot = {};
    }
}

void copyEngine(Slot const& from, Slot& to) {
    Slot made = from;
    made.engine = from.copy(*from.engine);
    if (from.now.family == Recipe::HMAC) {
        made.next.key.clear(); // a copy never receives the key
    }
    to = made;
}

void assignEngine(Slot const& from, Slot& to) {
    from.assign(*to.engine, *from.engine);
    to.now = from.now;
    to.message = from.message;
    if (from.now.family != Recipe::HMAC) {
        to.next = from.next; // an HMAC engine keeps its own key
    }
}

/// Signing asks the engine for nothing but its names: the message in progress goes on as if nothing had been.
void sign(Slot const& slot, unsigned int kind, ByteArray const& message) {
    static auto const prng = provider.createDefaultCryptoPRNG({});
    static auto const rsaKey = provider.createRSA1024PrivateKey(readKeyFile("rsa1024-private.der"));
    static auto const p256Key = provider.createECCP256PrivateKey(readKeyFile("p256-private.pem"));
    static auto const ed25519Key = provider.createECCCurve25519PrivateKey(readKeyFile("ed25519-private.pem"));
    static bare::Key const rsa = bare::readRSAPublicKey(readKeyFile("rsa1024-public.der"));
    static bare::Key const p256 = bare::readPEMPublicKey(readKeyFile("p256-public.pem"));
    static bare::Key const ed25519 = bare::readPEMPublicKey(readKeyFile("ed25519-public.pem"));

    Recipe const& recipe = slot.now;
    std::string const& hash = recipe.hash;
    bool const isPlain = recipe.family == Recipe::Digest;
    bool const isSHA2 = isPlain && hash != "md5" && hash != "sha1";
    switch (kind) {
    case 0: {
        auto const signer = provider.createRSA1024Signer(rsaKey, utils::RSAPaddingMode::PKCS1_V1_5, prng);
        auto const signature = attempt([&] { return signer->sign(message, slot.engine); });
        expect(bool(signature) == (recipe.family != Recipe::Blake2b), "PKCS #1 v1.5 signs with SHA and MD5");
        expect(!signature || bare::isSignature(rsa.get(), hash, message, *signature.value, bare::needsNoPadding),
               "a PKCS #1 v1.5 signature is valid");
        break;
    }
    case 1: {
        auto const signer = provider.createRSA1024Signer(rsaKey, utils::RSAPaddingMode::PSS, prng);
        auto const signature = attempt([&] { return signer->sign(message, slot.engine); });
        expect(bool(signature) == (recipe.family != Recipe::Blake2b && hash != "sha512"),
               "PSS signs with what fits the key");
        expect(!signature || bare::isSignature(rsa.get(), hash, message, *signature.value,
                                               [](EVP_PKEY_CTX* context) {
                                                   return EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_PSS_PADDING) >
                                                          0;
                                               }),
               "a PSS signature is valid");
        break;
    }
    case 2: {
        auto const signer = provider.createECCP256Signer(p256Key);
        auto const signature = attempt([&] { return signer->sign(message, slot.engine); });
        expect(bool(signature) == isSHA2, "ECDSA signs with SHA-2");
        expect(!signature || bare::isSignature(p256.get(), hash, message, *signature.value, bare::needsNoPadding),
               "an ECDSA signature is valid");
        break;
    }
    default:
        auto const signer = provider.createECCCurve25519Signer(ed25519Key);
        auto const signature = attempt([&] { return signer->sign(message, slot.engine); });
        expect(bool(signature) == (isPlain && hash == "sha512"), "Ed25519 signs with SHA-512");
        expect(!signature || bare::isEd25519Signature(ed25519.get(), message, *signature.value),
               "an Ed25519 signature is valid");
    }
    expect(!attempt([&] { return provider.createECCP256Signer(p256Key)->sign(message, nullptr); }),
           "nothing is signed without an engine");
}

/// Transforms that serve one message after the other.
struct AESSlot {
    AESSetup setup;
    interfaces::AESEncryptorPtr encryptor;
    interfaces::AESDecryptorPtr decryptor;
};

std::optional<AESSlot> makeAES(Input& input) {
    AESSetup const setup(input);
    auto const encryptor = attempt([&] { return setup.makeEncryptor(); });
    auto const decryptor = attempt([&] { return setup.makeDecryptor(); });
    return encryptor && setup.isComparable() ? std::make_optional(AESSlot{setup, *encryptor.value, *decryptor.value})
                                             : std::nullopt;
}

void useAES(AESSlot const& slot, ByteArray const& text) {
    expect(attempt([&] { return slot.encryptor->encrypt(text); }).value == slot.setup.transform(true, text),
           "a transform encrypts each message as libcrypto does");
    expect(attempt([&] { return slot.decryptor->decrypt(text); }).value == slot.setup.transform(false, text),
           "a transform decrypts each message as libcrypto does");
}

void deriveKey(Input& input) {
    int const size = static_cast<int>(input.below(70));
    int const iterations = static_cast<int>(input.below(5)) - 1;
    std::string const password = asString(input.field());
    std::string const salt = asString(input.field());
    auto const found = attempt([&] { return provider.deriveKeyUsingPBKDF2(password, salt, size, iterations); });
    ByteArray key(static_cast<std::size_t>(size));
    bool const isDerived =
        size != 0 && PKCS5_PBKDF2_HMAC(password.data(), static_cast<int>(password.size()),
                                       reinterpret_cast<unsigned char const*>(salt.data()),
                                       static_cast<int>(salt.size()), iterations, EVP_sha512(), size, key.data()) == 1;
    expect(found.value == (isDerived ? std::make_optional(key) : std::nullopt), "a derived key is libcrypto's");
}

void drawRandomBytes(ByteArray const& seed, std::size_t size) {
    auto const found = attempt([&] { return provider.createDefaultCryptoPRNG(seed)->generateRandomBytes(size); });
    expect(found && found.value->size() == size, "as many random bytes come as were asked for");
}

/// The objects that are alive at once.
struct Objects {
    std::array<Slot, 4> engines = {};
    std::array<std::optional<AESSlot>, 2> transforms = {};
};

void doOne(Objects& objects, Input& input) {
    unsigned int const operation = input.below(13);
    auto const engine = [&]() -> Slot& { return objects.engines[input.below(4)]; };
    Slot& slot = engine();
    switch (operation) {
    case 0:
        slot = makeEngine(input);
        return;
    case 1:
        objects.transforms[input.below(2)] = makeAES(input);
        return;
    case 2:
        if (auto const& transform = objects.transforms[input.below(2)]) {
            useAES(*transform, input.field());
        }
        return;
    case 3:
        return deriveKey(input);
    case 4:
        return drawRandomBytes(input.field(), input.below(256));
    default:
        break;
    }
    if (!slot) {
        return;
    }
    ByteArray data;
    switch (operation) {
    case 5:
        return copyEngine(slot, engine());
    case 6:
        if (Slot& other = engine(); other.assign == slot.assign) {
            assignEngine(slot, other);
        }
        return;
    case 7:
        return sign(slot, input.below(4), input.field());
    case 8:
        return finish(slot, {}, [](IDigestEngine& made) { return made.finalize(); });
    case 9:
        data = input.field();
        return finish(slot, data, [&](IDigestEngine& made) { return made.computeDigest(data); });
    case 10:
        data = input.field();
        return finish(slot, data, [&](IDigestEngine& made) {
            std::istringstream stream(asString(data));
            return made.computeDigest(stream);
        });
    default:
        data = input.field();
        expect(bool(attempt([&] {
                   operation == 11 ? slot.engine->update(data) : slot.engine->update(data.data(), data.size());
                   return true;
               })),
               "an engine takes more");
        slot.message.insert(slot.message.end(), data.begin(), data.end());
    }
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    Input input(data, size);
    Objects objects;
    while (!input.isEmpty()) {
        doOne(objects, input);
    }
    return 0;
}
