#ifndef ZRFL_TESTS_ABI_HOSTUSES_H
#define ZRFL_TESTS_ABI_HOSTUSES_H

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <cstddef>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <type_traits>
#include <utility>

/// The host of Host.cpp: what it has of its own (other hosts of tests, too), and how it writes down what it got.
namespace host {

using namespace foundation::crypto;
using namespace foundation::crypto::interfaces;
using utils::AESMode;
using utils::AESPaddingMode;
using utils::EllipticCurve;
using utils::HSMObject;
using utils::RSAPaddingMode;
using utils::SignatureVerificationStatus;

inline std::string text(ByteArray const& bytes) {
    return {bytes.begin(), bytes.end()};
}

inline ByteArray bytes(std::string const& text) {
    return {text.begin(), text.end()};
}

inline std::string hex(ByteArray const& bytes) {
    std::string digits;
    for (unsigned char const byte : bytes) {
        digits += "0123456789abcdef"[byte >> 4U];
        digits += "0123456789abcdef"[byte & 15U];
    }
    return digits;
}

/// What a seed gives: the same on every machine, since the standard says what this engine computes. Arguments of one
/// call are drawn beforehand: in which order they are evaluated is the compiler's affair.
class Random {
public:
    explicit Random(unsigned long seed) : engine_(seed) {}

    std::size_t below(std::size_t limit) { return static_cast<std::size_t>(engine_() % limit); }

    ByteArray drawBytes(std::size_t size) {
        ByteArray drawn;
        while (drawn.size() < size) {
            drawn.push_back(static_cast<unsigned char>(engine_() >> 32U));
        }
        return drawn;
    }

    ByteArray message() { return drawBytes(below(5000)); }

private:
    std::mt19937_64 engine_;
};

/// A host's own engine: it only names a hash.
class HostEngine final : public IDigestEngine {
public:
    ByteArray computeDigest(ByteArray const& /*data*/) override { return {}; }

    ByteArray computeDigest(std::istream& /*input*/) override { return {}; }

    void update(ByteArray const& /*data*/) override {}

    void update(unsigned char const* /*data*/, std::size_t /*size*/) override {}

    ByteArray finalize() override { return {}; }

    std::string getDigestName() const override { return "SHA256"; }

    std::string getDigestNameForEVP_MD() const override { return "sha256"; }

    std::size_t getDigestSize() const override { return 32; }
};

/// A host's own generator, which can be foretold.
class HostPRNG final : public ICryptoPRNG {
public:
    explicit HostPRNG(unsigned long seed) : random_(seed) {}

    unsigned char generateRandomByte() override { return random_.drawBytes(1).front(); }

    ByteArray generateRandomBytes(std::size_t size) override { return random_.drawBytes(size); }

    bool isSeeded() const override { return true; }

    std::string getPRNGName() const override { return "the host's"; }

private:
    Random random_;
};

class Host {
public:
    Host(std::string keys, unsigned long seed, std::ostream& output)
        : keys_(std::move(keys)), random_(seed), output_(output) {}

    void useEverything();

private:
    // What was got, in words

    std::string words(ByteArray const& got) {
        if (got.size() <= 64) {
            return hex(got);
        }
        return std::to_string(got.size()) + " bytes, SHA-256 " +
               hex(provider_->createSHA256DigestEngine()->computeDigest(got));
    }

    static std::string words(std::string const& got) { return got; }

    static std::string words(bool got) { return got ? "yes" : "no"; }

    static std::string words(SignatureVerificationStatus got) { return got.isValid() ? "valid" : "invalid"; }

    static std::string words(KeySignatureMethod got) { return "method " + std::to_string(static_cast<int>(got)); }

    template <class Number, std::enable_if_t<std::is_integral_v<Number>, int> = 0>
    static std::string words(Number got) {
        return std::to_string(got);
    }

    template <class Interface> static std::string words(std::shared_ptr<Interface> const& got) {
        return got != nullptr ? "made" : "nothing";
    }

    /// Writes what `call` gives or throws.
    void write(std::string const& what, std::function<std::string()> const& call);

    /// The same for a result of any type; it is handed on, or an empty one.
    template <class Call> auto note(std::string const& what, Call call) {
        std::decay_t<decltype(call())> result{};
        write(what, [&] {
            result = call();
            return words(result);
        });
        return result;
    }

    /// `note` of an operation of the provider, under a name that begins with its interface.
    template <class Operation, class... Arguments>
    auto make(std::string const& name, Operation operation, Arguments&&... arguments) {
        return note("ICryptoProvider::" + name,
                    [&] { return (*provider_.*operation)(std::forward<Arguments>(arguments)...); });
    }

    ByteArray readKey(std::string const& name) const {
        std::ifstream file(keys_ + "/" + name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    // What the host does, family by family

    void useGenerator();
    void useEngine(std::string const& name, DigestEnginePtr const& engine);
    void useDigests();
    void useDerivation();
    template <unsigned long N> struct AES;
    template <unsigned long N> void useAES(AES<N> const& family);
    void useTransform(std::string const& name, AESEncryptorPtr const& encryptor, AESDecryptorPtr const& decryptor,
                      bool isRandom);
    template <unsigned long N> struct RSA;
    template <unsigned long N> void useRSA(RSA<N> const& family);
    template <unsigned long N> void useKey(std::string const& name, RSAPrivateKeyPtr<N> const& key);
    template <unsigned long N> void useKey(std::string const& name, RSAPublicKeyPtr<N> const& key);
    void useEncryption(std::string const& name, RSAEncryptorPtr const& encryptor, RSADecryptorPtr const& decryptor);
    template <class Signer, class Verifier>
    void useSignatures(std::string const& name, Signer const& signer, Verifier const& verifier, bool isRandom);
    template <EllipticCurve C> struct ECC;
    template <EllipticCurve C> void useECC(ECC<C> const& family);
    void useKeys();
    void useModule();
    void useQueries();
    template <class Algorithm> void useDescriptor();
    void useVocabulary();

    std::string keys_;
    Random random_;
    std::ostream& output_;
    std::unique_ptr<ICryptoProvider> provider_ = std::make_unique<openssl::CryptoProvider>();
};

} // namespace host

#endif
