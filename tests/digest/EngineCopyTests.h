#ifndef ZRFL_TESTS_DIGEST_ENGINECOPYTESTS_H
#define ZRFL_TESTS_DIGEST_ENGINECOPYTESTS_H

#include "EngineFaults.h"

#include <memory>

namespace support {

/// What is asked of the copies of every digest engine, which the provider's interface does not hand out. A test program
/// instantiates the suite for the kinds of its family. A kind has the type `Engine`, the functions `create()` and
/// `finish(copy)`, which ends the message of a copy and is the digest in hexadecimal, `restart`, the libcrypto function
/// that leaves an engine unusable if it fails at the end of a message, and the texts of such an engine.
template <class Kind> class Copies : public testing::Test {
protected:
    static std::string digestOf(std::string const& message) {
        return hex(Kind::create().computeDigest(bytes(message)));
    }
};

TYPED_TEST_SUITE_P(Copies);

TYPED_TEST_P(Copies, ContinueTheMessageIndependently) {
    auto source = TypeParam::create();
    source.update(bytes("ab"));
    auto copy(source);
    copy.update(bytes("c"));
    source.update(bytes("x"));
    EXPECT_EQ(TypeParam::finish(copy), this->digestOf("abc"));
    EXPECT_EQ(hex(source.finalize()), this->digestOf("abx"));
    EXPECT_EQ(hex(source.finalize()), this->digestOf(""));
}

TYPED_TEST_P(Copies, ReplaceTheMessageOfTheirTarget) {
    auto source = TypeParam::create();
    auto target = TypeParam::create();
    source.update(bytes("ab"));
    target.update(bytes("forgotten"));
    target = source;
    EXPECT_EQ(hex(target.computeDigest(bytes("c"))), this->digestOf("abc"));
    EXPECT_EQ(hex(source.finalize()), this->digestOf("ab"));
}

TYPED_TEST_P(Copies, OntoThemselvesChangeNothing) {
    auto engine = TypeParam::create();
    engine.update(bytes("ab"));
    auto const& itself = engine;
    Recording const recording;
    engine = itself;
    EXPECT_TRUE(recording.calls().empty());
    EXPECT_EQ(hex(engine.computeDigest(bytes("c"))), this->digestOf("abc"));
}

TYPED_TEST_P(Copies, OutliveTheirSource) {
    using Engine = typename TypeParam::Engine;
    std::unique_ptr<Engine> source(new Engine(TypeParam::create())); // itself no copy
    auto target = TypeParam::create();
    source->update(bytes("ab"));
    Engine copy(*source);
    target = *source;
    source.reset();
    copy.update(bytes("c"));
    EXPECT_EQ(TypeParam::finish(copy), this->digestOf("abc"));
    EXPECT_EQ(hex(target.computeDigest(bytes("c"))), this->digestOf("abc"));
}

TYPED_TEST_P(Copies, OfAnUnusableEngineAreUnusable) {
    auto source = TypeParam::create();
    auto target = TypeParam::create();
    {
        Failing const failing(TypeParam::restart);
        EXPECT_THROW(source.finalize(), foundation::crypto::utils::InternalException);
    }
    auto copy(source);
    target = source;
    expectUnusable(copy, TypeParam::notUpdated, TypeParam::notFinalized);
    expectUnusable(target, TypeParam::notUpdated, TypeParam::notFinalized);
    target = TypeParam::create();
    EXPECT_EQ(hex(target.computeDigest(bytes("abc"))), this->digestOf("abc"));
}

REGISTER_TYPED_TEST_SUITE_P(Copies, ContinueTheMessageIndependently, ReplaceTheMessageOfTheirTarget,
                            OntoThemselvesChangeNothing, OutliveTheirSource, OfAnUnusableEngineAreUnusable);

} // namespace support

#endif
