// Keys, signers and verifiers shared between threads.
#include "support/ECC.h"
#include "support/Threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <sstream>

namespace {

using namespace support;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(ZRFL_EMULATED)
constexpr int rounds = 100;
#else
constexpr int rounds = 1000;
#endif

template <class Factory> class ECCThreads : public testing::Test {
protected:
    typename Factory::KeyPair const pair = Factory::generateKeyPair();
    std::atomic<int> wrong{0};

    void expect(bool right) { wrong += right ? 0 : 1; }
};

TYPED_TEST_SUITE(ECCThreads, BothCurves, CurveNames);

TYPED_TEST(ECCThreads, ExportOneKeyAlike) {
    ByteArray const privateText = this->pair->getPrivateKey()->getPEM();
    ByteArray const publicText = this->pair->getPublicKey()->getPEM();
    ByteArray const integer = this->pair->getPrivateKey()->getPrivateInteger();
    ByteArray const point = this->pair->getPublicKey()->getPublicPoint();
    onThreads(8, [&](std::size_t thread) {
        for (int i = 0; i < rounds; ++i) {
            this->expect(this->pair->getPrivateKey()->getPEM() == privateText);
            if (thread % 2 == 0) {
                this->expect(this->pair->getPrivateKey()->getPrivateInteger() == integer);
                this->expect(this->pair->getPublicKey()->getPEM() == publicText);
                this->expect(this->pair->getPublicKey()->getPublicPoint() == point);
            }
        }
    });
    EXPECT_EQ(this->wrong, 0);
}

TYPED_TEST(ECCThreads, ExportAKeyWhileItSigns) {
    auto const signer = TypeParam::signer(this->pair->getPrivateKey());
    auto const verifier = TypeParam::verifier(this->pair->getPublicKey());
    ByteArray const privateText = this->pair->getPrivateKey()->getPEM();
    onThreads(8, [&](std::size_t thread) {
        auto const engine = TypeParam::engine();
        for (int i = 0; i < rounds / 2; ++i) {
            if (thread % 2 == 0) {
                this->expect(this->pair->getPrivateKey()->getPEM() == privateText);
            } else {
                this->expect(verifier->verify(bytes("abc"), signer->sign(bytes("abc"), engine), engine).isValid());
            }
        }
    });
    EXPECT_EQ(this->wrong, 0);
}

TYPED_TEST(ECCThreads, ShareOneSignerAndOneVerifier) {
    auto const signer = TypeParam::signer(this->pair->getPrivateKey());
    auto const verifier = TypeParam::verifier(this->pair->getPublicKey());
    onThreads(8, [&](std::size_t thread) {
        auto const engine = TypeParam::engine();
        for (int i = 0; i < rounds / 4; ++i) {
            ByteArray const message = pseudoRandomBytes(static_cast<std::size_t>(i), static_cast<unsigned>(thread + 1));
            std::istringstream toSign(text(message));
            ByteArray const signature = i % 2 == 0 ? signer->sign(message, engine) : signer->sign(toSign, engine);
            std::istringstream toVerify(text(message));
            this->expect(verifier->verify(message, signature, engine).isValid());
            this->expect(verifier->verify(toVerify, signature, engine).isValid());
            this->expect(!verifier->verify(bytes("another message"), signature, engine).isValid());
            this->expect(signer->getKeySize() == 256 && verifier->getKeySize() == 256);
        }
    });
    EXPECT_EQ(this->wrong, 0);
}

TYPED_TEST(ECCThreads, MakeKeysAtTheSameTime) {
    ByteArray const privateText = this->pair->getPrivateKey()->getPEM();
    onThreads(8, [&](std::size_t /*thread*/) {
        for (int i = 0; i < rounds / 10; ++i) {
            auto const own = TypeParam::generateKeyPair();
            this->expect(TypeParam::privateKey(privateText)->getPEM() == privateText);
            this->expect(TypeParam::privateKeyFromInteger(own->getPrivateKey()->getPrivateInteger())->getPEM() ==
                         own->getPrivateKey()->getPEM());
            this->expect(TypeParam::publicKeyFromPoint(own->getPublicKey()->getPublicPoint())->getPEM() ==
                         own->getPublicKey()->getPEM());
        }
    });
    EXPECT_EQ(this->wrong, 0);
}

} // namespace
