#include "support/Bytes.h"
#include "support/Engines.h"
#include "support/PEM.h"
#include "support/PRNG.h"
#include "support/PSS.h"
#include "support/Provider.h"
#include "support/Streams.h"
#include "support/Throws.h"
#include "support/Token.h"

#include <foundation/crypto/openssl/CryptoProvider.h>
#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace support;
using namespace foundation::crypto;
using interfaces::HSMSignerPtr;
using utils::HSMObject;
using utils::InternalException;
using utils::RSAPaddingMode;

std::string const notFound = "Failed to load the reference to the key on HSM";

constexpr auto otherPadding = static_cast<RSAPaddingMode>(5);

HSMSignerPtr signerFor(std::string const& uri, RSAPaddingMode padding = RSAPaddingMode::PSS) {
    return provider.createHSMSigner(HSMObject(Token::module(), uri), padding, nullptr);
}

DigestEnginePtr sha256() {
    return provider.createSHA256DigestEngine();
}

bool verifies(ByteArray const& publicKey, std::string const& digest, int saltSize, ByteArray const& message,
              ByteArray const& signature) {
    return isPSSWithSalt(saltSize, readPublic(text(publicKey)).get(), digest, message, signature);
}

class HSMSigner : public testing::Test {
protected:
    bool isSignedBySHA256(ByteArray const& content, ByteArray const& signature, std::string const& key = "rsa2048") {
        return verifies(token.publicKey(key), "sha256", 32, content, signature);
    }

    Token token;
    HSMSignerPtr const signer = signerFor(Token::uri("rsa2048"));
    ByteArray const message = bytes("a message");
};

TEST_F(HSMSigner, SignsAsManyBytesAsTheModulusHas) {
    ByteArray const signature = signer->sign(message, sha256());
    EXPECT_EQ(signature.size(), 256U);
    EXPECT_TRUE(isSignedBySHA256(message, signature));
    EXPECT_FALSE(isSignedBySHA256(bytes("another message"), signature));
}

TEST_F(HSMSigner, SignsWhatTheLibrarysOwnVerifierTakes) {
    auto const key = provider.createRSA2048PublicKey(token.publicKey("rsa2048"));
    auto const prng = provider.createDefaultCryptoPRNG({});
    for (auto const padding : {RSAPaddingMode::PSS, otherPadding}) {
        auto const verifier = provider.createRSA2048Verifier(key, padding, prng);
        for (auto const create : {&CryptoProvider::createSHA1DigestEngine, &CryptoProvider::createSHA224DigestEngine,
                                  &CryptoProvider::createSHA256DigestEngine, &CryptoProvider::createSHA384DigestEngine,
                                  &CryptoProvider::createSHA512DigestEngine}) {
            auto const engine = (provider.*create)();
            ByteArray signature = signerFor(Token::uri("rsa2048"), padding)->sign(message, engine);
            EXPECT_TRUE(verifier->verify(message, signature, engine).isValid()) << engine->getDigestName();
            EXPECT_FALSE(verifier->verify(bytes("another message"), signature, engine).isValid());
            EXPECT_FALSE(verifier->verify(message, signature, provider.createMD5DigestEngine()).isValid());
            signature.back() ^= 1;
            EXPECT_FALSE(verifier->verify(message, signature, engine).isValid());
        }
    }
    auto const otherScheme = provider.createRSA2048Verifier(key, RSAPaddingMode::PKCS1_V1_5, prng);
    EXPECT_FALSE(otherScheme->verify(message, signer->sign(message, sha256()), sha256()).isValid());
}

TEST_F(HSMSigner, SignsWithTheHashOfAnHMACEngine) {
    auto const engine = provider.createHMACSHA256DigestEngine(bytes("key"));
    EXPECT_TRUE(isSignedBySHA256(message, signer->sign(message, engine)));
}

TEST_F(HSMSigner, DrawsAFreshSaltForEachSignature) {
    EXPECT_NE(signer->sign(message, sha256()), signer->sign(message, sha256()));
}

TEST_F(HSMSigner, SignsTheEmptyMessage) {
    EXPECT_TRUE(isSignedBySHA256({}, signer->sign(ByteArray(), sha256())));
    std::istringstream stream;
    EXPECT_TRUE(isSignedBySHA256({}, signer->sign(stream, sha256())));
}

TEST_F(HSMSigner, SignsALongMessage) {
    ByteArray const large = pseudoRandomBytes(5'000'000);
    EXPECT_TRUE(isSignedBySHA256(large, signer->sign(large, sha256())));
}

TEST_F(HSMSigner, SignsWithKeysOfOtherSizes) {
    ByteArray const signature = signerFor(Token::uri("rsa3072"))->sign(message, sha256());
    EXPECT_EQ(signature.size(), 384U);
    EXPECT_TRUE(isSignedBySHA256(message, signature, "rsa3072"));
}

TEST_F(HSMSigner, ChoosesTheSaltByDigestAndPadding) {
    struct {
        decltype(&CryptoProvider::createSHA1DigestEngine) create;
        int saltOfPSS;
        int saltOfOthers;
    } const rows[] = {{&CryptoProvider::createSHA1DigestEngine, 20, 20},
                      {&CryptoProvider::createSHA256DigestEngine, 32, 32},
                      {&CryptoProvider::createSHA512DigestEngine, 64, 64},
                      {&CryptoProvider::createSHA224DigestEngine, 226, 28},
                      {&CryptoProvider::createSHA384DigestEngine, 206, 48}};

    ByteArray const publicKey = token.publicKey("rsa2048");
    for (auto const& [create, saltOfPSS, saltOfOthers] : rows) {
        auto const engine = (provider.*create)();
        std::string const digest = engine->getDigestNameForEVP_MD();
        EXPECT_TRUE(verifies(publicKey, digest, saltOfPSS, message, signer->sign(message, engine))) << digest;
        EXPECT_TRUE(verifies(publicKey, digest, saltOfOthers, message,
                             signerFor(Token::uri("rsa2048"), otherPadding)->sign(message, engine)))
            << digest;
    }
}

TEST_F(HSMSigner, CannotSignWithMD5) {
    EXPECT_THROWS(InternalException, "Could not generate digital signature",
                  signer->sign(message, provider.createMD5DigestEngine()));
}

TEST_F(HSMSigner, TakesEveryPaddingThatIsNotOfTheOthersForPSS) {
    for (int const value : {-1, 4, 5, 6, 7, 8, 9}) {
        auto const padded = signerFor(Token::uri("rsa2048"), static_cast<RSAPaddingMode>(value));
        EXPECT_TRUE(isSignedBySHA256(message, padded->sign(message, sha256()))) << value;
    }
}

TEST_F(HSMSigner, RefusesOtherPaddings) {
    for (int const value : {0, 1, 2}) {
        EXPECT_THROWS(InternalException, "Cannot use OAEP as Padding Algorithm for Signatures.",
                      signerFor(Token::uri("rsa2048"), static_cast<RSAPaddingMode>(value))->sign(message, sha256()));
    }
    EXPECT_THROWS(InternalException, "Cannot use PKCS#1 v1.5 as Padding Algorithm for Signatures.",
                  signerFor(Token::uri("rsa2048"), RSAPaddingMode::PKCS1_V1_5)->sign(message, sha256()));
}

TEST_F(HSMSigner, TellsTheSizeOfTheKey) {
    struct {
        char const* key;
        unsigned long bits;
    } const rows[] = {{"rsa1024", 1024}, {"rsa2048", 2048}, {"rsa3072", 3072}, {"p256", 256}};

    for (auto const& [key, bits] : rows) {
        EXPECT_EQ(signerFor(Token::uri(key))->getKeySize(), bits);
        EXPECT_EQ(signerFor(Token::uri(key), RSAPaddingMode::OAEP_SHA1)->getKeySize(), bits);
    }
}

TEST_F(HSMSigner, RefusesShortKeys) {
    for (char const* const key : {"rsa1024", "p256"}) {
        for (auto const padding : {RSAPaddingMode::PSS, RSAPaddingMode::PKCS1_V1_5, RSAPaddingMode::OAEP_SHA1}) {
            EXPECT_THROWS(InternalException, "RSA 1024 is insecure and no longer supported.",
                          signerFor(Token::uri(key), padding)->sign(message, nullptr));
        }
    }
}

TEST_F(HSMSigner, LooksForFaultsInAFixedOrder) {
    EXPECT_THROWS(InternalException, notFound,
                  signerFor(Token::uri("missing"), RSAPaddingMode::PKCS1_V1_5)->sign(message, nullptr));
    EXPECT_THROWS(InternalException, "Cannot use PKCS#1 v1.5 as Padding Algorithm for Signatures.",
                  signerFor(Token::uri("rsa2048"), RSAPaddingMode::PKCS1_V1_5)->sign(message, nullptr));
    EXPECT_THROWS(InternalException, "The digest engine does not exist.", signer->sign(message, nullptr));
}

TEST_F(HSMSigner, FindsNoKeyWhereNoneCanBeReached) {
    struct {
        char const* what;
        std::string module;
        std::string uri;
    } const rows[] = {
        {"another object", Token::module(), Token::uri("missing")},
        {"another token", Token::module(), "pkcs11:token=missing;object=rsa2048;type=private?pin-value=1234"},
        {"another PIN", Token::module(), Token::uri("rsa2048", "4321")},
        {"a malformed URI", Token::module(), "pkcs11:rubbish"},
        {"an unknown part", Token::module(), "pkcs11:token=test;slot-id=1;object=rsa2048?pin-value=1234"},
        {"a label in another case", Token::module(), Token::uri("RSA2048")},
        {"a PIN file that is not there", Token::module(),
         "pkcs11:token=test;object=rsa2048;type=private?pin-source=/missing/pin"},
        {"a missing module", "/missing/module.so", Token::uri("rsa2048")},
        {"a module that is none", "/etc/passwd", Token::uri("rsa2048")},
        {"no module", "", Token::uri("rsa2048")},
    };

    for (auto const& [what, module, uri] : rows) {
        SCOPED_TRACE(what);
        auto const unable = provider.createHSMSigner(HSMObject(module, uri), RSAPaddingMode::PSS, nullptr);
        EXPECT_THROWS(InternalException, notFound, unable->sign(message, sha256()));
        EXPECT_THROWS(InternalException, notFound, unable->getKeySize());
    }
}

TEST_F(HSMSigner, CannotOpenAnythingButAToken) {
    std::string const file = token.scratchFile("key.pem");
    writeFile(file, token.publicKey("rsa2048"));
    for (std::string const& uri : {std::string(), std::string("missing:x"), file, "file://" + file}) {
        EXPECT_THROWS(InternalException, "Fail to create OSSL_STORE_CTXUPtr; the given raw pointer is NULL",
                      signerFor(uri)->sign(message, sha256()));
    }
}

TEST_F(HSMSigner, FindsTheKeyByOtherMeansThanItsLabel) {
    for (char const* const uri :
         {"pkcs11:token=test;id=%02;type=private?pin-value=1234", "pkcs11:token=test;object=rsa2048?pin-value=1234",
          "pkcs11:token=test;object=rsa2048;type=public?pin-value=1234"}) {
        EXPECT_TRUE(isSignedBySHA256(message, signerFor(uri)->sign(message, sha256()))) << uri;
    }
}

TEST_F(HSMSigner, PassesOverTheCertificateBesideTheKey) {
    for (char const* const uri :
         {"pkcs11:token=test;object=certified?pin-value=1234", "pkcs11:token=test;id=%05?pin-value=1234"}) {
        EXPECT_TRUE(isSignedBySHA256(message, signerFor(uri)->sign(message, sha256()), "certified")) << uri;
    }
}

TEST_F(HSMSigner, GetsOneOfTwoKeysThatTheProviderModuleDoesNotTellApart) {
    token.import("rsa3072", "rsa2048", "0a");
    unsigned long const bits = signer->getKeySize();
    EXPECT_TRUE(bits == 2048 || bits == 3072) << bits;
    EXPECT_EQ(signerFor("pkcs11:token=test;object=rsa2048;id=%0a;type=private?pin-value=1234")->getKeySize(), 3072U);
    EXPECT_EQ(signerFor("pkcs11:token=test;object=rsa2048;id=%02;type=private?pin-value=1234")->getKeySize(), 2048U);
}

TEST_F(HSMSigner, TakesThePINFromAFileOrTheEnvironment) {
    std::string const withoutPIN = "pkcs11:token=test;object=rsa2048;type=private";
    std::string const file = token.scratchFile("pin");
    for (char const* const content : {"1234", "1234\n"}) {
        writeFile(file, bytes(content));
        EXPECT_TRUE(isSignedBySHA256(message, signerFor(withoutPIN + "?pin-source=" + file)->sign(message, sha256())));
        EXPECT_TRUE(
            isSignedBySHA256(message, signerFor(withoutPIN + "?pin-source=file:" + file)->sign(message, sha256())));
    }
    EnvironmentVariable const pin("PKCS11_PIN", "1234");
    EXPECT_TRUE(isSignedBySHA256(message, signerFor(withoutPIN)->sign(message, sha256())));
}

TEST_F(HSMSigner, PrefersWhatItWasGivenToTheEnvironment) {
    EnvironmentVariable const pin("PKCS11_PIN", "4321");
    EnvironmentVariable const module("PKCS11_MODULE_PATH", "/missing/module.so");
    EnvironmentVariable const login("PKCS11_FORCE_LOGIN", "0");
    EXPECT_TRUE(isSignedBySHA256(message, signer->sign(message, sha256())));
}

TEST_F(HSMSigner, ChecksNothingWhenItIsMade) {
    for (int const padding : {-1, 0, 3, 99}) {
        EXPECT_NE(provider.createHSMSigner(HSMObject("", ""), static_cast<RSAPaddingMode>(padding), nullptr), nullptr);
    }
}

TEST_F(HSMSigner, StaysUsableAfterAFailure) {
    {
        EnvironmentVariable const elsewhere("SOFTHSM2_CONF", "/missing/softhsm2.conf");
        EXPECT_THROWS(InternalException, notFound, signer->sign(message, sha256()));
        EXPECT_THROWS(InternalException, notFound, signer->getKeySize());
    }
    EXPECT_TRUE(isSignedBySHA256(message, signer->sign(message, sha256())));
    EXPECT_THROWS(InternalException, "The digest engine does not exist.", signer->sign(message, nullptr));
    EXPECT_EQ(signer->getKeySize(), 2048U);
}

TEST_F(HSMSigner, SeesTheTokenAsItIsAtEachCall) {
    auto const late = signerFor(Token::uri("late"));
    EXPECT_THROWS(InternalException, notFound, late->getKeySize());
    token.import("rsa3072", "late", "0a");
    EXPECT_EQ(late->getKeySize(), 3072U);
}

TEST_F(HSMSigner, LeavesTheTokenAsItWas) {
    std::vector<std::string> const before = token.files();
    signer->sign(message, sha256());
    signer->getKeySize();
    EXPECT_EQ(token.files(), before);
}

TEST_F(HSMSigner, WritesSignaturesThatTheOpensslCommandTakes) {
    struct {
        decltype(&CryptoProvider::createSHA1DigestEngine) create;
        std::string salt;
    } const rows[] = {{&CryptoProvider::createSHA1DigestEngine, "20"},
                      {&CryptoProvider::createSHA256DigestEngine, "32"},
                      {&CryptoProvider::createSHA512DigestEngine, "64"}};

    for (auto const& [create, salt] : rows) {
        auto const engine = (provider.*create)();
        writeFile(token.scratchFile("message"), message);
        writeFile(token.scratchFile("signature"), signer->sign(message, engine));
        std::string const command = "openssl dgst -" + engine->getDigestNameForEVP_MD() + " -verify " +
                                    token.publicKeyFile("rsa2048") + " -signature " + token.scratchFile("signature") +
                                    " -sigopt rsa_padding_mode:pss -sigopt rsa_pss_saltlen:" + salt + " " +
                                    token.scratchFile("message");
        EXPECT_EQ(run(command).output, "Verified OK\n") << command;
    }
}

// Streams

TEST_F(HSMSigner, SignsAStreamFromWhereItStandsWhiteSpaceIncluded) {
    std::istringstream stream("read  left \n\tto sign \n");
    std::string word;
    stream >> word;
    EXPECT_TRUE(isSignedBySHA256(bytes("  left \n\tto sign \n"), signer->sign(stream, sha256())));
}

TEST_F(HSMSigner, LeavesAStreamReadToItsEndWithSkipwsCleared) {
    std::istringstream stream("content");
    stream >> std::skipws;
    stream.width(3);
    signer->sign(stream, sha256());
    EXPECT_EQ(stream.flags() & std::ios_base::skipws, 0);
    EXPECT_EQ(stream.rdstate(), std::ios_base::eofbit | std::ios_base::failbit);
    EXPECT_EQ(stream.width(), 3);
    EXPECT_EQ(stream.gcount(), 0);
}

TEST_F(HSMSigner, ReadsAStreamBeforeItLooksForFaults) {
    std::istringstream stream("content");
    EXPECT_THROWS(InternalException, notFound, signerFor(Token::uri("missing"))->sign(stream, nullptr));
    EXPECT_TRUE(stream.eof());
}

TEST_F(HSMSigner, SignsWhatAStreamGaveBeforeItBroke) {
    PortionBuffer buffer("before the break", 5, "cable cut");
    std::istream stream(&buffer);
    EXPECT_TRUE(isSignedBySHA256(bytes("before the break"), signer->sign(stream, sha256())));
    EXPECT_TRUE(stream.bad());
}

TEST_F(HSMSigner, LetsTheExceptionsOfAStreamPass) {
    PortionBuffer buffer("before the break", 5, "cable cut");
    std::istream stream(&buffer);
    stream.exceptions(std::ios_base::badbit);
    EXPECT_THROWS(std::runtime_error, "cable cut", signer->sign(stream, sha256()));

    std::istringstream demanding("content");
    demanding.exceptions(std::ios_base::eofbit);
    EXPECT_THROW(signer->sign(demanding, sha256()), std::ios_base::failure);
}

// Digest engines

TEST_F(HSMSigner, AsksAnEngineForItsNameAndNothingElse) {
    int asked = 0;
    auto const engine = std::make_shared<HostEngine>(nullptr, [&] { return ++asked, "sha256"; });
    EXPECT_TRUE(isSignedBySHA256(message, signer->sign(message, engine)));
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(engine.use_count(), 1);
}

TEST_F(HSMSigner, ComparesTheNameOfAnEngineToTheLetter) {
    auto const engine = std::make_shared<HostEngine>("", "SHA256");
    EXPECT_TRUE(verifies(token.publicKey("rsa2048"), "sha256", 222, message, signer->sign(message, engine)));
}

TEST_F(HSMSigner, CannotSignWithADigestThatLibcryptoDoesNotKnow) {
    EXPECT_THROWS(InternalException, "Failed while doing setup to generate signature",
                  signer->sign(message, std::make_shared<HostEngine>("", "sha257")));
}

TEST_F(HSMSigner, LetsTheExceptionsOfAnEnginePass) {
    auto const engine =
        std::make_shared<HostEngine>(nullptr, []() -> std::string { throw std::range_error("the engine is cold"); });
    EXPECT_THROWS(std::range_error, "the engine is cold", signer->sign(message, engine));
}

TEST_F(HSMSigner, LeavesTheMessageOfAnEngineAlone) {
    auto const engine = sha256();
    engine->update(bytes("ab"));
    EXPECT_TRUE(isSignedBySHA256(message, signer->sign(message, engine)));
    EXPECT_EQ(engine->computeDigest(bytes("c")), sha256()->computeDigest(bytes("abc")));
}

// PRNG

TEST_F(HSMSigner, HoldsItsPRNGAndNeverUsesIt) {
    auto const prng = std::make_shared<ForeignPRNG>();
    auto drawn = provider.createHSMSigner(HSMObject(Token::module(), Token::uri("rsa2048")), RSAPaddingMode::PSS, prng);
    EXPECT_EQ(prng.use_count(), 2);
    EXPECT_TRUE(isSignedBySHA256(message, drawn->sign(message, sha256())));
    drawn.reset();
    EXPECT_EQ(prng.use_count(), 1);
}

} // namespace
