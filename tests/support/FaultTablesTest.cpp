// What the fault tables ask is asked in earnest.
#include "support/FaultTables.h"
#include "support/HostsMark.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <openssl/err.h>
#include <openssl/evp.h>

#include <string>
#include <vector>

namespace {

using namespace support;
using foundation::crypto::utils::Exception;
using foundation::crypto::utils::InternalException;

/// Makes a context; `otherwise` is done when there is none.
template <class Otherwise> Fault makingAContext(Otherwise otherwise) {
    auto const operation = [=] {
        EVP_MD_CTX* const context = EVP_MD_CTX_new();
        context == nullptr ? otherwise() : EVP_MD_CTX_free(context);
    };
    return {"Context", "EVP_MD_CTX_new", 1, operation, "no context"};
}

TEST(FaultTables, AreContentWithWhatIsReportedAndReleased) {
    Fault const fault = makingAContext([] { throw InternalException("no context"); });
    expectReported<InternalException>(fault);
    expectAllReleased(fault);
}

TEST(FaultTables, NoticeWhatIsNotForgotten) {
    auto const operation = [] { EVP_MD_CTX_free(EVP_MD_CTX_new()); };
    EXPECT_NONFATAL_FAILURE(expectForgotten("EVP_MD_CTX_new", Variants(operation)), "HostsMark::reason");
}

TEST(FaultTables, NoticeWhatIsNotReportedAsTheyHaveIt) {
    Fault const silent = makingAContext([] {});
    Fault const wordy = makingAContext([] { throw InternalException("no context: flooded"); });
    Fault const vague = makingAContext([] { throw Exception("no context"); });
    for (Fault const& fault : {silent, wordy, vague}) {
        EXPECT_NONFATAL_FAILURE(expectReported<InternalException>(fault), "expected ");
    }
}

TEST(FaultTables, NoticeThatTheHostsErrorsAreGone) {
    Fault const fault = makingAContext([] {
        ERR_clear_error();
        throw InternalException("no context");
    });
    expectReported<InternalException>(fault, HostsErrors::MayGo);
    if (!decryptingTakesMarks()) { // else the mark may be gone from any row
        EXPECT_NONFATAL_FAILURE(expectReported<InternalException>(fault), "the mark is gone");
    }
}

TEST(FaultTables, NoticeThatObjectsAndReleasesDiffer) {
    Fault const fault = makingAContext([] { EVP_MD_CTX_free(nullptr); });
    EXPECT_NONFATAL_FAILURE(expectAllReleased(fault), "EVP_MD_CTX_free");
}

TEST(FaultTables, HaveATestForEachResultAndVariant) {
    std::vector<int> seen;
    Fault fault = makingAContext([] {});
    fault.results = {asUsual[0], 0};
    forEachResult(fault, [&](Failing& failing) {
        fault.operation();
        seen.push_back(failing.happened() ? 1 : 0);
    });
    EXPECT_EQ(seen, (std::vector<int>{1, 1}));

    static std::string done;
    std::vector<Named<char>> const members{{"X", 'x'}, {"Y", 'y'}};
    fault.operation = over(members, {{"One", [](char member) { done += member; }},
                                     {"Two", [](char member) { done += std::string(2, member); }}});
    std::string names;
    for (Fault const& row : expanded({fault, makingAContext([] {})})) {
        names += row.name + " ";
        row.operation();
    }
    EXPECT_EQ(names, "Context_OneX Context_OneY Context_TwoX Context_TwoY Context ");
    EXPECT_EQ(done, "xyxxyy");
}

} // namespace
