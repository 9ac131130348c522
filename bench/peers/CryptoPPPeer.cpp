// Crypto++ at its best: objects that stay and keep their keys, elliptic curves with their tables made beforehand.
#include "AESCases.h"
#include "Case.h"
#include "LargeFiles.h"
#include "PBKDF2Case.h"
#include "RSAKeys.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#define CRYPTOPP_ENABLE_NAMESPACE_WEAK 1 // MD5
#include <cryptopp/aes.h>
#include <cryptopp/blake2.h>
#include <cryptopp/eccrypto.h>
#include <cryptopp/filters.h>
#include <cryptopp/gcm.h>
#include <cryptopp/hmac.h>
#include <cryptopp/md5.h>
#include <cryptopp/modes.h>
#include <cryptopp/oids.h>
#include <cryptopp/osrng.h>
#include <cryptopp/pssr.h>
#include <cryptopp/pwdbased.h>
#include <cryptopp/rsa.h>
#include <cryptopp/sha.h>
#include <cryptopp/xed25519.h>

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <memory>
#include <string>
#include <unistd.h>

namespace {

using namespace bench;

constexpr char const* way = "Crypto++";

using Generator = CryptoPP::AutoSeededRandomPool;

// Digests and MACs: both are hashes here.

template <class Create> void addHashing(std::string const& name, Create create) {
    for (std::size_t const size : messageSizes) {
        add(name + std::to_string(size) + "/", way, size, [=] {
            return [engine = create(), message = ByteArray(size)] {
                std::array<unsigned char, 64> result;
                engine->CalculateDigest(result.data(), message.data(), message.size());
                benchmark::DoNotOptimize(result);
            };
        });
    }
}

template <class Hash> void addDigest(std::string const& name) {
    addHashing(name, [] { return std::make_shared<Hash>(); });
}

template <class Hash> void addHMAC(std::string const& name) {
    addHashing(name, [] { return std::make_shared<CryptoPP::HMAC<Hash>>(ByteArray(32, 'k').data(), 32); });
}

void addDigests() {
    addDigest<CryptoPP::Weak::MD5>("MD5 buffer/");
    addDigest<CryptoPP::SHA1>("SHA1 buffer/");
    addDigest<CryptoPP::SHA224>("SHA224 buffer/");
    addDigest<CryptoPP::SHA256>("SHA256 buffer/");
    addDigest<CryptoPP::SHA384>("SHA384 buffer/");
    addDigest<CryptoPP::SHA512>("SHA512 buffer/");
    addHMAC<CryptoPP::SHA1>("HMAC-SHA1 buffer/");
    addHMAC<CryptoPP::SHA256>("HMAC-SHA256 buffer/");
    addHMAC<CryptoPP::SHA512>("HMAC-SHA512 buffer/");
    addHashing("BLAKE2b buffer/", [] { return std::make_shared<CryptoPP::BLAKE2b>(32U); });
    addHashing("BLAKE2b keyed buffer/", [] {
        ByteArray const key(32);
        return std::make_shared<CryptoPP::BLAKE2b>(key.data(), key.size(), nullptr, 0, nullptr, 0, false, 32);
    });
    add("SHA256 creation and one message/64/", way, 64, [] {
        return [message = ByteArray(64)] {
            std::array<unsigned char, 32> result;
            CryptoPP::SHA256().CalculateDigest(result.data(), message.data(), message.size());
            benchmark::DoNotOptimize(result);
        };
    });
}

// AES

template <class Cipher> std::shared_ptr<Cipher> startCipher(AESCase const& mode) {
    auto cipher = std::make_shared<Cipher>();
    cipher->SetKeyWithIV(mode.key.data(), mode.key.size(), mode.vector.data(), mode.vector.size());
    return cipher;
}

ByteArray encrypted(AESCase const& mode, std::size_t size) {
    return mode.makeEncryptor()->encrypt(ByteArray(size));
}

/// CBC has a block of padding behind the message, which is a multiple of the block here.
template <class Mode> void addStandard(AESCase const& mode, std::size_t size) {
    bool const pads = mode.mode == AESCase::AESMode::CBC;
    add(mode.name() + " encrypt/" + std::to_string(size) + "/", way, size, [=] {
        return [=, cipher = startCipher<typename Mode::Encryption>(mode), vector = mode.vector,
                message = ByteArray(size), output = ByteArray(size + 16)]() mutable {
            cipher->Resynchronize(vector.data(), 16);
            cipher->ProcessData(output.data(), message.data(), message.size());
            if (pads) {
                std::array<unsigned char, 16> padding;
                padding.fill(16);
                cipher->ProcessData(output.data() + message.size(), padding.data(), padding.size());
            }
            benchmark::DoNotOptimize(output.data());
        };
    });
    add(mode.name() + " decrypt/" + std::to_string(size) + "/", way, size, [=] {
        return [=, cipher = startCipher<typename Mode::Decryption>(mode), vector = mode.vector,
                input = encrypted(mode, size), output = ByteArray(size + 16)]() mutable {
            cipher->Resynchronize(vector.data(), 16);
            cipher->ProcessData(output.data(), input.data(), input.size());
            mustSucceed(!pads || output.back() == 16);
            benchmark::DoNotOptimize(output.data());
        };
    });
}

using GCM = CryptoPP::GCM<CryptoPP::AES>;

void addGCM(AESCase const& mode, std::size_t size) {
    add(mode.name() + " encrypt/" + std::to_string(size) + "/", way, size, [=] {
        return [cipher = startCipher<GCM::Encryption>(mode), vector = mode.vector, message = ByteArray(size),
                output = ByteArray(size + 16)]() mutable {
            cipher->EncryptAndAuthenticate(output.data(), output.data() + message.size(), 16, vector.data(), 12,
                                           nullptr, 0, message.data(), message.size());
            benchmark::DoNotOptimize(output.data());
        };
    });
    add(mode.name() + " decrypt/" + std::to_string(size) + "/", way, size, [=] {
        return [cipher = startCipher<GCM::Decryption>(mode), vector = mode.vector, input = encrypted(mode, size),
                output = ByteArray(size)]() mutable {
            mustSucceed(cipher->DecryptAndVerify(output.data(), input.data() + output.size(), 16, vector.data(), 12,
                                                 nullptr, 0, input.data(), output.size()));
            benchmark::DoNotOptimize(output.data());
        };
    });
}

void addAES() {
    for (AESCase const& mode : aesCases()) {
        for (std::size_t const size : messageSizes) {
            switch (mode.mode) {
            case AESCase::AESMode::CBC:
                addStandard<CryptoPP::CBC_Mode<CryptoPP::AES>>(mode, size);
                break;
            case AESCase::AESMode::CFB:
                addStandard<CryptoPP::CFB_Mode<CryptoPP::AES>>(mode, size);
                break;
            case AESCase::AESMode::OFB:
                addStandard<CryptoPP::OFB_Mode<CryptoPP::AES>>(mode, size);
                break;
            case AESCase::AESMode::CTR:
                addStandard<CryptoPP::CTR_Mode<CryptoPP::AES>>(mode, size);
                break;
            case AESCase::AESMode::GCM:
                addGCM(mode, size);
                break;
            }
        }
    }
}

// Random bytes and derived keys

void addRandomBytes() {
    for (std::size_t const size : messageSizes) {
        add("random bytes/" + std::to_string(size) + "/", way, size, [=] {
            return [generator = std::make_shared<Generator>(), drawn = ByteArray(size)]() mutable {
                generator->GenerateBlock(drawn.data(), drawn.size());
                benchmark::DoNotOptimize(drawn.data());
            };
        });
    }
}

void addDerivation() {
    for (int const iterations : iterationCounts) {
        add(derivationName(iterations), way, 0, [=] {
            return [=] {
                std::array<unsigned char, derivedSize> key;
                CryptoPP::PKCS5_PBKDF2_HMAC<CryptoPP::SHA512>().DeriveKey(
                    key.data(), key.size(), 0, reinterpret_cast<unsigned char const*>(password.data()), password.size(),
                    reinterpret_cast<unsigned char const*>(salt.data()), salt.size(),
                    static_cast<unsigned int>(iterations));
                benchmark::DoNotOptimize(key);
            };
        });
    }
}

// Keys and signatures

template <class Key> Key readDER(ByteArray const& encoded) {
    CryptoPP::ArraySource source(encoded.data(), encoded.size(), true);
    Key key;
    key.Load(source);
    return key;
}

/// A signer and the verifier of its signatures.
template <class Signing, class Verifying> struct Kind {
    using Signer = Signing;
    using Verifier = Verifying;
    std::shared_ptr<Signer> (*makeSigner)();
    std::shared_ptr<Verifier> (*makeVerifier)(Signer const&);
};

template <class Signer>
ByteArray signMessage(Signer const& signer, Generator& generator, unsigned char const* message, std::size_t size) {
    ByteArray signature(signer.SignatureLength());
    signature.resize(signer.SignMessage(generator, message, size, signature.data()));
    return signature;
}

template <class Kind>
void addSignature(std::string const& signing, std::string const& verifying, std::size_t size, Kind const& kind) {
    add(signing, way, 0, [=] {
        return [generator = std::make_shared<Generator>(), signer = kind.makeSigner(), message = ByteArray(size, 'm')] {
            benchmark::DoNotOptimize(signMessage(*signer, *generator, message.data(), message.size()));
        };
    });
    add(verifying, way, 0, [=] {
        auto const signer = kind.makeSigner();
        ByteArray const message(size, 'm');
        Generator generator;
        return [message, verifier = kind.makeVerifier(*signer),
                signature = signMessage(*signer, generator, message.data(), message.size())] {
            mustSucceed(verifier->VerifyMessage(message.data(), message.size(), signature.data(), signature.size()));
        };
    });
}

template <class Signer> ByteArray signFile(Signer const& signer, Generator& generator, std::string const& path) {
    std::unique_ptr<CryptoPP::PK_MessageAccumulator> message(signer.NewSignatureAccumulator(generator));
    readPieces(path,
               [&](unsigned char const* data, int count) { message->Update(data, static_cast<std::size_t>(count)); });
    ByteArray signature(signer.SignatureLength());
    signature.resize(signer.Sign(generator, message.release(), signature.data())); // which deletes the message
    return signature;
}

template <class Verifier>
bool verifyFile(Verifier const& verifier, std::string const& path, ByteArray const& signature) {
    std::unique_ptr<CryptoPP::PK_MessageAccumulator> message(verifier.NewVerificationAccumulator());
    verifier.InputSignature(*message, signature.data(), signature.size());
    readPieces(path,
               [&](unsigned char const* data, int count) { message->Update(data, static_cast<std::size_t>(count)); });
    return verifier.Verify(message.release());
}

// Ed25519 has the whole message in memory, here as in libcrypto.

ByteArray signFile(CryptoPP::ed25519Signer const& signer, Generator& generator, std::string const& path) {
    auto const& whole = readWhole(path);
    return signMessage(signer, generator, whole.data(), whole.size());
}

bool verifyFile(CryptoPP::ed25519Verifier const& verifier, std::string const& path, ByteArray const& signature) {
    auto const& whole = readWhole(path);
    return verifier.VerifyMessage(whole.data(), whole.size(), signature.data(), signature.size());
}

template <class Kind> void addFileSignature(std::string const& name, Kind const& kind) {
    for (FileSize const& size : fileSizes) {
        add(name + " sign file/" + size.name + "/", way, size.bytes, [=] {
            return
                [signer = kind.makeSigner(), generator = std::make_shared<Generator>(), &files = filesOf(size.bytes)] {
                    benchmark::DoNotOptimize(signFile(*signer, *generator, files.input()));
                };
        });
        add(name + " verify file/" + size.name + "/", way, size.bytes, [=] {
            Files const& files = filesOf(size.bytes);
            auto const signer = kind.makeSigner();
            Generator generator;
            return [&files, verifier = kind.makeVerifier(*signer),
                    signature = signFile(*signer, generator, files.input())] {
                mustSucceed(verifyFile(*verifier, files.input(), signature));
            };
        });
    }
}

template <class Signing, class Verifying, EncodedKeys const& (*keys)()> Kind<Signing, Verifying> rsaKind() {
    return {[] { return std::make_shared<Signing>(readDER<CryptoPP::RSA::PrivateKey>(keys().privateDER)); },
            [](Signing const&) {
                return std::make_shared<Verifying>(readDER<CryptoPP::RSA::PublicKey>(keys().publicDER));
            }};
}

template <EncodedKeys const& (*keys)()> auto pssKind() {
    using PSS = CryptoPP::RSASS<CryptoPP::PSS, CryptoPP::SHA256>;
    return rsaKind<PSS::Signer, PSS::Verifier, keys>();
}

template <class Scheme, EncodedKeys const& (*keys)()>
void addBlocks(std::string const& encrypting, std::string const& decrypting) {
    add(encrypting, way, 0, [=] {
        return [generator = std::make_shared<Generator>(), message = ByteArray(32, 'k'),
                encryptor =
                    std::make_shared<typename Scheme::Encryptor>(readDER<CryptoPP::RSA::PublicKey>(keys().publicDER))] {
            ByteArray block(encryptor->CiphertextLength(message.size()));
            encryptor->Encrypt(*generator, message.data(), message.size(), block.data());
            benchmark::DoNotOptimize(block);
        };
    });
    add(decrypting, way, 0, [=] {
        typename Scheme::Encryptor const encryptor(readDER<CryptoPP::RSA::PublicKey>(keys().publicDER));
        auto const generator = std::make_shared<Generator>();
        ByteArray const message(32, 'k');
        ByteArray block(encryptor.CiphertextLength(message.size()));
        encryptor.Encrypt(*generator, message.data(), message.size(), block.data());
        return [=, decryptor = std::make_shared<typename Scheme::Decryptor>(
                       readDER<CryptoPP::RSA::PrivateKey>(keys().privateDER))] {
            ByteArray text(decryptor->MaxPlaintextLength(block.size()));
            mustSucceed(decryptor->Decrypt(*generator, block.data(), block.size(), text.data()).isValidCoding);
            benchmark::DoNotOptimize(text);
        };
    });
}

template <EncodedKeys const& (*keys)()> void addRSA(std::string const& bits) {
    std::string const name = "RSA-" + bits;
    add(name + " key pair generated/", way, 0, [=] {
        return [generator = std::make_shared<Generator>(), size = std::stoul(bits)] {
            CryptoPP::RSA::PrivateKey key;
            key.GenerateRandomWithKeySize(*generator, static_cast<unsigned int>(size));
        };
    });
    add(name + " private key from PKCS #8 DER/", way, 0,
        [] { return [] { benchmark::DoNotOptimize(readDER<CryptoPP::RSA::PrivateKey>(keys().privateDER)); }; });
    add(name + " public key from DER/", way, 0,
        [] { return [] { benchmark::DoNotOptimize(readDER<CryptoPP::RSA::PublicKey>(keys().publicDER)); }; });
    using PKCS1 = CryptoPP::RSASS<CryptoPP::PKCS1v15, CryptoPP::SHA256>;
    addSignature(name + " sign PSS/", name + " verify PSS/", 1024, pssKind<keys>());
    addSignature(name + " sign PKCS1/", name + " verify PKCS1/", 1024, rsaKind<PKCS1::Signer, PKCS1::Verifier, keys>());
    addBlocks<CryptoPP::RSAES<CryptoPP::OAEP<CryptoPP::SHA256>>, keys>(name + " encrypt block OAEP/",
                                                                       name + " decrypt block OAEP/");
    addBlocks<CryptoPP::RSAES<CryptoPP::PKCS1v15>, keys>(name + " encrypt block PKCS1/",
                                                         name + " decrypt block PKCS1/");
}

using ECDSA = CryptoPP::ECDSA<CryptoPP::ECP, CryptoPP::SHA256>;

std::shared_ptr<ECDSA::Signer> newP256Signer() {
    Generator generator;
    ECDSA::PrivateKey key;
    key.Initialize(generator, CryptoPP::ASN1::secp256r1());
    auto signer = std::make_shared<ECDSA::Signer>(key);
    signer->AccessKey().Precompute();
    return signer;
}

std::shared_ptr<ECDSA::Verifier> newP256Verifier(ECDSA::Signer const& signer) {
    ECDSA::PublicKey key;
    signer.GetKey().MakePublicKey(key);
    auto verifier = std::make_shared<ECDSA::Verifier>(key);
    verifier->AccessKey().Precompute();
    return verifier;
}

std::shared_ptr<CryptoPP::ed25519Signer> newEd25519Signer() {
    Generator generator;
    auto signer = std::make_shared<CryptoPP::ed25519Signer>();
    signer->AccessPrivateKey().GenerateRandom(generator);
    return signer;
}

std::shared_ptr<CryptoPP::ed25519Verifier> newEd25519Verifier(CryptoPP::ed25519Signer const& signer) {
    return std::make_shared<CryptoPP::ed25519Verifier>(signer);
}

constexpr Kind<ECDSA::Signer, ECDSA::Verifier> p256{newP256Signer, newP256Verifier};
constexpr Kind<CryptoPP::ed25519Signer, CryptoPP::ed25519Verifier> ed25519{newEd25519Signer, newEd25519Verifier};

template <class Kind> void addCurve(std::string const& name, Kind const& kind) {
    addSignature(name + " sign/64/", name + " verify/64/", 64, kind);
    addSignature(name + " sign/64 KiB/", name + " verify/64 KiB/", 65536, kind);
}

void addKeys() {
    addRSA<encodedRSA2048>("2048");
    addRSA<encodedRSA4096>("4096");
    add("P-256 key pair generated/", way, 0, [] {
        CryptoPP::DL_GroupParameters_EC<CryptoPP::ECP> group(CryptoPP::ASN1::secp256r1());
        group.Precompute();
        return [=, generator = std::make_shared<Generator>()] {
            ECDSA::PrivateKey key;
            ECDSA::PublicKey publicKey;
            key.Initialize(*generator, group);
            key.MakePublicKey(publicKey);
            benchmark::DoNotOptimize(publicKey.GetPublicElement());
        };
    });
    addCurve("P-256", p256);
    add("Ed25519 key pair generated/", way, 0, [] {
        return [generator = std::make_shared<Generator>()] {
            CryptoPP::ed25519PrivateKey key;
            key.GenerateRandom(*generator, CryptoPP::g_nullNameValuePairs);
            benchmark::DoNotOptimize(key.GetPublicKeyBytePtr());
        };
    });
    addCurve("Ed25519", ed25519);
}

// Whole files, as a host would write the loop

/// Transforms what stands in front of the tag, and hands over what it wrote and read.
template <class Cipher, class Finish>
void transformFile(Cipher& cipher, std::string const& from, std::string const& to, std::size_t tagSize, Finish finish) {
    static ByteArray transformed(mebibyte);
    std::size_t left = std::filesystem::file_size(from) - tagSize;
    ByteArray tag;
    Descriptor const output(to, O_WRONLY | O_CREAT | O_TRUNC);
    readPieces(from, [&](unsigned char const* data, int count) {
        std::size_t const size = std::min(left, static_cast<std::size_t>(count));
        left -= size;
        cipher.ProcessData(transformed.data(), data, size);
        mustSucceed(write(output.get(), transformed.data(), size) == static_cast<ssize_t>(size));
        tag.insert(tag.end(), data + size, data + count);
    });
    finish(output.get(), tag);
}

void addFileTransforms(FileSize const& size) {
    AESCase const& ctr = aesCases()[8];
    AESCase const& gcm = aesCases()[9];
    add(ctr.name() + " encrypt file/" + size.name + "/", way, size.bytes, [=] {
        using CTR = CryptoPP::CTR_Mode<CryptoPP::AES>;
        return [&ctr, cipher = startCipher<CTR::Encryption>(ctr), &files = filesOf(size.bytes)] {
            cipher->Resynchronize(ctr.vector.data(), 16);
            transformFile(*cipher, files.input(), files.output(), 0, [](int, ByteArray const&) {});
        };
    });
    add(gcm.name() + " encrypt file/" + size.name + "/", way, size.bytes, [=] {
        return [&gcm, cipher = startCipher<GCM::Encryption>(gcm), &files = filesOf(size.bytes)] {
            cipher->Resynchronize(gcm.vector.data(), 12);
            transformFile(*cipher, files.input(), files.output(), 0, [&](int output, ByteArray const&) {
                std::array<unsigned char, 16> tag;
                cipher->TruncatedFinal(tag.data(), tag.size());
                mustSucceed(write(output, tag.data(), tag.size()) == 16);
            });
        };
    });
    add(gcm.name() + " decrypt file/" + size.name + "/", way, size.bytes, [=] {
        Files const& files = filesOf(size.bytes);
        {
            std::ifstream input(files.input(), std::ios::binary);
            std::ofstream output(files.encrypted(), std::ios::binary);
            gcm.makeEncryptor()->encrypt(input, output);
        }
        return [&gcm, cipher = startCipher<GCM::Decryption>(gcm), &files] {
            cipher->Resynchronize(gcm.vector.data(), 12);
            transformFile(*cipher, files.encrypted(), files.output(), 16, [&](int, ByteArray const& tag) {
                mustSucceed(cipher->TruncatedVerify(tag.data(), tag.size()));
            });
        };
    });
}

void addFiles() {
    for (FileSize const& size : fileSizes) {
        addFileTransforms(size);
    }
    addFileSignature("RSA-2048 PSS", pssKind<encodedRSA2048>());
    addFileSignature("P-256", p256);
    addFileSignature("Ed25519", ed25519);
}

// Objects

template <class Prepare> void addObject(std::string const& object, Prepare prepare) {
    add("object: " + object + "/", way, 0, [=] { return [make = prepare()] { benchmark::DoNotOptimize(make()); }; });
}

template <class Object, class Key, ByteArray EncodedKeys::* encoded> void addKeyObject(std::string const& object) {
    addObject(object,
              [] { return [key = readDER<Key>(encodedRSA2048().*encoded)] { return std::make_unique<Object>(key); }; });
}

void addObjects() {
    addObject("random generator", [] { return [] { return std::make_unique<Generator>(); }; });
    addObject("SHA256 engine", [] { return [] { return std::make_unique<CryptoPP::SHA256>(); }; });
    addObject("HMAC-SHA256 engine", [] {
        return [key = ByteArray(32, 'k')] {
            return std::make_unique<CryptoPP::HMAC<CryptoPP::SHA256>>(key.data(), key.size());
        };
    });
    addObject("BLAKE2b engine", [] { return [] { return std::make_unique<CryptoPP::BLAKE2b>(); }; });
    addObject("AES-256 GCM encryptor", [] { return [] { return startCipher<GCM::Encryption>(aesCases()[9]); }; });
    addObject("AES-256 GCM decryptor", [] { return [] { return startCipher<GCM::Decryption>(aesCases()[9]); }; });
    using CryptoPP::RSA;
    using PSS = CryptoPP::RSASS<CryptoPP::PSS, CryptoPP::SHA256>;
    using OAEP = CryptoPP::RSAES<CryptoPP::OAEP<CryptoPP::SHA256>>;
    addKeyObject<PSS::Signer, RSA::PrivateKey, &EncodedKeys::privateDER>("RSA-2048 signer");
    addKeyObject<PSS::Verifier, RSA::PublicKey, &EncodedKeys::publicDER>("RSA-2048 verifier");
    addKeyObject<OAEP::Encryptor, RSA::PublicKey, &EncodedKeys::publicDER>("RSA-2048 encryptor");
    addKeyObject<OAEP::Decryptor, RSA::PrivateKey, &EncodedKeys::privateDER>("RSA-2048 decryptor");
    addObject("P-256 signer",
              [] { return [signer = newP256Signer()] { return std::make_unique<ECDSA::Signer>(signer->GetKey()); }; });
    addObject("P-256 verifier", [] {
        return [verifier = newP256Verifier(*newP256Signer())] {
            return std::make_unique<ECDSA::Verifier>(verifier->GetKey());
        };
    });
}

void addAll() {
    peers()[way] = std::to_string(CRYPTOPP_VERSION / 100) + "." + std::to_string(CRYPTOPP_VERSION / 10 % 10) + "." +
                   std::to_string(CRYPTOPP_VERSION % 10);
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
