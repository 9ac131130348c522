#include "AESCases.h"
#include "Case.h"
#include "CryptoPP.h"
#include "LargeFiles.h"
#include "PBKDF2Case.h"

#define CRYPTOPP_ENABLE_NAMESPACE_WEAK 1 // MD5
#include <cryptopp/aes.h>
#include <cryptopp/blake2.h>
#include <cryptopp/gcm.h>
#include <cryptopp/hmac.h>
#include <cryptopp/md5.h>
#include <cryptopp/modes.h>
#include <cryptopp/pwdbased.h>
#include <cryptopp/sha.h>

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <memory>
#include <string>
#include <unistd.h>

namespace {

using namespace bench;
using namespace bench::cryptopp;
using foundation::crypto::utils::ByteArray;

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
}

// Objects

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
}

void addAll() {
    peers()[way] = std::to_string(CRYPTOPP_VERSION / 100) + "." + std::to_string(CRYPTOPP_VERSION / 10 % 10) + "." +
                   std::to_string(CRYPTOPP_VERSION % 10);
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
