// What 1, 2, 4 and 8 threads do in the same time, each with objects of its own or all with the same: through the
// library, as the same libcrypto calls by hand, and as libcrypto at its best. Needs nothing but the library, so that it
// can be built with any OpenSSL.
#include <foundation/crypto/openssl/CryptoProvider.h>

#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <exception>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::AESMode;
using foundation::crypto::utils::ByteArray;
using foundation::crypto::utils::RSAPaddingMode;

CryptoProvider const provider;

void mustSucceed(bool succeeded) {
    if (!succeeded) {
        throw std::runtime_error("a call failed in a benchmark");
    }
}

template <auto release> struct Releaser {
    template <class Object> void operator()(Object* object) const { release(object); }
};
template <class Object, auto release> using Held = std::unique_ptr<Object, Releaser<release>>;

using Cipher = Held<EVP_CIPHER, EVP_CIPHER_free>;
using CipherContext = Held<EVP_CIPHER_CTX, EVP_CIPHER_CTX_free>;
using DigestContext = Held<EVP_MD_CTX, EVP_MD_CTX_free>;
using MAC = Held<EVP_MAC, EVP_MAC_free>;
using MACContext = Held<EVP_MAC_CTX, EVP_MAC_CTX_free>;
using Key = std::shared_ptr<EVP_PKEY>;

using Work = std::function<void()>;
using Prepare = std::function<Work()>;

/// One way to do a case. What `prepare` makes belongs to one thread, or to all of them where it may be shared.
struct Way {
    std::string title; // "CASE/own/library"
    Prepare prepare;
    bool isShared;
};

std::vector<Way>& ways() {
    static std::vector<Way> all;
    return all;
}

void addOwn(std::string const& name, char const* way, Prepare prepare) {
    ways().push_back({name + "/own/" + way, std::move(prepare), false});
}

void addBoth(std::string const& name, char const* way, Prepare const& prepare) {
    addOwn(name, way, prepare);
    ways().push_back({name + "/shared/" + way, prepare, true});
}

// Cases

ByteArray const message(64, 'm');

void addDigests() {
    addOwn("method lookup", "best",
           [] { return [] { mustSucceed(Cipher(EVP_CIPHER_fetch(nullptr, "AES-256-GCM", nullptr)) != nullptr); }; });
    std::string const kept = "SHA-256, 64 B, engine kept";
    addOwn(kept, "library",
           [] { return [engine = provider.createSHA256DigestEngine()] { engine->computeDigest(message); }; });
    auto const keptByHand = [] {
        std::shared_ptr<EVP_MD_CTX> const context = DigestContext(EVP_MD_CTX_new());
        mustSucceed(EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) == 1);
        return [=] {
            ByteArray digest(32);
            mustSucceed(EVP_DigestUpdate(context.get(), message.data(), message.size()) == 1 &&
                        EVP_DigestFinal_ex(context.get(), digest.data(), nullptr) == 1 &&
                        EVP_DigestInit_ex(context.get(), nullptr, nullptr) == 1);
        };
    };
    addOwn(kept, "same calls", keptByHand);
    addOwn(kept, "best", keptByHand);
    std::string const made = "SHA-256, 64 B, engine made for it";
    addOwn(made, "library", [] { return [] { provider.createSHA256DigestEngine()->computeDigest(message); }; });
    addOwn(made, "same calls", [] {
        return [] {
            DigestContext const context(EVP_MD_CTX_new());
            ByteArray digest(32);
            mustSucceed(EVP_DigestInit_ex(context.get(), EVP_get_digestbyname("sha256"), nullptr) == 1 &&
                        EVP_DigestUpdate(context.get(), message.data(), message.size()) == 1 &&
                        EVP_DigestFinal_ex(context.get(), digest.data(), nullptr) == 1 &&
                        EVP_DigestInit_ex(context.get(), nullptr, nullptr) == 1);
        };
    });
}

MACContext startHMAC() {
    MAC const mac(EVP_MAC_fetch(nullptr, "HMAC", nullptr));
    MACContext context(EVP_MAC_CTX_new(mac.get()));
    std::array<unsigned char, 32> key{};
    char digest[] = "SHA2-256";
    OSSL_PARAM const parameters[] = {OSSL_PARAM_construct_octet_string(OSSL_MAC_PARAM_KEY, key.data(), key.size()),
                                     OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, digest, 0),
                                     OSSL_PARAM_construct_end()};
    mustSucceed(EVP_MAC_init(context.get(), nullptr, 0, parameters) == 1);
    return context;
}

void computeCode(EVP_MAC_CTX* context) {
    ByteArray code(32);
    std::size_t written = 0;
    mustSucceed(EVP_MAC_update(context, message.data(), message.size()) == 1 &&
                EVP_MAC_final(context, code.data(), &written, code.size()) == 1);
}

void addMACs() {
    std::string const hmac = "HMAC-SHA-256, 64 B";
    addOwn(hmac, "library", [] {
        return [engine = provider.createHMACSHA256DigestEngine(ByteArray(32))] { engine->computeDigest(message); };
    });
    addOwn(hmac, "same calls", [] {
        return [context = std::make_shared<MACContext>(startHMAC())] {
            computeCode(context->get());
            *context = startHMAC();
        };
    });
    addOwn(hmac, "best", [] {
        return [context = std::make_shared<MACContext>(startHMAC())] {
            mustSucceed(EVP_MAC_init(context->get(), nullptr, 0, nullptr) == 1);
            computeCode(context->get());
        };
    });
    addOwn("BLAKE2b, 64 B", "library",
           [] { return [engine = provider.createBlake2bDigestEngine({}, {})] { engine->computeDigest(message); }; });
}

struct GCM {
    std::array<unsigned char, 32> key{};
    std::array<unsigned char, 12> nonce{};
};

void encryptByHand(EVP_CIPHER_CTX* context, ByteArray const& text, ByteArray& output) {
    int size = 0;
    mustSucceed(EVP_EncryptUpdate(context, output.data(), &size, text.data(), static_cast<int>(text.size())) == 1 &&
                EVP_EncryptFinal_ex(context, output.data() + size, &size) == 1 &&
                EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_GCM_GET_TAG, 16, output.data() + text.size()) == 1);
}

void addGCM(std::string const& name, std::size_t size) {
    addBoth(name, "library", [=] {
        return [encryptor = provider.createAES256Encryptor(provider.createAES256Key(ByteArray(32)), ByteArray(12),
                                                           AESMode::GCM, {}, nullptr),
                text = ByteArray(size)] { encryptor->encrypt(text); };
    });
    addBoth(name, "same calls", [=] {
        return [gcm = GCM(), text = ByteArray(size)] {
            CipherContext const context(EVP_CIPHER_CTX_new());
            ByteArray output(text.size() + 16);
            mustSucceed(EVP_EncryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, nullptr, nullptr) == 1 &&
                        EVP_EncryptInit_ex(context.get(), nullptr, nullptr, gcm.key.data(), gcm.nonce.data()) == 1);
            encryptByHand(context.get(), text, output);
        };
    });
    addOwn(name, "best", [=] {
        std::shared_ptr<EVP_CIPHER_CTX> const context = CipherContext(EVP_CIPHER_CTX_new());
        Cipher const fetched(EVP_CIPHER_fetch(nullptr, "AES-256-GCM", nullptr));
        GCM const gcm;
        mustSucceed(EVP_EncryptInit_ex2(context.get(), fetched.get(), gcm.key.data(), gcm.nonce.data(), nullptr) == 1);
        return [=, text = ByteArray(size), output = ByteArray(size + 16)]() mutable {
            mustSucceed(EVP_EncryptInit_ex2(context.get(), nullptr, nullptr, gcm.nonce.data(), nullptr) == 1);
            encryptByHand(context.get(), text, output);
        };
    });
}

void addRandomBytes() {
    addBoth("random bytes, 16", "library",
            [] { return [generator = provider.createDefaultCryptoPRNG({})] { generator->generateRandomBytes(16); }; });
    addOwn("random bytes, 16", "best", [] {
        return [] {
            std::array<unsigned char, 16> drawn;
            mustSucceed(RAND_bytes(drawn.data(), drawn.size()) == 1);
        };
    });
}

/// What libcrypto needs to know of a kind of signature.
struct Kind {
    std::string name;
    char const* digest; // none for Ed25519
    bool isPSS;
    Key (*generate)();
};

Key owned(EVP_PKEY* key) {
    return Held<EVP_PKEY, EVP_PKEY_free>(key);
}

void start(EVP_MD_CTX* context, Kind const& kind, EVP_PKEY* key, decltype(&EVP_DigestSignInit_ex) initialize) {
    EVP_PKEY_CTX* keyContext = nullptr;
    mustSucceed(initialize(context, &keyContext, kind.digest, nullptr, nullptr, key, nullptr) == 1);
    mustSucceed(!kind.isPSS || (EVP_PKEY_CTX_set_rsa_padding(keyContext, RSA_PKCS1_PSS_PADDING) > 0 &&
                                EVP_PKEY_CTX_set_rsa_pss_saltlen(keyContext, 32) > 0));
}

ByteArray sign(EVP_MD_CTX* context) {
    std::size_t size = 0;
    mustSucceed(EVP_DigestSign(context, nullptr, &size, message.data(), message.size()) == 1);
    ByteArray signature(size);
    mustSucceed(EVP_DigestSign(context, signature.data(), &size, message.data(), message.size()) == 1);
    signature.resize(size);
    return signature;
}

ByteArray signByHand(Kind const& kind, EVP_PKEY* key) {
    DigestContext const context(EVP_MD_CTX_new());
    start(context.get(), kind, key, EVP_DigestSignInit_ex);
    return sign(context.get());
}

void verify(EVP_MD_CTX* context, ByteArray const& signature) {
    mustSucceed(EVP_DigestVerify(context, signature.data(), signature.size(), message.data(), message.size()) == 1);
}

/// A context that was set up once is copied for each signature.
template <class Use>
Work useCopy(Kind const& kind, Key const& key, decltype(&EVP_DigestSignInit_ex) initialize, Use use) {
    std::shared_ptr<EVP_MD_CTX> const prepared = DigestContext(EVP_MD_CTX_new());
    start(prepared.get(), kind, key.get(), initialize);
    return [=] {
        DigestContext const context(EVP_MD_CTX_new());
        mustSucceed(EVP_MD_CTX_copy_ex(context.get(), prepared.get()) == 1);
        use(context.get());
    };
}

void addSignaturesByHand(Kind const& kind) {
    addBoth(kind.name + " signature", "same calls",
            [=] { return [=, key = kind.generate()] { signByHand(kind, key.get()); }; });
    addOwn(kind.name + " signature", "best", [=] {
        return useCopy(kind, kind.generate(), EVP_DigestSignInit_ex, [](EVP_MD_CTX* context) { sign(context); });
    });
    addBoth(kind.name + " check", "same calls", [=] {
        Key const key = kind.generate();
        return [=, signature = signByHand(kind, key.get())] {
            DigestContext const context(EVP_MD_CTX_new());
            start(context.get(), kind, key.get(), EVP_DigestVerifyInit_ex);
            verify(context.get(), signature);
        };
    });
    addOwn(kind.name + " check", "best", [=] {
        Key const key = kind.generate();
        return useCopy(kind, key, EVP_DigestVerifyInit_ex,
                       [signature = signByHand(kind, key.get())](EVP_MD_CTX* context) { verify(context, signature); });
    });
}

template <class Generate, class MakeSigner, class MakeVerifier>
void addSignatures(Kind const& kind, Generate generate, MakeSigner makeSigner, MakeVerifier makeVerifier) {
    auto const createEngine = [=] {
        return kind.digest != nullptr ? provider.createSHA256DigestEngine() : provider.createSHA512DigestEngine();
    };
    addBoth(kind.name + " signature", "library", [=] {
        return [signer = makeSigner(generate()), engine = createEngine()] { signer->sign(message, engine); };
    });
    addBoth(kind.name + " check", "library", [=] {
        auto const pair = generate();
        auto const engine = createEngine();
        return [=, verifier = makeVerifier(pair), signature = makeSigner(pair)->sign(message, engine)] {
            mustSucceed(verifier->verify(message, signature, engine).isValid());
        };
    });
    addSignaturesByHand(kind);
}

void addAllSignatures() {
    auto const prng = [] { return provider.createDefaultCryptoPRNG({}); };
    addSignatures(
        {"RSA-2048 PSS", "sha256", true,
         [] { return owned(EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", std::size_t(2048))); }},
        [=] { return provider.generateRSA2048KeyPair(prng()); },
        [=](auto const& pair) {
            return provider.createRSA2048Signer(pair->getPrivateKey(), RSAPaddingMode::PSS, prng());
        },
        [=](auto const& pair) {
            return provider.createRSA2048Verifier(pair->getPublicKey(), RSAPaddingMode::PSS, prng());
        });
    addSignatures(
        {"P-256", "sha256", false, [] { return owned(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256")); }},
        [] { return provider.generateECCP256KeyPair(); },
        [](auto const& pair) { return provider.createECCP256Signer(pair->getPrivateKey()); },
        [](auto const& pair) { return provider.createECCP256Verifier(pair->getPublicKey()); });
    addSignatures(
        {"Ed25519", nullptr, false, [] { return owned(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519")); }},
        [] { return provider.generateECCCurve25519KeyPair(); },
        [](auto const& pair) { return provider.createECCCurve25519Signer(pair->getPrivateKey()); },
        [](auto const& pair) { return provider.createECCCurve25519Verifier(pair->getPublicKey()); });
}

void addReading() {
    auto const newPEM = [] { return provider.generateECCP256KeyPair()->getPrivateKey()->getPEM(); };
    addOwn("P-256 key from PEM", "library",
           [=] { return [pem = newPEM()] { provider.createECCP256PrivateKey(pem); }; });
    addOwn("P-256 key from PEM", "best", [=] {
        return [pem = newPEM()] {
            Held<BIO, BIO_free_all> const text(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
            mustSucceed(owned(PEM_read_bio_PrivateKey(text.get(), nullptr, nullptr, nullptr)) != nullptr);
        };
    });
}

// Measuring

/// Time that passes for one call of all threads together: they begin together, and all end when the time is over.
double measure(Way const& way, std::size_t threads) {
    using Clock = std::chrono::steady_clock;
    Work const common = way.isShared ? way.prepare() : nullptr;
    std::atomic<std::size_t> ready{0};
    std::atomic<bool> begun{false};
    std::atomic<bool> over{false};
    std::atomic<std::uint64_t> calls{0};
    auto const run = [&] {
        Work const own = way.isShared ? nullptr : way.prepare();
        Work const& work = way.isShared ? common : own;
        work();
        ++ready;
        while (!begun) {
            std::this_thread::yield();
        }
        std::uint64_t made = 0;
        for (; !over.load(std::memory_order_relaxed); ++made) {
            work();
        }
        calls += made;
    };
    std::vector<std::thread> running;
    running.reserve(threads);
    for (std::size_t thread = 0; thread < threads; ++thread) {
        running.emplace_back(run);
    }
    while (ready != threads) {
        std::this_thread::yield();
    }
    auto const start = Clock::now();
    begun = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(40));
    over = true;
    std::chrono::duration<double, std::nano> const passed = Clock::now() - start;
    for (std::thread& thread : running) {
        thread.join();
    }
    return passed.count() / static_cast<double>(std::max<std::uint64_t>(calls, 1));
}

constexpr std::array<std::size_t, 4> threadCounts{1, 2, 4, 8};
constexpr int repetitions = 5;

std::string today() {
    std::time_t const now = std::time(nullptr);
    std::tm parts{};
    char text[sizeof "2026-01-01"];
    return {text, std::strftime(text, sizeof text, "%Y-%m-%d", gmtime_r(&now, &parts))};
}

/// As Google Benchmark's JSON has it.
void write(std::FILE* file, std::vector<std::array<double, 4>> const& times) {
    std::fprintf(file,
                 "{\n  \"context\": {\"date\": \"%s\", \"num_cpus\": %u, \"OpenSSL\": \"%s\"},\n  \"benchmarks\": [",
                 today().c_str(), std::thread::hardware_concurrency(), OpenSSL_version(OPENSSL_VERSION_STRING));
    char const* separator = "";
    for (std::size_t way = 0; way < times.size(); ++way) {
        for (std::size_t count = 0; count < threadCounts.size(); ++count) {
            std::fprintf(
                file,
                "%s\n    {\"name\": \"threads/%s\", \"threads\": %zu, \"real_time\": %.4g, \"time_unit\": \"ns\"}",
                separator, ways()[way].title.c_str(), threadCounts[count], times[way][count]);
            separator = ",";
        }
    }
    std::fprintf(file, "\n  ]\n}\n");
}

} // namespace

/// Usage: scaling [FILE], to which the results are written as JSON
int main(int count, char** arguments) try {
    addDigests();
    addMACs();
    addGCM("AES-256 GCM, 64 B", 64);
    addGCM("AES-256 GCM, 64 KiB", 65536);
    addRandomBytes();
    addAllSignatures();
    addReading();
    // The shortest of repetitions that lie apart, since whatever else the machine does only lengthens them.
    std::vector<std::array<double, 4>> times(ways().size());
    for (int repetition = 0; repetition < repetitions; ++repetition) {
        for (std::size_t way = 0; way < ways().size(); ++way) {
            for (std::size_t threads = 0; threads < threadCounts.size(); ++threads) {
                double const time = measure(ways()[way], threadCounts[threads]);
                double& shortest = times[way][threads];
                shortest = repetition == 0 ? time : std::min(shortest, time);
            }
        }
    }
    std::printf("OpenSSL %s\n%-52s %14s %6s %6s %6s\n", OpenSSL_version(OPENSSL_VERSION_STRING), "", "one thread", "2",
                "4", "8");
    for (std::size_t way = 0; way < ways().size(); ++way) {
        auto const& row = times[way];
        std::printf("%-52s %11.1f ns %6.2f %6.2f %6.2f\n", ways()[way].title.c_str(), row[0], row[0] / row[1],
                    row[0] / row[2], row[0] / row[3]);
    }
    if (count > 1) {
        std::FILE* const file = std::fopen(arguments[1], "w");
        if (file == nullptr) {
            return 1;
        }
        write(file, times);
        return std::fclose(file) == 0 ? 0 : 1;
    }
    return 0;
} catch (std::exception const& problem) {
    std::fprintf(stderr, "%s\n", problem.what());
    return 1;
}
