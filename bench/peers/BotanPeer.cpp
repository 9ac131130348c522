#include "AESCases.h"
#include "Botan.h"
#include "Case.h"
#include "LargeFiles.h"
#include "PBKDF2Case.h"

#include <botan/aead.h>
#include <botan/cipher_mode.h>
#include <botan/hash.h>
#include <botan/mac.h>
#include <botan/pwdhash.h>
#include <botan/stream_cipher.h>
#include <botan/version.h>

#include <array>
#include <fcntl.h>
#include <memory>
#include <string>
#include <unistd.h>

#if BOTAN_VERSION_MAJOR >= 3
#pragma GCC diagnostic ignored "-Wdeprecated-declarations" // the names that both versions know
#endif

namespace {

using namespace bench;
using namespace bench::botan;
using foundation::crypto::utils::ByteArray;

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
}

// Objects

void addObjects() {
    addObject("random generator", [] { return [] { return std::make_unique<Botan::AutoSeeded_RNG>(); }; });
    addObject("SHA256 engine", [] { return [] { return Botan::HashFunction::create_or_throw("SHA-256"); }; });
    addObject("HMAC-SHA256 engine", [] { return [] { return startMAC("HMAC(SHA-256)"); }; });
    addObject("BLAKE2b engine", [] { return [] { return Botan::HashFunction::create_or_throw("BLAKE2b(512)"); }; });
    addObject("AES-256 GCM encryptor", [] { return [] { return startMode(aesCases()[9], true); }; });
    addObject("AES-256 GCM decryptor", [] { return [] { return startMode(aesCases()[9], false); }; });
}

void addAll() {
    peers()[way] = Botan::short_version_string();
    addDigests();
    addAES();
    addRandomBytes();
    addDerivation();
    addFiles();
    addObjects();
}

[[maybe_unused]] bool const registered = [] {
    peerCases().emplace_back(addAll);
    return true;
}();

} // namespace
