// A host that uses every operation of every interface, and writes down what it got: a line for each call, the same
// whenever and wherever it runs. Compiled against the headers of 1.0 it is kept in earlier_host/; compiled today it
// runs beside that one (EarlierHostTest.cpp). It knows nothing but the public headers, and calls the provider's
// operations by their positions in the table of virtual functions, which is what a pointer to a member names.
#include "Host.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <cstddef>
#include <exception>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using namespace foundation::crypto;
using namespace foundation::crypto::interfaces;
using utils::AESMode;
using utils::AESPaddingMode;
using utils::EllipticCurve;
using utils::HSMObject;
using utils::RSAPaddingMode;
using utils::SignatureVerificationStatus;

std::string text(ByteArray const& bytes) {
    return {bytes.begin(), bytes.end()};
}

ByteArray bytes(std::string const& text) {
    return {text.begin(), text.end()};
}

std::string hex(ByteArray const& bytes) {
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
    void useModule();
    void useQueries();
    template <class Algorithm> void useDescriptor();
    void useVocabulary();

    std::string keys_;
    Random random_;
    std::ostream& output_;
    std::unique_ptr<ICryptoProvider> provider_ = std::make_unique<openssl::CryptoProvider>();
};

void Host::write(std::string const& what, std::function<std::string()> const& call) {
    output_ << what << ": ";
    try {
        output_ << call();
    } catch (utils::InternalException const& error) {
        output_ << "InternalException " << error.what();
    } catch (utils::InvalidArgument const& error) {
        output_ << "InvalidArgument " << error.what();
    } catch (utils::InvalidKeyEncoding const& error) {
        output_ << "InvalidKeyEncoding " << error.what();
    } catch (utils::InvalidKey const& error) {
        output_ << "InvalidKey " << error.what();
    } catch (utils::KeyAndCurveMismatch const& error) {
        output_ << "KeyAndCurveMismatch " << error.what();
    } catch (utils::NotImplemented const& error) {
        output_ << "NotImplemented " << error.what();
    } catch (utils::UnsupportedDigestAlgorithm const& error) {
        output_ << "UnsupportedDigestAlgorithm " << error.what();
    } catch (utils::Exception const& error) {
        output_ << "Exception " << error.what();
    } catch (std::exception const& error) {
        output_ << "std::exception " << error.what();
    }
    output_ << '\n';
}

// Random bytes

void Host::useGenerator() {
    auto const prng = make("createDefaultCryptoPRNG", &ICryptoProvider::createDefaultCryptoPRNG, random_.message());
    note("ICryptoPRNG::generateRandomByte", [&] { return std::to_string(prng->generateRandomByte()).empty(); });
    note("ICryptoPRNG::generateRandomBytes", [&] { return prng->generateRandomBytes(1000).size(); });
    note("ICryptoPRNG::isSeeded", [&] { return prng->isSeeded(); });
    note("ICryptoPRNG::getPRNGName", [&] { return prng->getPRNGName(); });
    note("DefaultPRNGAlgorithm::getPRNGName", [&] { return utils::DefaultPRNGAlgorithm::getPRNGName(); });
}

// Digests, HMAC and BLAKE2b

void Host::useEngine(std::string const& name, DigestEnginePtr const& engine) {
    if (engine == nullptr) {
        return;
    }
    note(name + "::getDigestName", [&] { return engine->getDigestName(); });
    note(name + "::getDigestNameForEVP_MD", [&] { return engine->getDigestNameForEVP_MD(); });
    note(name + "::getDigestSize", [&] { return engine->getDigestSize(); });
    for (std::size_t const size :
         {std::size_t{0}, std::size_t{1}, std::size_t{127}, std::size_t{1024}, random_.below(100000)}) {
        auto const message = random_.drawBytes(size);
        std::string const of = " of " + std::to_string(size) + " bytes";
        note(name + "::computeDigest(bytes)" + of, [&] { return engine->computeDigest(message); });
        note(name + "::computeDigest(stream)" + of, [&] {
            std::istringstream input(text(message));
            return engine->computeDigest(input);
        });
        note(name + "::update, finalize" + of, [&] {
            std::size_t const part = random_.below(size + 1);
            engine->update(message.data(), part);
            engine->update(ByteArray(message.begin() + static_cast<std::ptrdiff_t>(part), message.end()));
            return engine->finalize();
        });
    }
}

void Host::useDigests() {
    useEngine("MD5", make("createMD5DigestEngine", &ICryptoProvider::createMD5DigestEngine));
    useEngine("SHA1", make("createSHA1DigestEngine", &ICryptoProvider::createSHA1DigestEngine));
    useEngine("SHA224", make("createSHA224DigestEngine", &ICryptoProvider::createSHA224DigestEngine));
    useEngine("SHA256", make("createSHA256DigestEngine", &ICryptoProvider::createSHA256DigestEngine));
    useEngine("SHA384", make("createSHA384DigestEngine", &ICryptoProvider::createSHA384DigestEngine));
    useEngine("SHA512", make("createSHA512DigestEngine", &ICryptoProvider::createSHA512DigestEngine));
    for (std::size_t const size : {std::size_t{0}, std::size_t{20}, std::size_t{64}, 65 + random_.below(1000)}) {
        auto const key = random_.drawBytes(size);
        useEngine("HMAC-SHA1", make("createHMACSHA1DigestEngine", &ICryptoProvider::createHMACSHA1DigestEngine, key));
        useEngine("HMAC-SHA256",
                  make("createHMACSHA256DigestEngine", &ICryptoProvider::createHMACSHA256DigestEngine, key));
        useEngine("HMAC-SHA512",
                  make("createHMACSHA512DigestEngine", &ICryptoProvider::createHMACSHA512DigestEngine, key));
        auto const salt = random_.drawBytes(random_.below(20));
        useEngine("BLAKE2b", make("createBlake2bDigestEngine", &ICryptoProvider::createBlake2bDigestEngine, key, salt));
        std::size_t const digestSize = random_.below(70);
        useEngine("BLAKE2b of a size",
                  make("createBlake2bDigestEngineWithCustomSize",
                       &ICryptoProvider::createBlake2bDigestEngineWithCustomSize, key, salt, digestSize));
    }
}

void Host::useDerivation() {
    for (int const iterations : {-1, 0, 1, 1000}) {
        int const size = static_cast<int>(random_.below(200)) * (iterations == 1000 ? 1 : iterations);
        auto const password = text(random_.drawBytes(20));
        auto const salt = text(random_.drawBytes(random_.below(40)));
        make("deriveKeyUsingPBKDF2", &ICryptoProvider::deriveKeyUsingPBKDF2, password, salt, size, iterations);
    }
}

// AES

template <unsigned long N> struct Host::AES {
    AESKeyPtr<N> (ICryptoProvider::*key)(ByteArray const&) const;
    AESEncryptorPtr (ICryptoProvider::*encryptor)(AESKeyPtr<N>, ByteArray const&, AESMode, AESPaddingMode,
                                                  CryptoPRNGPtr) const;
    AESDecryptorPtr (ICryptoProvider::*decryptor)(AESKeyPtr<N>, ByteArray const&, AESMode, AESPaddingMode,
                                                  CryptoPRNGPtr) const;
};

void Host::useTransform(std::string const& name, AESEncryptorPtr const& encryptor, AESDecryptorPtr const& decryptor,
                        bool isRandom) {
    if (encryptor == nullptr || decryptor == nullptr) {
        return;
    }
    note(name + "IAESEncryptor::getKeySize", [&] { return encryptor->getKeySize(); });
    note(name + "IAESDecryptor::getKeySize", [&] { return decryptor->getKeySize(); });
    for (std::size_t const size : {std::size_t{0}, std::size_t{1}, std::size_t{16}, random_.below(10000)}) {
        auto const message = random_.drawBytes(size);
        std::string const of = " of " + std::to_string(size) + " bytes";
        auto secret = note(name + "IAESEncryptor::encrypt(bytes)" + of, [&] { return encryptor->encrypt(message); });
        note(name + "IAESEncryptor::encrypt(stream)" + of, [&] {
            std::istringstream input(text(message));
            std::ostringstream output;
            return &encryptor->encrypt(input, output) == &output ? bytes(output.str()) : ByteArray();
        });
        if (!secret.empty() && isRandom) { // the second of the two to be opened: damaged
            secret.at(random_.below(secret.size())) ^= 1U;
        }
        note(name + "IAESDecryptor::decrypt(bytes)" + of, [&] { return decryptor->decrypt(secret); });
        note(name + "IAESDecryptor::decrypt(stream)" + of, [&] {
            std::istringstream input(text(secret));
            std::ostringstream output;
            return &decryptor->decrypt(input, output) == &output ? bytes(output.str()) : ByteArray();
        });
    }
}

template <unsigned long N> void Host::useAES(AES<N> const& family) {
    std::string const size = std::to_string(N);
    make("createAES" + size + "Key", family.key, random_.drawBytes(random_.below(16)));
    auto const key = make("createAES" + size + "Key", family.key, random_.drawBytes(N / 8));
    note("IAESKey" + size + "::getKeySize", [&] { return key->getKeySize(); });
    note("IAESKey" + size + "::getKeyBytes", [&] { return key->getKeyBytes(); });
    for (int mode = 0; mode <= 5; ++mode) { // the last one is none
        for (auto const padding : {AESPaddingMode::PKCS7, AESPaddingMode::NoPadding}) {
            for (std::size_t const vectorSize : {std::size_t{16}, random_.below(20)}) {
                std::string const name = size + " bits, mode " + std::to_string(mode) + ", padding " +
                                         std::to_string(static_cast<int>(padding)) + ": ";
                auto const vector = random_.drawBytes(vectorSize);
                auto const encryptor =
                    make("createAES" + size + "Encryptor", family.encryptor, key, vector, static_cast<AESMode>(mode),
                         padding, std::make_shared<HostPRNG>(random_.below(99)));
                auto const decryptor = make("createAES" + size + "Decryptor", family.decryptor, key, vector,
                                            static_cast<AESMode>(mode), padding, nullptr);
                useTransform(name, encryptor, decryptor, vectorSize != 16 || random_.below(2) == 0);
            }
        }
    }
}

// RSA

template <unsigned long N> struct Host::RSA {
    using Private = RSAPrivateKeyPtr<N>;
    using Public = RSAPublicKeyPtr<N>;
    RSAKeyPairPtr<N> (ICryptoProvider::*generate)(CryptoPRNGPtr) const;
    Private (ICryptoProvider::*privateFromBytes)(ByteArray const&) const;
    Private (ICryptoProvider::*privateFromNumbers)(ByteArray const&, ByteArray const&, ByteArray const&) const;
    Private (ICryptoProvider::*privateFromStream)(std::istream&, std::string const&) const;
    Public (ICryptoProvider::*publicFromBytes)(ByteArray const&) const;
    Public (ICryptoProvider::*publicFromNumbers)(ByteArray const&, ByteArray const&) const;
    Public (ICryptoProvider::*publicFromStream)(std::istream&) const;
    RSAEncryptorPtr (ICryptoProvider::*encryptor)(Public, RSAPaddingMode, CryptoPRNGPtr) const;
    RSADecryptorPtr (ICryptoProvider::*decryptor)(Private, RSAPaddingMode, CryptoPRNGPtr) const;
    RSASignerPtr (ICryptoProvider::*signer)(Private, RSAPaddingMode, CryptoPRNGPtr) const;
    RSAVerifierPtr (ICryptoProvider::*verifier)(Public, RSAPaddingMode, CryptoPRNGPtr) const;
};

template <unsigned long N> void Host::useKey(std::string const& name, RSAPrivateKeyPtr<N> const& key) {
    if (key != nullptr) {
        note(name + "IRSAPrivateKey::getKeySize", [&] { return key->getKeySize(); });
        note(name + "IRSAPrivateKey::getDER", [&] { return key->getDER(); });
        note(name + "IRSAPrivateKey::getModulus", [&] { return key->getModulus(); });
        note(name + "IRSAPrivateKey::getPrivateExponent", [&] { return key->getPrivateExponent(); });
    }
}

template <unsigned long N> void Host::useKey(std::string const& name, RSAPublicKeyPtr<N> const& key) {
    if (key != nullptr) {
        note(name + "IRSAPublicKey::getKeySize", [&] { return key->getKeySize(); });
        note(name + "IRSAPublicKey::getDER", [&] { return key->getDER(); });
        note(name + "IRSAPublicKey::getModulus", [&] { return key->getModulus(); });
        note(name + "IRSAPublicKey::getPublicExponent", [&] { return key->getPublicExponent(); });
    }
}

void Host::useEncryption(std::string const& name, RSAEncryptorPtr const& encryptor, RSADecryptorPtr const& decryptor) {
    if (encryptor == nullptr || decryptor == nullptr) {
        return;
    }
    std::size_t const modulus = note(name + "IRSAEncryptor::getKeySize", [&] { return encryptor->getKeySize(); }) / 8;
    note(name + "IRSADecryptor::getKeySize", [&] { return decryptor->getKeySize(); });
    for (std::size_t const size : {std::size_t{0}, random_.below(modulus), 3 * modulus}) {
        auto const message = random_.drawBytes(size);
        std::string const of = " of " + std::to_string(size) + " bytes";
        ByteArray secret; // it differs each time; what is opened does not
        note(name + "IRSAEncryptor::encrypt(bytes)" + of, [&] {
            secret = encryptor->encrypt(message);
            return secret.size();
        });
        note(name + "IRSADecryptor::decrypt(bytes)" + of, [&] { return decryptor->decrypt(secret); });
        std::ostringstream written;
        note(name + "IRSAEncryptor::encrypt(stream)" + of, [&] {
            std::istringstream input(text(message));
            return &encryptor->encrypt(input, written) == &written ? written.str().size() : 0;
        });
        note(name + "IRSADecryptor::decrypt(stream)" + of, [&] {
            std::istringstream input(written.str());
            std::ostringstream output;
            return &decryptor->decrypt(input, output) == &output ? bytes(output.str()) : ByteArray();
        });
    }
    auto foreign = random_.drawBytes(modulus);
    foreign.front() = 0; // below the modulus
    note(name + "IRSADecryptor::decrypt(bytes) of other bytes", [&] { return decryptor->decrypt(foreign); });
}

template <class Signer, class Verifier>
void Host::useSignatures(std::string const& name, Signer const& signer, Verifier const& verifier, bool isRandom) {
    if (signer == nullptr || verifier == nullptr) {
        return;
    }
    note(name + "signer's getKeySize", [&] { return signer->getKeySize(); });
    note(name + "verifier's getKeySize", [&] { return verifier->getKeySize(); });
    std::vector<DigestEnginePtr> const engines{
        provider_->createMD5DigestEngine(),    provider_->createSHA1DigestEngine(),
        provider_->createSHA256DigestEngine(), provider_->createSHA512DigestEngine(),
        std::make_shared<HostEngine>(),        nullptr};
    for (auto const& engine : engines) {
        auto const message = random_.message();
        std::string const with = engine != nullptr ? " with " + engine->getDigestName() : " with no digest";
        ByteArray signature;
        note(name + "sign(bytes)" + with, [&] {
            signature = signer->sign(message, engine);
            return isRandom ? ByteArray() : signature;
        });
        note(name + "sign(stream)" + with, [&] {
            std::istringstream input(text(message));
            auto const second = signer->sign(input, engine);
            return isRandom ? ByteArray() : second;
        });
        note(name + "verify(bytes)" + with, [&] { return verifier->verify(message, signature, engine).isValid(); });
        note(name + "verify(stream)" + with, [&] {
            std::istringstream input(text(message));
            return verifier->verify(input, signature, engine).isValid();
        });
        if (!signature.empty()) {
            signature.at(random_.below(signature.size())) ^= 16U;
        }
        note(name + "verify(bytes) of another" + with,
             [&] { return verifier->verify(message, signature, engine).isValid(); });
    }
}

template <unsigned long N> void Host::useRSA(RSA<N> const& family) {
    std::string const size = std::to_string(N);
    std::string const file = "rsa" + size;
    make("generateRSA" + size + "KeyPair", family.generate, nullptr);
    if (N == 1024) {
        auto const pair = make("generateRSA" + size + "KeyPair", family.generate, std::make_shared<HostPRNG>(1));
        note("IRSAKeyPair", [&] { return pair->getPublicKey()->getModulus() == pair->getPrivateKey()->getModulus(); });
    }

    auto const key =
        make("createRSA" + size + "PrivateKey(bytes)", family.privateFromBytes, readKey(file + "-private.der"));
    auto const open =
        make("createRSA" + size + "PublicKey(bytes)", family.publicFromBytes, readKey(file + "-public.pem"));
    useKey<N>("", key);
    useKey<N>("", open);
    for (std::string const& other :
         {file + "-traditional.pem", file + "-encrypted.pem", std::string("rsa3072-private.pem"),
          std::string("p256-private.pem"), std::string("none")}) {
        useKey<N>(other + ": ",
                  make("createRSA" + size + "PrivateKey(bytes)", family.privateFromBytes, readKey(other)));
    }
    for (std::string const& other : {file + "-traditional-public.der", std::string("rsa3072-public.pem"),
                                     std::string("ed25519-public.pem"), std::string("none")}) {
        useKey<N>(other + ": ", make("createRSA" + size + "PublicKey(bytes)", family.publicFromBytes, readKey(other)));
        std::istringstream input(text(readKey(other)));
        useKey<N>(other + ", a stream: ",
                  make("createRSA" + size + "PublicKey(stream)", family.publicFromStream, input));
    }
    for (std::string const password : {"password", "another"}) {
        std::istringstream input(text(readKey(file + "-encrypted.pem")));
        useKey<N>("encrypted: ",
                  make("createRSA" + size + "PrivateKey(stream)", family.privateFromStream, input, password));
    }
    make("createRSA" + size + "PrivateKey(bytes)", family.privateFromBytes, random_.message());
    useKey<N>("numbers: ", make("createRSA" + size + "PrivateKey(numbers)", family.privateFromNumbers,
                                key->getModulus(), key->getPrivateExponent(), open->getPublicExponent()));
    useKey<N>("numbers: ", make("createRSA" + size + "PublicKey(numbers)", family.publicFromNumbers, key->getModulus(),
                                open->getPublicExponent()));
    make("createRSA" + size + "PublicKey(numbers)", family.publicFromNumbers, random_.drawBytes(30), ByteArray());

    auto const prng = std::make_shared<HostPRNG>(random_.below(99));
    for (int number = 0; number <= 5; ++number) { // the last one is none
        auto const padding = static_cast<RSAPaddingMode>(number);
        std::string const name = size + " bits, padding " + std::to_string(number) + ": ";
        auto const encryptor = make("createRSA" + size + "Encryptor", family.encryptor, open, padding, prng);
        auto const decryptor = make("createRSA" + size + "Decryptor", family.decryptor, key, padding, prng);
        useEncryption(name, encryptor, decryptor);
        auto const signer = make("createRSA" + size + "Signer", family.signer, key, padding, prng);
        auto const verifier = make("createRSA" + size + "Verifier", family.verifier, open, padding, prng);
        useSignatures(name, signer, verifier, padding != RSAPaddingMode::PKCS1_V1_5);
    }
    make("createRSA" + size + "Signer", family.signer, nullptr, RSAPaddingMode::PSS, prng);
}

// Elliptic curves

template <EllipticCurve C> struct Host::ECC {
    using Private = ECCPrivateKeyPtr<C>;
    using Public = ECCPublicKeyPtr<C>;
    std::string curve;
    std::string file;
    ECCKeyPairPtr<C> (ICryptoProvider::*generate)() const;
    Private (ICryptoProvider::*privateFromBytes)(ByteArray const&) const;
    Private (ICryptoProvider::*privateFromInteger)(ByteArray const&) const;
    Private (ICryptoProvider::*privateFromStream)(std::istream&, std::string const&) const;
    Public (ICryptoProvider::*publicFromBytes)(ByteArray const&) const;
    Public (ICryptoProvider::*publicFromPoint)(ByteArray const&) const;
    Public (ICryptoProvider::*publicFromStream)(std::istream&) const;
    ECCSignerPtr (ICryptoProvider::*signer)(Private) const;
    ECCVerifierPtr (ICryptoProvider::*verifier)(Public) const;
};

template <EllipticCurve C> void Host::useECC(ECC<C> const& family) {
    auto const useKeys = [&](std::string const& name, ECCPrivateKeyPtr<C> const& key, ECCPublicKeyPtr<C> const& open) {
        if (key != nullptr) {
            note(family.curve + name + " IECCPrivateKey::getPEM", [&] { return key->getPEM(); });
            note(family.curve + name + " IECCPrivateKey::getPrivateInteger", [&] { return key->getPrivateInteger(); });
        }
        if (open != nullptr) {
            note(family.curve + name + " IECCPublicKey::getPEM", [&] { return open->getPEM(); });
            note(family.curve + name + " IECCPublicKey::getPublicPoint", [&] { return open->getPublicPoint(); });
        }
    };
    auto const named = [&](std::string const& name) { return "createECC" + family.curve + name; };
    note("name of the curve", [] { return utils::getName(C); });
    auto const pair = make("generateECC" + family.curve + "KeyPair", family.generate);
    note("IECCKeyPair", [&] { return pair->getPrivateKey() != nullptr && pair->getPublicKey() != nullptr; });
    useSignatures(family.curve + " generated: ", (*provider_.*family.signer)(pair->getPrivateKey()),
                  (*provider_.*family.verifier)(pair->getPublicKey()), true);

    auto const key = make(named("PrivateKey(bytes)"), family.privateFromBytes, readKey(family.file + "-private.pem"));
    auto const open = make(named("PublicKey(bytes)"), family.publicFromBytes, readKey(family.file + "-public.pem"));
    useKeys("", key, open);
    auto const useNumbers = [&](std::string const& name, ByteArray const& integer, ByteArray const& point) {
        auto const made = make(named("PrivateKeyFromInteger"), family.privateFromInteger, integer);
        useKeys(name, made, make(named("PublicKeyFromPoint"), family.publicFromPoint, point));
    };
    useNumbers(" from an integer", key->getPrivateInteger(), open->getPublicPoint());
    auto const integer = random_.drawBytes(32);
    useNumbers(" from a drawn integer", integer, random_.drawBytes(random_.below(70)));
    for (std::string const other : {"ed25519", "p256", "rsa1024"}) {
        std::istringstream privateInput(text(readKey(other + "-private.pem")));
        std::istringstream publicInput(text(readKey(other + "-public.pem")));
        auto const read = make(named("PrivateKey(stream)"), family.privateFromStream, privateInput, "password");
        useKeys(" from " + other, read, make(named("PublicKey(stream)"), family.publicFromStream, publicInput));
    }
    make(named("PrivateKey(bytes)"), family.privateFromBytes, random_.message());
    make(named("PublicKey(bytes)"), family.publicFromBytes, random_.message());
    auto const signer = make(named("Signer"), family.signer, key);
    useSignatures(family.curve + ": ", signer, make(named("Verifier"), family.verifier, open),
                  C == EllipticCurve::P256);
}

// Keys in a module, and what kind a key is

void Host::useModule() {
    HSMObject const object("module", "pkcs11:object=none");
    note("HSMObject::getModulePath", [&] { return object.getModulePath(); });
    note("HSMObject::getURI", [&] { return object.getURI(); });
    auto const signer =
        make("createHSMSigner", &ICryptoProvider::createHSMSigner, object, RSAPaddingMode::PKCS1_V1_5, nullptr);
    auto const refused = [](auto call) { // in words that depend on what is installed
        try {
            call();
            return false;
        } catch (utils::InternalException const&) {
            return true;
        }
    };
    auto const engine = provider_->createSHA256DigestEngine();
    std::istringstream input("a message");
    note("IHSMSigner::sign(bytes) refused", [&] { return refused([&] { signer->sign(bytes("a message"), engine); }); });
    note("IHSMSigner::sign(stream) refused", [&] { return refused([&] { signer->sign(input, engine); }); });
    note("IHSMSigner::getKeySize refused", [&] { return refused([&] { signer->getKeySize(); }); });
}

void Host::useQueries() {
    for (std::string const name :
         {"rsa1024-private.pem", "rsa2048-private.der", "rsa4096-encrypted.pem", "rsa3072-private.pem",
          "p256-private.pem", "rsa2048-public.pem", "rsa4096-public.der", "none"}) {
        auto const key = readKey(name);
        std::istringstream input(text(key));
        make("getPrivateKeySignatureMethod(stream)",
             static_cast<KeySignatureMethod (ICryptoProvider::*)(std::istream&, std::string const&) const>(
                 &ICryptoProvider::getPrivateKeySignatureMethod),
             input, "password");
        make("getPrivateKeySignatureMethod(bytes)",
             static_cast<KeySignatureMethod (ICryptoProvider::*)(ByteArray const&, std::string const&) const>(
                 &ICryptoProvider::getPrivateKeySignatureMethod),
             key, "password");
        std::istringstream again(text(key));
        make("getPublicKeySignatureMethod(stream)",
             static_cast<KeySignatureMethod (ICryptoProvider::*)(std::istream&) const>(
                 &ICryptoProvider::getPublicKeySignatureMethod),
             again);
        make("getPublicKeySignatureMethod(bytes)",
             static_cast<KeySignatureMethod (ICryptoProvider::*)(ByteArray const&) const>(
                 &ICryptoProvider::getPublicKeySignatureMethod),
             key);
    }
}

// The shared words

template <class Algorithm> void Host::useDescriptor() {
    note("descriptor", [] { return Algorithm::getDigestName() + " " + std::to_string(Algorithm::getDigestSize()); });
    if constexpr (!std::is_same_v<Algorithm, utils::Blake2bDigestAlgorithm>) {
        note("descriptor", [] { return Algorithm::getDigestNameForEVP_MD(); });
    }
}

void Host::useVocabulary() {
    useDescriptor<utils::MD5DigestAlgorithm>();
    useDescriptor<utils::SHA1DigestAlgorithm>();
    useDescriptor<utils::SHA224DigestAlgorithm>();
    useDescriptor<utils::SHA256DigestAlgorithm>();
    useDescriptor<utils::SHA384DigestAlgorithm>();
    useDescriptor<utils::SHA512DigestAlgorithm>();
    useDescriptor<utils::HMACSHA1DigestAlgorithm>();
    useDescriptor<utils::HMACSHA256DigestAlgorithm>();
    useDescriptor<utils::HMACSHA512DigestAlgorithm>();
    useDescriptor<utils::Blake2bDigestAlgorithm>();
    auto const valid = utils::makeValidSignatureVerificationStatus();
    auto const invalid = utils::makeInvalidSignatureVerificationStatus();
    note("statuses",
         [&] { return valid && !invalid && valid != invalid && valid == valid && invalid.isValid() == false; });
    note("HSMObject, copied and moved", [] {
        HSMObject object("module", "uri");
        HSMObject copy = object;
        HSMObject const moved = std::move(object);
        copy = HSMObject(moved.getURI(), moved.getModulePath());
        return copy.getModulePath() + " " + copy.getURI() + " " + moved.getURI();
    });
    // Each exception is made, thrown and caught by the host, as by the library.
    note("exception", []() -> bool { throw utils::Exception("text"); });
    note("exception", []() -> bool { throw utils::InternalException("text"); });
    note("exception", []() -> bool { throw utils::InvalidArgument("text"); });
    note("exception", []() -> bool { throw utils::InvalidKey("text"); });
    note("exception", []() -> bool { throw utils::InvalidKeyEncoding("text"); });
    note("exception", []() -> bool { throw utils::KeyAndCurveMismatch("text"); });
    note("exception", []() -> bool { throw utils::NotImplemented("text"); });
    note("exception", []() -> bool { throw utils::UnsupportedDigestAlgorithm("text"); });
}

void Host::useEverything() {
    useVocabulary();
    useGenerator();
    useDigests();
    useDerivation();
#define ZRFL_AES(N)                                                                                                    \
    useAES<N>({&ICryptoProvider::createAES##N##Key, &ICryptoProvider::createAES##N##Encryptor,                         \
               &ICryptoProvider::createAES##N##Decryptor})
    ZRFL_AES(128);
    ZRFL_AES(192);
    ZRFL_AES(256);
#define ZRFL_RSA(N)                                                                                                    \
    useRSA<N>({&ICryptoProvider::generateRSA##N##KeyPair, &ICryptoProvider::createRSA##N##PrivateKey,                  \
               &ICryptoProvider::createRSA##N##PrivateKey, &ICryptoProvider::createRSA##N##PrivateKey,                 \
               &ICryptoProvider::createRSA##N##PublicKey, &ICryptoProvider::createRSA##N##PublicKey,                   \
               &ICryptoProvider::createRSA##N##PublicKey, &ICryptoProvider::createRSA##N##Encryptor,                   \
               &ICryptoProvider::createRSA##N##Decryptor, &ICryptoProvider::createRSA##N##Signer,                      \
               &ICryptoProvider::createRSA##N##Verifier})
    ZRFL_RSA(1024);
    ZRFL_RSA(2048);
    ZRFL_RSA(4096);
#define ZRFL_ECC(Curve, file)                                                                                          \
    useECC<EllipticCurve::Curve>(                                                                                      \
        {#Curve, file, &ICryptoProvider::generateECC##Curve##KeyPair, &ICryptoProvider::createECC##Curve##PrivateKey,  \
         &ICryptoProvider::createECC##Curve##PrivateKeyFromInteger, &ICryptoProvider::createECC##Curve##PrivateKey,    \
         &ICryptoProvider::createECC##Curve##PublicKey, &ICryptoProvider::createECC##Curve##PublicKeyFromPoint,        \
         &ICryptoProvider::createECC##Curve##PublicKey, &ICryptoProvider::createECC##Curve##Signer,                    \
         &ICryptoProvider::createECC##Curve##Verifier})
    ZRFL_ECC(P256, "p256");
    ZRFL_ECC(Curve25519, "ed25519");
    useModule();
    useQueries();
}

} // namespace

void useEverything(char const* keys, unsigned long seed, std::ostream& output) {
    Host(keys, seed, output).useEverything();
}
