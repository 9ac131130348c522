#include "Case.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <openssl/evp.h>

#include <array>
#include <memory>
#include <sstream>

namespace {

using namespace bench;
using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::ByteArray;

CryptoProvider const provider;

using Context = Held<EVP_MD_CTX, EVP_MD_CTX_free>;
using Digest = Held<EVP_MD, EVP_MD_free>;

/// One message after the other through one engine.
void addBuffers(std::string const& algorithm, decltype(&CryptoProvider::createMD5DigestEngine) create,
                EVP_MD const* md) {
    for (std::size_t const size : messageSizes) {
        std::string const name = algorithm + " buffer/" + std::to_string(size) + "/";
        add(name, "library", size, [=] {
            return [engine = (provider.*create)(), message = ByteArray(size)] {
                benchmark::DoNotOptimize(engine->computeDigest(message));
            };
        });
        add(name, "same calls", size, [=] {
            std::shared_ptr<EVP_MD_CTX> const context = Context(EVP_MD_CTX_new());
            mustSucceed(EVP_DigestInit_ex(context.get(), md, nullptr) == 1);
            return [=, message = ByteArray(size)] {
                ByteArray digest(static_cast<std::size_t>(EVP_MD_get_size(md)));
                unsigned int written = 0;
                EVP_DigestUpdate(context.get(), message.data(), message.size());
                EVP_DigestFinal_ex(context.get(), digest.data(), &written);
                mustSucceed(EVP_DigestInit_ex(context.get(), nullptr, nullptr) == 1);
                benchmark::DoNotOptimize(digest);
            };
        });
        add(name, "best", size, [=] {
            std::shared_ptr<EVP_MD> const fetched = Digest(EVP_MD_fetch(nullptr, EVP_MD_get0_name(md), nullptr));
            std::shared_ptr<EVP_MD_CTX> const context = Context(EVP_MD_CTX_new());
            return [=, message = ByteArray(size)] {
                std::array<unsigned char, EVP_MAX_MD_SIZE> digest;
                unsigned int written = 0;
                EVP_DigestInit_ex2(context.get(), fetched.get(), nullptr);
                EVP_DigestUpdate(context.get(), message.data(), message.size());
                mustSucceed(EVP_DigestFinal_ex(context.get(), digest.data(), &written) == 1);
                benchmark::DoNotOptimize(digest);
            };
        });
    }
}

/// An engine made for one message.
void addCreation() {
    add("SHA256 creation and one message/64/", "library", 64, [] {
        return [message = ByteArray(64)] {
            benchmark::DoNotOptimize(provider.createSHA256DigestEngine()->computeDigest(message));
        };
    });
    add("SHA256 creation and one message/64/", "same calls", 64, [] {
        return [message = ByteArray(64)] {
            EVP_MD const* const md = EVP_get_digestbyname("sha256");
            Context const context(EVP_MD_CTX_new());
            ByteArray digest(32);
            unsigned int written = 0;
            EVP_DigestInit_ex(context.get(), md, nullptr);
            EVP_DigestUpdate(context.get(), message.data(), message.size());
            EVP_DigestFinal_ex(context.get(), digest.data(), &written);
            mustSucceed(EVP_DigestInit_ex(context.get(), nullptr, nullptr) == 1);
            benchmark::DoNotOptimize(digest);
        };
    });
    add("SHA256 creation and one message/64/", "best", 64, [] {
        std::shared_ptr<EVP_MD> const fetched = Digest(EVP_MD_fetch(nullptr, "SHA256", nullptr));
        return [fetched, message = ByteArray(64)] {
            std::array<unsigned char, EVP_MAX_MD_SIZE> digest;
            mustSucceed(EVP_Digest(message.data(), message.size(), digest.data(), nullptr, fetched.get(), nullptr) ==
                        1);
            benchmark::DoNotOptimize(digest);
        };
    });
}

void addStreams() {
    constexpr std::size_t size = 1 << 20;
    std::string const content(size, 'a');
    add("SHA256 stream/1 MiB/", "library", size, [=] {
        return [engine = provider.createSHA256DigestEngine(), stream = std::make_shared<std::istringstream>(content)] {
            stream->clear();
            stream->seekg(0);
            benchmark::DoNotOptimize(engine->computeDigest(*stream));
        };
    });
    add("SHA256 stream/1 MiB/", "same calls", size, [=] {
        std::shared_ptr<EVP_MD_CTX> const context = Context(EVP_MD_CTX_new());
        mustSucceed(EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) == 1);
        return [context, stream = std::make_shared<std::istringstream>(content)] {
            stream->clear();
            stream->seekg(0);
            std::array<char, 1024> chunk;
            while (stream->good()) {
                stream->read(chunk.data(), chunk.size());
                EVP_DigestUpdate(context.get(), chunk.data(), static_cast<std::size_t>(stream->gcount()));
            }
            ByteArray digest(32);
            unsigned int written = 0;
            EVP_DigestFinal_ex(context.get(), digest.data(), &written);
            mustSucceed(EVP_DigestInit_ex(context.get(), nullptr, nullptr) == 1);
            benchmark::DoNotOptimize(digest);
        };
    });
    add("SHA256 stream/1 MiB/", "best", size, [=] {
        std::shared_ptr<EVP_MD> const fetched = Digest(EVP_MD_fetch(nullptr, "SHA256", nullptr));
        return [fetched, content] {
            std::array<unsigned char, EVP_MAX_MD_SIZE> digest;
            mustSucceed(EVP_Digest(content.data(), content.size(), digest.data(), nullptr, fetched.get(), nullptr) ==
                        1);
            benchmark::DoNotOptimize(digest);
        };
    });
}

[[maybe_unused]] bool const registered = [] {
    addBuffers("MD5", &CryptoProvider::createMD5DigestEngine, EVP_md5());
    addBuffers("SHA1", &CryptoProvider::createSHA1DigestEngine, EVP_sha1());
    addBuffers("SHA224", &CryptoProvider::createSHA224DigestEngine, EVP_sha224());
    addBuffers("SHA256", &CryptoProvider::createSHA256DigestEngine, EVP_sha256());
    addBuffers("SHA384", &CryptoProvider::createSHA384DigestEngine, EVP_sha384());
    addBuffers("SHA512", &CryptoProvider::createSHA512DigestEngine, EVP_sha512());
    addCreation();
    addStreams();
    return true;
}();

} // namespace
