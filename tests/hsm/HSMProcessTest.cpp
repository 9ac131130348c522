// What signing with a module does to the process it happens in: sessions, memory, threads, fork, terminal.
#include "examples/SerializedHSMSigner.h"

#include "support/Bytes.h"
#include "support/Provider.h"
#include "support/Threads.h"
#include "support/Throws.h"
#include "support/Token.h"

#include <foundation/crypto/openssl/CryptoProvider.h>
#include <foundation/crypto/utils/Exceptions.h>

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/provider.h>
#include <openssl/store.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace support;
using namespace foundation::crypto;
using interfaces::HSMSignerPtr;
using interfaces::IHSMSigner;
using utils::HSMObject;
using utils::InternalException;
using utils::RSAPaddingMode;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(ZRFL_EMULATED)
constexpr bool instrumented = true; // slower, and the process has memory that is not the program's
#else
constexpr bool instrumented = false;
#endif

HSMSignerPtr signerOf(std::string const& module, std::string const& uri) {
    return provider.createHSMSigner(HSMObject(module, uri), RSAPaddingMode::PSS, nullptr);
}

ByteArray signWith(IHSMSigner const& signer, ByteArray const& message = bytes("a message")) {
    return signer.sign(message, provider.createSHA256DigestEngine());
}

/// Whether the `openssl` command takes the signature for one by the token's key.
bool isSigned(Token const& token, std::string const& key, ByteArray const& message, ByteArray const& signature) {
    writeFile(token.scratchFile("message"), message);
    writeFile(token.scratchFile("signature"), signature);
    return run("openssl dgst -sha256 -sigopt rsa_padding_mode:pss -sigopt rsa_pss_saltlen:32 -verify " +
               token.publicKeyFile(key) + " -signature " + token.scratchFile("signature") + " " +
               token.scratchFile("message"))
               .output == "Verified OK\n";
}

// Sessions

class HSMSessions : public testing::Test {
protected:
    std::ptrdiff_t count(std::string const& call) const {
        std::vector<std::string> const calls = spy.calls();
        return std::count(calls.begin(), calls.end(), call);
    }

    Token token;
    SpyModule const spy{token};
    HSMSignerPtr const signer = signerOf(SpyModule::path(), Token::uri("rsa2048"));
};

TEST_F(HSMSessions, AreOpenedForEachCallAndClosedInIt) {
    for (int call = 1; call <= 5; ++call) {
        if (call % 2 == 0) {
            EXPECT_EQ(signer->getKeySize(), 2048U);
        } else {
            signWith(*signer);
        }
        EXPECT_EQ(count("C_Initialize"), call);
        EXPECT_EQ(count("C_OpenSession"), call);
        EXPECT_EQ(count("C_Login"), call);
        EXPECT_EQ(count("C_Finalize"), call); // with no session left open
        EXPECT_EQ(spy.calls().back(), "C_Finalize");
    }
}

TEST_F(HSMSessions, AreClosedWhenACallFails) {
    EXPECT_THROWS(InternalException, "The digest engine does not exist.", signer->sign(ByteArray(), nullptr));
    EXPECT_THROWS(InternalException, "Failed to load the reference to the key on HSM",
                  signWith(*signerOf(SpyModule::path(), Token::uri("missing"))));
    EXPECT_THROWS(InternalException, "RSA 1024 is insecure and no longer supported.",
                  signWith(*signerOf(SpyModule::path(), Token::uri("rsa1024"))));
    EXPECT_EQ(count("C_OpenSession"), 3);
    EXPECT_EQ(count("C_Finalize"), 3);
    EXPECT_EQ(spy.calls().back(), "C_Finalize");
}

TEST_F(HSMSessions, TryAWrongPINThreeTimesInEachCall) {
    auto const wrong = signerOf(SpyModule::path(), Token::uri("rsa2048", "4321"));
    for (int call = 1; call <= 2; ++call) {
        EXPECT_THROWS(InternalException, "Failed to load the reference to the key on HSM", signWith(*wrong));
        EXPECT_EQ(count("C_Login 0xa0"), 3 * call); // CKR_PIN_INCORRECT
        EXPECT_EQ(count("C_Finalize"), call);
    }
}

// Endurance

/// The number of slots that libcrypto's users have reserved in objects of this class so far; asking takes one more.
int slotsOf(int objectClass) {
    return CRYPTO_get_ex_new_index(objectClass, 0, nullptr, nullptr, nullptr, nullptr);
}

std::ptrdiff_t openFiles() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

long residentKiB() {
    std::ifstream statistics("/proc/self/statm");
    long total = 0;
    long resident = 0;
    statistics >> total >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

double processorMilliseconds() {
    return 1000.0 * static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

/// What a process has that many calls could use up.
struct Usage {
    int keySlots = slotsOf(CRYPTO_EX_INDEX_EVP_PKEY);
    int rsaSlots = slotsOf(CRYPTO_EX_INDEX_RSA);
    int contextSlots = slotsOf(CRYPTO_EX_INDEX_OSSL_LIB_CTX);
    std::ptrdiff_t files = openFiles();
    long resident = residentKiB();
    double processor = processorMilliseconds();
};

/// Loads the provider, finds the key and lets go of it: what a call does up to its signature, without this library.
void findKeyByHand() {
    OSSL_LIB_CTX* const library = OSSL_LIB_CTX_new();
    OSSL_PROVIDER_set_default_search_path(library, ZRFL_PKCS11_PROVIDER_DIR);
    OSSL_PROVIDER* const loaded = OSSL_PROVIDER_load(library, "pkcs11prov");
    OSSL_PROVIDER_add_conf_parameter(loaded, "pkcs11_module", Token::module().c_str());
    OSSL_PROVIDER_add_conf_parameter(loaded, "force_login", "1");
    OSSL_PROVIDER_add_conf_parameter(loaded, "debug_level", "0");
    OSSL_STORE_CTX* const store = OSSL_STORE_open_ex(Token::uri("rsa2048").c_str(), library, nullptr, nullptr, nullptr,
                                                     nullptr, nullptr, nullptr);
    int keys = 0;
    while (OSSL_STORE_INFO* const info = OSSL_STORE_load(store)) {
        keys += OSSL_STORE_INFO_get_type(info) == OSSL_STORE_INFO_PKEY ? 1 : 0;
        OSSL_STORE_INFO_free(info);
    }
    EXPECT_EQ(keys, 1);
    OSSL_STORE_close(store);
    OSSL_PROVIDER_unload(loaded);
    OSSL_LIB_CTX_free(library);
}

class HSMEndurance : public testing::Test {
protected:
    Token token;
};

TEST_F(HSMEndurance, UsesNothingUpBeyondOneSlotInEachKeyObject) {
    char const* const wanted = std::getenv("ZRFL_HSM_SIGNATURES");
    int const signatures = wanted != nullptr ? std::atoi(wanted) : (instrumented ? 100 : 400);
    SpyModule const spy(token);
    auto const signer = signerOf(SpyModule::path(), Token::uri("rsa2048"));
    auto const engine = provider.createSHA256DigestEngine();
    int const warmUp = instrumented ? 10 : 100;
    for (int signature = 0; signature < warmUp; ++signature) {
        signer->sign(ByteArray(), engine);
    }

    int const reports = 10;
    int const signaturesEach = signatures / reports;
    Usage const start;
    for (int report = 1; report <= reports; ++report) {
        Usage const before;
        for (int signature = 0; signature < signaturesEach; ++signature) {
            EXPECT_EQ(signer->sign(ByteArray(), engine).size(), 256U);
        }
        Usage const after;
        std::printf(
            "after %5d signatures: %6ld KiB resident, %td files, %d slots in a key object, %.2f ms of processor "
            "time each\n",
            report * signaturesEach, after.resident, after.files, after.keySlots,
            (after.processor - before.processor) / signaturesEach);
    }
    Usage const end;
    int const ownSlots = 2 * reports + 1; // one for each count that was taken

    std::map<std::string, int> calls;
    for (std::string const& call : spy.calls()) {
        ++calls[call];
    }
    EXPECT_EQ(calls["C_OpenSession"], signatures + warmUp);
    EXPECT_EQ(calls["C_Login"], signatures + warmUp);
    EXPECT_EQ(calls["C_Finalize"], signatures + warmUp);

    EXPECT_EQ(end.files, start.files);
    // The provider module reserves one in each of these two classes whenever it is loaded, and libcrypto has no way of
    // giving them back that it would use.
    EXPECT_LE(end.keySlots - start.keySlots - ownSlots, signatures);
    EXPECT_LE(end.rsaSlots - start.rsaSlots - ownSlots, signatures);
    EXPECT_EQ(end.contextSlots - start.contextSlots - ownSlots, 0);
    if (!instrumented) { // about 0.2 KiB a signature go to those slots
        EXPECT_LE(end.resident - start.resident, signatures / 2);
    }
}

TEST_F(HSMEndurance, LeavesNoMoreBehindThanTheProviderModuleByItself) {
    int const calls = 20;
    auto const signer = signerOf(Token::module(), Token::uri("rsa2048"));
    findKeyByHand();
    signWith(*signer);

    Usage const start;
    for (int call = 0; call < calls; ++call) {
        findKeyByHand();
    }
    Usage const middle;
    for (int call = 0; call < calls; ++call) {
        signWith(*signer);
    }
    Usage const end;
    EXPECT_EQ(end.keySlots - middle.keySlots, middle.keySlots - start.keySlots);
    EXPECT_EQ(end.rsaSlots - middle.rsaSlots, middle.rsaSlots - start.rsaSlots);
    EXPECT_EQ(end.contextSlots - middle.contextSlots, middle.contextSlots - start.contextSlots);
    EXPECT_EQ(end.files, start.files);
}

// Threads and processes

class HSMSharing : public testing::Test {
protected:
    Token token;
    ByteArray const message = bytes("a message");
};

TEST_F(HSMSharing, WorksFromManyThreadsBehindTheSerializedSigner) {
    std::size_t const threads = 6;
    int const rounds = instrumented ? 10 : 20;
    std::vector<std::string> const before = token.files();
    std::vector<std::string> const keys{"rsa2048", "rsa3072", "certified"};
    std::vector<HSMSignerPtr> signers; // two threads share each; all share the module
    for (std::string const& key : keys) {
        signers.push_back(std::make_shared<SerializedHSMSigner>(signerOf(Token::module(), Token::uri(key))));
    }

    std::vector<ByteArray> last(threads);
    std::atomic<int> failures = 0;
    onThreads(threads, [&](std::size_t number) {
        IHSMSigner const& signer = *signers[number % keys.size()];
        for (int round = 0; round < rounds; ++round) {
            try {
                std::istringstream stream(text(message));
                auto const engine = provider.createSHA256DigestEngine();
                last[number] = round % 2 == 0 ? signer.sign(message, engine) : signer.sign(stream, engine);
                failures += signer.getKeySize() == 8 * last[number].size() ? 0 : 1;
            } catch (std::exception const&) {
                ++failures;
            }
        }
    });

    EXPECT_EQ(failures, 0);
    EXPECT_EQ(token.files(), before);
    for (std::size_t number = 0; number < last.size(); ++number) {
        std::string const& key = keys[number % keys.size()];
        EXPECT_TRUE(isSigned(token, key, message, last[number]));
        EXPECT_TRUE(isSigned(token, key, message, signWith(*signers[number % keys.size()])));
    }
}

/// Notices calls that meet in it.
class MeetingPoint final : public IHSMSigner {
public:
    ByteArray sign(ByteArray const& /*message*/, interfaces::DigestEnginePtr /*digest*/) const override {
        pass();
        return {};
    }

    ByteArray sign(std::istream& /*message*/, interfaces::DigestEnginePtr /*digest*/) const override {
        pass();
        return {};
    }

    unsigned long getKeySize() const override {
        pass();
        return 0;
    }

    static int meetings() { return met; }

private:
    static void pass() {
        met += inside++ == 0 ? 0 : 1;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        --inside;
    }

    static inline std::atomic<int> inside = 0;
    static inline std::atomic<int> met = 0;
};

TEST(SerializedHSMSigner, LetsNoTwoCallsMeetWhateverTheirSigners) {
    onThreads(4, [](std::size_t /*thread*/) {
        SerializedHSMSigner const signer(std::make_shared<MeetingPoint>());
        for (int round = 0; round < 10; ++round) {
            std::istringstream stream;
            signer.sign(ByteArray(), nullptr);
            signer.sign(stream, nullptr);
            signer.getKeySize();
        }
    });
    EXPECT_EQ(MeetingPoint::meetings(), 0);
}

TEST_F(HSMSharing, SerializedSignerPassesResultsAndExceptionsOn) {
    SerializedHSMSigner const signer(signerOf(Token::module(), Token::uri("rsa2048")));
    EXPECT_EQ(signer.getKeySize(), 2048U);
    EXPECT_TRUE(isSigned(token, "rsa2048", message, signWith(signer)));
    for (int attempt = 0; attempt < 2; ++attempt) { // the turn is given back
        EXPECT_THROWS(InternalException, "The digest engine does not exist.", signer.sign(message, nullptr));
    }
}

/// Signs ten times in parent and child of a fork, the one after the other: processes that use one SoftHSM token at the
/// same time do not always see it.
void signOnBothSidesOfAFork(Token const& token, IHSMSigner const& signer, bool childFirst) {
    ByteArray const message = bytes("a message");
    auto const signRepeatedly = [&](std::string const& side) {
        for (int round = 0; round < 10; ++round) {
            writeFile(token.scratchFile(side), signWith(signer, message));
        }
    };
    int parentIsDone[2];
    ASSERT_EQ(pipe(parentIsDone), 0);
    pid_t const child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        close(parentIsDone[1]);
        char nothing = 0;
        bool right = childFirst || read(parentIsDone[0], &nothing, 1) == 0;
        try {
            signRepeatedly("child");
        } catch (std::exception const& error) {
            std::fprintf(stderr, "in the child: %s\n", error.what());
            right = false;
        }
        _exit(right ? 0 : 1);
    }
    close(parentIsDone[0]);
    if (!childFirst) {
        signRepeatedly("parent");
    }
    close(parentIsDone[1]);
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    if (childFirst) {
        signRepeatedly("parent");
    }
    for (char const* const side : {"parent", "child"}) {
        EXPECT_TRUE(isSigned(token, "rsa2048", message, readFile(token.scratchFile(side)))) << side;
    }
}

TEST_F(HSMSharing, GoesOnInParentAndChildAfterAFork) {
    auto const signer = signerOf(Token::module(), Token::uri("rsa2048"));
    signWith(*signer);
    signOnBothSidesOfAFork(token, *signer, true);
    signOnBothSidesOfAFork(token, *signer, false);
}

// The example program

class HSMExample : public testing::Test {
protected:
    /// Has the example sign `message`, without a terminal, and returns its standard output and standard error.
    CommandResult sign(std::string const& uri, std::string const& input = "") {
        writeFile(token.scratchFile("input"), message);
        return run(input + "setsid -w '" ZRFL_SIGN_WITH_HSM "' '" + Token::module() + "' '" + uri + "' " +
                   token.scratchFile("input") + " " + token.scratchFile("output") + " 2>&1");
    }

    ByteArray output() { return readFile(token.scratchFile("output")); }

    Token token;
    ByteArray const message = bytes("the file's content\n");
    std::string const uriWithoutPIN = "pkcs11:token=test;object=rsa2048;type=private";
};

TEST_F(HSMExample, SignsAFile) {
    CommandResult const result = sign(Token::uri("rsa2048"));
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_EQ(result.output, "");
    EXPECT_TRUE(isSigned(token, "rsa2048", message, output()));
}

TEST_F(HSMExample, SaysWhatIsWrong) {
    CommandResult const result = sign(Token::uri("missing"));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "Failed to load the reference to the key on HSM\n");
    EXPECT_FALSE(std::filesystem::exists(token.scratchFile("output")));
}

TEST_F(HSMExample, IsAskedForThePINByTheProviderModuleWhereTheURIHasNone) {
    CommandResult const answered = sign(uriWithoutPIN, "echo 1234 | ");
    EXPECT_EQ(answered.status, 0) << answered.output;
    EXPECT_TRUE(isSigned(token, "rsa2048", message, output()));
    for (std::string const& uri : {uriWithoutPIN, Token::uri("rsa2048", "")}) {
        CommandResult const silent = sign(uri);
        EXPECT_EQ(silent.status, 1);
        EXPECT_NE(silent.output.find("Failed to load the reference to the key on HSM"), std::string::npos);
    }
}

} // namespace
