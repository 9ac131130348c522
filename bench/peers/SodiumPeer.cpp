// libsodium at its best: keys set up once where it has such a call. It has no RSA, no P-256 and no PBKDF2.
#include "AESCases.h"
#include "Case.h"
#include "LargeFiles.h"
#include "RSAKeys.h"

#include <sodium.h>

#include <array>
#include <memory>
#include <string>

namespace {

using namespace bench;

constexpr char const* way = "libsodium";

/// `compute` writes the result for a message.
template <class Compute> void addHashing(std::string const& name, Compute compute) {
    for (std::size_t const size : messageSizes) {
        add(name + std::to_string(size) + "/", way, size, [=] {
            return [=, message = ByteArray(size)] {
                std::array<unsigned char, 64> result;
                mustSucceed(compute(result.data(), message.data(), message.size()) == 0);
                benchmark::DoNotOptimize(result);
            };
        });
    }
}

void addDigests() {
    addHashing("SHA256 buffer/", crypto_hash_sha256);
    addHashing("SHA512 buffer/", crypto_hash_sha512);
    addHashing("BLAKE2b buffer/", [](unsigned char* result, unsigned char const* message, std::size_t size) {
        return crypto_generichash(result, 32, message, size, nullptr, 0);
    });
    addHashing("BLAKE2b keyed buffer/", [key = std::array<unsigned char, 32>{}](
                                            unsigned char* result, unsigned char const* message, std::size_t size) {
        return crypto_generichash(result, 32, message, size, key.data(), key.size());
    });
    add("SHA256 creation and one message/64/", way, 64, [] {
        return [message = ByteArray(64)] {
            std::array<unsigned char, 32> result;
            mustSucceed(crypto_hash_sha256(result.data(), message.data(), message.size()) == 0);
            benchmark::DoNotOptimize(result);
        };
    });
}

/// A state that has taken the key is copied for each message.
template <class State, auto init, auto update, auto final> void addHMAC(std::string const& name) {
    State keyed;
    init(&keyed, ByteArray(32, 'k').data(), 32);
    addHashing(name, [keyed](unsigned char* result, unsigned char const* message, std::size_t size) {
        State state = keyed;
        update(&state, message, size);
        return final(&state, result);
    });
}

void addAES() {
    AESCase const& gcm = aesCases()[9];
    using State = crypto_aead_aes256gcm_state; // wants more alignment than operator new gives
    auto const newState = [&gcm] {
        std::shared_ptr<State> const state(static_cast<State*>(sodium_malloc(sizeof(State))), sodium_free);
        crypto_aead_aes256gcm_beforenm(state.get(), gcm.key.data());
        return state;
    };
    for (std::size_t const size : messageSizes) {
        add(gcm.name() + " encrypt/" + std::to_string(size) + "/", way, size, [=, &gcm] {
            return [&gcm, state = newState(), message = ByteArray(size), output = ByteArray(size + 16)]() mutable {
                crypto_aead_aes256gcm_encrypt_afternm(output.data(), nullptr, message.data(), message.size(), nullptr,
                                                      0, nullptr, gcm.vector.data(), state.get());
                benchmark::DoNotOptimize(output.data());
            };
        });
        add(gcm.name() + " decrypt/" + std::to_string(size) + "/", way, size, [=, &gcm] {
            return [&gcm, state = newState(), input = gcm.makeEncryptor()->encrypt(ByteArray(size)),
                    output = ByteArray(size)]() mutable {
                mustSucceed(crypto_aead_aes256gcm_decrypt_afternm(output.data(), nullptr, nullptr, input.data(),
                                                                  input.size(), nullptr, 0, gcm.vector.data(),
                                                                  state.get()) == 0);
                benchmark::DoNotOptimize(output.data());
            };
        });
    }
    for (char const* const object : {"AES-256 GCM encryptor", "AES-256 GCM decryptor"}) {
        add(std::string("object: ") + object + "/", way, 0, [&gcm] { // a host can have it on its stack
            return [&gcm] {
                State state;
                crypto_aead_aes256gcm_beforenm(&state, gcm.key.data());
                benchmark::DoNotOptimize(state);
                sodium_memzero(&state, sizeof state);
            };
        });
    }
}

void addRandomBytes() {
    for (std::size_t const size : messageSizes) {
        add("random bytes/" + std::to_string(size) + "/", way, size, [=] {
            return [drawn = ByteArray(size)]() mutable {
                randombytes_buf(drawn.data(), drawn.size());
                benchmark::DoNotOptimize(drawn.data());
            };
        });
    }
}

struct KeyPair {
    std::array<unsigned char, crypto_sign_PUBLICKEYBYTES> publicKey;
    std::array<unsigned char, crypto_sign_SECRETKEYBYTES> privateKey;

    KeyPair() { crypto_sign_keypair(publicKey.data(), privateKey.data()); }
};

using Signature = std::array<unsigned char, crypto_sign_BYTES>;

Signature sign(KeyPair const& pair, unsigned char const* message, std::size_t size) {
    Signature signature;
    crypto_sign_detached(signature.data(), nullptr, message, size, pair.privateKey.data());
    return signature;
}

bool verify(KeyPair const& pair, unsigned char const* message, std::size_t size, Signature const& signature) {
    return crypto_sign_verify_detached(signature.data(), message, size, pair.publicKey.data()) == 0;
}

void addEd25519() {
    add("Ed25519 key pair generated/", way, 0, [] { return [] { benchmark::DoNotOptimize(KeyPair()); }; });
    for (auto const& [what, size] : {std::pair("64/", std::size_t(64)), std::pair("64 KiB/", std::size_t(65536))}) {
        add(std::string("Ed25519 sign/") + what, way, 0, [size = size] {
            return [pair = KeyPair(), message = ByteArray(size, 'm')] {
                benchmark::DoNotOptimize(sign(pair, message.data(), message.size()));
            };
        });
        add(std::string("Ed25519 verify/") + what, way, 0, [size = size] {
            KeyPair const pair;
            ByteArray const message(size, 'm');
            return [=, signature = sign(pair, message.data(), message.size())] {
                mustSucceed(verify(pair, message.data(), message.size(), signature));
            };
        });
    }
    for (FileSize const& size : fileSizes) {
        add(std::string("Ed25519 sign file/") + size.name + "/", way, size.bytes, [=] {
            return [pair = KeyPair(), &files = filesOf(size.bytes)] {
                auto const& whole = readWhole(files.input());
                benchmark::DoNotOptimize(sign(pair, whole.data(), whole.size()));
            };
        });
        add(std::string("Ed25519 verify file/") + size.name + "/", way, size.bytes, [=] {
            KeyPair const pair;
            Files const& files = filesOf(size.bytes);
            auto const& message = readWhole(files.input());
            return [=, &files, signature = sign(pair, message.data(), message.size())] {
                auto const& whole = readWhole(files.input());
                mustSucceed(verify(pair, whole.data(), whole.size(), signature));
            };
        });
    }
}

void addAll() {
    mustSucceed(sodium_init() >= 0);
    peers()[way] = sodium_version_string();
    addDigests();
    addHMAC<crypto_auth_hmacsha256_state, crypto_auth_hmacsha256_init, crypto_auth_hmacsha256_update,
            crypto_auth_hmacsha256_final>("HMAC-SHA256 buffer/");
    addHMAC<crypto_auth_hmacsha512_state, crypto_auth_hmacsha512_init, crypto_auth_hmacsha512_update,
            crypto_auth_hmacsha512_final>("HMAC-SHA512 buffer/");
    if (crypto_aead_aes256gcm_is_available() == 1) {
        addAES();
    }
    addRandomBytes();
    addEd25519();
}

[[maybe_unused]] bool const registered = [] {
    peerCases().emplace_back(addAll);
    return true;
}();

} // namespace
