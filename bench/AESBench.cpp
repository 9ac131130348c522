#include "Case.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <openssl/evp.h>
#include <openssl/rand.h>

#include <memory>
#include <sstream>

namespace {

using namespace bench;
using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::AESMode;
using foundation::crypto::utils::AESPaddingMode;
using foundation::crypto::utils::ByteArray;

CryptoProvider const provider;

ByteArray const key(32, 0x42);
ByteArray const iv(16, 0x24);
ByteArray const nonce(12, 0x24);

using Context = Held<EVP_CIPHER_CTX, EVP_CIPHER_CTX_free>;

int sizeOf(ByteArray const& bytes) {
    return static_cast<int>(bytes.size());
}

struct Mode {
    char const* name;
    AESMode mode;
    EVP_CIPHER const* (*cipher)();

    bool isGCM() const { return mode == AESMode::GCM; }

    ByteArray const& vector() const { return isGCM() ? nonce : iv; }
};

auto makeEncryptor(Mode const& mode) {
    return provider.createAES256Encryptor(provider.createAES256Key(key), mode.vector(), mode.mode,
                                          AESPaddingMode::PKCS7, nullptr);
}

auto makeDecryptor(Mode const& mode) {
    return provider.createAES256Decryptor(provider.createAES256Key(key), mode.vector(), mode.mode,
                                          AESPaddingMode::PKCS7, nullptr);
}

ByteArray encryptByHand(Mode const& mode, ByteArray const& message) {
    Context const context(EVP_CIPHER_CTX_new());
    if (mode.isGCM()) {
        EVP_EncryptInit_ex(context.get(), mode.cipher(), nullptr, nullptr, nullptr);
        EVP_EncryptInit_ex(context.get(), nullptr, nullptr, key.data(), nonce.data());
    } else {
        EVP_EncryptInit_ex(context.get(), mode.cipher(), nullptr, key.data(), iv.data());
    }
    ByteArray output(message.size() + 16);
    int updated = 0;
    int finalized = 0;
    EVP_EncryptUpdate(context.get(), output.data(), &updated, message.data(), sizeOf(message));
    mustSucceed(EVP_EncryptFinal_ex(context.get(), output.data() + updated, &finalized) == 1);
    if (mode.isGCM()) {
        EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_GET_TAG, 16, output.data() + updated);
        finalized = 16;
    }
    output.resize(static_cast<std::size_t>(updated) + static_cast<std::size_t>(finalized));
    return output;
}

ByteArray decryptByHand(Mode const& mode, ByteArray const& encrypted) {
    Context const context(EVP_CIPHER_CTX_new());
    ByteArray output(encrypted.size() + 16);
    int updated = 0;
    int finalized = 0;
    int size = sizeOf(encrypted);
    if (mode.isGCM()) {
        EVP_DecryptInit_ex(context.get(), mode.cipher(), nullptr, nullptr, nullptr);
        EVP_DecryptInit_ex(context.get(), nullptr, nullptr, key.data(), nonce.data());
        ByteArray tag(encrypted.end() - 16, encrypted.end());
        size -= 16;
        EVP_DecryptUpdate(context.get(), output.data(), &updated, encrypted.data(), size);
        EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_SET_TAG, 16, tag.data());
    } else {
        EVP_DecryptInit_ex(context.get(), mode.cipher(), nullptr, key.data(), iv.data());
        EVP_DecryptUpdate(context.get(), output.data(), &updated, encrypted.data(), size);
    }
    mustSucceed(EVP_DecryptFinal_ex(context.get(), output.data() + updated, &finalized) == 1);
    output.resize(static_cast<std::size_t>(updated) + static_cast<std::size_t>(finalized));
    return output;
}

/// Encrypts into one buffer, with one context whose cipher and key stay.
auto bestEncryption(Mode const& mode, std::size_t size) {
    std::shared_ptr<EVP_CIPHER_CTX> const context = Context(EVP_CIPHER_CTX_new());
    std::shared_ptr<EVP_CIPHER> const fetched =
        Held<EVP_CIPHER, EVP_CIPHER_free>(EVP_CIPHER_fetch(nullptr, EVP_CIPHER_get0_name(mode.cipher()), nullptr));
    mustSucceed(EVP_EncryptInit_ex2(context.get(), fetched.get(), key.data(), mode.vector().data(), nullptr) == 1);
    return [=, message = ByteArray(size), output = ByteArray(size + 32)]() mutable {
        int updated = 0;
        int finalized = 0;
        EVP_EncryptInit_ex2(context.get(), nullptr, nullptr, mode.vector().data(), nullptr);
        EVP_EncryptUpdate(context.get(), output.data(), &updated, message.data(), sizeOf(message));
        mustSucceed(EVP_EncryptFinal_ex(context.get(), output.data() + updated, &finalized) == 1);
        if (mode.isGCM()) {
            EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_GET_TAG, 16, output.data() + updated);
        }
        benchmark::DoNotOptimize(output.data());
    };
}

void addBuffers(Mode const& mode) {
    for (std::size_t const size : {std::size_t(64), std::size_t(1024), std::size_t(65536)}) {
        std::string const encryption = std::string("AES-256 ") + mode.name + " encrypt/" + std::to_string(size) + "/";
        add(encryption, "library", size, [=] {
            return [encryptor = makeEncryptor(mode), message = ByteArray(size)] {
                benchmark::DoNotOptimize(encryptor->encrypt(message));
            };
        });
        add(encryption, "same calls", size,
            [=] { return [=, message = ByteArray(size)] { benchmark::DoNotOptimize(encryptByHand(mode, message)); }; });
        add(encryption, "best", size, [=] { return bestEncryption(mode, size); });

        std::string const decryption = std::string("AES-256 ") + mode.name + " decrypt/" + std::to_string(size) + "/";
        add(decryption, "library", size, [=] {
            return [decryptor = makeDecryptor(mode), encrypted = encryptByHand(mode, ByteArray(size))] {
                benchmark::DoNotOptimize(decryptor->decrypt(encrypted));
            };
        });
        add(decryption, "same calls", size, [=] {
            return [=, encrypted = encryptByHand(mode, ByteArray(size))] {
                benchmark::DoNotOptimize(decryptByHand(mode, encrypted));
            };
        });
    }
}

/// A key and an encryptor made for one message, as every message should have its own vector.
void addCreation(Mode const& mode) {
    std::string const name = std::string("AES-256 ") + mode.name + " creation and one message/64/";
    add(name, "library", 64, [=] {
        return [=, aesKey = provider.createAES256Key(key), message = ByteArray(64)] {
            auto const encryptor =
                provider.createAES256Encryptor(aesKey, mode.vector(), mode.mode, AESPaddingMode::PKCS7, nullptr);
            benchmark::DoNotOptimize(encryptor->encrypt(message));
        };
    });
    add(name, "same calls", 64,
        [=] { return [=, message = ByteArray(64)] { benchmark::DoNotOptimize(encryptByHand(mode, message)); }; });
    add(name, "best", 64, [=] { return bestEncryption(mode, 64); });
}

/// Reads a stream with one sized read and writes with one write: the least that a stream costs.
void addStreams(Mode const& mode) {
    constexpr std::size_t size = 1 << 20;
    std::string const name = std::string("AES-256 ") + mode.name + " stream/1 MiB/";
    std::string const content(size, 'a');
    add(name, "library", size, [=] {
        return [encryptor = makeEncryptor(mode), input = std::make_shared<std::istringstream>(content),
                output = std::make_shared<std::ostringstream>()] {
            input->seekg(0);
            output->seekp(0);
            encryptor->encrypt(*input, *output);
        };
    });
    add(name, "same calls", size, [=] {
        return [=, input = std::make_shared<std::istringstream>(content),
                output = std::make_shared<std::ostringstream>()] {
            input->seekg(0);
            output->seekp(0);
            ByteArray message(size);
            input->rdbuf()->sgetn(reinterpret_cast<char*>(message.data()), size);
            ByteArray const encrypted = encryptByHand(mode, message);
            output->write(reinterpret_cast<char const*>(encrypted.data()), sizeOf(encrypted));
        };
    });
    add(name, "best", size, [=] { return bestEncryption(mode, size); });
}

void addRandomBytes() {
    for (std::size_t const size : {std::size_t(16), std::size_t(65536)}) {
        std::string const name = "random bytes/" + std::to_string(size) + "/";
        add(name, "library", size, [=] {
            return [prng = provider.createDefaultCryptoPRNG({}), size] {
                benchmark::DoNotOptimize(prng->generateRandomBytes(size));
            };
        });
        add(name, "same calls", size, [=] {
            return [size] {
                ByteArray drawn(size);
                for (std::size_t at = 0; at < size;) {
                    std::size_t const piece = std::min<std::size_t>(size - at, 32767);
                    mustSucceed(RAND_bytes(drawn.data() + at, static_cast<int>(piece)) == 1);
                    at += piece;
                }
                benchmark::DoNotOptimize(drawn);
            };
        });
        add(name, "best", size, [=] {
            return [drawn = ByteArray(size)]() mutable {
                mustSucceed(RAND_bytes(drawn.data(), sizeOf(drawn)) == 1);
                benchmark::DoNotOptimize(drawn.data());
            };
        });
    }
}

[[maybe_unused]] bool const registered = [] {
    Mode const cbc{"CBC", AESMode::CBC, EVP_aes_256_cbc};
    Mode const ctr{"CTR", AESMode::CTR, EVP_aes_256_ctr};
    Mode const gcm{"GCM", AESMode::GCM, EVP_aes_256_gcm};
    addRandomBytes();
    for (Mode const& mode : {cbc, ctr, gcm}) {
        addBuffers(mode);
    }
    addCreation(gcm);
    addStreams(ctr);
    addStreams(gcm);
    return true;
}();

} // namespace
