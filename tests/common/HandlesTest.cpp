#include "common/Handles.h"

#include "support/Faults.h"
#include "support/Throws.h"

#include <gtest/gtest.h>

#include <functional>
#include <type_traits>

namespace {

using namespace support;
using namespace foundation::crypto::openssl;
using foundation::crypto::utils::InternalException;

struct Owner {
    std::string name;
    std::function<void()> makeFromNull;
};

template <class Handle> Owner owner(std::string name) {
    static_assert(std::is_nothrow_move_constructible_v<Handle> && std::is_nothrow_move_assignable_v<Handle>);
    static_assert(!std::is_copy_constructible_v<Handle> && !std::is_copy_assignable_v<Handle>);
    static_assert(!std::is_default_constructible_v<Handle>);
    return {std::move(name), [] { Handle(nullptr); }};
}

std::vector<Owner> const owners{
    owner<BIOUPtr>("BIOUPtr"),
    owner<BNUPtr>("BNUPtr"),
    owner<EVP_PKEYUPtr>("EVP_PKEYUPtr"),
    owner<EC_GROUPUPtr>("EC_GROUP"),
    owner<EC_POINTUPtr>("EC_POINTUPtr"),
    owner<OSSL_PARAMUPtr>("OSSL_PARAMUPtr"),
    owner<OSSL_PARAM_BLDUPtr>("OSSL_PARAM_BLDUPtr"),
    owner<EVP_PKEY_CTXUPtr>("EVP_PKEY_CTXUPtr"),
    owner<BN_CTXUPtr>("BN_CTXUPtr"),
    owner<EVP_MD_CTXUPtr>("EVP_MD_CTXUPtr"),
    owner<EVP_CIPHER_CTXUPtr>("EVP_CIPHER_CTXUPtr"),
    owner<OSSL_STORE_CTXUPtr>("OSSL_STORE_CTXUPtr"),
    owner<CONFUPtr>("CONFUPtr"),
    owner<OSSL_STORE_INFOUPtr>("OSSL_STORE_INFOUPtr"),
    owner<OSSL_LIB_CTXUPtr>("OSSL_LIB_CTXUPtr"),
    owner<OSSL_PROVIDERUPtr>("OSSL_PROVIDERUPtr"),
};

TEST(Handles, RefuseNullInTheirOwnWords) {
    for (Owner const& row : owners) {
        EXPECT_THROWS(InternalException, "Fail to create " + row.name + "; the given raw pointer is NULL",
                      row.makeFromNull());
    }
}

TEST(Handles, ReleaseTheirObjectOnce) {
    Recording const recording;
    BIO* const raw = BIO_new(BIO_s_mem());
    {
        BIOUPtr first(raw);
        EXPECT_EQ(first.get(), raw);
        BIOUPtr second(std::move(first));
        EXPECT_EQ(second.get(), raw);
        EXPECT_EQ(recording.count("BIO_free_all"), 0U);
    }
    ASSERT_EQ(recording.count("BIO_free_all"), 1U);
    EXPECT_EQ(recording.callsOf("BIO_free_all")[0].arguments[0], asNumber(raw));
}

TEST(Handles, ReleaseAConfigurationWithItsValues) {
    CONF* const raw = NCONF_new(nullptr);
    Recording const recording;
    {
        CONFUPtr const configuration(raw);
    }
    EXPECT_EQ(recording.functions(), std::vector<std::string>{"NCONF_free"});
    EXPECT_EQ(recording.calls().at(0).arguments.at(0), asNumber(raw));
}

TEST(Handles, ReleaseWhatTheyHeldWhenAssigned) {
    Recording const recording;
    BNUPtr target(BN_new());
    auto const replaced = asNumber(target.get());
    target = BNUPtr(BN_new());
    ASSERT_EQ(recording.count("BN_free"), 1U);
    EXPECT_EQ(recording.callsOf("BN_free")[0].arguments[0], replaced);
}

} // namespace
