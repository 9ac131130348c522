#include "RSAKeys.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <openssl/evp.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>

#include <array>
#include <memory>
#include <sstream>
#include <string>

namespace {

using namespace bench;
using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::ByteArray;
using foundation::crypto::utils::RSAPaddingMode;

CryptoProvider const provider;

constexpr RSAPaddingMode oaep = RSAPaddingMode::OAEP_SHA256;
constexpr RSAPaddingMode pkcs1 = RSAPaddingMode::PKCS1_V1_5;

using Initialize = int (*)(EVP_PKEY_CTX*);
using Transform = int (*)(EVP_PKEY_CTX*, unsigned char*, std::size_t*, unsigned char const*, std::size_t);

std::shared_ptr<EVP_PKEY_CTX> newContext(EVP_PKEY* key, RSAPaddingMode padding, Initialize initialize) {
    std::shared_ptr<EVP_PKEY_CTX> context = Held<EVP_PKEY_CTX, EVP_PKEY_CTX_free>(EVP_PKEY_CTX_new(key, nullptr));
    mustSucceed(initialize(context.get()) == 1);
    if (padding == oaep) {
        mustSucceed(EVP_PKEY_CTX_set_rsa_oaep_md(context.get(), EVP_sha256()) == 1 &&
                    EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_PKCS1_OAEP_PADDING) == 1);
    } else {
        mustSucceed(EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_PKCS1_PADDING) == 1);
    }
    return context;
}

ByteArray transform(EVP_PKEY* key, RSAPaddingMode padding, Initialize initialize, Transform run,
                    unsigned char const* data, std::size_t size) {
    auto const context = newContext(key, padding, initialize);
    std::array<unsigned char, 32> seed;
    mustSucceed(RAND_bytes(seed.data(), seed.size()) == 1);
    RAND_seed(seed.data(), seed.size());
    std::size_t written = 0;
    mustSucceed(run(context.get(), nullptr, &written, data, size) == 1);
    ByteArray out(written);
    mustSucceed(run(context.get(), out.data(), &written, data, size) == 1);
    out.resize(written);
    return out;
}

ByteArray encrypt(EVP_PKEY* key, RSAPaddingMode padding, ByteArray const& message) {
    return transform(key, padding, EVP_PKEY_encrypt_init, EVP_PKEY_encrypt, message.data(), message.size());
}

/// One block, with a context that was set up once and no seeding.
template <class Data>
auto bestTransform(EVP_PKEY* key, RSAPaddingMode padding, Initialize initialize, Transform run, Data data) {
    return [=, context = newContext(key, padding, initialize)] {
        std::array<unsigned char, 512> out; // of the larger key
        std::size_t written = out.size();
        mustSucceed(run(context.get(), out.data(), &written, data.data(), data.size()) == 1);
        benchmark::DoNotOptimize(out);
    };
}

template <class Keys, class CreateEncryptor, class CreateDecryptor>
void addBlocks(std::string const& size, Keys (*keys)(), CreateEncryptor createEncryptor,
               CreateDecryptor createDecryptor, RSAPaddingMode padding) {
    std::string const suffix = padding == oaep ? "OAEP/" : "PKCS1/";
    ByteArray const message(32, 'k'); // a symmetric key, the usual content
    std::string const encrypting = "RSA-" + size + " encrypt block " + suffix;
    add(encrypting, "library", 0, [=] {
        return [=, encryptor = (provider.*createEncryptor)(keys().publicKey, padding, prng())] {
            benchmark::DoNotOptimize(encryptor->encrypt(message));
        };
    });
    add(encrypting, "same calls", 0, [=] {
        return [=, key = keys().rawPublicKey] { benchmark::DoNotOptimize(encrypt(key.get(), padding, message)); };
    });
    add(encrypting, "best", 0, [=] {
        return bestTransform(keys().rawPublicKey.get(), padding, EVP_PKEY_encrypt_init, EVP_PKEY_encrypt, message);
    });

    std::string const decrypting = "RSA-" + size + " decrypt block " + suffix;
    add(decrypting, "library", 0, [=] {
        return [=, decryptor = (provider.*createDecryptor)(keys().privateKey, padding, prng()),
                block = encrypt(keys().rawPublicKey.get(), padding, message)] {
            benchmark::DoNotOptimize(decryptor->decrypt(block));
        };
    });
    add(decrypting, "same calls", 0, [=] {
        return [=, key = keys().rawPrivateKey, block = encrypt(keys().rawPublicKey.get(), padding, message)] {
            benchmark::DoNotOptimize(
                transform(key.get(), padding, EVP_PKEY_decrypt_init, EVP_PKEY_decrypt, block.data(), block.size()));
        };
    });
    add(decrypting, "best", 0, [=] {
        return bestTransform(keys().rawPrivateKey.get(), padding, EVP_PKEY_decrypt_init, EVP_PKEY_decrypt,
                             encrypt(keys().rawPublicKey.get(), padding, message));
    });
}

void addStream() {
    constexpr std::size_t size = 19000; // 100 blocks of 190 bytes
    constexpr std::size_t chunk = 190;
    std::string const name = "RSA-2048 encrypt stream OAEP/19000/";
    std::string const content(size, 'a');
    add(name, "library", size, [=] {
        return [encryptor = provider.createRSA2048Encryptor(rsa2048().publicKey, oaep, prng()),
                input = std::make_shared<std::istringstream>(content)] {
            input->clear();
            input->seekg(0);
            std::ostringstream output;
            encryptor->encrypt(*input, output);
            benchmark::DoNotOptimize(output);
        };
    });
    add(name, "same calls", size, [=] {
        return [=, key = rsa2048().rawPublicKey, input = std::make_shared<std::istringstream>(content)] {
            input->clear();
            input->seekg(0);
            std::ostringstream output;
            ByteArray piece(chunk);
            while (input->read(reinterpret_cast<char*>(piece.data()), chunk), input->gcount() > 0) {
                ByteArray const block = transform(key.get(), oaep, EVP_PKEY_encrypt_init, EVP_PKEY_encrypt,
                                                  piece.data(), static_cast<std::size_t>(input->gcount()));
                output.write(reinterpret_cast<char const*>(block.data()), static_cast<std::streamsize>(block.size()));
            }
            benchmark::DoNotOptimize(output);
        };
    });
    add(name, "best", size, [=] {
        return [=, context = newContext(rsa2048().rawPublicKey.get(), oaep, EVP_PKEY_encrypt_init)] {
            ByteArray output(size / chunk * 256);
            for (std::size_t block = 0; block < size / chunk; ++block) {
                std::size_t written = 256;
                mustSucceed(EVP_PKEY_encrypt(context.get(), output.data() + (block * 256), &written,
                                             reinterpret_cast<unsigned char const*>(content.data()) + (block * chunk),
                                             chunk) == 1);
            }
            benchmark::DoNotOptimize(output);
        };
    });
}

[[maybe_unused]] bool const registered = [] {
    for (auto const padding : {oaep, pkcs1}) {
        addBlocks("2048", &rsa2048, &CryptoProvider::createRSA2048Encryptor, &CryptoProvider::createRSA2048Decryptor,
                  padding);
        addBlocks("4096", &rsa4096, &CryptoProvider::createRSA4096Encryptor, &CryptoProvider::createRSA4096Decryptor,
                  padding);
    }
    addStream();
    return true;
}();

} // namespace
