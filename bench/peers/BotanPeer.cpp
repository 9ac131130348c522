// Botan at its best: objects that stay and keep their keys, results in place where it has no other way.
#include "AESCases.h"
#include "Case.h"
#include "LargeFiles.h"
#include "PBKDF2Case.h"
#include "RSAKeys.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <botan/aead.h>
#include <botan/auto_rng.h>
#include <botan/cipher_mode.h>
#include <botan/data_src.h>
#include <botan/ec_group.h>
#include <botan/ecdsa.h>
#include <botan/ed25519.h>
#include <botan/hash.h>
#include <botan/mac.h>
#include <botan/pkcs8.h>
#include <botan/pubkey.h>
#include <botan/pwdhash.h>
#include <botan/rsa.h>
#include <botan/stream_cipher.h>
#include <botan/version.h>
#include <botan/x509_key.h>

#include <fcntl.h>
#include <memory>
#include <string>
#include <unistd.h>

#if BOTAN_VERSION_MAJOR >= 3
#pragma GCC diagnostic ignored "-Wdeprecated-declarations" // the names that both versions know
#endif

namespace {

using namespace bench;
using foundation::crypto::openssl::CryptoProvider;

constexpr char const* way = "Botan";

using Generator = std::shared_ptr<Botan::AutoSeeded_RNG>;

Generator newGenerator() {
    return std::make_shared<Botan::AutoSeeded_RNG>();
}

template <class Object> std::shared_ptr<Object> kept(std::unique_ptr<Object> made) {
    return made;
}

// Digests and MACs. Both take and give in the same way.

template <class Create> void addHashing(std::string const& name, Create create) {
    for (std::size_t const size : messageSizes) {
        add(name + std::to_string(size) + "/", way, size, [=] {
            return [engine = create(), message = ByteArray(size)] {
                std::array<unsigned char, 64> result;
                engine->update(message.data(), message.size());
                engine->final(result.data());
                benchmark::DoNotOptimize(result);
            };
        });
    }
}

void addDigest(std::string const& name, std::string const& algorithm) {
    addHashing(name, [=] { return kept(Botan::HashFunction::create_or_throw(algorithm)); });
}

std::shared_ptr<Botan::MessageAuthenticationCode> startMAC(std::string const& algorithm) {
    auto mac = kept(Botan::MessageAuthenticationCode::create_or_throw(algorithm));
    mac->set_key(ByteArray(32, 'k').data(), 32);
    return mac;
}

void addMAC(std::string const& name, std::string const& algorithm) {
    if (Botan::MessageAuthenticationCode::create(algorithm) != nullptr) { // version 2 has no keyed BLAKE2b
        addHashing(name, [=] { return startMAC(algorithm); });
    }
}

void addDigests() {
    addDigest("MD5 buffer/", "MD5");
    addDigest("SHA1 buffer/", "SHA-1");
    addDigest("SHA224 buffer/", "SHA-224");
    addDigest("SHA256 buffer/", "SHA-256");
    addDigest("SHA384 buffer/", "SHA-384");
    addDigest("SHA512 buffer/", "SHA-512");
    addDigest("BLAKE2b buffer/", "BLAKE2b(256)");
    addMAC("BLAKE2b keyed buffer/", "BLAKE2b(256)");
    addMAC("HMAC-SHA1 buffer/", "HMAC(SHA-1)");
    addMAC("HMAC-SHA256 buffer/", "HMAC(SHA-256)");
    addMAC("HMAC-SHA512 buffer/", "HMAC(SHA-512)");
    add("SHA256 creation and one message/64/", way, 64, [] {
        return [message = ByteArray(64)] {
            std::array<unsigned char, 32> result;
            auto const engine = Botan::HashFunction::create_or_throw("SHA-256");
            engine->update(message.data(), message.size());
            engine->final(result.data());
            benchmark::DoNotOptimize(result);
        };
    });
}

// AES

std::shared_ptr<Botan::StreamCipher> startStreamCipher(AESCase const& mode) {
    std::string const cipher = "AES-" + std::to_string(mode.bits);
    auto stream = kept(Botan::StreamCipher::create_or_throw(
        mode.mode == AESCase::AESMode::CTR ? "CTR-BE(" + cipher + ")" : "OFB(" + cipher + ")"));
    stream->set_key(mode.key.data(), mode.key.size());
    return stream;
}

std::shared_ptr<Botan::Cipher_Mode> startMode(AESCase const& mode, bool encrypts) {
    std::string const suffix = mode.mode == AESCase::AESMode::CBC ? "/PKCS7" : "";
    auto cipher = kept(
        Botan::Cipher_Mode::create_or_throw("AES-" + std::to_string(mode.bits) + "/" + mode.modeName + suffix,
                                            encrypts ? Botan::Cipher_Dir::ENCRYPTION : Botan::Cipher_Dir::DECRYPTION));
    cipher->set_key(mode.key.data(), mode.key.size());
    return cipher;
}

void addTransform(AESCase const& mode, bool encrypts, std::size_t size) {
    std::string const name = mode.name() + (encrypts ? " encrypt/" : " decrypt/") + std::to_string(size) + "/";
    auto const makeInput = [=] { return encrypts ? ByteArray(size) : mode.makeEncryptor()->encrypt(ByteArray(size)); };
    if (mode.mode == AESCase::AESMode::CTR || mode.mode == AESCase::AESMode::OFB) {
        add(name, way, size, [=] {
            return [cipher = startStreamCipher(mode), vector = mode.vector, input = makeInput(),
                    output = ByteArray(size)]() mutable {
                cipher->set_iv(vector.data(), vector.size());
                cipher->cipher(input.data(), output.data(), input.size());
                benchmark::DoNotOptimize(output.data());
            };
        });
        return;
    }
    add(name, way, size, [=] { // in place: the message is copied to where it is transformed
        return [cipher = startMode(mode, encrypts), vector = mode.vector, input = makeInput(),
                buffer = Botan::secure_vector<unsigned char>()]() mutable {
            buffer.assign(input.begin(), input.end());
            cipher->start(vector.data(), vector.size());
            cipher->finish(buffer);
            benchmark::DoNotOptimize(buffer.data());
        };
    });
}

void addAES() {
    for (AESCase const& mode : aesCases()) {
        for (std::size_t const size : messageSizes) {
            addTransform(mode, true, size);
            addTransform(mode, false, size);
        }
    }
}

// Random bytes and derived keys

void addRandomBytes() {
    for (std::size_t const size : messageSizes) {
        add("random bytes/" + std::to_string(size) + "/", way, size, [=] {
            return [generator = newGenerator(), drawn = ByteArray(size)]() mutable {
                generator->randomize(drawn.data(), drawn.size());
                benchmark::DoNotOptimize(drawn.data());
            };
        });
    }
}

void addDerivation() {
    for (int const iterations : iterationCounts) {
        add(derivationName(iterations), way, 0, [=] {
            return [hash = kept(Botan::PasswordHashFamily::create_or_throw("PBKDF2(SHA-512)")
                                    ->from_params(static_cast<std::size_t>(iterations)))] {
                std::array<unsigned char, derivedSize> key;
                hash->derive_key(key.data(), key.size(), password.data(), password.size(),
                                 reinterpret_cast<unsigned char const*>(salt.data()), salt.size());
                benchmark::DoNotOptimize(key);
            };
        });
    }
}

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

// Whole files, as a host would write the loop

void addFileTransform(AESCase const& mode, bool encrypts, FileSize const& size) {
    std::string const name = mode.name() + (encrypts ? " encrypt file/" : " decrypt file/") + size.name + "/";
    add(name, way, size.bytes, [=] {
        Files const& files = filesOf(size.bytes);
        if (!encrypts) {
            std::ifstream input(files.input(), std::ios::binary);
            std::ofstream output(files.encrypted(), std::ios::binary);
            mode.makeEncryptor()->encrypt(input, output);
        }
        return
            [=, &files, cipher = startMode(mode, encrypts), piece = Botan::secure_vector<unsigned char>()]() mutable {
                Descriptor const output(files.output(), O_WRONLY | O_CREAT | O_TRUNC);
                auto const writeOut = [&] {
                    mustSucceed(write(output.get(), piece.data(), piece.size()) == static_cast<ssize_t>(piece.size()));
                };
                cipher->start(mode.vector.data(), mode.vector.size());
                std::size_t left = std::filesystem::file_size(encrypts ? files.input() : files.encrypted());
                readPieces(encrypts ? files.input() : files.encrypted(), [&](unsigned char const* data, int count) {
                    piece.assign(data, data + count);
                    left -= piece.size();
                    if (left == 0) {
                        cipher->finish(piece);
                    } else {
                        cipher->update(piece);
                    }
                    writeOut();
                });
            };
    });
}

void addFiles() {
    AESCase const& ctr = aesCases()[8];
    AESCase const& gcm = aesCases()[9];
    for (FileSize const& size : fileSizes) {
        addFileTransform(gcm, true, size);
        addFileTransform(gcm, false, size);
        addFileTransform(ctr, true, size);
    }
    addFileSignature("RSA-2048 PSS", {privateDER<encodedRSA2048>, publicDER<encodedRSA2048>, "EMSA4(SHA-256,MGF1,32)"});
    addFileSignature("P-256", p256);
    addFileSignature("Ed25519", ed25519);
}

// Objects

template <class Prepare> void addObject(std::string const& object, Prepare prepare) {
    add("object: " + object + "/", way, 0, [=] { return [make = prepare()] { benchmark::DoNotOptimize(make()); }; });
}

template <class Operation> void addKeyObject(std::string const& object, Operation make) {
    addObject(object, [=] {
        return [=, generator = newGenerator(), key = readPrivate(encodedRSA2048().privateDER)] {
            return make(*key, *generator);
        };
    });
}

void addObjects() {
    addObject("random generator", [] { return [] { return std::make_unique<Botan::AutoSeeded_RNG>(); }; });
    addObject("SHA256 engine", [] { return [] { return Botan::HashFunction::create_or_throw("SHA-256"); }; });
    addObject("HMAC-SHA256 engine", [] { return [] { return startMAC("HMAC(SHA-256)"); }; });
    addObject("BLAKE2b engine", [] { return [] { return Botan::HashFunction::create_or_throw("BLAKE2b(512)"); }; });
    addObject("AES-256 GCM encryptor", [] { return [] { return startMode(aesCases()[9], true); }; });
    addObject("AES-256 GCM decryptor", [] { return [] { return startMode(aesCases()[9], false); }; });
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
    peers()[way] = Botan::short_version_string();
    addDigests();
    addAES();
    addRandomBytes();
    addDerivation();
    addKeys();
    addFiles();
    addObjects();
}

[[maybe_unused]] bool const registered = [] {
    peerCases().emplace_back(addAll);
    return true;
}();

} // namespace
