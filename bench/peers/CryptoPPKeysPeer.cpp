#include "Case.h"
#include "CryptoPP.h"
#include "LargeFiles.h"
#include "RSAKeys.h"

#include <cryptopp/eccrypto.h>
#include <cryptopp/filters.h>
#include <cryptopp/oids.h>
#include <cryptopp/pssr.h>
#include <cryptopp/rsa.h>
#include <cryptopp/sha.h>
#include <cryptopp/xed25519.h>

#include <memory>
#include <string>

namespace {

using namespace bench;
using namespace bench::cryptopp;

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

template <class Object, class Key, ByteArray EncodedKeys::* encoded> void addKeyObject(std::string const& object) {
    addObject(object,
              [] { return [key = readDER<Key>(encodedRSA2048().*encoded)] { return std::make_unique<Object>(key); }; });
}

void addKeyObjects() {
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
    addKeys();
    addFileSignature("RSA-2048 PSS", pssKind<encodedRSA2048>());
    addFileSignature("P-256", p256);
    addFileSignature("Ed25519", ed25519);
    addKeyObjects();
}

[[maybe_unused]] bool const registered = [] {
    peerCases().emplace_back(addAll);
    return true;
}();

} // namespace
