// The example that makes HSM calls take turns: what it passes on, and what runs while a call has its turn.
#include "examples/SerializedHSMSigner.h"

#include "support/Bytes.h"
#include "support/PlugIn.h"
#include "support/Streams.h"
#include "support/Throws.h"

#include <foundation/crypto/interfaces/IDigestEngine.h>

#include <gtest/gtest.h>

#include <istream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <thread>

namespace {

using foundation::crypto::interfaces::DigestEnginePtr;
using foundation::crypto::interfaces::IDigestEngine;
using foundation::crypto::interfaces::IHSMSigner;
using foundation::crypto::utils::ByteArray;
using support::bytes;

/// Whether somebody has a turn; the mutex must not be tried by the thread that holds it.
bool isTaken() {
    bool taken = false;
    std::thread([&] {
        taken = !SerializedHSMSigner::mutex().try_lock();
        if (!taken) {
            SerializedHSMSigner::mutex().unlock();
        }
    }).join();
    return taken;
}

/// A host's engine. Whatever is asked of it tells whether it was asked during a turn.
class Engine final : public IDigestEngine {
public:
    Engine() = default;

    ~Engine() override { note(); }

    Engine(Engine const&) = delete;
    Engine& operator=(Engine const&) = delete;

    ByteArray computeDigest(ByteArray const& /*data*/) override { return {}; }

    ByteArray computeDigest(std::istream& /*input*/) override { return {}; }

    void update(ByteArray const& /*data*/) override {}

    void update(unsigned char const* /*data*/, std::size_t /*size*/) override {}

    ByteArray finalize() override { return {}; }

    std::string getDigestName() const override {
        note();
        return "NAME";
    }

    std::string getDigestNameForEVP_MD() const override {
        note();
        if (refuses) {
            throw std::domain_error("the engine has no name");
        }
        return "name";
    }

    std::size_t getDigestSize() const override {
        note();
        return 28;
    }

    bool refuses = false;
    static inline bool askedDuringTurn = false;

private:
    static void note() { askedDuringTurn = askedDuringTurn || isTaken(); }
};

/// A signer whose signature is the message; it looks for a key before it looks at the digest.
class Signer final : public IHSMSigner {
public:
    ByteArray sign(ByteArray const& message, DigestEnginePtr digest) const override {
        EXPECT_TRUE(isTaken());
        if (!hasKey) {
            throw std::range_error("no key");
        }
        if (digest == nullptr) {
            throw std::range_error("no digest");
        }
        if (changesDigest) {
            change(*digest);
        }
        asked = digest->getDigestName() + digest->getDigestNameForEVP_MD() + std::to_string(digest->getDigestSize());
        return message;
    }

    ByteArray sign(std::istream& /*message*/, DigestEnginePtr /*digest*/) const override {
        ADD_FAILURE() << "a stream would be read during the turn";
        return {};
    }

    unsigned long getKeySize() const override {
        EXPECT_TRUE(isTaken());
        return 3072;
    }

    static void change(IDigestEngine& digest) {
        std::string const text = "A signer may only ask a digest for its names.";
        std::istringstream stream;
        EXPECT_THROWS(std::logic_error, text, digest.computeDigest(ByteArray()));
        EXPECT_THROWS(std::logic_error, text, digest.computeDigest(stream));
        EXPECT_THROWS(std::logic_error, text, digest.update(ByteArray()));
        EXPECT_THROWS(std::logic_error, text, digest.update(nullptr, 0));
        EXPECT_THROWS(std::logic_error, text, digest.finalize());
    }

    bool hasKey = true;
    bool changesDigest = false;
    mutable std::string asked;
};

/// Tells whether it was read during a turn.
class Buffer final : public std::streambuf {
public:
    bool readDuringTurn = false;

protected:
    int_type uflow() override {
        readDuringTurn = readDuringTurn || isTaken();
        return at_ < content_.size() ? traits_type::to_int_type(content_[at_++]) : traits_type::eof();
    }

    int_type underflow() override {
        return at_ < content_.size() ? traits_type::to_int_type(content_[at_]) : traits_type::eof();
    }

private:
    std::string content_ = " a\nb ";
    std::size_t at_ = 0;
};

class SerializedSigner : public testing::Test {
protected:
    std::shared_ptr<Signer> inner = std::make_shared<Signer>();
    SerializedHSMSigner const signer{inner};
    std::shared_ptr<Engine> engine = std::make_shared<Engine>();

private:
    void SetUp() override { Engine::askedDuringTurn = false; }
};

TEST_F(SerializedSigner, RefusesToBeWithoutASigner) {
    EXPECT_THROWS(std::invalid_argument, "There is no HSM signer to pass calls on to.", SerializedHSMSigner(nullptr));
}

TEST_F(SerializedSigner, AsksTheHostsEngineBeforeItsTurn) {
    EXPECT_EQ(signer.sign(bytes("message"), engine), bytes("message"));
    EXPECT_EQ(inner->asked, "NAMEname28");
    EXPECT_FALSE(Engine::askedDuringTurn);
    signer.sign(bytes("message"), std::make_shared<Engine>()); // the engine ends with the call
    EXPECT_FALSE(Engine::askedDuringTurn);
}

TEST_F(SerializedSigner, ReadsTheHostsStreamBeforeItsTurnAndLeavesItAsTheSignerWould) {
    Buffer buffer;
    std::istream stream(&buffer);
    EXPECT_EQ(signer.sign(stream, engine), bytes(" a\nb "));
    EXPECT_FALSE(buffer.readDuringTurn);
    EXPECT_FALSE(Engine::askedDuringTurn);
    EXPECT_EQ(stream.rdstate(), std::ios::eofbit | std::ios::failbit);
    EXPECT_EQ(stream.flags() & std::ios::skipws, std::ios::fmtflags());

    std::istringstream throwing("text");
    throwing.exceptions(std::ios::failbit);
    EXPECT_THROW(signer.sign(throwing, engine), std::ios::failure);
    EXPECT_FALSE(isTaken());
}

TEST_F(SerializedSigner, ReportsAnEngineThatThrowsWhenTheSignerAsksForItsName) {
    engine->refuses = true;
    for (int attempt = 0; attempt < 2; ++attempt) { // the turn is given back
        EXPECT_THROWS(std::domain_error, "the engine has no name", signer.sign(bytes("message"), engine));
    }
    inner->hasKey = false; // what the signer looks for first is reported first
    EXPECT_THROWS(std::range_error, "no key", signer.sign(bytes("message"), engine));
    EXPECT_FALSE(isTaken());
}

TEST_F(SerializedSigner, LetsTheSignerJudgeWhatIsNull) {
    EXPECT_THROWS(std::range_error, "no digest", signer.sign(bytes("message"), nullptr));
}

TEST_F(SerializedSigner, LetsNobodyChangeADigest) {
    inner->changesDigest = true;
    signer.sign(bytes("message"), engine);
}

TEST_F(SerializedSigner, PassesTheKeySizeOn) {
    EXPECT_EQ(signer.getKeySize(), 3072U);
}

#ifdef ZRFL_MUTEX_PLUG_IN
/// The mutex of a plug-in that shares no symbols by name.
std::mutex* mutexOf(char const* plugIn) {
    return support::PlugIn<std::mutex*()>(plugIn).handOver()();
}

TEST(MutexPlugIns, ShareOneMutexAlthoughTheyHideTheirSymbols) {
    std::mutex* const first = mutexOf(ZRFL_MUTEX_PLUG_IN);
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(first, mutexOf(ZRFL_ANOTHER_MUTEX_PLUG_IN));
    EXPECT_EQ(first, mutexOf(ZRFL_SYMBOLIC_MUTEX_PLUG_IN));
}
#endif

} // namespace
