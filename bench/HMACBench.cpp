#include "Case.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <openssl/core_names.h>
#include <openssl/evp.h>

#include <array>
#include <memory>
#include <sstream>

namespace {

using namespace bench;
using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::ByteArray;

CryptoProvider const provider;

using Context = Held<EVP_MAC_CTX, EVP_MAC_CTX_free>;

/// A keyed context as the library makes one for each message.
Context newContext(char const* digest, ByteArray& key) {
    EVP_MD const* const md = EVP_get_digestbyname(digest);
    Held<EVP_MAC, EVP_MAC_free> const mac(EVP_MAC_fetch(nullptr, "HMAC", nullptr));
    Context context(EVP_MAC_CTX_new(mac.get()));
    OSSL_PARAM const parameters[] = {
        OSSL_PARAM_construct_octet_string(OSSL_MAC_PARAM_KEY, key.data(), key.size()),
        OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, const_cast<char*>(EVP_MD_get0_name(md)), 0),
        OSSL_PARAM_construct_end()};
    mustSucceed(EVP_MAC_init(context.get(), nullptr, 0, parameters) == 1);
    return context;
}

ByteArray finalize(Context& context, char const* digest, ByteArray& key, std::size_t size) {
    ByteArray code(size);
    std::size_t written = 0;
    mustSucceed(EVP_MAC_final(context.get(), code.data(), &written, code.size()) == 1);
    context = newContext(digest, key);
    return code;
}

/// One message after the other through one engine.
void addBuffers(std::string const& algorithm, char const* digest, std::size_t codeSize,
                decltype(&CryptoProvider::createHMACSHA1DigestEngine) create) {
    for (std::size_t const size : messageSizes) {
        std::string const name = algorithm + " buffer/" + std::to_string(size) + "/";
        add(name, "library", size, [=] {
            return [engine = (provider.*create)(ByteArray(32, 'k')), message = ByteArray(size)] {
                benchmark::DoNotOptimize(engine->computeDigest(message));
            };
        });
        add(name, "same calls", size, [=] {
            auto const key = std::make_shared<ByteArray>(32, 'k');
            auto const context = std::make_shared<Context>(newContext(digest, *key));
            return [=, message = ByteArray(size)] {
                EVP_MAC_update(context->get(), message.data(), message.size());
                benchmark::DoNotOptimize(finalize(*context, digest, *key, codeSize));
            };
        });
        add(name, "best", size, [=] {
            ByteArray key(32, 'k');
            std::shared_ptr<EVP_MAC_CTX> const context(newContext(digest, key));
            return [context, message = ByteArray(size)] {
                std::array<unsigned char, EVP_MAX_MD_SIZE> code;
                std::size_t written = 0;
                EVP_MAC_init(context.get(), nullptr, 0, nullptr); // keeps the key and its schedule
                EVP_MAC_update(context.get(), message.data(), message.size());
                mustSucceed(EVP_MAC_final(context.get(), code.data(), &written, code.size()) == 1);
                benchmark::DoNotOptimize(code);
            };
        });
    }
}

void addStream() {
    constexpr std::size_t size = 1 << 20;
    std::string const name = "HMAC-SHA256 stream/1 MiB/";
    std::string const content(size, 'a');
    add(name, "library", size, [=] {
        return [engine = provider.createHMACSHA256DigestEngine(ByteArray(32, 'k')),
                stream = std::make_shared<std::istringstream>(content)] {
            stream->clear();
            stream->seekg(0);
            benchmark::DoNotOptimize(engine->computeDigest(*stream));
        };
    });
    add(name, "same calls", size, [=] {
        auto const key = std::make_shared<ByteArray>(32, 'k');
        auto const context = std::make_shared<Context>(newContext("sha256", *key));
        return [=, stream = std::make_shared<std::istringstream>(content)] {
            stream->clear();
            stream->seekg(0);
            std::array<char, 1024> chunk;
            while (stream->good()) {
                stream->read(chunk.data(), chunk.size());
                EVP_MAC_update(context->get(), reinterpret_cast<unsigned char const*>(chunk.data()),
                               static_cast<std::size_t>(stream->gcount()));
            }
            benchmark::DoNotOptimize(finalize(*context, "sha256", *key, 32));
        };
    });
    add(name, "best", size, [=] {
        ByteArray key(32, 'k');
        std::shared_ptr<EVP_MAC_CTX> const context(newContext("sha256", key));
        return [context, content] {
            std::array<unsigned char, EVP_MAX_MD_SIZE> code;
            std::size_t written = 0;
            EVP_MAC_init(context.get(), nullptr, 0, nullptr);
            EVP_MAC_update(context.get(), reinterpret_cast<unsigned char const*>(content.data()), content.size());
            mustSucceed(EVP_MAC_final(context.get(), code.data(), &written, code.size()) == 1);
            benchmark::DoNotOptimize(code);
        };
    });
}

[[maybe_unused]] bool const registered = [] {
    addBuffers("HMAC-SHA1", "sha1", 20, &CryptoProvider::createHMACSHA1DigestEngine);
    addBuffers("HMAC-SHA256", "sha256", 32, &CryptoProvider::createHMACSHA256DigestEngine);
    addBuffers("HMAC-SHA512", "sha512", 64, &CryptoProvider::createHMACSHA512DigestEngine);
    addStream();
    return true;
}();

} // namespace
