#include "digest/DigestEngine.h"

#include "EngineCopyTests.h"

namespace support {

namespace {

using namespace foundation::crypto;

template <class Algorithm> struct Plain {
    using Engine = openssl::DigestEngine<Algorithm>;
    static constexpr auto restart = "EVP_DigestInit_ex";
    static constexpr auto notUpdated = "Could not update data to the digest state. No OpenSSL errors.";
    static constexpr auto notFinalized = "OpenSSL digest generation API returned digest of incorrect size.";

    static Engine create() { return {}; }

    static std::string finish(Engine& copy) {
        std::string digest = hex(copy.finalize());
        EXPECT_EQ(hex(copy.finalize()), hex(create().finalize()));
        return digest;
    }
};

using Kinds = testing::Types<Plain<utils::MD5DigestAlgorithm>, Plain<utils::SHA1DigestAlgorithm>,
                             Plain<utils::SHA224DigestAlgorithm>, Plain<utils::SHA256DigestAlgorithm>,
                             Plain<utils::SHA384DigestAlgorithm>, Plain<utils::SHA512DigestAlgorithm>>;
INSTANTIATE_TYPED_TEST_SUITE_P(Digest, Copies, Kinds);

} // namespace

} // namespace support
