// What threads may share, what they may do at the same time, and what they may hand to each other.
#include "support/Operations.h"
#include "support/Provider.h"
#include "support/Threads.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/DigestAlgorithms.h>
#include <foundation/crypto/utils/EllipticCurve.h>
#include <foundation/crypto/utils/Exceptions.h>
#include <foundation/crypto/utils/HSMObject.h>
#include <foundation/crypto/utils/SignatureVerificationStatus.h>

#include <openssl/err.h>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <exception>
#include <pthread.h>
#include <string>
#include <vector>

namespace {

using namespace support;
using namespace foundation::crypto;
using openssl::CryptoProvider;
using utils::HSMObject;

constexpr std::size_t threads = 8;

/// What each operation gives when nothing else is at work.
std::vector<ByteArray> const& expectedOutcomes() {
    static auto const outcomes = [] {
        std::vector<ByteArray> all;
        for (Operation const& operation : operations()) {
            OperationRun const run = operation.prepare();
            run.call();
            all.push_back(run.outcome());
        }
        return all;
    }();
    return outcomes;
}

/// Makes the call and releases what took part in it.
void expectUsualOutcome(std::size_t operation, OperationRun& run) {
    EXPECT_NO_THROW(run.call()) << operations()[operation].description();
    EXPECT_EQ(run.outcome(), expectedOutcomes()[operation]) << operations()[operation].description();
    run = {};
}

/// An engine carries the state of its message, so it serves one thread at a time; but any number may ask its names.
bool mayBeShared(Operation const& operation) {
    return operation.interface != "IDigestEngine" || operation.name.rfind("get", 0) == 0;
}

/// Where all threads wait for each other.
class Meeting {
public:
    Meeting() { pthread_barrier_init(&barrier_, nullptr, threads); }

    ~Meeting() { pthread_barrier_destroy(&barrier_); }

    Meeting(Meeting const&) = delete;
    Meeting& operator=(Meeting const&) = delete;

    void wait() { pthread_barrier_wait(&barrier_); }

private:
    pthread_barrier_t barrier_;
};

TEST(Concurrency, LetsThreadsShareTheObjectsOfAnOperation) {
    expectedOutcomes();
    std::vector<std::array<OperationRun, threads>> shared(operations().size());
    for (std::size_t i = 0; i < shared.size(); ++i) {
        Operation const& operation = operations()[i];
        if (mayBeShared(operation) && operation.name != "generateRSA4096KeyPair") { // it takes a second
            OperationRun const first = operation.prepare();
            for (OperationRun& run : shared[i]) {
                run = first.beside();
            }
        }
    }
    Meeting meeting;
    onThreads(threads, [&](std::size_t thread) {
        for (std::size_t i = 0; i < shared.size(); ++i) {
            if (OperationRun& run = shared[i][thread]; run.call) {
                meeting.wait();
                expectUsualOutcome(i, run);
            }
        }
    });
}

TEST(Concurrency, LetsEveryOperationWorkBesideEveryOther) {
    std::size_t const count = expectedOutcomes().size();
    std::size_t const stride = 167; // neighbours in the list are much alike, so operations far apart meet
    ASSERT_NE(count % stride, 0U);
    std::atomic<std::size_t> next{0};
    onThreads(threads, [&](std::size_t /*thread*/) {
        for (std::size_t turn = next++; turn < count; turn = next++) {
            std::size_t const i = turn * stride % count;
            OperationRun run = operations()[i].prepare();
            expectUsualOutcome(i, run);
        }
    });
}

/// libcrypto keeps some things for each thread, and releases them when it ends.
TEST(Concurrency, LetsObjectsOutliveTheThreadsThatMadeAndUsedThem) {
    std::vector<OperationRun> runs(expectedOutcomes().size());
    auto const forEachRun = [&](auto const& step) {
        onThreads(threads, [&](std::size_t thread) {
            for (std::size_t i = thread; i < runs.size(); i += threads) {
                step(i);
            }
        });
    };
    forEachRun([&](std::size_t i) { runs[i] = operations()[i].prepare(); });
    forEachRun([&](std::size_t i) { EXPECT_NO_THROW(runs[i].call()); });
    forEachRun([&](std::size_t i) {
        EXPECT_EQ(runs[i].outcome(), expectedOutcomes()[i]) << operations()[i].description();
        runs[i] = {};
    });
}

TEST(Concurrency, LetsThreadsShareProvidersAndWords) {
    CryptoProvider const shared;
    HSMObject const key("module", "uri");
    auto const status = utils::makeValidSignatureVerificationStatus();
    onThreads(threads, [&](std::size_t /*thread*/) {
        for (int round = 0; round < 100; ++round) {
            CryptoProvider const own;
            CryptoProvider const copy(shared);
            EXPECT_EQ(copy.createMD5DigestEngine()->getDigestSize(), own.createMD5DigestEngine()->getDigestSize());
            HSMObject const copied(key);
            EXPECT_EQ(copied.getModulePath() + key.getURI(), "moduleuri");
            EXPECT_EQ(status, utils::makeValidSignatureVerificationStatus());
            EXPECT_EQ(utils::SHA256DigestAlgorithm::getDigestName(), "SHA256");
            EXPECT_EQ(getName(utils::EllipticCurve::P256), "P256");
        }
    });
}

TEST(Concurrency, LetsThreadsReadAndCopyOneException) {
    std::exception_ptr shared; // released here, since ThreadSanitizer does not see the count that libstdc++ keeps
    try {
        provider.createAES128Key({});
    } catch (utils::InternalException const&) {
        shared = std::current_exception();
    }
    onThreads(threads, [&](std::size_t /*thread*/) {
        try {
            std::rethrow_exception(shared);
        } catch (utils::InternalException const& error) {
            utils::InternalException const copy(error);
            EXPECT_STREQ(copy.what(), "AES 128-bit key data must contain at least 16 bytes.");
        }
    });
}

/// The queue is the thread's own, and so is the text that is made of it.
TEST(Concurrency, TellsEachThreadOfItsOwnErrors) {
    onThreads(threads, [&](std::size_t thread) {
        std::string const own = "Could not initialize the digest context. error:40000" + std::to_string(thread) +
                                "00:lib(128)::reason(" + std::to_string(thread * 256) + ")";
        for (int round = 0; round < 100; ++round) {
            ERR_raise(ERR_LIB_USER, static_cast<int>(thread * 256));
            EXPECT_EQ(catchFrom([] { provider.createHMACSHA256DigestEngine({}); }).text, own);
            EXPECT_EQ(ERR_peek_error(), 0U);
        }
    });
}

} // namespace
