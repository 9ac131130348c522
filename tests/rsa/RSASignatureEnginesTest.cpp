#include "RSASigning.h"
#include "support/Bytes.h"
#include "support/Engines.h"
#include "support/Provider.h"
#include "support/RSA.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <pthread.h>
#include <sstream>
#include <stdexcept>
#include <string>

namespace {

using namespace support;
using namespace foundation::crypto::utils;

std::string const noEngine = "The digest engine does not exist.";

TEST(RSASignatureEngines, OnlyNameTheHash) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    auto const busy = provider.createSHA256DigestEngine();
    busy->update(bytes("ab"));
    ByteArray const signature = user.signer(pkcs1)->sign(bytes("message"), busy);
    EXPECT_TRUE(user.verifier(pkcs1)->verify(bytes("message"), signature, busy).isValid());
    EXPECT_EQ(busy->computeDigest(bytes("c")), engineNamed("sha256")->computeDigest(bytes("abc")));

    EXPECT_EQ(user.signer(pkcs1)->sign(bytes("message"), hostEngine("sha256")), signature);
    EXPECT_TRUE(user.verifier(pkcs1)->verify(bytes("message"), signature, hostEngine("sha256")).isValid());
}

TEST(RSASignatureEngines, ThatDoNotExistAreRefused) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    for (RSAPaddingMode const padding : {pkcs1, pss, unknown}) {
        EXPECT_THROWS(InternalException, noEngine, user.signer(padding)->sign(bytes("message"), nullptr));
        EXPECT_FALSE(user.verifier(padding)->verify(bytes("message"), ByteArray(256), nullptr).isValid());
        std::istringstream message("message");
        EXPECT_THROWS(InternalException, noEngine, user.signer(padding)->sign(message, nullptr));
        EXPECT_TRUE(message.eof()); // it was read before
        std::istringstream again("message");
        EXPECT_FALSE(user.verifier(padding)->verify(again, ByteArray(256), nullptr).isValid());
        EXPECT_TRUE(again.eof());
    }
}

TEST(RSASignatureEngines, ThatNameNoHashForRSAAreRefused) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    ByteArray const signature = sign(*user.signer(pkcs1), bytes("message"));
    for (std::string const name : {"no such hash", "", "sha-257", "shake256", "blake2b512"}) {
        SCOPED_TRACE(name);
        for (RSAPaddingMode const padding : {pkcs1, pss, unknown}) {
            EXPECT_THROWS(InternalException, notInitialized,
                          user.signer(padding)->sign(bytes("message"), hostEngine(name)));
            EXPECT_FALSE(user.verifier(padding)->verify(bytes("message"), signature, hostEngine(name)).isValid());
        }
    }
}

/// What a thread comes to that runs `work`.
void* resultOfThread(std::function<void()> work) {
    pthread_t thread{};
    EXPECT_EQ(pthread_create(
                  &thread, nullptr,
                  [](void* given) -> void* { return (*static_cast<decltype(work)*>(given))(), nullptr; }, &work),
              0);
    void* result = nullptr;
    EXPECT_EQ(pthread_join(thread, &result), 0);
    return result;
}

TEST(RSASignatureEngines, MayCancelTheThreadThatAsksThem) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    auto const cancelling = hostEngine([]() -> std::string {
        pthread_cancel(pthread_self());
        pthread_testcancel();
        return "sha256";
    });
    EXPECT_EQ(resultOfThread([&] { user.signer(pkcs1)->sign(bytes("message"), cancelling); }), PTHREAD_CANCELED);
    EXPECT_EQ(resultOfThread([&] { user.verifier(pkcs1)->verify(bytes("message"), ByteArray(256), cancelling); }),
              PTHREAD_CANCELED);
}

TEST(RSASignatureEngines, ThatThrowAreReportedWhenSigningAndInvalidWhenVerifying) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    ByteArray const signature = sign(*user.signer(pkcs1), bytes("message"));
    auto const throwing = hostEngine([]() -> std::string { throw std::runtime_error("the engine room is flooded"); });
    auto const throwingOurs = hostEngine([]() -> std::string { throw UnsupportedDigestAlgorithm("not this one"); });
    auto const throwingMemory = hostEngine([]() -> std::string { throw std::bad_alloc(); });

    EXPECT_THROWS(InternalException, "the engine room is flooded",
                  user.signer(pkcs1)->sign(bytes("message"), throwing));
    EXPECT_THROWS(UnsupportedDigestAlgorithm, "not this one", user.signer(pkcs1)->sign(bytes("message"), throwingOurs));
    EXPECT_THROWS(InternalException, "std::bad_alloc", user.signer(pkcs1)->sign(bytes("message"), throwingMemory));
    for (auto const& engine : {throwing, throwingOurs, throwingMemory}) {
        EXPECT_FALSE(user.verifier(pkcs1)->verify(bytes("message"), signature, engine).isValid());
        std::istringstream message("message");
        EXPECT_FALSE(user.verifier(pkcs1)->verify(message, signature, engine).isValid());
    }
}

TEST(RSASignatureEngines, ThatThrowWhatIsNoStandardExceptionAreNotHindered) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    auto const throwing = hostEngine([]() -> std::string { throw 42; });
    EXPECT_THROW(user.signer(pkcs1)->sign(bytes("message"), throwing), int);
    EXPECT_THROW(user.verifier(pkcs1)->verify(bytes("message"), ByteArray(256), throwing), int);
    std::istringstream message("message");
    EXPECT_THROW(user.verifier(pkcs1)->verify(message, ByteArray(256), throwing), int);
}

TEST(RSASignatureEngines, OfHMACSignAsTheirPlainHashAndOfBLAKE2bNotAtAll) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    ByteArray const signature = sign(*user.signer(pkcs1), bytes("message"));
    auto const hmac = provider.createHMACSHA256DigestEngine(bytes("key"));
    EXPECT_EQ(user.signer(pkcs1)->sign(bytes("message"), hmac), signature);
    EXPECT_TRUE(user.verifier(pkcs1)->verify(bytes("message"), signature, hmac).isValid());
    for (auto const& blake2b : {provider.createBlake2bDigestEngine({}, {}),
                                provider.createBlake2bDigestEngine(bytes("key"), ByteArray(16))}) {
        EXPECT_THROWS(InternalException, notInitialized, user.signer(pkcs1)->sign(bytes("message"), blake2b));
        EXPECT_FALSE(user.verifier(pkcs1)->verify(bytes("message"), signature, blake2b).isValid());
    }
}

} // namespace
