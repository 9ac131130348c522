// One call of an operation of each family, on a small and on a large message: how often it allocates, one line each.
// Run under valgrind's callgrind, it also has the instructions of each call written to a file of their own.
#include "support/Allocations.h"
#include "support/Bytes.h"
#include "support/RSAKeys.h"
#include "support/Token.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#else
#define RUNNING_ON_VALGRIND 0
#define CALLGRIND_ZERO_STATS
#define CALLGRIND_DUMP_STATS_AT(name) static_cast<void>(name)
#endif

namespace {

using namespace support;
using namespace foundation::crypto;
using utils::AESMode;
using utils::EllipticCurve;

/// Takes what is written and keeps none of it.
class Sink : public std::streambuf {
protected:
    std::streamsize xsputn(char const* /*data*/, std::streamsize size) override { return size; }
};

/// A message in every form in which an operation takes one.
struct Message {
    explicit Message(std::size_t size) : bytes(pseudoRandomBytes(size)), stream(text(bytes)) {}

    /// The stream from its beginning.
    std::istream& rewound() {
        stream.clear();
        stream.seekg(0);
        return stream;
    }

    ByteArray bytes;
    std::istringstream stream;
    Sink sink;
    std::ostream output{&sink};
};

/// The work is made of objects and arguments that exist already; what it returns is gone when it has returned.
using Work = std::function<void()>;

struct Case {
    std::string name;
    std::size_t size;
    Work warmUp; ///< The same on a small message, for what is made at the first use of anything and kept.
    Work work;
};

constexpr std::size_t small = 64;
constexpr std::size_t large = 65536;
constexpr std::size_t none = 0;

class Cases {
public:
    /// `prepare(message)` returns the work on the message, which it may keep a reference to.
    template <class Prepare>
    void add(std::string const& name, std::vector<std::size_t> const& sizes, Prepare const& prepare) {
        auto const makeWork = [&](std::size_t size) -> Work {
            auto const message = std::make_shared<Message>(size);
            return [message, work = prepare(*message)] { work(); };
        };
        for (std::size_t const size : sizes) {
            all_.push_back({name, size, size == sizes.front() ? makeWork(small) : [] {}, makeWork(size)});
        }
    }

    std::vector<Case> const& all() const { return all_; }

private:
    std::vector<Case> all_;
};

CryptoProvider const provider;
std::vector<std::size_t> const bothSizes{small, large};

void addDigests(Cases& cases) {
    auto const addEngine = [&](std::string const& name, interfaces::DigestEnginePtr const& engine) {
        cases.add(name, bothSizes,
                  [=](Message& message) { return [=, &message] { engine->computeDigest(message.bytes); }; });
        cases.add(name + " of a stream", bothSizes,
                  [=](Message& message) { return [=, &message] { engine->computeDigest(message.rewound()); }; });
    };
    addEngine("SHA-256", provider.createSHA256DigestEngine());
    addEngine("HMAC-SHA-256", provider.createHMACSHA256DigestEngine(ByteArray(32, 1)));
    addEngine("BLAKE2b", provider.createBlake2bDigestEngine({}, {}));
    cases.add("SHA-256 engine made", {none}, [](Message&) { return [] { provider.createSHA256DigestEngine(); }; });
}

void addRandomAndDerivedBytes(Cases& cases) {
    cases.add("random bytes", bothSizes, [](Message& message) {
        return [&message, prng = provider.createDefaultCryptoPRNG({})] {
            prng->generateRandomBytes(message.bytes.size());
        };
    });
    cases.add("PBKDF2, one iteration", bothSizes, [](Message& message) {
        return [&message, password = std::string("password"), salt = std::string(16, 'a')] {
            provider.deriveKeyUsingPBKDF2(password, salt, static_cast<int>(message.bytes.size()), 1);
        };
    });
}

void addAES(Cases& cases) {
    auto const key = provider.createAES256Key(ByteArray(32, 1));
    for (auto const& [mode, modeName] : {std::pair(AESMode::GCM, "GCM"), std::pair(AESMode::CBC, "CBC")}) {
        std::string const name = std::string("AES-256 ") + modeName;
        ByteArray const iv(mode == AESMode::GCM ? 12 : 16, 2);
        auto const encryptor = provider.createAES256Encryptor(key, iv, mode, {}, nullptr);
        auto const decryptor = provider.createAES256Decryptor(key, iv, mode, {}, nullptr);
        cases.add(name + " encryption", bothSizes,
                  [=](Message& message) { return [=, &message] { encryptor->encrypt(message.bytes); }; });
        cases.add(name + " encryption of a stream", bothSizes, [=](Message& message) {
            return [=, &message] { encryptor->encrypt(message.rewound(), message.output); };
        });
        cases.add(name + " decryption", bothSizes, [=](Message& message) {
            return [decryptor = decryptor, encrypted = encryptor->encrypt(message.bytes)] {
                decryptor->decrypt(encrypted);
            };
        });
    }
    cases.add("AES-256 GCM key and encryptor for one message", bothSizes, [](Message& message) {
        return [&message, keyBytes = ByteArray(32), iv = ByteArray(12)] {
            auto const madeKey = provider.createAES256Key(keyBytes);
            provider.createAES256Encryptor(madeKey, iv, AESMode::GCM, {}, nullptr)->encrypt(message.bytes);
        };
    });
}

/// What the signers and verifiers of RSA and of the curves have in common.
template <class Signer, class Verifier>
void addSignatures(Cases& cases, std::string const& name, interfaces::DigestEnginePtr const& engine,
                   Signer const& signer, Verifier const& verifier) {
    cases.add(name + " signature", bothSizes,
              [=](Message& message) { return [=, &message] { signer->sign(message.bytes, engine); }; });
    cases.add(name + " signature of a stream", bothSizes,
              [=](Message& message) { return [=, &message] { signer->sign(message.rewound(), engine); }; });
    cases.add(name + " check", bothSizes, [=](Message& message) {
        return [=, &message, signature = signer->sign(message.bytes, engine)] {
            verifier->verify(message.bytes, signature, engine);
        };
    });
    cases.add(name + " check of a stream", bothSizes, [=](Message& message) {
        return [=, &message, signature = signer->sign(message.bytes, engine)] {
            verifier->verify(message.rewound(), signature, engine);
        };
    });
}

void addRSA(Cases& cases) {
    auto const prng = provider.createDefaultCryptoPRNG({});
    ByteArray const privateDER = readRSAKey(2048, "private.der");
    ByteArray const publicDER = readRSAKey(2048, "public.der");
    auto const privateKey = provider.createRSA2048PrivateKey(privateDER);
    auto const publicKey = provider.createRSA2048PublicKey(publicDER);
    addSignatures(cases, "RSA-2048 PSS", provider.createSHA256DigestEngine(),
                  provider.createRSA2048Signer(privateKey, RSAPaddingMode::PSS, prng),
                  provider.createRSA2048Verifier(publicKey, RSAPaddingMode::PSS, prng));
    auto const encryptor = provider.createRSA2048Encryptor(publicKey, RSAPaddingMode::OAEP_SHA256, prng);
    auto const decryptor = provider.createRSA2048Decryptor(privateKey, RSAPaddingMode::OAEP_SHA256, prng);
    cases.add("RSA-2048 OAEP encryption", {small},
              [=](Message& message) { return [=, &message] { encryptor->encrypt(message.bytes); }; });
    cases.add("RSA-2048 OAEP encryption of a stream", bothSizes, [=](Message& message) {
        return [=, &message] { encryptor->encrypt(message.rewound(), message.output); };
    });
    cases.add("RSA-2048 OAEP decryption", {small}, [=](Message& message) {
        return
            [decryptor = decryptor, encrypted = encryptor->encrypt(message.bytes)] { decryptor->decrypt(encrypted); };
    });
    cases.add("RSA-2048 private key from DER", {none},
              [=](Message&) { return [=] { provider.createRSA2048PrivateKey(privateDER); }; });
    cases.add("RSA-2048 private key to DER", {none}, [=](Message&) { return [=] { privateKey->getDER(); }; });
}

void addECC(Cases& cases) {
    ByteArray const privatePEM = readKey("p256-private.pem");
    auto const privateKey = provider.createECCP256PrivateKey(privatePEM);
    addSignatures(cases, "P-256", provider.createSHA256DigestEngine(), provider.createECCP256Signer(privateKey),
                  provider.createECCP256Verifier(provider.createECCP256PublicKey(readKey("p256-public.pem"))));
    addSignatures(
        cases, "Ed25519", provider.createSHA512DigestEngine(),
        provider.createECCCurve25519Signer(provider.createECCCurve25519PrivateKey(readKey("ed25519-private.pem"))),
        provider.createECCCurve25519Verifier(provider.createECCCurve25519PublicKey(readKey("ed25519-public.pem"))));
    cases.add("P-256 private key from PEM", {none},
              [=](Message&) { return [=] { provider.createECCP256PrivateKey(privatePEM); }; });
    cases.add("P-256 private key to PEM", {none}, [=](Message&) { return [=] { privateKey->getPEM(); }; });
}

void addHSM(Cases& cases, Token const& /*token*/) {
    cases.add("HSM signature", bothSizes, [](Message& message) {
        return
            [&message, engine = provider.createSHA256DigestEngine(),
             signer = provider.createHSMSigner(utils::HSMObject(Token::module(), Token::uri("rsa2048")),
                                               RSAPaddingMode::PSS, nullptr)] { signer->sign(message.bytes, engine); };
    });
}

} // namespace

int main() {
    Token const token;
    Cases cases;
    addDigests(cases);
    addRandomAndDerivedBytes(cases);
    addAES(cases);
    addRSA(cases);
    addECC(cases);
    addHSM(cases, token);
    for (Case const& each : cases.all()) {
        std::string const name = each.name + "  " + std::to_string(each.size);
        each.warmUp();
        if (RUNNING_ON_VALGRIND != 0) {
            CALLGRIND_ZERO_STATS;
            each.work();
            CALLGRIND_DUMP_STATS_AT(name.c_str());
        } else {
            AllocationRecording recording;
            each.work();
            recording.stop();
            std::printf("%s  %zu\n", name.c_str(), recording.blocks().size());
        }
    }
}
