#include "FaultTables.h"

#include "HostsMark.h"

#include <openssl/err.h>

#include <cstddef>

namespace support {

namespace {
constexpr bool decryptsKey = true; ///< Any row may; see `HostsMark`.
} // namespace

std::vector<Fault> expanded(std::vector<Fault> const& faults) {
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

std::string nameOf(testing::TestParamInfo<Fault> const& info) {
    return info.param.name;
}

void PrintTo(Fault const& fault, std::ostream* output) {
    *output << fault.call << " " << fault.nth << ": " << fault.text;
}

void forEachResult(Fault const& fault, CallOf<Failing&> judge) {
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

void expectReported(std::type_info const& expected, Fault const& fault, HostsErrors hostsErrors) {
    if (!fault.explained) {
        forEachResult(fault, [&](Failing& failing) {
            failing.withError("the engine room is flooded");
            HostsMark const mark(decryptsKey);
            EXPECT_TRUE(throwsExactly(expected, fault.text, false, fault.operation));
            if (hostsErrors == HostsErrors::Stay) {
                EXPECT_TRUE(mark.isThere());
            }
        });
        return;
    }
    forEachResult(fault, [&](Failing& failing) {
        failing.withError("the engine room is flooded");
        Thrown const thrown = catchFrom(fault.operation);
        EXPECT_EQ(thrown.type, expected.name());
        EXPECT_EQ(thrown.text.rfind(fault.text + "error:40000001", 0), 0U) << thrown.text;
        EXPECT_EQ(thrown.text.find("the engine room is flooded"), std::string::npos) << thrown.text;
        EXPECT_EQ(ERR_peek_error(), 0U);
    });
    forEachResult(fault, [&](Failing& /*failing*/) {
        EXPECT_TRUE(throwsExactly(expected, fault.text + "No OpenSSL errors.", false, fault.operation));
    });
}

void expectForgotten(std::string const& call, Variants const& operation) {
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

namespace {

/// Every object that the library makes but keys, which come about in as many ways as there are families.
Releases const& objects() {
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

} // namespace

void expectAllReleased(Recording const& recording, Releases const& keys, std::string const& failed) {
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

void expectAllReleased(Fault const& fault, Releases const& keys) {
    forEachResult(fault, [&](Failing& failing) {
        Recording const recording;
        catchFrom(fault.operation);
        expectAllReleased(recording, keys, failing.isCarriedOut() ? "" : fault.call);
    });
}

} // namespace support
