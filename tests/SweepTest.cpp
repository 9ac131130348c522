// Every operation of the public interface, with each thing that it depends on failing in turn: its calls of libcrypto,
// the library's memory, libcrypto's memory. What is asked of it is the same for all of them. A program of its own,
// since it takes over both heaps.
//
// Without ZRFL_SWEEP=whole in the environment it is a thin slice: of operations that differ in their sizes alone the
// first, with some of their allocations failing.
#include "Sweep.h"

#include "support/Allocations.h"
#include "support/Faults.h"
#include "support/LibcryptoHeap.h"
#include "support/Operations.h"
#include "support/Token.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/err.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using namespace support;
using namespace support::sweep;

bool const isWhole = [] {
    char const* const wanted = std::getenv("ZRFL_SWEEP");
    return wanted != nullptr && std::string(wanted) == "whole";
}();

/// With an N for each number of three digits and more.
std::string withoutSizes(std::string const& description) {
    std::string result;
    for (std::size_t at = 0; at < description.size();) {
        std::size_t const digits = std::min(description.find_first_not_of("0123456789", at), description.size()) - at;
        std::size_t const taken = std::max<std::size_t>(digits, 1);
        result += digits >= 3 ? "N" : description.substr(at, taken);
        at += taken;
    }
    return result;
}

std::vector<Operation> sliceOf(std::vector<Operation> const& all) {
    std::vector<Operation> slice;
    std::set<std::string> taken;
    for (Operation const& operation : all) {
        if (taken.insert(withoutSizes(operation.description())).second || isWhole) {
            slice.push_back(operation);
        }
    }
    return slice;
}

// Calls of libcrypto

struct FailingCall : Failing {
    FailingCall(std::string const& function, int nth, std::optional<std::intptr_t> result, bool made)
        : Failing(function, nth) {
        withError("out of order");
        carriedOut(made);
        if (result) {
            returning(*result);
        }
    }
};

struct RaisingCall : Failing {
    RaisingCall(std::string const& function, int nth) : Failing(function, nth) {
        withError("out of order, but not much");
        succeeding();
    }
};

struct NumberedCall {
    Call call;
    int nth; ///< Of the operation's calls of that function.
};

std::vector<NumberedCall> callsOf(Operation const& operation) {
    OperationRun const run = operation.prepare();
    Recording const recording;
    run.call();
    std::vector<NumberedCall> calls;
    std::map<std::string, int> numbers;
    for (Call const& call : recording.calls()) {
        calls.push_back({call, ++numbers[call.function]});
    }
    return calls;
}

/// These functions fail with 0 alone and may succeed with any other number.
std::set<std::string> const failWithZero{"EVP_MAC_final", "EVP_MAC_init", "PKCS5_PBKDF2_HMAC",
                                         "i2d_PKCS8PrivateKey_bio", "i2d_PUBKEY_bio"};

/// The results with which a call can fail, none for the function's own.
std::vector<std::optional<std::intptr_t>> failuresOf(Call const& call) {
    if (call.returns == Returns::Nothing) {
        return {};
    }
    if (call.returns != Returns::Number || failWithZero.count(call.function) != 0) {
        return {std::nullopt};
    }
    return isWhole ? std::vector<std::optional<std::intptr_t>>{0, -1, -2}
                   : std::vector<std::optional<std::intptr_t>>{0, -1};
}

/// A call that may fail without an exception.
struct Excuse {
    std::string function;
    std::string operation; ///< What the operation's description contains.
    Ending worst;          ///< What may come of it.
    bool keepsQueue;       ///< Whether the errors of the call are forgotten.
    std::string reason;
};

std::vector<Excuse> const excuses{
    {"BIO_ctrl", "PrivateKey", Ending::Right, true, "empties what the attempt to decrypt has read to its end"},
    {"d2i_PKCS8PrivateKey_bio", "PrivateKey", Ending::Right, true, "the key is then read as one without a password"},
    {"EVP_CIPHER_CTX_set_padding", "without padding", Ending::Wrong, false,
     "cannot fail with a context that has just got its cipher"},
    {"EVP_DigestFinal_ex", "IDigestEngine", Ending::Right, false, "is judged by the length that it wrote"},
    {"EVP_PKEY_get_bits", "Signer::getKeySize", Ending::Wrong, true, "its result is the answer"},
    {"EVP_PKEY_get_bits", "Verifier::getKeySize", Ending::Wrong, true, "its result is the answer"},
};

std::vector<Excuse> const moduleExcuses{
    {"EVP_PKEY_get_bits", "getKeySize", Ending::Wrong, true, "its result is the answer"},
    {"OSSL_STORE_INFO_get_type", "", Ending::Right, true, "passes over what is no key"},
    {"OSSL_STORE_close", "", Ending::Right, true, "releases"},
    {"OSSL_PROVIDER_unload", "", Ending::Right, true, "releases"},
    {"OSSL_STORE_load", "", Ending::Right, true, "ends the search for keys, which has found one"},
};

/// A release that is not made leaks whoever asks for it.
bool isRelease(std::string const& function) {
    return function == "OSSL_STORE_close" || function == "OSSL_PROVIDER_unload";
}

/// Every call of every operation fails, in each way. Every excuse is needed.
void expectFailingCallsAreReported(std::vector<Operation> const& all, std::vector<Excuse> const& excused) {
    std::size_t failures = 0;
    std::set<Excuse const*> needed;
    auto const expectReported = [&](Operation const& operation, std::string const& function, Seen const& seen) {
        EXPECT_TRUE(seen.failed);
        expectNoHarm(operation, seen);
        ++failures;
        if (!seen.returned) {
            EXPECT_EQ(seen.ending, Ending::Refused);
            return;
        }
        if (seen.ending == Ending::Negative) {
            EXPECT_TRUE(seen.queueKept);
            return;
        }
        auto const excuse = std::find_if(excused.begin(), excused.end(), [&](Excuse const& row) {
            return row.function == function && operation.description().find(row.operation) != std::string::npos;
        });
        ASSERT_NE(excuse, excused.end()) << "nothing tells of it";
        needed.insert(&*excuse);
        EXPECT_LE(seen.ending, excuse->worst);
        EXPECT_TRUE(seen.queueKept || !excuse->keepsQueue || isOfModule(operation));
    };

    for (Operation const& operation : all) {
        Rights const rights(operation);
        for (auto const& [call, nth] : callsOf(operation)) {
            for (auto const& result : failuresOf(call)) {
                for (bool const made : {false, true}) {
                    if (!made && isRelease(call.function)) {
                        continue;
                    }
                    SCOPED_TRACE(operation.description() + ": " + call.function + " " + std::to_string(nth) +
                                 (result ? " = " + std::to_string(*result) : " fails") + (made ? ", made" : ""));
                    expectReported(operation, call.function,
                                   see<FailingCall>(operation, rights, call.function, nth, result, made));
                }
            }
        }
    }
    EXPECT_GT(failures, 0U);
    for (Excuse const& excuse : excused) {
        EXPECT_EQ(needed.count(&excuse), 1U) << excuse.function << " of " << excuse.operation << " needs no excuse";
    }
}

class Sweep : public testing::Test {
private:
    ReadyKeys keys_;
    Prompts prompts_;

protected:
    std::vector<Operation> const all = sliceOf(operations());
};

TEST_F(Sweep, OfFailingCalls) {
    expectFailingCallsAreReported(all, excuses);
}

/// Calls that leave no error behind when they succeed, so that nothing has to be forgotten. That the operations leave
/// none by them when memory runs out and libcrypto gets along without is part of the sweep of its memory.
struct Clean {
    std::string operation; ///< What the operation's description contains.
    std::string function;  ///< What the function's name contains.
    std::string reason;
};

std::vector<Clean> const cleanCalls{
    {"DigestEngine", "EVP_",
     "works in a context that is there, and is called too often to look at the queue each time"},
    {"IAES", "EVP_", "works in a context of its own, and what it leaves behind would be a failure"},
    {"deriveKeyUsingPBKDF2", "PKCS5_PBKDF2_HMAC", "is one call, of everything or nothing"},
    {"", "RAND_bytes", "is such a call"},
    {"", "EVP_PKEY_get_bits", "looks up a number in the key"},
    {"crypt(stream)", "EVP_PKEY_get_size", "looks up a number in the key"},
};

TEST_F(Sweep, OfCallsThatLeaveErrorsBehind) {
    std::set<Clean const*> needed;
    for (Operation const& operation : all) {
        Rights const rights(operation);
        for (auto const& [call, nth] : callsOf(operation)) {
            if (call.returns == Returns::Nothing) {
                continue;
            }
            SCOPED_TRACE(operation.description() + ": " + call.function + " " + std::to_string(nth));
            Seen const seen = seeOnce<RaisingCall>(operation, rights, call.function, nth);
            EXPECT_TRUE(seen.failed);
            EXPECT_EQ(seen.ending, Ending::Right);
            EXPECT_TRUE(seen.markKept);
            auto const clean =
                std::find_if(cleanCalls.begin(), cleanCalls.end(), [&, function = call.function](Clean const& row) {
                    return function.find(row.function) != std::string::npos &&
                           operation.description().find(row.operation) != std::string::npos;
                });
            if (!seen.queueKept && clean != cleanCalls.end()) {
                needed.insert(&*clean);
            } else {
                EXPECT_TRUE(seen.queueKept);
            }
        }
    }
    for (Clean const& clean : cleanCalls) {
        EXPECT_EQ(needed.count(&clean), 1U) << clean.function << " of " << clean.operation;
    }
}

// Memory

/// How many wrong results libcrypto itself gives when it runs out of memory, called by hand.
int countWrongByHand(Operation const& operation, ByteArray const& right) {
    int wrong = 0;
    for (int nth = 1;; ++nth) {
        OperationRun const run = operation.prepareBare();
        bool returned = false;
        bool failed = false;
        {
            ExhaustedLibcrypto const exhausted(nth);
            returned = endingOf([&] { return run.call(), Ending::Right; }) == Ending::Right;
            failed = exhausted.happened();
        }
        ERR_clear_error();
        if (!failed) {
            return wrong;
        }
        wrong += returned && run.outcome() != right ? 1 : 0;
    }
}

/// Of the operation's allocations each `stride`-th fails. Returns how many did.
template <class Exhausted> int expectExhaustionIsReported(Operation const& operation, int stride) {
    Rights const rights(operation);
    int wrong = 0;
    int failures = 0;
    for (int nth = 1;; nth += stride, ++failures) {
        SCOPED_TRACE(operation.description() + ", allocation " + std::to_string(nth));
        Seen const seen = see<Exhausted>(operation, rights, nth);
        expectNoHarm(operation, seen);
        EXPECT_TRUE(!seen.returned || seen.queueKept || isOfModule(operation));
        if (!seen.failed) {
            EXPECT_EQ(seen.ending, Ending::Right);
            break;
        }
        wrong += seen.ending == Ending::Wrong ? 1 : 0;
    }
    if (wrong > 0) {
        int const byHand = operation.prepareBare ? countWrongByHand(operation, rights.outcome) : 0;
        EXPECT_LE(wrong, byHand) << operation.description();
    }
    return failures;
}

template <class Exhausted> int expectExhaustionIsReported(std::vector<Operation> const& all, int stride) {
    int failures = 0;
    for (Operation const& operation : all) {
        if (isWhole || !operation.prepareBare) { // where libcrypto goes wrong, it may take its time
            failures += expectExhaustionIsReported<Exhausted>(operation, stride);
        }
    }
    return failures;
}

TEST_F(Sweep, OfTheLibrarysMemory) {
    EXPECT_GT(expectExhaustionIsReported<FailingAllocation>(all, 1), 0);
}

TEST_F(Sweep, OfLibcryptosMemory) {
    ASSERT_TRUE(isLibcryptoHeapReplaced());
    EXPECT_GT(expectExhaustionIsReported<ExhaustedLibcrypto>(all, isWhole ? 1 : 5), 0);
}

// What the sweep notices

/// An operation in which `call` is all there is, and which makes bytes of what it returns.
Operation made(std::function<ByteArray()> const& call) {
    return {"IMade", "call", "", [=] {
                auto const result = std::make_shared<ByteArray>();
                return OperationRun{
                    [=] { *result = call(); }, [=] { return *result; }, nullptr, call, [] { return true; }, nullptr};
            }};
}

TEST_F(Sweep, NoticesAPrompt) {
    Operation const asking = made([] {
        std::string const pem = encryptedPEM(readPrivate(text(readRSAKey(1024, "private.pem"))), "password");
        std::unique_ptr<BIO, decltype(&BIO_free_all)> const bio(BIO_new_mem_buf(pem.data(), -1), &BIO_free_all);
        EXPECT_EQ(PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, nullptr), nullptr);
        ERR_clear_error();
        return bytes("asked");
    });
    EXPECT_GT(seeOnce<FailingAllocation>(asking, Rights(asking), 1000).prompts, 0);
}

TEST_F(Sweep, NoticesWhatIsNotReleased) {
    static std::vector<std::pair<ByteArray*, BIGNUM*>> kept;
    kept.reserve(100);
    Operation const leaking = made([] {
        kept.emplace_back(new ByteArray, BN_new());
        return bytes("kept");
    });
    // A block of each heap, in the call, in the next and in that of fresh objects.
    EXPECT_EQ(see<FailingAllocation>(leaking, Rights(leaking), 1000).leaked, 6);
    for (auto const& [array, number] : kept) {
        delete array;
        BN_free(number);
    }
}

TEST_F(Sweep, NoticesWhatComesOfAnOperation) {
    int runs = 0;
    ByteArray const right = bytes("right");
    Operation const deteriorating = made([&] { return ++runs > 2 ? bytes("wrong") : right; });
    Rights const rights(deteriorating);
    Seen const seen = seeOnce<FailingAllocation>(deteriorating, rights, 1000);
    EXPECT_EQ(seen.ending, Ending::Wrong);
    EXPECT_EQ(seen.again, Ending::Wrong);
    EXPECT_EQ(seen.fresh, Ending::Wrong);
    EXPECT_TRUE(seen.queueKept && seen.markKept);

    Operation const foreign = made([&]() -> ByteArray { throw std::runtime_error("foreign"); });
    EXPECT_EQ(seeOnce<FailingAllocation>(foreign, rights, 1000).ending, Ending::Foreign);
    Operation const raising = made([&] { return ERR_raise(ERR_LIB_USER, 1), right; });
    EXPECT_FALSE(seeOnce<FailingAllocation>(raising, rights, 1000).queueKept);
    Operation const clearing = made([&] { return ERR_clear_error(), right; });
    EXPECT_FALSE(seeOnce<FailingAllocation>(clearing, rights, 1000).markKept);
}

// A key in a hardware security module: the provider module and the token's software are no part of what is swept.

class HSMSweep : public Sweep {
private:
    Token token_;

protected:
    std::vector<Operation> const members =
        hsmOperations({Token::module(), Token::uri("rsa2048")}, token_.publicKey("rsa2048"));
};

TEST_F(HSMSweep, OfFailingCalls) {
    expectFailingCallsAreReported(members, moduleExcuses);
}

TEST_F(HSMSweep, OfTheLibrarysMemory) {
    EXPECT_GT(expectExhaustionIsReported<FailingAllocation>(members, 1), 0);
}

enum class Course { Harmless, Harmful, Over };

/// An operation with the n-th allocation of libcrypto failing, in a process of its own, since it may end by it.
Course courseOf(Operation const& operation, Rights const& rights, int nth) {
    Token const token; // what crashes may leave it in any state
    pid_t const child = fork();
    if (child == 0) {
        alarm(30);
        Seen const seen = seeOnce<ExhaustedLibcrypto>(operation, rights, nth);
        bool const harmless = (seen.ending == Ending::Right || !seen.returned) && seen.again == Ending::Right &&
                              seen.fresh == Ending::Right && seen.prompts == 0;
        _exit(static_cast<int>(!seen.failed ? Course::Over : harmless ? Course::Harmless : Course::Harmful));
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFEXITED(status) ? static_cast<Course>(WEXITSTATUS(status)) : Course::Harmful;
}

// Most of the thousands of allocations are those that load the module. Some stand for all.
TEST_F(HSMSweep, OfLibcryptosMemory) {
    int const stride = 10;
    for (Operation const& operation : members) {
        Operation byHand = operation;
        byHand.prepare = operation.prepareBare;
        Rights const rights(operation);
        int harmful = 0;
        int harmfulByHand = 0;
        int nth = 1;
        for (Course course = Course::Harmless; course != Course::Over; nth += stride) {
            course = courseOf(operation, rights, nth);
            harmful += course == Course::Harmful ? 1 : 0;
            harmfulByHand += courseOf(byHand, rights, nth) == Course::Harmful ? 1 : 0;
        }
        EXPECT_LE(harmful, harmfulByHand) << operation.description();
        EXPECT_GT(nth, 100 * stride);
    }
}

} // namespace
