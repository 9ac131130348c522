// What the host of Host.cpp does with the keys of RSA and of elliptic curves.
#include "HostUses.h"

#include <memory>
#include <sstream>
#include <string>

namespace host {

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

void Host::useKeys() {
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

} // namespace host
