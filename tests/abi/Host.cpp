// A host that uses every operation of every interface, and writes down what it got: a line for each call, the same
// whenever and wherever it runs. Compiled against the headers of 1.0 it is kept in earlier_host/; compiled today it
// runs beside that one (RunHost.cpp). It knows nothing but the public headers, and calls the provider's
// operations by their positions in the table of virtual functions, which is what a pointer to a member names.
#include "Host.h"

#include "HostUses.h"

#include <exception>
#include <functional>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>

namespace host {

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
    useKeys();
}

} // namespace host

void useEverything(char const* keys, unsigned long seed, std::ostream& output) {
    host::Host(keys, seed, output).useEverything();
}
