#include "foundation/crypto/utils/DigestAlgorithms.h"

#include <cstddef>
#include <ostream>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

namespace foundation::crypto::utils {
namespace {

struct Descriptor {
    std::string (*name)();
    std::size_t (*size)() noexcept;
    std::string (*nameForEVP)(); // null where the descriptor has none
    std::string expectedName;
    std::size_t expectedSize;
    std::string expectedNameForEVP;
};

template <class Algorithm>
Descriptor describe(std::string expectedName, std::size_t expectedSize, std::string expectedNameForEVP) {
    return {&Algorithm::getDigestName,
            &Algorithm::getDigestSize,
            &Algorithm::getDigestNameForEVP_MD,
            expectedName,
            expectedSize,
            expectedNameForEVP};
}

void PrintTo(Descriptor const& descriptor, std::ostream* output) {
    *output << descriptor.expectedName;
}

class DigestDescriptors : public testing::TestWithParam<Descriptor> {};

TEST_P(DigestDescriptors, AnswerWithTheirFixedStringsAndSizes) {
    auto const& descriptor = GetParam();
    EXPECT_EQ(descriptor.name(), descriptor.expectedName);
    EXPECT_EQ(descriptor.size(), descriptor.expectedSize);
    if (descriptor.nameForEVP != nullptr) {
        EXPECT_EQ(descriptor.nameForEVP(), descriptor.expectedNameForEVP);
    }
}

INSTANTIATE_TEST_SUITE_P(All, DigestDescriptors,
                         testing::Values(describe<MD5DigestAlgorithm>("MD5", 16, "md5"),
                                         describe<SHA1DigestAlgorithm>("SHA1", 20, "sha1"),
                                         describe<SHA224DigestAlgorithm>("SHA224", 28, "sha224"),
                                         describe<SHA256DigestAlgorithm>("SHA256", 32, "sha256"),
                                         describe<SHA384DigestAlgorithm>("SHA384", 48, "sha384"),
                                         describe<SHA512DigestAlgorithm>("SHA512", 64, "sha512"),
                                         describe<HMACSHA1DigestAlgorithm>("HMAC-SHA1", 20, "sha1"),
                                         describe<HMACSHA256DigestAlgorithm>("HMAC-SHA256", 32, "sha256"),
                                         describe<HMACSHA512DigestAlgorithm>("HMAC-SHA512", 64, "sha512"),
                                         Descriptor{&Blake2bDigestAlgorithm::getDigestName,
                                                    &Blake2bDigestAlgorithm::getDigestSize, nullptr, "BLAKE2b", 64,
                                                    ""}),
                         [](auto const& row) {
                             std::string name = row.param.expectedName;
                             return name.erase(name.find('-') == std::string::npos ? name.size() : name.find('-'), 1);
                         });

template <class Algorithm, class = void> struct HasNameForEVP : std::false_type {};

template <class Algorithm>
struct HasNameForEVP<Algorithm, std::void_t<decltype(Algorithm::getDigestNameForEVP_MD())>> : std::true_type {};

/// The engine alone knows whether it is the plain hash or the MAC, so the descriptor must not answer for it.
TEST(Blake2bDescriptor, HasNoNameForLibcrypto) {
    static_assert(HasNameForEVP<SHA512DigestAlgorithm>::value);
    static_assert(!HasNameForEVP<Blake2bDigestAlgorithm>::value);
}

TEST(EveryDigestDescriptor, CarriesNothing) {
    static_assert(std::is_empty_v<MD5DigestAlgorithm> && std::is_empty_v<SHA1DigestAlgorithm>);
    static_assert(std::is_empty_v<SHA224DigestAlgorithm> && std::is_empty_v<SHA256DigestAlgorithm>);
    static_assert(std::is_empty_v<SHA384DigestAlgorithm> && std::is_empty_v<SHA512DigestAlgorithm>);
    static_assert(std::is_empty_v<HMACSHA1DigestAlgorithm> && std::is_empty_v<HMACSHA256DigestAlgorithm>);
    static_assert(std::is_empty_v<HMACSHA512DigestAlgorithm> && std::is_empty_v<Blake2bDigestAlgorithm>);
}

} // namespace
} // namespace foundation::crypto::utils
