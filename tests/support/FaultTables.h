#ifndef ZRFL_TESTS_SUPPORT_FAULTTABLES_H
#define ZRFL_TESTS_SUPPORT_FAULTTABLES_H

#include "Faults.h"
#include "Throws.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

/// Tables of the libcrypto calls that can fail in a family's operations, and what is asked of each.
namespace support {

/// How a call fails: by what it returns, without having done anything unless it was `made`.
struct Result {
    std::optional<std::intptr_t> value; ///< None: the function's usual failure result.
    bool made = false;

    Result() = default;

    Result(std::intptr_t result) : value(result) {}
};

inline std::vector<Result> const asUsual{Result()};

inline Result made(std::intptr_t value) {
    Result result(value);
    result.made = true;
    return result;
}

template <class T> using Named = std::pair<std::string, T>;

/// An operation: one, or several that differ in their mode, size or padding and are told apart by its name.
class Variants {
public:
    template <class Operation, std::enable_if_t<std::is_invocable_v<Operation>, int> = 0>
    Variants(Operation operation) : all_{{"", std::move(operation)}} {}

    Variants(std::initializer_list<Named<std::function<void()>>> all) : all_(all) {}

    explicit Variants(std::vector<Named<std::function<void()>>> all) : all_(std::move(all)) {}

    std::vector<Named<std::function<void()>>> const& all() const { return all_; }

    void operator()() const {
        for (auto const& [name, operation] : all_) {
            operation();
        }
    }

private:
    std::vector<Named<std::function<void()>>> all_;
};

/// Each operation with each of the modes, sizes or paddings.
template <class Member>
Variants over(std::vector<Named<Member>> const& members, std::vector<Named<void (*)(Member)>> const& operations) {
    std::vector<Named<std::function<void()>>> all;
    for (auto const& [operationName, operation] : operations) {
        for (auto const& [memberName, member] : members) {
            all.emplace_back(operationName + memberName, [run = operation, with = member] { run(with); });
        }
    }
    return Variants(all);
}

template <class Member> Variants over(std::vector<Named<Member>> const& members, void (*operation)(Member)) {
    return over(members, {{"", operation}});
}

/// A call that fails, in an operation, and what the caller then sees.
struct Fault {
    std::string name; ///< What the tests call it.
    std::string call;
    int nth; ///< Of the operation's calls of that name; 1 is the first.
    Variants operation;
    std::string text;
    std::vector<Result> results = asUsual;
    bool explained = false; ///< Whether libcrypto's error text follows.
};

/// A row for each variant of each operation.
std::vector<Fault> expanded(std::vector<Fault> const& faults);

std::string nameOf(testing::TestParamInfo<Fault> const& info);

void PrintTo(Fault const& fault, std::ostream* output);

/// Runs `judge(failing)` for each way in which the call fails, with the call armed for it. The operation works before,
/// so that what it needs is there, and afterwards.
void forEachResult(Fault const& fault, CallOf<Failing&> judge);

/// Whether the host's errors and mark are in the error queue after an operation that fails.
enum class HostsErrors { Stay, MayGo };

/// The operation throws exactly `Expected` with the text, then libcrypto's error text where the table says so: its
/// error codes, and never what is attached to them. Collecting that text empties the error queue.
void expectReported(std::type_info const& expected, Fault const& fault, HostsErrors hostsErrors);

template <class Expected> void expectReported(Fault const& fault, HostsErrors hostsErrors = HostsErrors::Stay) {
    expectReported(typeid(Expected), fault, hostsErrors);
}

/// What libcrypto queues in a call that succeeds all the same is gone when the operation returns.
void expectForgotten(std::string const& call, Variants const& operation);

/// Calls that release objects, with the calls that make such an object each.
using Releases = std::map<std::string, std::vector<std::string>>;

/// As many objects were released as were made; the call `failed` has made none the one time.
void expectAllReleased(Recording const& recording, Releases const& keys = {}, std::string const& failed = "");

/// `keys` are released like all other objects.
void expectAllReleased(Fault const& fault, Releases const& keys = {});

} // namespace support

#endif
