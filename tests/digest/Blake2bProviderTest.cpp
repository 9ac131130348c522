// BLAKE2b by a provider that knows no parameters: libcrypto's contract lets it pass over those that it is given, the
// size of the digest among them.
#include "support/Bytes.h"
#include "support/Throws.h"

#include <foundation/crypto/openssl/CryptoProvider.h>
#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/core_dispatch.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/params.h>
#include <openssl/provider.h>

#include <algorithm>
#include <cstddef>

namespace {

using namespace support;
using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::InternalException;

constexpr std::size_t onlySize = 64;
constexpr unsigned char everyByte = 0xaa; // of every digest of this provider

void* newContext(void* /*provider*/) {
    return new unsigned char;
}

void freeContext(void* context) {
    delete static_cast<unsigned char*>(context);
}

int initializeDigest(void* /*context*/, OSSL_PARAM const* /*parameters*/) {
    return 1;
}

int initializeMAC(void* /*context*/, unsigned char const* /*key*/, std::size_t /*size*/,
                  OSSL_PARAM const* /*parameters*/) {
    return 1;
}

int update(void* /*context*/, unsigned char const* /*data*/, std::size_t /*size*/) {
    return 1;
}

int finalize(void* /*context*/, unsigned char* out, std::size_t* size, std::size_t /*capacity*/) {
    std::fill_n(out, onlySize, everyByte);
    *size = onlySize;
    return 1;
}

int tellSize(OSSL_PARAM* parameters) {
    OSSL_PARAM* const size = OSSL_PARAM_locate(parameters, OSSL_DIGEST_PARAM_SIZE);
    OSSL_PARAM* const blockSize = OSSL_PARAM_locate(parameters, OSSL_DIGEST_PARAM_BLOCK_SIZE);
    return static_cast<int>((size == nullptr || OSSL_PARAM_set_size_t(size, onlySize) == 1) &&
                            (blockSize == nullptr || OSSL_PARAM_set_size_t(blockSize, 128) == 1));
}

template <class Function> OSSL_DISPATCH entry(int id, Function* function) {
    return {id, reinterpret_cast<void (*)()>(function)};
}

OSSL_ALGORITHM const* algorithmsOf(void* /*provider*/, int operation, int* noCache) {
    static OSSL_DISPATCH const digest[] = {entry(OSSL_FUNC_DIGEST_NEWCTX, newContext),
                                           entry(OSSL_FUNC_DIGEST_FREECTX, freeContext),
                                           entry(OSSL_FUNC_DIGEST_INIT, initializeDigest),
                                           entry(OSSL_FUNC_DIGEST_UPDATE, update),
                                           entry(OSSL_FUNC_DIGEST_FINAL, finalize),
                                           entry(OSSL_FUNC_DIGEST_GET_PARAMS, tellSize),
                                           {0, nullptr}};
    static OSSL_DISPATCH const mac[] = {entry(OSSL_FUNC_MAC_NEWCTX, newContext),
                                        entry(OSSL_FUNC_MAC_FREECTX, freeContext),
                                        entry(OSSL_FUNC_MAC_INIT, initializeMAC),
                                        entry(OSSL_FUNC_MAC_UPDATE, update),
                                        entry(OSSL_FUNC_MAC_FINAL, finalize),
                                        entry(OSSL_FUNC_MAC_GET_PARAMS, tellSize),
                                        {0, nullptr}};
    static OSSL_ALGORITHM const digests[] = {{"BLAKE2B-512:BLAKE2b512", "provider=stubborn", digest, nullptr},
                                             {nullptr, nullptr, nullptr, nullptr}};
    static OSSL_ALGORITHM const macs[] = {{"BLAKE2BMAC", "provider=stubborn", mac, nullptr},
                                          {nullptr, nullptr, nullptr, nullptr}};
    *noCache = 0;
    return operation == OSSL_OP_DIGEST ? digests : operation == OSSL_OP_MAC ? macs : nullptr;
}

int startProvider(OSSL_CORE_HANDLE const* handle, OSSL_DISPATCH const* /*core*/, OSSL_DISPATCH const** functions,
                  void** provider) {
    static OSSL_DISPATCH const table[] = {entry(OSSL_FUNC_PROVIDER_QUERY_OPERATION, algorithmsOf), {0, nullptr}};
    *functions = table;
    *provider = const_cast<OSSL_CORE_HANDLE*>(handle);
    return 1;
}

class StubbornProvider : public testing::Test {
protected:
    StubbornProvider() {
        OSSL_PROVIDER_add_builtin(nullptr, "stubborn", startProvider);
        stubborn_ = OSSL_PROVIDER_try_load(nullptr, "stubborn", 1);
        EXPECT_NE(stubborn_, nullptr);
        EVP_set_default_properties(nullptr, "?provider=stubborn");
    }

    ~StubbornProvider() override {
        EVP_set_default_properties(nullptr, "");
        OSSL_PROVIDER_unload(stubborn_);
    }

    CryptoProvider const provider_;

private:
    OSSL_PROVIDER* stubborn_ = nullptr;
};

TEST_F(StubbornProvider, AnswersTheFetch) {
    EXPECT_EQ(provider_.createBlake2bDigestEngine({}, {})->computeDigest(bytes("abc")), ByteArray(onlySize, everyByte));
    EXPECT_EQ(provider_.createBlake2bDigestEngine(bytes("key"), {})->computeDigest(bytes("abc")),
              ByteArray(onlySize, everyByte));
}

TEST_F(StubbornProvider, MakesNoHashOfAnotherSize) {
    for (unsigned long const size : {1UL, 20UL, 63UL}) {
        EXPECT_THROWS(InternalException, "Could not initialize the digest context in non-MAC mode.",
                      provider_.createBlake2bDigestEngineWithCustomSize({}, {}, size)->computeDigest(bytes("abc")));
    }
}

TEST_F(StubbornProvider, MakesNoMACOfAnotherSize) {
    for (unsigned long const size : {1UL, 20UL, 63UL}) {
        auto const engine = provider_.createBlake2bDigestEngineWithCustomSize(bytes("key"), {}, size);
        EXPECT_THROWS(InternalException, "Failed to finalize the digest generation in Blake-2b MAC mode.",
                      engine->computeDigest(bytes("abc")));
    }
}

} // namespace
