#include "Botan.h"
#include "Case.h"
#include "LargeFiles.h"
#include "RSAKeys.h"

#include <botan/data_src.h>
#include <botan/ec_group.h>
#include <botan/ecdsa.h>
#include <botan/ed25519.h>
#include <botan/pkcs8.h>
#include <botan/pubkey.h>
#include <botan/rsa.h>
#include <botan/version.h>
#include <botan/x509_key.h>

#include <memory>
#include <string>

#if BOTAN_VERSION_MAJOR >= 3
#pragma GCC diagnostic ignored "-Wdeprecated-declarations" // the names that both versions know
#endif

namespace {

using namespace bench;
using namespace bench::botan;

// Keys and signatures

using PrivateKey = std::shared_ptr<Botan::Private_Key>;
using PublicKey = std::shared_ptr<Botan::Public_Key>;

PrivateKey readPrivate(ByteArray const& encoded) {
    Botan::DataSource_Memory source(encoded.data(), encoded.size());
    return PrivateKey(Botan::PKCS8::load_key(source));
}

PublicKey readPublic(ByteArray const& encoded) {
    Botan::DataSource_Memory source(encoded.data(), encoded.size());
    return PublicKey(Botan::X509::load_key(source));
}

void addReading(std::string const& name, bool isPrivate, ByteArray (*encode)()) {
    add(name, way, 0, [=] {
        return [=, encoded = encode()] {
            if (isPrivate) {
                benchmark::DoNotOptimize(readPrivate(encoded));
            } else {
                benchmark::DoNotOptimize(readPublic(encoded));
            }
        };
    });
}

template <class Generate> void addGeneration(std::string const& name, Generate generate) {
    add(name + " key pair generated/", way, 0,
        [=] { return [=, generator = newGenerator()] { benchmark::DoNotOptimize(generate(*generator)); }; });
}

/// What signs and checks with one kind of key.
struct Kind {
    ByteArray (*privateKey)();
    ByteArray (*publicKey)();
    char const* padding;
    Botan::Signature_Format format = Botan::Signature_Format::IEEE_1363;
};

/// With the key that it refers to.
struct Signer {
    Generator generator = newGenerator();
    PrivateKey key;
    Botan::PK_Signer signer;

    explicit Signer(Kind const& kind)
        : key(readPrivate(kind.privateKey())), signer(*key, *generator, kind.padding, kind.format) {}
};

struct Verifier {
    PublicKey key;
    Botan::PK_Verifier verifier;

    explicit Verifier(Kind const& kind)
        : key(readPublic(kind.publicKey())), verifier(*key, kind.padding, kind.format) {}
};

void addSignature(std::string const& signing, std::string const& verifying, std::size_t size, Kind const& kind) {
    add(signing, way, 0, [=] {
        return [own = std::make_shared<Signer>(kind), message = ByteArray(size, 'm')] {
            benchmark::DoNotOptimize(own->signer.sign_message(message.data(), message.size(), *own->generator));
        };
    });
    add(verifying, way, 0, [=] {
        ByteArray const message(size, 'm');
        Signer own(kind);
        return [message, verifying = std::make_shared<Verifier>(kind),
                signature = own.signer.sign_message(message.data(), message.size(), *own.generator)] {
            mustSucceed(
                verifying->verifier.verify_message(message.data(), message.size(), signature.data(), signature.size()));
        };
    });
}

void addFileSignature(std::string const& name, Kind const& kind) {
    for (FileSize const& size : fileSizes) {
        add(name + " sign file/" + size.name + "/", way, size.bytes, [=] {
            return [own = std::make_shared<Signer>(kind), &files = filesOf(size.bytes)] {
                readPieces(files.input(), [&](unsigned char const* data, int count) {
                    own->signer.update(data, static_cast<std::size_t>(count));
                });
                benchmark::DoNotOptimize(own->signer.signature(*own->generator));
            };
        });
        add(name + " verify file/" + size.name + "/", way, size.bytes, [=] {
            Files const& files = filesOf(size.bytes);
            Signer own(kind);
            readPieces(files.input(), [&](unsigned char const* data, int count) {
                own.signer.update(data, static_cast<std::size_t>(count));
            });
            return [&files, verifying = std::make_shared<Verifier>(kind),
                    signature = own.signer.signature(*own.generator)] {
                readPieces(files.input(), [&](unsigned char const* data, int count) {
                    verifying->verifier.update(data, static_cast<std::size_t>(count));
                });
                mustSucceed(verifying->verifier.check_signature(signature.data(), signature.size()));
            };
        });
    }
}

/// What encrypts or decrypts, with the generator and the key that it refers to.
template <class Operation> struct Blocks {
    Generator generator = newGenerator();
    PrivateKey key;
    Operation operation;

    Blocks(ByteArray const& encodedKey, char const* padding)
        : key(readPrivate(encodedKey)), operation(*key, *generator, padding) {}
};

void addBlocks(std::string const& size, ByteArray (*privateKey)()) {
    using Encryption = Blocks<Botan::PK_Encryptor_EME>;
    using Decryption = Blocks<Botan::PK_Decryptor_EME>;
    for (auto const& [suffix, padding] : {std::pair("OAEP/", "OAEP(SHA-256)"), std::pair("PKCS1/", "PKCS1v15")}) {
        add("RSA-" + size + " encrypt block " + suffix, way, 0, [=, padding = padding] {
            return [own = std::make_shared<Encryption>(privateKey(), padding), message = ByteArray(32, 'k')] {
                benchmark::DoNotOptimize(own->operation.encrypt(message.data(), message.size(), *own->generator));
            };
        });
        add("RSA-" + size + " decrypt block " + suffix, way, 0, [=, padding = padding] {
            Encryption const encryption(privateKey(), padding);
            ByteArray const message(32, 'k');
            return [own = std::make_shared<Decryption>(privateKey(), padding),
                    block = encryption.operation.encrypt(message.data(), message.size(), *encryption.generator)] {
                benchmark::DoNotOptimize(own->operation.decrypt(block.data(), block.size()));
            };
        });
    }
}

Botan::EC_Group p256Group() {
#if BOTAN_VERSION_MAJOR >= 3
    return Botan::EC_Group::from_name("secp256r1");
#else
    return Botan::EC_Group("secp256r1");
#endif
}

ByteArray toBytes(std::string const& text) {
    return {text.begin(), text.end()};
}

ByteArray p256PrivatePEM() {
    static std::string const pem = [] {
        auto const generator = newGenerator();
        return Botan::PKCS8::PEM_encode(Botan::ECDSA_PrivateKey(*generator, p256Group()));
    }();
    return toBytes(pem);
}

ByteArray ed25519PrivatePEM() {
    static std::string const pem = [] {
        auto const generator = newGenerator();
        return Botan::PKCS8::PEM_encode(Botan::Ed25519_PrivateKey(*generator));
    }();
    return toBytes(pem);
}

template <ByteArray (*privatePEM)()> ByteArray publicPEM() {
    return toBytes(Botan::X509::PEM_encode(*readPrivate(privatePEM())));
}

template <EncodedKeys const& (*keys)()> ByteArray privateDER() {
    return keys().privateDER;
}

template <EncodedKeys const& (*keys)()> ByteArray publicDER() {
    return keys().publicDER;
}

template <EncodedKeys const& (*keys)()> ByteArray privateRSAPEM() {
    return toBytes(Botan::PKCS8::PEM_encode(*readPrivate(keys().privateDER)));
}

template <EncodedKeys const& (*keys)()> ByteArray publicRSAPEM() {
    return toBytes(Botan::X509::PEM_encode(*readPublic(keys().publicDER)));
}

template <EncodedKeys const& (*keys)()> void addRSA(std::string const& bits) {
    std::string const name = "RSA-" + bits;
    addGeneration(name, [=](Botan::RandomNumberGenerator& generator) {
        return Botan::RSA_PrivateKey(generator, std::stoul(bits));
    });
    addReading(name + " private key from PEM/", true, privateRSAPEM<keys>);
    addReading(name + " private key from PKCS #8 DER/", true, privateDER<keys>);
    addReading(name + " public key from PEM/", false, publicRSAPEM<keys>);
    addReading(name + " public key from DER/", false, publicDER<keys>);
    Kind const pss{privateDER<keys>, publicDER<keys>, "EMSA4(SHA-256,MGF1,32)"};
    Kind const pkcs1{privateDER<keys>, publicDER<keys>, "EMSA3(SHA-256)"};
    addSignature(name + " sign PSS/", name + " verify PSS/", 1024, pss);
    addSignature(name + " sign PKCS1/", name + " verify PKCS1/", 1024, pkcs1);
    addBlocks(bits, privateDER<keys>);
}

void addCurve(std::string const& name, Kind const& kind) {
    addReading(name + " private key from PEM/", true, kind.privateKey);
    addReading(name + " public key from PEM/", false, kind.publicKey);
    addSignature(name + " sign/64/", name + " verify/64/", 64, kind);
    addSignature(name + " sign/64 KiB/", name + " verify/64 KiB/", 65536, kind);
}

Kind const p256{p256PrivatePEM, publicPEM<p256PrivatePEM>, "EMSA1(SHA-256)", Botan::Signature_Format::DER_SEQUENCE};
Kind const ed25519{ed25519PrivatePEM, publicPEM<ed25519PrivatePEM>, "Pure"};

void addKeys() {
    addRSA<encodedRSA2048>("2048");
    addRSA<encodedRSA4096>("4096");
    addGeneration("P-256", [](Botan::RandomNumberGenerator& generator) {
        return Botan::ECDSA_PrivateKey(generator, p256Group());
    });
    addCurve("P-256", p256);
    addGeneration("Ed25519",
                  [](Botan::RandomNumberGenerator& generator) { return Botan::Ed25519_PrivateKey(generator); });
    addCurve("Ed25519", ed25519);
}

template <class Operation> void addKeyObject(std::string const& object, Operation make) {
    addObject(object, [=] {
        return [=, generator = newGenerator(), key = readPrivate(encodedRSA2048().privateDER)] {
            return make(*key, *generator);
        };
    });
}

void addKeyObjects() {
    using Botan::Private_Key;
    using Botan::RandomNumberGenerator;
    addKeyObject("RSA-2048 signer", [](Private_Key const& key, RandomNumberGenerator& generator) {
        return Botan::PK_Signer(key, generator, "EMSA4(SHA-256,MGF1,32)");
    });
    addKeyObject("RSA-2048 verifier", [](Private_Key const& key, RandomNumberGenerator&) {
        return Botan::PK_Verifier(key, "EMSA4(SHA-256,MGF1,32)");
    });
    addKeyObject("RSA-2048 encryptor", [](Private_Key const& key, RandomNumberGenerator& generator) {
        return Botan::PK_Encryptor_EME(key, generator, "OAEP(SHA-256)");
    });
    addKeyObject("RSA-2048 decryptor", [](Private_Key const& key, RandomNumberGenerator& generator) {
        return Botan::PK_Decryptor_EME(key, generator, "OAEP(SHA-256)");
    });
    for (auto const& [name, kind] : {std::pair("P-256", p256), std::pair("Ed25519", ed25519)}) {
        addObject(std::string(name) + " signer", [kind = kind] {
            return [kind, generator = newGenerator(), key = readPrivate(kind.privateKey())] {
                return Botan::PK_Signer(*key, *generator, kind.padding, kind.format);
            };
        });
        addObject(std::string(name) + " verifier", [kind = kind] {
            return [kind, key = readPublic(kind.publicKey())] {
                return Botan::PK_Verifier(*key, kind.padding, kind.format);
            };
        });
    }
}

void addAll() {
    addKeys();
    addFileSignature("RSA-2048 PSS", {privateDER<encodedRSA2048>, publicDER<encodedRSA2048>, "EMSA4(SHA-256,MGF1,32)"});
    addFileSignature("P-256", p256);
    addFileSignature("Ed25519", ed25519);
    addKeyObjects();
}

[[maybe_unused]] bool const registered = [] {
    peerCases().emplace_back(addAll);
    return true;
}();

} // namespace
