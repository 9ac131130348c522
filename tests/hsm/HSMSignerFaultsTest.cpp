#include "hsm/HSMSigner.h"

#include "support/Allocations.h"
#include "support/Bytes.h"
#include "support/FaultTables.h"
#include "support/Throws.h"
#include "support/Token.h"

#include <foundation/crypto/openssl/CryptoProvider.h>
#include <foundation/crypto/utils/Exceptions.h>

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/provider.h>
#include <openssl/rsa.h>
#include <openssl/store.h>
#include <openssl/x509.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <istream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace support;
using namespace foundation::crypto;
using openssl::CryptoProvider;
using openssl::HSMSigner;
using utils::HSMObject;
using utils::InternalException;
using utils::RSAPaddingMode;

// Made once, so that no call of its own stands between those of the signer.
std::shared_ptr<interfaces::IDigestEngine> const engine = CryptoProvider().createSHA256DigestEngine();

HSMSigner signer(RSAPaddingMode padding = RSAPaddingMode::PSS) {
    return HSMSigner(HSMObject(Token::module(), Token::uri("rsa2048")), padding, nullptr);
}

// One for all of them: what fails leaves it usable.
HSMSigner const& usedSigner() {
    static HSMSigner const used = signer();
    return used;
}

void sign() {
    usedSigner().sign(bytes("a message"), engine);
}

void signStream() {
    std::istringstream stream("a message");
    usedSigner().sign(stream, engine);
}

void getKeySize() {
    usedSigner().getKeySize();
}

std::string refused(std::string const& owner) {
    return "Fail to create " + owner + "; the given raw pointer is NULL";
}

std::string const notLocated = "Failed to locate the provider";
std::string const noModule = "Failed to set the parameter pkcs11_module";
std::string const noLogin = "Failed to set the parameter force_login";
std::string const noDebugging = "Failed to set the parameter debug_level";
std::string const notFound = "Failed to load the reference to the key on HSM";
std::string const tooShort = "RSA 1024 is insecure and no longer supported.";
std::string const notSetUp = "Failed while doing setup to generate signature";
std::string const noPadding = "Failed to get the context for signing.";
std::string const noSalt = "Failed to set the salt length for context when signing.";
std::string const noSize = "Could not calculate size of signature to be generated";
std::string const noSignature = "Could not generate digital signature";

Variants const signing{{"Bytes", sign}, {"Stream", signStream}};
Variants const lookingUp{{"Bytes", sign}, {"Stream", signStream}, {"KeySize", getKeySize}};

std::vector<Result> const notOne{0, -1, 2};

std::vector<Fault> const faults{
    {"LibraryContext", "OSSL_LIB_CTX_new", 1, lookingUp, refused("OSSL_LIB_CTXUPtr")},
    {"SearchPath", "OSSL_PROVIDER_set_default_search_path", 1, lookingUp, notLocated, notOne},
    {"Provider", "OSSL_PROVIDER_load", 1, lookingUp, refused("OSSL_PROVIDERUPtr")},
    {"Module", "OSSL_PROVIDER_add_conf_parameter", 1, lookingUp, noModule, notOne},
    {"Login", "OSSL_PROVIDER_add_conf_parameter", 2, lookingUp, noLogin, notOne},
    {"Debugging", "OSSL_PROVIDER_add_conf_parameter", 3, lookingUp, noDebugging, notOne},
    {"Store", "OSSL_STORE_open_ex", 1, lookingUp, refused("OSSL_STORE_CTXUPtr")},
    {"Load", "OSSL_STORE_load", 1, lookingUp, notFound},
    {"Key", "OSSL_STORE_INFO_get1_PKEY", 1, lookingUp, refused("EVP_PKEYUPtr")},
    {"Bits", "EVP_PKEY_get_bits", 1, signing, tooShort, {0, -1, 1024}},
    {"DigestContext", "EVP_MD_CTX_new", 1, signing, refused("EVP_MD_CTXUPtr")},
    {"Setup", "EVP_DigestSignInit_ex", 1, signing, notSetUp, notOne},
    {"KeyContext", "EVP_MD_CTX_get_pkey_ctx", 1, signing, noPadding},
    {"Padding", "EVP_PKEY_CTX_set_rsa_padding", 1, signing, noPadding, {0, -2}},
    {"Salt", "EVP_PKEY_CTX_set_rsa_pss_saltlen", 1, signing, noSalt, {0, -2}},
    {"Size", "EVP_DigestSign", 1, signing, noSize, notOne},
    {"Signature", "EVP_DigestSign", 2, signing, noSignature, notOne},
};

Releases const keys{{"EVP_PKEY_free", {"OSSL_STORE_INFO_get1_PKEY"}}};

class HSMFaults : public testing::TestWithParam<Fault> {
protected:
    Token token;
};

INSTANTIATE_TEST_SUITE_P(, HSMFaults, testing::ValuesIn(expanded(faults)), nameOf);

TEST_P(HSMFaults, AreReportedInTheirOwnWordsAndLeaveTheSignerUsable) {
    expectReported<InternalException>(GetParam(), HostsErrors::MayGo); // the provider empties the queue
}

TEST_P(HSMFaults, LeaveNothing) {
    expectAllReleased(GetParam(), keys);
}

class HSMFault : public testing::Test {
protected:
    Token token;
};

TEST_F(HSMFault, OfSizeZeroIsRefused) {
    struct {
        bool final;
        char const* text;
    } const rows[] = {{false, "Max size of signature to be generated is 0"},
                      {true, "Size of generated signature is 0"}};

    for (auto const& [final, text] : rows) {
        Recording const recording;
        Replacing<decltype(EVP_DigestSign)> const empty(
            "EVP_DigestSign", [&](auto real, EVP_MD_CTX* context, unsigned char* signature, std::size_t* size,
                                  unsigned char const* data, std::size_t dataSize) {
                int const result = real(context, signature, size, data, dataSize);
                *size = final == (signature != nullptr) ? 0 : *size;
                return result;
            });
        EXPECT_THROWS(InternalException, text, sign());
        expectAllReleased(recording, keys);
    }
}

TEST_F(HSMFault, OfAShorterSignatureIsNone) {
    Replacing<decltype(EVP_DigestSign)> const shorter(
        "EVP_DigestSign", [](auto real, EVP_MD_CTX* context, unsigned char* signature, std::size_t* size,
                             unsigned char const* data, std::size_t dataSize) {
            int const result = real(context, signature, size, data, dataSize);
            *size -= signature != nullptr ? 6 : 0;
            return result;
        });
    EXPECT_EQ(signer().sign(ByteArray(), engine).size(), 250U);
}

TEST_F(HSMFault, OfAKeyThatIsJustLongEnoughIsNone) {
    Failing bits("EVP_PKEY_get_bits");
    bits.returning(1025);
    EXPECT_NO_THROW(sign());
}

TEST_F(HSMFault, OfReleasingIsIgnored) {
    Replacing<decltype(OSSL_STORE_close)> const closing("OSSL_STORE_close", [](auto real, OSSL_STORE_CTX* store) {
        real(store);
        return 0;
    });
    Replacing<decltype(OSSL_PROVIDER_unload)> const unloading("OSSL_PROVIDER_unload",
                                                              [](auto real, OSSL_PROVIDER* loaded) {
                                                                  real(loaded);
                                                                  return 0;
                                                              });
    EXPECT_NO_THROW(sign());
    EXPECT_NO_THROW(getKeySize());
}

/// A store with more in it than the token has: what `more` makes comes once, after everything else.
class FullerStore {
public:
    explicit FullerStore(std::function<OSSL_STORE_INFO*()> more)
        : loading_("OSSL_STORE_load", [this, make = std::move(more)](auto real, OSSL_STORE_CTX* store) {
              OSSL_STORE_INFO* const info = real(store);
              return info == nullptr && !std::exchange(emptied_, true) ? make() : info;
          }) {}

private:
    bool emptied_ = false;
    Replacing<decltype(OSSL_STORE_load)> loading_;
};

TEST_F(HSMFault, OfTwoKeysUnderOneURIIsReportedWithTheURI) {
    for (auto const operation : {sign, signStream, getKeySize}) {
        Recording const recording;
        FullerStore const store([] { return OSSL_STORE_INFO_new_PKEY(EVP_PKEY_new()); });
        EXPECT_THROWS(InternalException,
                      "Error when more than one private key can be described by " + Token::uri("rsa2048"), operation());
        EXPECT_EQ(recording.count("OSSL_STORE_INFO_free"), recording.count("OSSL_STORE_INFO_get_type"));
        EXPECT_EQ(recording.count("EVP_PKEY_free"), 1U);
        EXPECT_EQ(recording.count("OSSL_STORE_close"), 1U);
        EXPECT_EQ(recording.count("OSSL_PROVIDER_unload"), 1U);
        EXPECT_EQ(recording.count("OSSL_LIB_CTX_free"), 1U);
    }
}

TEST_F(HSMFault, OfOtherThingsUnderTheURIIsNone) {
    std::function<OSSL_STORE_INFO*()> const others[] = {
        [] { return OSSL_STORE_INFO_new_CERT(X509_new()); }, [] { return OSSL_STORE_INFO_new_CRL(X509_CRL_new()); },
        [] { return OSSL_STORE_INFO_new_PUBKEY(EVP_PKEY_new()); },
        [] { return OSSL_STORE_INFO_new_PARAMS(EVP_PKEY_new()); },
        [] { return OSSL_STORE_INFO_new_NAME(OPENSSL_strdup("pkcs11:another")); }};

    for (auto const& other : others) {
        Recording const recording;
        FullerStore const store(other);
        EXPECT_NO_THROW(sign());
        expectAllReleased(recording, keys);
    }
}

TEST_F(HSMFault, OfAMissingProviderModuleIsTheOwnersMessage) {
    for (std::string const& directory : {token.scratchFile(""), token.scratchFile("missing")}) {
        Replacing<decltype(OSSL_PROVIDER_set_default_search_path)> const elsewhere(
            "OSSL_PROVIDER_set_default_search_path",
            [&](auto real, OSSL_LIB_CTX* library, char const* /*path*/) { return real(library, directory.c_str()); });
        EXPECT_THROWS(InternalException, refused("OSSL_PROVIDERUPtr"), sign());
        EXPECT_THROWS(InternalException, refused("OSSL_PROVIDERUPtr"), getKeySize());
    }
}

TEST_F(HSMFault, OrNoneLeavesThePINInMemoryThatIsReleased) {
    HSMObject const key(Token::module(), Token::uri("rsa2048"));
    HSMObject const missing(Token::module(), Token::uri("missing"));
    ByteArray const message = bytes("a message");

    ReleaseWatch const watch(bytes("pin-value=1234"));
    HSMSigner(key, RSAPaddingMode::PSS, nullptr).sign(message, engine);
    HSMSigner(key, RSAPaddingMode::PSS, nullptr).getKeySize();
    EXPECT_THROWS(InternalException, notFound, HSMSigner(missing, RSAPaddingMode::PSS, nullptr).getKeySize());
    {
        Failing const failing("OSSL_PROVIDER_load");
        EXPECT_THROWS(InternalException, refused("OSSL_PROVIDERUPtr"),
                      HSMSigner(key, RSAPaddingMode::PSS, nullptr).getKeySize());
    }
    EXPECT_GT(watch.blocks(), 0U);
    EXPECT_EQ(watch.blocksWithSecret(), 0U);
}

TEST_F(HSMFault, OrNoneLeavesAMessageFromAStreamInMemoryThatIsReleased) {
    std::istringstream message("a message that is read from a stream");
    HSMSigner const signer(HSMObject(Token::module(), Token::uri("rsa2048")), RSAPaddingMode::PSS, nullptr);
    ReleaseWatch const watch(bytes("is read from"));
    signer.sign(message, engine);
    EXPECT_GT(watch.blocks(), 0U);
    EXPECT_EQ(watch.blocksWithSecret(), 0U);
}

class HSMCalls : public HSMFault {};

std::vector<std::string> const lookup{"OSSL_LIB_CTX_new",
                                      "OSSL_PROVIDER_set_default_search_path",
                                      "OSSL_PROVIDER_load",
                                      "OSSL_PROVIDER_add_conf_parameter",
                                      "OSSL_PROVIDER_add_conf_parameter",
                                      "OSSL_PROVIDER_add_conf_parameter",
                                      "OSSL_STORE_open_ex",
                                      "OSSL_STORE_load",
                                      "OSSL_STORE_INFO_get_type",
                                      "OSSL_STORE_INFO_free",
                                      "OSSL_STORE_load",
                                      "OSSL_STORE_INFO_get_type",
                                      "OSSL_STORE_INFO_get1_PKEY",
                                      "OSSL_STORE_INFO_free",
                                      "OSSL_STORE_load",
                                      "OSSL_STORE_close",
                                      "EVP_PKEY_get_bits"};

std::vector<std::string> lookupAnd(std::vector<std::string> const& more) {
    std::vector<std::string> all = lookup;
    all.insert(all.end(), more.begin(), more.end());
    return all;
}

TEST_F(HSMCalls, ReleaseEverythingInReverse) {
    Recording const recording;
    signer().sign(bytes("a message"), engine);
    std::vector<std::string> const expected =
        lookupAnd({"EVP_MD_CTX_new", "EVP_DigestSignInit_ex", "EVP_MD_CTX_get_pkey_ctx", "EVP_PKEY_CTX_set_rsa_padding",
                   "EVP_PKEY_CTX_set_rsa_pss_saltlen", "EVP_DigestSign", "EVP_DigestSign", "EVP_MD_CTX_free",
                   "EVP_PKEY_free", "OSSL_PROVIDER_unload", "OSSL_LIB_CTX_free"});
    EXPECT_EQ(recording.functions(), expected);
}

TEST_F(HSMCalls, ForTheKeySizeAreTheLookupAlone) {
    Recording const recording;
    getKeySize();
    std::vector<std::string> const expected = lookupAnd({"EVP_PKEY_free", "OSSL_PROVIDER_unload", "OSSL_LIB_CTX_free"});
    EXPECT_EQ(recording.functions(), expected);
}

TEST_F(HSMCalls, LeaveTheSaltToTheProviderOutsideTheEnumeration) {
    for (int const padding : {-1, 5, 9}) {
        Recording const recording;
        signer(static_cast<RSAPaddingMode>(padding)).sign(ByteArray(), engine);
        EXPECT_EQ(recording.count("EVP_PKEY_CTX_set_rsa_pss_saltlen"), 0U);
        EXPECT_EQ(recording.callsOf("EVP_PKEY_CTX_set_rsa_padding").at(0).arguments.at(1), RSA_PKCS1_PSS_PADDING);
    }
}

TEST_F(HSMCalls, ConfigureTheProvider) {
    std::vector<std::pair<std::string, std::string>> parameters;
    Replacing<decltype(OSSL_PROVIDER_add_conf_parameter)> const configuring(
        "OSSL_PROVIDER_add_conf_parameter", [&](auto real, OSSL_PROVIDER* loaded, char const* name, char const* value) {
            parameters.emplace_back(name, value);
            return real(loaded, name, value);
        });
    std::string name;
    Replacing<decltype(OSSL_PROVIDER_load)> const loading("OSSL_PROVIDER_load",
                                                          [&](auto real, OSSL_LIB_CTX* library, char const* module) {
                                                              name = module;
                                                              return real(library, module);
                                                          });
    getKeySize();
    EXPECT_EQ(parameters, (std::vector<std::pair<std::string, std::string>>{
                              {"pkcs11_module", Token::module()}, {"force_login", "1"}, {"debug_level", "0"}}));
    EXPECT_EQ(name, "pkcs11prov");
}

TEST_F(HSMCalls, LookForTheProviderInTheFolderOfItsFile) {
    std::string directory;
    Replacing<decltype(OSSL_PROVIDER_set_default_search_path)> const searching(
        "OSSL_PROVIDER_set_default_search_path", [&](auto real, OSSL_LIB_CTX* library, char const* path) {
            directory = path;
            return real(library, path);
        });
    getKeySize();
    EXPECT_EQ(directory, ZRFL_PKCS11_PROVIDER_DIR);
}

TEST_F(HSMCalls, OpenTheStoreWithNothingButItsURI) {
    Recording const recording;
    getKeySize();
    std::vector<std::intptr_t> const arguments = recording.callsOf("OSSL_STORE_open_ex").at(0).arguments;
    EXPECT_EQ(std::count(arguments.begin(), arguments.end(), 0), 6);
    EXPECT_NE(arguments.at(1), 0);
}

TEST_F(HSMCalls, WorkInOneLibraryContextOfTheirOwn) {
    Recording const recording;
    sign();
    std::intptr_t const library = recording.callsOf("OSSL_LIB_CTX_free").at(0).arguments.at(0);
    EXPECT_NE(library, 0);
    EXPECT_EQ(recording.callsOf("OSSL_PROVIDER_set_default_search_path").at(0).arguments.at(0), library);
    EXPECT_EQ(recording.callsOf("OSSL_PROVIDER_load").at(0).arguments.at(0), library);
    EXPECT_EQ(recording.callsOf("OSSL_STORE_open_ex").at(0).arguments.at(1), library);
    EXPECT_EQ(recording.callsOf("EVP_DigestSignInit_ex").at(0).arguments.at(3), library);
    EXPECT_EQ(OSSL_PROVIDER_get0_default_search_path(nullptr), nullptr);
    EXPECT_EQ(OSSL_PROVIDER_available(nullptr, "pkcs11prov"), 0);
}

TEST_F(HSMCalls, HandOverTheEmptyMessageByAnAddress) {
    Recording const recording;
    signer().sign(ByteArray(), engine);
    for (Call const& call : recording.callsOf("EVP_DigestSign")) {
        EXPECT_NE(call.arguments.at(3), 0);
        EXPECT_EQ(call.arguments.at(4), 0);
    }
}

TEST_F(HSMCalls, AreNotMadeBeforeTheStreamIsRead) {
    struct Unreadable : std::streambuf {
        int_type underflow() override { throw std::runtime_error("unreadable"); }
    } buffer;

    std::istream stream(&buffer);
    stream.exceptions(std::ios_base::badbit);
    Recording const recording;
    EXPECT_THROWS(std::runtime_error, "unreadable", signer().sign(stream, nullptr));
    EXPECT_EQ(recording.calls().size(), 0U);
}

TEST_F(HSMCalls, AreNotMadeWhenTheSignerIsMade) {
    Recording const recording;
    HSMSigner const idle(HSMObject("", ""), RSAPaddingMode::OAEP_SHA1, nullptr);
    EXPECT_EQ(recording.calls().size(), 0U);
}

} // namespace
