// The test tools themselves: a check that cannot fail is worth nothing.
#include "support/Allocations.h"
#include "support/Bytes.h"
#include "support/Commands.h"
#include "support/Faults.h"
#include "support/Throws.h"
#include "support/Vectors.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <openssl/err.h>
#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <thread>

namespace {

using namespace support;
using foundation::crypto::utils::Exception;
using foundation::crypto::utils::InternalException;

TEST(Hex, GoesBothWays) {
    EXPECT_EQ(hex(unhex("00 7f\nFf a0")), "007fffa0");
    EXPECT_EQ(hex({}), "");
    EXPECT_THROW(unhex("0"), std::invalid_argument);
    EXPECT_THROW(unhex("0g"), std::invalid_argument);
}

TEST(ThrowsExactly, TellsTypesAndTextsApart) {
    auto const raise = [] { throw InternalException("text"); };
    EXPECT_TRUE(throwsExactly<InternalException>("text", false, raise));
    EXPECT_TRUE(throwsExactly<InternalException>("te", true, raise));
    EXPECT_FALSE(throwsExactly<InternalException>("te", false, raise));
    EXPECT_FALSE(throwsExactly<InternalException>("text ", false, raise));
    EXPECT_FALSE(throwsExactly<InternalException>("text ", true, raise));
    EXPECT_FALSE(throwsExactly<Exception>("text", false, raise));
    EXPECT_FALSE(throwsExactly<InternalException>("text", false, [] {}));
    EXPECT_FALSE(throwsExactly<InternalException>("text", false, [] { throw 7; }));
}

TEST(Vectors, AreCountedAndNeverEmpty) {
    EXPECT_GT(readVectors("digests.txt").size(), 10U);
    EXPECT_THROW(readVectors("missing.txt"), std::runtime_error);
    EXPECT_THROW(readVectors("../support/Bytes.h"), std::runtime_error);
    EXPECT_THROW(readVectors("digests.txt")[0].word("absent"), std::out_of_range);
}

TEST(Commands, ReportStatusAndOutput) {
    EXPECT_EQ(run("echo out; exit 3").status, 3);
    EXPECT_EQ(run("echo out").output, "out\n");
    EXPECT_EQ(run("cat").output, "");
}

TEST(Failing, FailsTheChosenCallAndNoOther) {
    Failing const failing("EVP_MD_CTX_new", 2);
    EVP_MD_CTX* const first = EVP_MD_CTX_new();
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(EVP_MD_CTX_new(), nullptr);
    EVP_MD_CTX* const third = EVP_MD_CTX_new();
    EXPECT_NE(third, nullptr);
    EVP_MD_CTX_free(first);
    EVP_MD_CTX_free(third);
}

TEST(Failing, LeavesTheErrorAndTheResultItWasGiven) {
    Failing failing("EVP_DigestInit_ex");
    failing.withError("why").returning(-2);
    EXPECT_EQ(EVP_DigestInit_ex(nullptr, nullptr, nullptr), -2);
    char const* data = nullptr;
    ERR_peek_last_error_data(&data, nullptr);
    EXPECT_STREQ(data, "why");
}

TEST(Failing, CarriesTheCallOutWhereTheTestSaysSo) {
    EVP_MD_CTX* const context = EVP_MD_CTX_new();
    for (bool const carriedOut : {false, true}) {
        Failing failing("EVP_DigestInit_ex");
        failing.carriedOut(carriedOut);
        EXPECT_EQ(EVP_DigestInit_ex(context, EVP_sha256(), nullptr), 0);
        EXPECT_EQ(EVP_MD_CTX_get0_md(context) != nullptr, carriedOut);
    }
    EVP_MD_CTX_free(context);
}

TEST(Failing, MayLeaveAnErrorAndSucceed) {
    Failing failing("EVP_MD_CTX_new");
    failing.withError("why").succeeding();
    EVP_MD_CTX* const context = EVP_MD_CTX_new();
    EXPECT_NE(context, nullptr);
    EXPECT_EQ(ERR_GET_LIB(ERR_peek_last_error()), ERR_LIB_USER);
    EVP_MD_CTX_free(context);
}

TEST(Failing, ThatNeverHappenedFailsItsTest) {
    EXPECT_NONFATAL_FAILURE({ Failing const failing("EVP_MD_CTX_new"); }, "EVP_MD_CTX_new was to fail");
}

TEST(Failing, MeansTheThreadOfTheTest) {
    Failing const failing("EVP_MD_CTX_new");
    std::thread([] {
        EVP_MD_CTX* const context = EVP_MD_CTX_new();
        EXPECT_NE(context, nullptr);
        EVP_MD_CTX_free(context);
    }).join();
    EXPECT_EQ(EVP_MD_CTX_new(), nullptr);
}

TEST(FailingAllocation, FailsTheChosenOne) {
    auto const fails = [] {
        try {
            ::operator delete(::operator new(1)); // called by name, since the compiler may leave out a new-expression
            return false;
        } catch (std::bad_alloc const&) {
            return true;
        }
    };
    std::array<bool, 3> failed{};
    FailingAllocation const failing(2);
    for (bool& one : failed) { // judged afterwards, since an expectation may allocate
        one = fails();
    }
    EXPECT_EQ(failed, (std::array<bool, 3>{false, true, false}));
    EXPECT_TRUE(failing.happened());
}

TEST(ReleaseWatch, SeesASecretThatWasNotWiped) {
    ByteArray const secret = bytes("a secret of some length");
    auto unwiped = std::make_unique<ByteArray>(secret);
    auto wiped = std::make_unique<ByteArray>(secret);
    ReleaseWatch const watch(secret);
    std::fill(wiped->begin(), wiped->end(), static_cast<unsigned char>(0));
    wiped.reset();
    EXPECT_EQ(watch.blocksWithSecret(), 0U);
    EXPECT_GT(watch.blocks(), 0U);
    unwiped.reset();
    EXPECT_EQ(watch.blocksWithSecret(), 1U);
}

TEST(Replacing, RunsInPlaceOfTheFunction) {
    Replacing<decltype(EVP_MD_CTX_new)> const replacing("EVP_MD_CTX_new",
                                                        [](auto /*real*/) -> EVP_MD_CTX* { return nullptr; });
    EXPECT_EQ(EVP_MD_CTX_new(), nullptr);
}

TEST(Recording, KeepsCallsAndTheirArguments) {
    Recording const recording;
    EXPECT_NE(EVP_get_digestbyname("sha256"), nullptr);
    EVP_MD_CTX_free(EVP_MD_CTX_new());
    EXPECT_EQ(recording.functions(),
              (std::vector<std::string>{"EVP_get_digestbyname", "EVP_MD_CTX_new", "EVP_MD_CTX_free"}));
    EXPECT_EQ(recording.callsOf("EVP_get_digestbyname").at(0).arguments.size(), 1U);
}

} // namespace
