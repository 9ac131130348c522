#ifndef ZRFL_TESTS_SUPPORT_FAULTTABLES_H
#define ZRFL_TESTS_SUPPORT_FAULTTABLES_H

#include "Faults.h"
#include "HostsMark.h"
#include "Throws.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <type_traits>
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
inline std::vector<Fault> expanded(std::vector<Fault> const& faults) {
    std::vector<Fault> rows;
    for (Fault const& fault : faults) {
        for (auto const& [name, operation] : fault.operation.all()) {
            rows.push_back(fault);
            rows.back().name += (name.empty() ? "" : "_") + name;
            rows.back().operation = operation;
        }
    }
    return rows;
}

inline std::string nameOf(testing::TestParamInfo<Fault> const& info) {
    return info.param.name;
}

inline void PrintTo(Fault const& fault, std::ostream* output) {
    *output << fault.call << " " << fault.nth << ": " << fault.text;
}

/// Runs `judge(failing)` for each way in which the call fails, with the call armed for it. The operation works before,
/// so that what it needs is there, and afterwards.
template <class Judge> void forEachResult(Fault const& fault, Judge&& judge) {
    fault.operation();
    for (Result const& result : fault.results) {
        SCOPED_TRACE("result " + (result.value ? std::to_string(*result.value) : "as usual") +
                     (result.made ? " of a call that was made" : ""));
        Failing failing(fault.call, fault.nth);
        failing.carriedOut(result.made);
        if (result.value) {
            failing.returning(*result.value);
        }
        judge(failing);
    }
    fault.operation();
}

constexpr bool decryptsKey = true; ///< Any row may; see `HostsMark`.

/// Whether the host's errors and mark are in the error queue after an operation that fails.
enum class HostsErrors { Stay, MayGo };

/// The operation throws exactly `Expected` with the text, then libcrypto's error text where the table says so: its
/// error codes, and never what is attached to them. Collecting that text empties the error queue.
template <class Expected> void expectReported(Fault const& fault, HostsErrors hostsErrors = HostsErrors::Stay) {
    if (!fault.explained) {
        forEachResult(fault, [&](Failing& failing) {
            failing.withError("the engine room is flooded");
            HostsMark const mark(decryptsKey);
            EXPECT_THROWS(Expected, fault.text, fault.operation());
            if (hostsErrors == HostsErrors::Stay) {
                EXPECT_TRUE(mark.isThere());
            }
        });
        return;
    }
    forEachResult(fault, [&](Failing& failing) {
        failing.withError("the engine room is flooded");
        Thrown const thrown = catchFrom(fault.operation);
        EXPECT_EQ(thrown.type, typeid(Expected).name());
        EXPECT_EQ(thrown.text.rfind(fault.text + "error:40000001", 0), 0U) << thrown.text;
        EXPECT_EQ(thrown.text.find("the engine room is flooded"), std::string::npos) << thrown.text;
        EXPECT_EQ(ERR_peek_error(), 0U);
    });
    forEachResult(fault, [&](Failing& /*failing*/) {
        EXPECT_THROWS(Expected, fault.text + "No OpenSSL errors.", fault.operation());
    });
}

/// What libcrypto queues in a call that succeeds all the same is gone when the operation returns.
inline void expectForgotten(std::string const& call, Variants const& operation) {
    for (auto const& [name, run] : operation.all()) {
        SCOPED_TRACE(call + " " + name);
        run();
        HostsMark const mark(decryptsKey);
        Failing noisy(call);
        noisy.withError("a rattle in the engine room").succeeding();
        run();
        EXPECT_EQ(ERR_GET_REASON(ERR_peek_last_error()), HostsMark::reason);
        EXPECT_TRUE(mark.isThere());
    }
}

/// Calls that release objects, with the calls that make such an object each.
using Releases = std::map<std::string, std::vector<std::string>>;

/// Every object that the library makes but keys, which come about in as many ways as there are families.
inline Releases const& objects() {
    static Releases const all{
        {"BIO_free_all", {"BIO_new"}},
        {"BN_CTX_free", {"BN_CTX_new"}},
        {"BN_free", {"BN_bin2bn", "BN_new", "OSSL_PARAM_get_BN"}},
        {"EC_GROUP_free", {"EC_GROUP_new_by_curve_name"}},
        {"EC_POINT_free", {"EC_POINT_new"}},
        {"EVP_CIPHER_CTX_free", {"EVP_CIPHER_CTX_new"}},
        {"EVP_MAC_CTX_free", {"EVP_MAC_CTX_new", "EVP_MAC_CTX_dup"}},
        {"EVP_MAC_free", {"EVP_MAC_fetch"}},
        {"EVP_MD_CTX_free", {"EVP_MD_CTX_new"}},
        {"EVP_PKEY_CTX_free", {"EVP_PKEY_CTX_new", "EVP_PKEY_CTX_new_from_name", "EVP_PKEY_CTX_new_id"}},
        {"OSSL_LIB_CTX_free", {"OSSL_LIB_CTX_new"}},
        {"OSSL_PARAM_BLD_free", {"OSSL_PARAM_BLD_new"}},
        {"OSSL_PARAM_free", {"OSSL_PARAM_BLD_to_param", "EVP_PKEY_todata"}},
        {"OSSL_PROVIDER_unload", {"OSSL_PROVIDER_load"}},
        {"OSSL_STORE_INFO_free", {"OSSL_STORE_INFO_get_type"}}, // asked once of each that was loaded
        {"OSSL_STORE_close", {"OSSL_STORE_open_ex"}},
    };
    return all;
}

/// As many objects were released as were made; the call `failed` has made none the one time.
inline void expectAllReleased(Recording const& recording, Releases const& keys = {}, std::string const& failed = "") {
    for (Releases const& releases : {objects(), keys}) {
        for (auto const& [release, creations] : releases) {
            std::size_t created = 0;
            for (std::string const& creation : creations) {
                created += recording.count(creation) - (creation == failed ? 1 : 0);
            }
            EXPECT_EQ(recording.count(release), created) << release;
        }
    }
}

/// `keys` are released like all other objects.
inline void expectAllReleased(Fault const& fault, Releases const& keys = {}) {
    forEachResult(fault, [&](Failing& failing) {
        Recording const recording;
        catchFrom(fault.operation);
        expectAllReleased(recording, keys, failing.isCarriedOut() ? "" : fault.call);
    });
}

} // namespace support

#endif
