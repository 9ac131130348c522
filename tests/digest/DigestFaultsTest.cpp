#include "digest/DigestEngine.h"

#include "EngineFaults.h"
#include "support/Allocations.h"
#include "support/Bytes.h"
#include "support/FaultTables.h"
#include "support/Provider.h"
#include "support/Throws.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace support;
using namespace foundation::crypto;
using utils::InternalException;
using Engine = openssl::DigestEngine<utils::SHA256DigestAlgorithm>;

void create() {
    provider.createSHA256DigestEngine();
}

void copy() {
    Engine const source;
    Engine const target(source);
}

void assign() {
    Engine const source;
    Engine target;
    target = source;
}

void update() {
    Engine().update(bytes("abc"));
}

void updateByPointer() {
    Engine().update(nullptr, 0);
}

void finalize() {
    Engine().finalize();
}

void computeFromBytes() {
    Engine().computeDigest(bytes("abc"));
}

void computeFromStream() {
    std::istringstream stream("abc");
    Engine().computeDigest(stream);
}

std::string const unknown = "OpenSSL did not recognize SHA256; Error Message=";
std::string const noContext = "Could not construct a context. ";
std::string const notInitialized = "Could not initialize the digest context. ";
std::string const notCopied = "Could not copy Context. ";
std::string const notUpdated = "Could not update data to the digest state. ";
std::string const wrongSize = "OpenSSL digest generation API returned digest of incorrect size.";
std::string const notReconstructed = "Could not reconstruct a Context. ";

std::vector<Result> const notOne{0, -1, 2, made(0)};

std::vector<Fault> const faults{
    {"CreateUnknown", "EVP_get_digestbyname", 1, create, unknown, asUsual, true},
    {"CreateContext", "EVP_MD_CTX_new", 1, create, noContext, asUsual, true},
    {"CreateInitialize", "EVP_DigestInit_ex", 1, create, notInitialized, notOne, true},
    {"CopyUnknown", "EVP_get_digestbyname", 2, copy, unknown, asUsual, true},
    {"CopyContext", "EVP_MD_CTX_new", 2, copy, noContext, asUsual, true},
    {"Copy", "EVP_MD_CTX_copy_ex", 1, copy, notCopied, notOne, true},
    {"AssignUnknown", "EVP_get_digestbyname", 3, assign, unknown, asUsual, true},
    {"AssignContext", "EVP_MD_CTX_new", 3, assign, noContext, asUsual, true},
    {"Assign", "EVP_MD_CTX_copy_ex", 1, assign, notCopied, notOne, true},
    {"Update", "EVP_DigestUpdate", 1, update, notUpdated, notOne, true},
    {"UpdateByPointer", "EVP_DigestUpdate", 1, updateByPointer, notUpdated, notOne, true},
    {"ComputeUpdate", "EVP_DigestUpdate", 1, computeFromBytes, notUpdated, notOne, true},
    {"StreamUpdate", "EVP_DigestUpdate", 1, computeFromStream, notUpdated, notOne, true},
    {"FinalizeFinal", "EVP_DigestFinal_ex", 1, finalize, wrongSize},
    {"ComputeFinal", "EVP_DigestFinal_ex", 1, computeFromBytes, wrongSize},
    {"StreamFinal", "EVP_DigestFinal_ex", 1, computeFromStream, wrongSize},
    {"FinalizeReconstruct", "EVP_DigestInit_ex", 2, finalize, notReconstructed, notOne, true},
    {"ComputeReconstruct", "EVP_DigestInit_ex", 2, computeFromBytes, notReconstructed, notOne, true},
    {"StreamReconstruct", "EVP_DigestInit_ex", 2, computeFromStream, notReconstructed, notOne, true},
};

class DigestFaults : public testing::TestWithParam<Fault> {};

INSTANTIATE_TEST_SUITE_P(, DigestFaults, testing::ValuesIn(expanded(faults)), nameOf);

TEST_P(DigestFaults, AreReportedInTheirOwnWords) {
    expectReported<InternalException>(GetParam());
}

TEST_P(DigestFaults, LeakNothing) {
    expectAllReleased(GetParam());
}

TEST(DigestFault, OfAnotherSizeIsRefused) {
    for (int const difference : {-1, 1}) {
        Replacing<decltype(EVP_DigestFinal_ex)> const resized(
            "EVP_DigestFinal_ex", [&](auto real, EVP_MD_CTX* context, unsigned char* digest, unsigned int* size) {
                int const result = real(context, digest, size);
                *size = *size + static_cast<unsigned int>(difference);
                return result;
            });
        EXPECT_THROWS(InternalException, wrongSize, finalize());
    }
}

TEST(DigestFault, OfTheFinalCallIsJudgedByTheLengthAlone) {
    Replacing<decltype(EVP_DigestFinal_ex)> const lying(
        "EVP_DigestFinal_ex", [](auto real, EVP_MD_CTX* context, unsigned char* digest, unsigned int* size) {
            EXPECT_EQ(*size, 0U);
            real(context, digest, size);
            return 0;
        });
    EXPECT_EQ(hex(Engine().finalize()), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

void expectUsedUp(Engine& engine) {
    expectUnusable(engine, notUpdated + "No OpenSSL errors.", wrongSize);
}

void expectUsedUpWithItsCopies(Engine& engine) {
    expectUsedUp(engine);
    Engine copy(engine);
    expectUsedUp(copy);
    Engine assigned;
    assigned = engine;
    expectUsedUp(assigned);
    engine = Engine();
    EXPECT_EQ(engine.computeDigest(bytes("abc")), Engine().computeDigest(bytes("abc")));
}

TEST(DigestFault, OfReconstructionUsesTheEngineUp) {
    for (bool const carriedOut : {false, true}) {
        for (int const result : {0, -1, 2}) {
            SCOPED_TRACE("result " + std::to_string(result) + (carriedOut ? " of a call that was made" : ""));
            Engine engine;
            {
                Failing failing("EVP_DigestInit_ex");
                failing.returning(result).carriedOut(carriedOut);
                EXPECT_THROWS_PREFIX(InternalException, notReconstructed, engine.computeDigest(bytes("abc")));
            }
            expectUsedUpWithItsCopies(engine);
        }
    }
}

TEST(DigestFault, OfAnotherSizeUsesTheEngineUp) {
    {
        Engine engine;
        Failing const failing("EVP_DigestFinal_ex"); // writes nothing, and leaves the context as it was
        EXPECT_THROWS(InternalException, wrongSize, engine.computeDigest(bytes("abc")));
        expectUsedUpWithItsCopies(engine);
    }
    Engine engine;
    {
        Replacing<decltype(EVP_DigestFinal_ex)> const shorter(
            "EVP_DigestFinal_ex", [](auto real, EVP_MD_CTX* context, unsigned char* digest, unsigned int* size) {
                int const result = real(context, digest, size);
                --*size;
                return result;
            });
        EXPECT_THROWS(InternalException, wrongSize, engine.computeDigest(bytes("abc")));
    }
    expectUsedUpWithItsCopies(engine);
}

TEST(DigestFault, OfAnUpdateLeavesWhatLibcryptoMadeOfTheMessage) {
    Engine engine;
    engine.update(bytes("a"));
    for (int const result : {0, -1, 2}) {
        Failing failing("EVP_DigestUpdate");
        failing.returning(result).carriedOut();
        EXPECT_THROWS_PREFIX(InternalException, notUpdated, engine.update(bytes("b")));
    }
    EXPECT_EQ(engine.finalize(), Engine().computeDigest(bytes("abbb")));
}

TEST(DigestFault, OfAllocationInFinalizeIsTranslated) {
    Engine engine;
    FailingAllocation const failing;
    EXPECT_THROWS(InternalException, "std::bad_alloc", engine.finalize());
    EXPECT_TRUE(failing.happened());
}

TEST(DigestFault, InUpdateLeavesTheMessageAsItWas) {
    Engine engine;
    engine.update(bytes("ab"));
    {
        Failing const failing("EVP_DigestUpdate");
        EXPECT_THROWS_PREFIX(InternalException, notUpdated, engine.update(bytes("lost")));
    }
    EXPECT_EQ(engine.computeDigest(bytes("c")), Engine().computeDigest(bytes("abc")));
}

TEST(DigestFault, InAssignmentLeavesTheTargetAsItWas) {
    Engine const source;
    Engine target;
    target.update(bytes("ab"));
    {
        Failing const failing("EVP_MD_CTX_copy_ex");
        EXPECT_THROWS_PREFIX(InternalException, notCopied, target = source);
    }
    EXPECT_EQ(target.computeDigest(bytes("c")), Engine().computeDigest(bytes("abc")));
}

TEST(DigestCalls, AreThoseThatTheWorkNeeds) {
    Recording const recording;
    provider.createSHA256DigestEngine()->computeDigest(bytes("abc"));
    EXPECT_EQ(
        recording.functions(),
        (std::vector<std::string>{"EVP_get_digestbyname", "EVP_MD_CTX_new", "EVP_DigestInit_ex", "EVP_DigestUpdate",
                                  "EVP_DigestFinal_ex", "EVP_DigestInit_ex", "EVP_MD_CTX_free"}));
}

TEST(DigestCalls, FeedAStreamInPiecesOf1024Bytes) {
    struct {
        std::size_t size;
        std::vector<std::intptr_t> pieces;
    } const rows[] = {{0, {0}},          {1, {1}},          {1023, {1023}},
                      {1024, {1024, 0}}, {1025, {1024, 1}}, {2500, {1024, 1024, 452}}};

    for (auto const& [size, pieces] : rows) {
        EXPECT_EQ(piecesOfStream(Engine(), "EVP_DigestUpdate", size), pieces);
    }
}

TEST(DigestCalls, HandOverTheWholeSizeOfAnUpdate) {
    constexpr std::size_t large = std::size_t(UINT_MAX) + 6;
    unsigned char const byte = 'a';
    Replacing<decltype(EVP_DigestUpdate)> const watching(
        "EVP_DigestUpdate", [&](auto /*real*/, EVP_MD_CTX*, void const* data, std::size_t size) {
            EXPECT_EQ(data, &byte);
            EXPECT_EQ(size, large);
            return 1;
        });
    Recording const recording;
    Engine().update(&byte, large);
    EXPECT_EQ(recording.count("EVP_DigestUpdate"), 1U);
}

TEST(DigestCalls, FeedNothingFromAStreamThatIsNotGood) {
    std::istringstream stream("unread");
    stream.setstate(std::ios_base::eofbit);
    Engine engine;
    Recording const recording;
    engine.computeDigest(stream);
    EXPECT_EQ(recording.count("EVP_DigestUpdate"), 0U);
}

} // namespace
