// What constructing a provider asks of libcrypto.
#include "support/Faults.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <gtest/gtest.h>

#include <openssl/crypto.h>

namespace {

using namespace support;
using foundation::crypto::openssl::CryptoProvider;

TEST(ProviderInitialization, AddsTheDigestsAndThenTheErrorTexts) {
    for (int time = 0; time < 2; ++time) {
        Recording const recording;
        CryptoProvider const provider;
        ASSERT_EQ(recording.functions(), (std::vector<std::string>{"OPENSSL_init_crypto", "OPENSSL_init_crypto"}));
        EXPECT_EQ(recording.calls()[0].arguments, (std::vector<std::intptr_t>{OPENSSL_INIT_ADD_ALL_DIGESTS, 0}));
        EXPECT_EQ(recording.calls()[1].arguments, (std::vector<std::intptr_t>{OPENSSL_INIT_LOAD_CRYPTO_STRINGS, 0}));
    }
}

TEST(ProviderInitialization, IgnoresWhatLibcryptoSaysToIt) {
    Failing const first("OPENSSL_init_crypto", 1);
    Failing const second("OPENSSL_init_crypto", 2);
    EXPECT_NO_THROW(CryptoProvider());
}

} // namespace
