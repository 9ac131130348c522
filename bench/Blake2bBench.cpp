#include "Case.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <openssl/core_names.h>
#include <openssl/evp.h>

#include <array>
#include <memory>

namespace {

using namespace bench;
using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::ByteArray;

CryptoProvider const provider;

using DigestContext = Held<EVP_MD_CTX, EVP_MD_CTX_free>;
using MACContext = Held<EVP_MAC_CTX, EVP_MAC_CTX_free>;

constexpr std::size_t digestSize = 32;

/// A context as the library makes one for each message.
DigestContext newDigestContext() {
    DigestContext context(EVP_MD_CTX_new());
    std::size_t size = digestSize;
    OSSL_PARAM const parameters[] = {OSSL_PARAM_construct_size_t(OSSL_DIGEST_PARAM_SIZE, &size),
                                     OSSL_PARAM_construct_end()};
    mustSucceed(EVP_DigestInit_ex2(context.get(), EVP_blake2b512(), parameters) == 1);
    return context;
}

MACContext newMACContext() {
    Held<EVP_MAC, EVP_MAC_free> const mac(EVP_MAC_fetch(nullptr, "BLAKE2BMAC", nullptr));
    MACContext context(EVP_MAC_CTX_new(mac.get()));
    std::array<unsigned char, 32> key{};
    std::size_t size = digestSize;
    OSSL_PARAM const parameters[] = {OSSL_PARAM_construct_octet_string(OSSL_MAC_PARAM_KEY, key.data(), key.size()),
                                     OSSL_PARAM_construct_size_t(OSSL_MAC_PARAM_SIZE, &size),
                                     OSSL_PARAM_construct_end()};
    mustSucceed(EVP_MAC_init(context.get(), nullptr, 0, parameters) == 1);
    return context;
}

void addLibrary(std::string const& name, std::size_t size, ByteArray const& key) {
    add(name, "library", size, [=] {
        return [engine = provider.createBlake2bDigestEngineWithCustomSize(key, {}, digestSize),
                message = ByteArray(size)] { benchmark::DoNotOptimize(engine->computeDigest(message)); };
    });
}

void addDigest(std::size_t size) {
    std::string const name = "BLAKE2b buffer/" + std::to_string(size) + "/";
    addLibrary(name, size, {});
    add(name, "same calls", size, [=] {
        auto const context = std::make_shared<DigestContext>(newDigestContext());
        return [=, message = ByteArray(size)] {
            EVP_DigestUpdate(context->get(), message.data(), message.size());
            ByteArray digest(digestSize);
            mustSucceed(EVP_DigestFinal_ex(context->get(), digest.data(), nullptr) == 1);
            *context = newDigestContext();
            benchmark::DoNotOptimize(digest);
        };
    });
    add(name, "best", size, [=] {
        std::shared_ptr<EVP_MD_CTX> const context(newDigestContext());
        return [context, message = ByteArray(size)] {
            std::array<unsigned char, digestSize> digest;
            EVP_DigestInit_ex2(context.get(), nullptr, nullptr); // keeps the size
            EVP_DigestUpdate(context.get(), message.data(), message.size());
            mustSucceed(EVP_DigestFinal_ex(context.get(), digest.data(), nullptr) == 1);
            benchmark::DoNotOptimize(digest);
        };
    });
}

void addMAC(std::size_t size) {
    std::string const name = "BLAKE2b keyed buffer/" + std::to_string(size) + "/";
    addLibrary(name, size, ByteArray(32));
    add(name, "same calls", size, [=] {
        auto const context = std::make_shared<MACContext>(newMACContext());
        return [=, message = ByteArray(size)] {
            EVP_MAC_update(context->get(), message.data(), message.size());
            ByteArray code(digestSize);
            std::size_t written = 0;
            mustSucceed(EVP_MAC_final(context->get(), code.data(), &written, code.size()) == 1);
            *context = newMACContext();
            benchmark::DoNotOptimize(code);
        };
    });
    add(name, "best", size, [=] {
        std::shared_ptr<EVP_MAC_CTX> const context(newMACContext());
        return [context, message = ByteArray(size)] {
            std::array<unsigned char, digestSize> code;
            std::size_t written = 0;
            EVP_MAC_init(context.get(), nullptr, 0, nullptr); // keeps the key
            EVP_MAC_update(context.get(), message.data(), message.size());
            mustSucceed(EVP_MAC_final(context.get(), code.data(), &written, code.size()) == 1);
            benchmark::DoNotOptimize(code);
        };
    });
}

[[maybe_unused]] bool const registered = [] {
    for (std::size_t const size : messageSizes) {
        addDigest(size);
    }
    for (std::size_t const size : messageSizes) {
        addMAC(size);
    }
    return true;
}();

} // namespace
