#include "RSAKeyOperations.h"
#include "support/Bytes.h"
#include "support/Faults.h"
#include "support/Provider.h"
#include "support/Throws.h"

#include <gtest/gtest.h>

#include <openssl/bn.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <openssl/pem.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace support;

using Functions = std::vector<std::string>;

Functions callsOf(std::function<void()> const& operation) {
    Recording const recording;
    operation();
    return recording.functions();
}

TEST(RSAKeyCalls, OfGenerationAreThoseThatTheWorkNeeds) {
    auto const prng = provider.createDefaultCryptoPRNG({});
    Recording const recording;
    {
        KeyPair const pair(prng);
    }
    Functions functions = recording.functions();
    functions.resize(9);
    EXPECT_EQ(functions,
              (Functions{"EVP_PKEY_Q_keygen", "BIO_new", "PEM_write_bio_PUBKEY", "BIO_new", "PEM_write_bio_PrivateKey",
                         "PEM_read_bio_PUBKEY", "PEM_read_bio_PrivateKey", "BIO_free_all", "BIO_free_all"}));
    EXPECT_EQ(recording.callsOf("EVP_PKEY_Q_keygen").at(0).arguments.at(3), 1024);
    EXPECT_EQ(recording.count("EVP_PKEY_free"), 3U);
    EXPECT_EQ(recording.count("RAND_bytes"), 0U);
    EXPECT_EQ(callsOf([] { catchFrom([] { KeyPair const pair(nullptr); }); }), Functions());
}

TEST(RSAKeyCalls, OfPEMAreThoseThatTheWorkNeeds) {
    EXPECT_EQ(callsOf(loadPrivatePEM), (Functions{"BIO_new", "BIO_write", "PEM_read_bio_PrivateKey", "BIO_free_all",
                                                  "EVP_PKEY_get_bits", "EVP_PKEY_free"}));
    EXPECT_EQ(callsOf(loadPublicPEM), (Functions{"BIO_new", "BIO_write", "PEM_read_bio_PUBKEY", "BIO_free_all",
                                                 "EVP_PKEY_get_bits", "EVP_PKEY_free"}));
    EXPECT_EQ(callsOf([] { catchFrom([] { PrivateKey const none(key("public.pem")); }); }),
              (Functions{"BIO_new", "BIO_write", "PEM_read_bio_PrivateKey", "BIO_free_all"}));
}

TEST(RSAKeyCalls, OfDERAreThoseThatTheWorkNeeds) {
    EXPECT_EQ(callsOf(loadEncryptedDER), (Functions{"BIO_new", "BIO_write", "d2i_PKCS8PrivateKey_bio", "BIO_free_all",
                                                    "EVP_PKEY_get_bits", "EVP_PKEY_free"}));
    EXPECT_EQ(callsOf(loadPrivateDER),
              (Functions{"BIO_new", "BIO_write", "d2i_PKCS8PrivateKey_bio", "BIO_ctrl", "BIO_write",
                         "d2i_PrivateKey_bio", "BIO_free_all", "EVP_PKEY_get_bits", "EVP_PKEY_free"}));
    EXPECT_EQ(callsOf(loadPublicDER), (Functions{"BIO_new", "BIO_write", "d2i_PUBKEY_bio", "BIO_free_all",
                                                 "EVP_PKEY_get_bits", "EVP_PKEY_free"}));
    EXPECT_EQ(callsOf([] { catchFrom([] { PublicKey const none(key("traditional-public.der")); }); }),
              (Functions{"BIO_new", "BIO_write", "d2i_PUBKEY_bio", "BIO_free_all"}));
}

TEST(RSAKeyCalls, GiveEveryReaderAPassPhrase) {
    for (auto const& [function, operation] :
         {std::pair("PEM_read_bio_PrivateKey", &loadPrivatePEM), std::pair("PEM_read_bio_PrivateKey", &readPrivatePEM),
          std::pair("PEM_read_bio_PrivateKey", &queryPrivateStream),
          std::pair("d2i_PKCS8PrivateKey_bio", &loadPrivateDER), std::pair("PEM_read_bio_PUBKEY", &loadPublicPEM),
          std::pair("PEM_read_bio_PUBKEY", &readPublicPEM), std::pair("PEM_read_bio_PUBKEY", &queryPublicStream)}) {
        Recording const recording;
        operation();
        std::vector<std::intptr_t> const arguments = recording.callsOf(function).at(0).arguments;
        EXPECT_EQ(arguments.at(1), 0) << function;
        EXPECT_EQ(arguments.at(2), 0) << function;
        EXPECT_NE(arguments.at(3), 0) << function;
    }
}

TEST(RSAKeyCalls, WriteWithoutCipherOrPassPhrase) {
    for (auto const& [function, operation] :
         {std::pair("i2d_PKCS8PrivateKey_bio", &exportPrivate), std::pair("PEM_write_bio_PrivateKey", &generate)}) {
        Recording const recording;
        operation();
        std::vector<std::intptr_t> const arguments = recording.callsOf(function).at(0).arguments;
        EXPECT_EQ(std::vector<std::intptr_t>(arguments.begin() + 2, arguments.end()), std::vector<std::intptr_t>(5, 0));
    }
}

// libcrypto takes no more of it, but counts it in 32 bits before.
TEST(RSAKeyCalls, SeeNoMoreThan1024CharactersOfAPassPhrase) {
    std::vector<std::size_t> sizes;
    auto const look = [&](auto real, auto input, auto key, auto callback, void* phrase) {
        EXPECT_EQ(callback, nullptr);
        sizes.push_back(std::strlen(static_cast<char const*>(phrase)));
        return real(input, key, callback, phrase);
    };
    Replacing<decltype(PEM_read_bio_PrivateKey)> const pem("PEM_read_bio_PrivateKey", look);
    Replacing<decltype(d2i_PKCS8PrivateKey_bio)> const der("d2i_PKCS8PrivateKey_bio", look);
    for (char const* const form : {"encrypted.pem", "encrypted.der"}) {
        for (std::size_t const size : {0U, 8U, 1023U, 1024U, 1025U, 100000U}) {
            std::istringstream stream(text(key(form)));
            catchFrom([&] { PrivateKey const loaded(stream, std::string(size, 'p')); });
        }
    }
    std::vector<std::size_t> const expected{0, 8, 1023, 1024, 1024, 1024};
    EXPECT_EQ(std::vector<std::size_t>(sizes.begin(), sizes.begin() + 6), expected);
    EXPECT_EQ(std::vector<std::size_t>(sizes.begin() + 6, sizes.end()), expected);

    std::istringstream stream(text(key("encrypted.pem")));
    EXPECT_NO_THROW(PrivateKey(stream, "password" + std::string(5000, '\0'))); // it ends at the first NUL
}

TEST(RSAKeyCalls, OfBuildingAreThoseThatTheWorkNeeds) {
    Recording const recording;
    buildPrivate();
    EXPECT_EQ(recording.functions(), (Functions{"EVP_PKEY_new",
                                                "BN_bin2bn",
                                                "BN_bin2bn",
                                                "BN_bin2bn",
                                                "OSSL_PARAM_BLD_new",
                                                "OSSL_PARAM_BLD_push_BN",
                                                "OSSL_PARAM_BLD_push_BN",
                                                "OSSL_PARAM_BLD_push_BN",
                                                "OSSL_PARAM_BLD_to_param",
                                                "EVP_PKEY_CTX_new_from_name",
                                                "EVP_PKEY_fromdata_init",
                                                "EVP_PKEY_fromdata",
                                                "EVP_PKEY_CTX_free",
                                                "OSSL_PARAM_free",
                                                "OSSL_PARAM_BLD_free",
                                                "EVP_PKEY_free",
                                                "BN_free",
                                                "BN_free",
                                                "BN_free",
                                                "EVP_PKEY_get_bits",
                                                "EVP_PKEY_free"}));
    EXPECT_EQ(recording.callsOf("EVP_PKEY_fromdata").at(0).arguments.at(2), 0x87);
    buildPublic();
    EXPECT_EQ(recording.callsOf("EVP_PKEY_fromdata").at(1).arguments.at(2), 0x87);
}

TEST(RSAKeyCalls, PushTheNumbersInOrder) {
    std::string pushed;
    Replacing<decltype(OSSL_PARAM_BLD_push_BN)> const listening(
        "OSSL_PARAM_BLD_push_BN", [&](auto real, OSSL_PARAM_BLD* builder, char const* name, BIGNUM const* number) {
            pushed += name;
            std::vector<unsigned char> value(static_cast<std::size_t>(BN_num_bytes(number)));
            BN_bn2bin(number, value.data());
            EXPECT_EQ(value, numbers().bytes(name));
            return real(builder, name, number);
        });
    buildPrivate();
    buildPublic();
    EXPECT_EQ(pushed, "nedne");
}

} // namespace
