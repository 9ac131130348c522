// What becomes of objects when their process forks, and when it ends while they live.
#include "abi/UnloadedPlugIn.h"
#include "support/ECC.h"
#include "support/Operations.h"
#include "support/PlugIn.h"
#include "support/Provider.h"
#include "support/RSAKeys.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using namespace support;

/// The operations without those for which an RSA key has to be found first.
std::vector<Operation> const& quickOperations() {
    static auto const quick = [] {
        std::vector<Operation> list;
        for (Operation const& operation : operations()) {
            if (operation.name.rfind("generateRSA", 0) != 0 && operation.interface != "IRSAKeyPair") {
                list.push_back(operation);
            }
        }
        return list;
    }();
    return quick;
}

std::vector<OperationRun> prepareEverything() {
    std::vector<OperationRun> runs;
    for (Operation const& operation : quickOperations()) {
        runs.push_back(operation.prepare());
    }
    return runs;
}

// Fork

/// A process that runs `work` and writes what it returns; nothing after an exception.
class Child {
public:
    explicit Child(std::function<ByteArray()> const& work) {
        EXPECT_EQ(pipe(ends_), 0);
        process_ = fork();
        EXPECT_GE(process_, 0);
        if (process_ == 0) {
            int status = 1;
            try {
                ByteArray const result = work();
                status = write(ends_[1], result.data(), result.size()) == static_cast<ssize_t>(result.size()) ? 0 : 1;
            } catch (std::exception const& error) {
                std::fprintf(stderr, "in the child: %s\n", error.what());
            }
            _exit(status);
        }
        close(ends_[1]);
    }

    Child(Child const&) = delete;
    Child& operator=(Child const&) = delete;

    /// Ends with the process.
    ByteArray result() {
        ByteArray all;
        unsigned char byte = 0;
        while (read(ends_[0], &byte, 1) == 1) {
            all.push_back(byte);
        }
        close(ends_[0]);
        int status = -1;
        EXPECT_EQ(waitpid(process_, &status, 0), process_);
        EXPECT_EQ(status, 0);
        return all;
    }

private:
    int ends_[2] = {};
    pid_t process_ = -1;
};

/// The outcomes of the calls, one after the other, each object released after its own.
ByteArray finish(std::vector<OperationRun>& runs) {
    ByteArray all;
    for (OperationRun& run : runs) {
        run.call();
        ByteArray const outcome = run.outcome();
        all.insert(all.end(), outcome.begin(), outcome.end());
        run = {};
    }
    return all;
}

TEST(Fork, LeavesObjectsUsableInParentAndChild) {
    auto usual = prepareEverything();
    ByteArray const expected = finish(usual);
    auto runs = prepareEverything(); // each object in both processes from here on, engines amid their messages
    Child first([&] { return finish(runs); });
    Child second([&] { return finish(runs); });
    EXPECT_EQ(finish(runs), expected);
    EXPECT_EQ(first.result(), expected);
    EXPECT_EQ(second.result(), expected);
}

struct Drawing {
    std::string name;
    std::function<ByteArray()> draw; ///< Depends on random bytes, out of objects that were made before.
};

std::vector<Drawing> drawings() {
    using Key = RSAKeys<2048>;
    auto const prng = provider.createDefaultCryptoPRNG(bytes("seed"));
    auto const sha256 = provider.createSHA256DigestEngine();
    auto const aesKey = provider.createAES128Key(ByteArray(16));
    auto const publicKey = Key::createPublicKey(readRSAKey(2048, "public.der"));
    auto const privateKey = Key::createPrivateKey(readRSAKey(2048, "private.der"));
    auto const encryptor = Key::encryptor(publicKey, RSAPaddingMode::OAEP_SHA1, prng);
    auto const signer = Key::signer(privateKey, RSAPaddingMode::PSS, prng);
    auto const curveSigner = P256::signer(P256::privateKey(readKey("p256-private.pem")));
    return {
        {"bytes", [=] { return prng->generateRandomBytes(32); }},
        {"single bytes",
         [=] {
             ByteArray drawn;
             while (drawn.size() < 16) {
                 drawn.push_back(prng->generateRandomByte());
             }
             return drawn;
         }},
        {"an initialization vector",
         [=] {
             using foundation::crypto::utils::AESMode;
             using foundation::crypto::utils::AESPaddingMode;
             return provider.createAES128Encryptor(aesKey, {}, AESMode::CTR, AESPaddingMode::NoPadding, prng)
                 ->encrypt(ByteArray(16));
         }},
        {"an OAEP padding", [=] { return encryptor->encrypt({}); }},
        {"a PSS salt", [=] { return signer->sign(ByteArray(), sha256); }},
        {"an ECDSA nonce", [=] { return curveSigner->sign(ByteArray(), sha256); }},
        {"a key", [] { return P256::generateKeyPair()->getPrivateKey()->getPrivateInteger(); }},
    };
}

/// A generator with the same state on both sides would repeat nonces, and give keys away.
TEST(Fork, GivesEachProcessRandomBytesOfItsOwn) {
    for (Drawing const& drawing : drawings()) {
        drawing.draw(); // so that there is a state to share
        Child first(drawing.draw);
        Child second(drawing.draw);
        Child parent([&] {
            Child child(drawing.draw);
            return child.result();
        });
        std::vector<ByteArray> const drawn{drawing.draw(), first.result(), second.result(), parent.result()};
        for (std::size_t i = 0; i < drawn.size(); ++i) {
            EXPECT_FALSE(drawn[i].empty()) << drawing.name;
            EXPECT_EQ(std::count(drawn.begin(), drawn.end(), drawn[i]), 1) << drawing.name;
        }
    }
}

// The end

using Runs = std::vector<OperationRun>;

/// Objects of every kind that were used and are still there.
Runs useEverything() {
    Runs runs = prepareEverything();
    for (OperationRun const& run : runs) {
        run.call();
    }
    return runs;
}

/// Released after libcrypto has cleaned up, since that was registered later.
Runs* keptToTheEnd = nullptr;

[[gnu::constructor(101)]] void releaseAtTheEnd() {
    std::atexit([] { delete keptToTheEnd; });
}

Handed handedOver;

struct Way {
    std::string name;
    std::function<void()> leave; ///< Does not return.
};

void PrintTo(Way const& way, std::ostream* output) {
    *output << way.name;
}

std::vector<Way> ways() {
    static auto const keepStatic = [] { static Runs const kept = useEverything(); };
    static auto const keepThreadLocal = [] { thread_local Runs const kept = useEverything(); };
    return {
        {"ByExitAmidUse",
         [] {
             Runs const local = useEverything();
             std::exit(0);
         }},
        {"WithStaticObjects",
         [] {
             keepStatic();
             std::exit(0);
         }},
        {"WithObjectsOutlivingLibcrypto",
         [] {
             keptToTheEnd = new Runs(useEverything());
             std::exit(0);
         }},
        {"WithThreadLocalObjects",
         [] {
             keepThreadLocal();
             std::exit(0);
         }},
        {"WithThreadLocalObjectsOfAnEndedThread",
         [] {
             std::thread([] { keepThreadLocal(); }).join();
             std::exit(0);
         }},
        {"WithLeakedObjects",
         [] {
             static auto const* const leaked = new Runs(useEverything());
             static_cast<void>(leaked);
             std::exit(0);
         }},
        {"FromAnotherThread",
         [] {
             Runs const local = useEverything(); // on a stack that is never unwound
             keepStatic();
             std::thread([] {
                 keepThreadLocal();
                 std::exit(0);
             }).join();
         }},
        {"UsingTheLibraryInAHandlerAtExit",
         [] {
             std::atexit([] { useEverything(); });
             std::exit(0);
         }},
        {"ByQuickExit",
         [] {
             keepStatic();
             std::at_quick_exit([] { useEverything(); });
             std::quick_exit(0);
         }},
        {"WithObjectsOfAnUnloadedPlugIn",
         [] {
             PlugIn<void(Handed&)> const plugIn(ZRFL_UNLOADED_PLUG_IN);
             plugIn.handOver()(handedOver);
             plugIn.unload();
             std::exit(0);
         }},
    };
}

class Leaving : public testing::TestWithParam<Way> {};

TEST_P(Leaving, IsQuiet) {
    quickOperations(); // made once, before the process forks
    EXPECT_EXIT(GetParam().leave(), testing::ExitedWithCode(0), testing::Eq(""));
}

INSTANTIATE_TEST_SUITE_P(Ways, Leaving, testing::ValuesIn(ways()), [](auto const& row) { return row.param.name; });

} // namespace
