#include "AESCases.h"
#include "Case.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <openssl/evp.h>
#include <openssl/rand.h>

#include <algorithm>
#include <array>
#include <memory>
#include <sstream>
#include <string>

namespace {

using namespace bench;
using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::AESPaddingMode;
using foundation::crypto::utils::ByteArray;

CryptoProvider const provider;

using Context = Held<EVP_CIPHER_CTX, EVP_CIPHER_CTX_free>;

int sizeOf(ByteArray const& bytes) {
    return static_cast<int>(bytes.size());
}

ByteArray encryptByHand(AESCase const& mode, ByteArray const& message) {
    Context const context(EVP_CIPHER_CTX_new());
    if (mode.isGCM()) {
        EVP_EncryptInit_ex(context.get(), mode.cipher(), nullptr, nullptr, nullptr);
        EVP_EncryptInit_ex(context.get(), nullptr, nullptr, mode.key.data(), mode.vector.data());
    } else {
        EVP_EncryptInit_ex(context.get(), mode.cipher(), nullptr, mode.key.data(), mode.vector.data());
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

ByteArray decryptByHand(AESCase const& mode, ByteArray const& encrypted) {
    Context const context(EVP_CIPHER_CTX_new());
    ByteArray output(encrypted.size() + 16);
    int updated = 0;
    int finalized = 0;
    int size = sizeOf(encrypted);
    if (mode.isGCM()) {
        EVP_DecryptInit_ex(context.get(), mode.cipher(), nullptr, nullptr, nullptr);
        EVP_DecryptInit_ex(context.get(), nullptr, nullptr, mode.key.data(), mode.vector.data());
        std::array<unsigned char, 16> tag;
        std::copy(encrypted.end() - 16, encrypted.end(), tag.begin());
        size -= 16;
        EVP_DecryptUpdate(context.get(), output.data(), &updated, encrypted.data(), size);
        EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_SET_TAG, 16, tag.data());
    } else {
        EVP_DecryptInit_ex(context.get(), mode.cipher(), nullptr, mode.key.data(), mode.vector.data());
        EVP_DecryptUpdate(context.get(), output.data(), &updated, encrypted.data(), size);
    }
    mustSucceed(EVP_DecryptFinal_ex(context.get(), output.data() + updated, &finalized) == 1);
    output.resize(static_cast<std::size_t>(updated) + static_cast<std::size_t>(finalized));
    return output;
}

/// Transforms into one buffer, with one context whose cipher and key stay.
auto bestTransform(AESCase const& mode, bool encrypts, ByteArray const& input) {
    std::shared_ptr<EVP_CIPHER_CTX> const context = Context(EVP_CIPHER_CTX_new());
    Held<EVP_CIPHER, EVP_CIPHER_free> const fetched(
        EVP_CIPHER_fetch(nullptr, EVP_CIPHER_get0_name(mode.cipher()), nullptr));
    mustSucceed(EVP_CipherInit_ex2(context.get(), fetched.get(), mode.key.data(), mode.vector.data(), encrypts ? 1 : 0,
                                   nullptr) == 1);
    std::size_t const tagSize = mode.isGCM() ? 16 : 0;
    std::size_t const size = input.size() - (encrypts ? 0 : tagSize);
    return
        [=, gcm = mode.isGCM(), vector = mode.vector, input = input, output = ByteArray(input.size() + 32)]() mutable {
            int updated = 0;
            int finalized = 0;
            EVP_CipherInit_ex2(context.get(), nullptr, nullptr, vector.data(), -1, nullptr);
            EVP_CipherUpdate(context.get(), output.data(), &updated, input.data(), static_cast<int>(size));
            if (gcm && !encrypts) {
                EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_SET_TAG, 16, input.data() + size);
            }
            mustSucceed(EVP_CipherFinal_ex(context.get(), output.data() + updated, &finalized) == 1);
            if (gcm && encrypts) {
                EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_GET_TAG, 16, output.data() + updated);
            }
            benchmark::DoNotOptimize(output.data());
        };
}

void addBuffers(AESCase const& mode) {
    for (std::size_t const size : messageSizes) {
        std::string const encryption = mode.name() + " encrypt/" + std::to_string(size) + "/";
        add(encryption, "library", size, [=] {
            return [encryptor = mode.makeEncryptor(), message = ByteArray(size)] {
                benchmark::DoNotOptimize(encryptor->encrypt(message));
            };
        });
        add(encryption, "same calls", size,
            [=] { return [=, message = ByteArray(size)] { benchmark::DoNotOptimize(encryptByHand(mode, message)); }; });
        add(encryption, "best", size, [=] { return bestTransform(mode, true, ByteArray(size)); });

        std::string const decryption = mode.name() + " decrypt/" + std::to_string(size) + "/";
        add(decryption, "library", size, [=] {
            return [decryptor = mode.makeDecryptor(), encrypted = encryptByHand(mode, ByteArray(size))] {
                benchmark::DoNotOptimize(decryptor->decrypt(encrypted));
            };
        });
        add(decryption, "same calls", size, [=] {
            return [=, encrypted = encryptByHand(mode, ByteArray(size))] {
                benchmark::DoNotOptimize(decryptByHand(mode, encrypted));
            };
        });
        add(decryption, "best", size, [=] { return bestTransform(mode, false, encryptByHand(mode, ByteArray(size))); });
    }
}

/// An encryptor made for one message, as every message should have its own vector.
void addCreation(AESCase const& mode) {
    std::string const name = mode.name() + " creation and one message/64/";
    add(name, "library", 64, [=] {
        return [=, key = provider.createAES256Key(mode.key), vector = mode.vector, message = ByteArray(64)] {
            auto const encryptor =
                provider.createAES256Encryptor(key, vector, mode.mode, AESPaddingMode::PKCS7, nullptr);
            benchmark::DoNotOptimize(encryptor->encrypt(message));
        };
    });
    add(name, "same calls", 64,
        [=] { return [=, message = ByteArray(64)] { benchmark::DoNotOptimize(encryptByHand(mode, message)); }; });
    add(name, "best", 64, [=] { return bestTransform(mode, true, ByteArray(64)); });
}

/// Reads a stream with one sized read and writes with one write: the least that a stream costs.
void addStreams(AESCase const& mode) {
    constexpr std::size_t size = 1 << 20;
    std::string const name = mode.name() + " stream/1 MiB/";
    std::string const content(size, 'a');
    add(name, "library", size, [=] {
        return [encryptor = mode.makeEncryptor(), input = std::make_shared<std::istringstream>(content),
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
    add(name, "best", size, [=] { return bestTransform(mode, true, ByteArray(size)); });
}

void addRandomBytes() {
    for (std::size_t const size : messageSizes) {
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
    addRandomBytes();
    for (AESCase const& mode : aesCases()) {
        addBuffers(mode);
    }
    AESCase const& ctr = aesCases()[8];
    AESCase const& gcm = aesCases()[9];
    addCreation(gcm);
    addStreams(ctr);
    addStreams(gcm);
    return true;
}();

} // namespace
