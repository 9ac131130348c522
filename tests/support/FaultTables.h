#ifndef ZRFL_TESTS_SUPPORT_FAULTTABLES_H
#define ZRFL_TESTS_SUPPORT_FAULTTABLES_H

#include "Faults.h"
#include "Throws.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

/// Tables of the libcrypto calls that can fail in a family's operations, and what is asked of each.
namespace support {

/// A call that fails, in an operation, and what the caller then sees.
struct Fault {
    std::string name; ///< What the tests call it.
    std::string call;
    int nth; ///< Of the operation's calls of that name; 1 is the first.
    std::function<void()> operation;
    std::string text;
    bool explained = false;                  ///< Whether libcrypto's error text follows.
    std::vector<std::intptr_t> results = {}; ///< What the call returns; none: the function's usual failure result.
};

inline std::string nameOf(testing::TestParamInfo<Fault> const& info) {
    return info.param.name;
}

/// Runs `judge(failing)` for each result of the call, with the call armed to return it.
template <class Judge> void forEachResult(Fault const& fault, Judge&& judge) {
    if (fault.results.empty()) {
        Failing failing(fault.call, fault.nth);
        judge(failing);
    }
    for (std::intptr_t const result : fault.results) {
        SCOPED_TRACE("result " + std::to_string(result));
        Failing failing(fault.call, fault.nth);
        failing.returning(result);
        judge(failing);
    }
}

/// The operation throws exactly `Expected` with the text, then libcrypto's error text where the table says so: its
/// error codes, and never what is attached to them.
template <class Expected> void expectReported(Fault const& fault) {
    forEachResult(fault, [&](Failing& /*failing*/) {
        EXPECT_THROWS(Expected, fault.text + (fault.explained ? "No OpenSSL errors." : ""), fault.operation());
    });
    forEachResult(fault, [&](Failing& failing) {
        failing.withError("the engine room is flooded");
        Thrown const thrown = catchFrom(fault.operation);
        EXPECT_EQ(thrown.type, typeid(Expected).name());
        EXPECT_EQ(thrown.text.substr(0, fault.text.size()), fault.text);
        EXPECT_EQ(thrown.text.size() > fault.text.size(), fault.explained) << thrown.text;
        EXPECT_EQ(thrown.text.find("error:40000001") != std::string::npos, fault.explained) << thrown.text;
        EXPECT_EQ(thrown.text.find("the engine room is flooded"), std::string::npos);
    });
}

/// Calls that release objects, with the calls that make such an object each.
using Releases = std::map<std::string, std::vector<std::string>>;

/// As many objects were released as were made, not counting the one call of `failed` that failed.
inline void expectAllReleased(Recording const& recording, Releases const& releases, std::string const& failed = "") {
    for (auto const& [release, creations] : releases) {
        std::size_t created = 0;
        for (std::string const& creation : creations) {
            created += recording.count(creation) - (creation == failed ? 1 : 0);
        }
        EXPECT_EQ(recording.count(release), created) << release;
    }
}

inline void expectAllReleased(Fault const& fault, Releases const& releases) {
    forEachResult(fault, [&](Failing& /*failing*/) {
        Recording const recording;
        catchFrom(fault.operation);
        expectAllReleased(recording, releases, fault.call);
    });
}

} // namespace support

#endif
