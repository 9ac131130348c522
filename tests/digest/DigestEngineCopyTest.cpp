// Copies of engines, which the provider's interface does not hand out.
#include "digest/DigestEngine.h"

#include "support/Bytes.h"

#include <gtest/gtest.h>

namespace {

using namespace support;
using namespace foundation::crypto;

template <class Algorithm> class DigestCopies : public testing::Test {
protected:
    using Engine = openssl::DigestEngine<Algorithm>;

    static std::string digestOf(std::string const& message) { return hex(Engine().computeDigest(bytes(message))); }
};

using Algorithms =
    testing::Types<utils::MD5DigestAlgorithm, utils::SHA1DigestAlgorithm, utils::SHA224DigestAlgorithm,
                   utils::SHA256DigestAlgorithm, utils::SHA384DigestAlgorithm, utils::SHA512DigestAlgorithm>;
TYPED_TEST_SUITE(DigestCopies, Algorithms);

TYPED_TEST(DigestCopies, ContinueTheMessageIndependently) {
    typename TestFixture::Engine source;
    source.update(bytes("ab"));
    typename TestFixture::Engine copy(source);
    copy.update(bytes("c"));
    source.update(bytes("x"));
    EXPECT_EQ(hex(copy.finalize()), this->digestOf("abc"));
    EXPECT_EQ(hex(source.finalize()), this->digestOf("abx"));
    EXPECT_EQ(hex(copy.finalize()), this->digestOf(""));
}

TYPED_TEST(DigestCopies, ReplaceTheMessageOfTheirTarget) {
    typename TestFixture::Engine source;
    typename TestFixture::Engine target;
    source.update(bytes("ab"));
    target.update(bytes("forgotten"));
    target = source;
    target.update(bytes("c"));
    EXPECT_EQ(hex(target.finalize()), this->digestOf("abc"));
    EXPECT_EQ(hex(source.finalize()), this->digestOf("ab"));
}

TYPED_TEST(DigestCopies, OntoThemselvesChangeNothing) {
    typename TestFixture::Engine engine;
    engine.update(bytes("ab"));
    auto const& itself = engine;
    engine = itself;
    EXPECT_EQ(hex(engine.computeDigest(bytes("c"))), this->digestOf("abc"));
}

TYPED_TEST(DigestCopies, OutliveTheirSource) {
    auto source = std::make_unique<typename TestFixture::Engine>();
    source->update(bytes("ab"));
    typename TestFixture::Engine copy(*source);
    source.reset();
    EXPECT_EQ(hex(copy.computeDigest(bytes("c"))), this->digestOf("abc"));
}

} // namespace
