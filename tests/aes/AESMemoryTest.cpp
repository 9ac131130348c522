// What the memory of a key holds when it is given back; how much memory the transforms take, and what they do when
// there is none.
#include "support/AES.h"
#include "support/Allocations.h"
#include "support/Bytes.h"
#include "support/Commands.h"
#include "support/Provider.h"
#include "support/ResidentMemory.h"
#include "support/Streams.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <memory>
#include <new>
#include <sstream>
#include <vector>

namespace {

using namespace support;
using foundation::crypto::utils::InternalException;

constexpr std::size_t mebibyte = std::size_t(1) << 20;

/// Takes what is written and keeps none of it.
class Sink : public std::streambuf {
protected:
    std::streamsize xsputn(char const* /*data*/, std::streamsize size) override { return size; }
};

TEST(AESMemory, OfABufferIsOneOutput) {
    for (NamedAESMode const& mode : aesModes()) {
        auto const encryptor = createAESEncryptor({ByteArray(16), ByteArray(16), mode.mode});
        auto const decryptor = createAESDecryptor({ByteArray(16), ByteArray(16), mode.mode});
        ByteArray const message(mebibyte);
        ByteArray encrypted;
        {
            AllocationRecording const recording;
            encrypted = encryptor->encrypt(message);
            EXPECT_EQ(recording.blocks().size(), 1U) << mode.name;
            EXPECT_EQ(recording.peak(), message.size() + 16);
        }
        AllocationRecording const recording;
        EXPECT_EQ(decryptor->decrypt(encrypted).size(), message.size());
        EXPECT_EQ(recording.blocks().size(), 1U) << mode.name;
        EXPECT_EQ(recording.peak(), encrypted.size() + 16);
    }
}

void expectOneBlock(std::string const& kind, std::istream& input, std::size_t size) {
    SCOPED_TRACE(kind);
    Sink sink;
    std::ostream output(&sink);
    auto const encryptor = createAESEncryptor({ByteArray(16), ByteArray(16), AESMode::GCM});
    AllocationRecording recording;
    encryptor->encrypt(input, output);
    recording.stop();
    EXPECT_EQ(std::count_if(recording.blocks().begin(), recording.blocks().end(),
                            [=](AllocatedBlock const& block) { return block.size >= size; }),
              1);
    EXPECT_LE(recording.peak(), size + 16 + 65536); // a file's own buffer
}

TEST(AESMemory, OfAStreamThatKnowsItsLengthIsOneBlock) {
    constexpr std::size_t size = 10 * mebibyte + 12345;
    TemporaryDirectory const directory;
    std::string const path = directory / "message";
    writeFile(path, ByteArray(size));

    std::ifstream file(path, std::ios::binary);
    expectOneBlock("a file", file, size);
    file.seekg(5);
    file.peek(); // its buffer holds the beginning
    expectOneBlock("a file that was read from", file, size - 5);
    std::ifstream textFile(path);
    expectOneBlock("a file opened as text", textFile, size);

    std::istringstream string(std::string(size, 'a'));
    expectOneBlock("a string", string, size);
    std::stringstream both;
    both << std::string(size, 'a');
    expectOneBlock("a string that was written", both, size);
}

TEST(AESMemory, OfAnyOtherStreamIsHardlyMoreThanTheMessage) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "ThreadSanitizer keeps four bytes of notes on each";
#endif
#ifdef ZRFL_EMULATED
    GTEST_SKIP() << "the kernel tells the emulator's memory";
#endif
    constexpr std::size_t size = 64 * mebibyte + 12345;
    TemporaryDirectory const directory;
    std::string const path = directory / "pipe";
    ASSERT_EQ(run("mkfifo " + path).status, 0);
    auto const encryptor = createAESEncryptor({ByteArray(16), ByteArray(16), AESMode::GCM});
    Sink sink;
    std::ostream output(&sink);
    auto const expectHardlyMore = [&](std::string const& kind, std::istream& input) {
        SCOPED_TRACE(kind);
        std::size_t const peak = peakMemoryOf([&] { encryptor->encrypt(input, output); });
        EXPECT_GE(peak, size - mebibyte);
#ifdef __SANITIZE_ADDRESS__
        EXPECT_LE(peak, size + 16 * mebibyte + size / 4); // its own notes of what may be touched
#else
        EXPECT_LE(peak, size + 16 * mebibyte);
#endif
    };
    for (int round = 0; round < 2; ++round) { // the heap may keep what the first released
        for (std::size_t const portion : {std::size_t(1), std::size_t(65536), 3 * mebibyte}) {
            PortionBuffer buffer(std::string(size, 'a'), portion);
            std::istream input(&buffer);
            expectHardlyMore("portions of " + std::to_string(portion), input);
        }
        ASSERT_EQ(run("(head -c " + std::to_string(size) + " /dev/zero >" + path + " &) >/dev/null").status, 0);
        std::ifstream input(path, std::ios::binary);
        expectHardlyMore("a pipe", input);
    }
}

// Every operation with its n-th allocation failing, n = 1, 2, ... until it succeeds.

void expectAllocationFailuresAs(std::string const& type, std::string const& text,
                                std::function<void()> const& operation) {
    operation(); // libcrypto's first use of anything is not to be interrupted
    int failures = 0;
    for (int nth = 1;; ++nth) {
        FailingAllocation const exhausted(nth);
        Thrown const thrown = catchFrom(operation);
        if (!exhausted.happened()) {
            break;
        }
        ++failures;
        EXPECT_EQ(thrown.type, type);
        EXPECT_EQ(thrown.text, text);
    }
    EXPECT_GT(failures, 0);
}

TEST(ExhaustedMemory, IsAnInternalExceptionOfTheTransforms) {
    std::string const internal = typeid(InternalException).name();
    for (NamedAESMode const& mode : aesModes()) {
        auto const encryptor = createAESEncryptor({ByteArray(16), ByteArray(16), mode.mode});
        auto const decryptor = createAESDecryptor({ByteArray(16), ByteArray(16), mode.mode});
        ByteArray const message(100);
        ByteArray const encrypted = encryptor->encrypt(message);
        std::istringstream messageStream(text(message));
        std::istringstream encryptedStream(text(encrypted));
        Sink sink;
        std::ostream output(&sink);
        expectAllocationFailuresAs(internal, "std::bad_alloc", [&] { encryptor->encrypt(message); });
        expectAllocationFailuresAs(internal, "std::bad_alloc", [&] { decryptor->decrypt(encrypted); });
        expectAllocationFailuresAs(internal, "std::bad_alloc", [&] {
            messageStream.seekg(0);
            encryptor->encrypt(messageStream, output);
        });
        expectAllocationFailuresAs(internal, "std::bad_alloc", [&] {
            encryptedStream.seekg(0);
            decryptor->decrypt(encryptedStream, output);
        });
    }
}

TEST(ExhaustedMemory, IsTheStandardFailureOfTheFactories) {
    std::string const standard = typeid(std::bad_alloc).name();
    ByteArray const bytes(16);
    auto const key = provider.createAES128Key(bytes);
    expectAllocationFailuresAs(standard, "std::bad_alloc", [&] { provider.createAES128Key(bytes); });
    expectAllocationFailuresAs(standard, "std::bad_alloc", [&] { key->getKeyBytes(); });
    expectAllocationFailuresAs(standard, "std::bad_alloc",
                               [&] { provider.createAES128Encryptor(key, bytes, AESMode::CBC, {}, nullptr); });
    expectAllocationFailuresAs(standard, "std::bad_alloc",
                               [&] { provider.createAES128Decryptor(key, bytes, AESMode::CBC, {}, nullptr); });
}

// What is left of texts

struct Texts {
    ByteArray plain; ///< A line, again and again.
    ByteArray encrypted;
    ByteArray line; ///< What no released block may hold.
    ByteArray encryptedPart;
};

Texts textsFor(AESSetup const& setup) {
    Texts texts{{}, {}, bytes("the enemy lands at dawn"), {}};
    while (texts.plain.size() < 64000) {
        texts.plain.insert(texts.plain.end(), texts.line.begin(), texts.line.end());
    }
    texts.encrypted = createAESEncryptor(setup)->encrypt(texts.plain);
    texts.encryptedPart.assign(texts.encrypted.begin() + 30000, texts.encrypted.begin() + 30020);
    return texts;
}

std::vector<AESSetup> const setups = [] {
    std::vector<AESSetup> all;
    for (NamedAESMode const& mode : aesModes()) {
        all.push_back({ByteArray(16, 1), ByteArray(16), mode.mode});
    }
    return all;
}();

// AESLargeMessagesTest.cpp holds the limit of 2147483647 bytes in every mode, with messages that really are so large.
TEST(AESMessages, AboveTheLimitAreRefused) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "ThreadSanitizer keeps 20 GiB of notes on who touched which byte";
#endif
    RepeatedBlocks const repeated;
    ByteArray const message(2147483647 + std::size_t(1) + 16); // the tag of GCM does not count

    struct {
        AESMode mode;
        std::string name;
    } const rows[] = {{AESMode::CTR, " standard"}, {AESMode::GCM, "-GCM"}};

    for (auto const& [mode, name] : rows) {
        AESSetup const setup{ByteArray(16), ByteArray(16), mode};
        std::string const text = "Input size exceeds maximum allowable size for AES" + name;
        EXPECT_THROWS(InternalException, text + " encryption .", createAESEncryptor(setup)->encrypt(message));
        EXPECT_THROWS(InternalException, text + " decryption .", createAESDecryptor(setup)->decrypt(message));
    }
}

TEST(AESTextMemory, IsWipedWhenATransformFails) {
    AESSetup const cbc{ByteArray(16, 1), ByteArray(16), AESMode::CBC, AESPaddingMode::PKCS7};
    AESSetup const gcm{ByteArray(16, 1), ByteArray(16), AESMode::GCM};
    {
        Texts texts = textsFor(gcm);
        texts.encrypted.back() ^= 1; // the tag
        auto const decryptor = createAESDecryptor(gcm);
        ReleaseWatch const watch(texts.line);
        EXPECT_THROWS(InternalException, "Tag verification failed or decryption error",
                      decryptor->decrypt(texts.encrypted));
        EXPECT_GT(watch.blocks(), 0U);
        EXPECT_EQ(watch.blocksWithSecret(), 0U);
    }
    Texts texts = textsFor(cbc);
    texts.encrypted.resize(texts.encrypted.size() - 16); // the padding
    auto const decryptor = createAESDecryptor(cbc);
    ReleaseWatch const watch(texts.line);
    EXPECT_THROWS(InternalException, "Failed to finalize decryption", decryptor->decrypt(texts.encrypted));
    EXPECT_GT(watch.blocks(), 0U);
    EXPECT_EQ(watch.blocksWithSecret(), 0U);
}

/// Both texts of a stream transform, however the input arrives and whatever becomes of it.
TEST(AESTextMemory, OfStreamsIsWipedOnEveryPath) {
    enum class Ending { Good, ReadThrows, WorkThrows, WriteThrows };

    struct ThrowingSink : std::streambuf {
        std::streamsize xsputn(char const* /*data*/, std::streamsize /*size*/) override {
            throw std::runtime_error("full");
        }
    };

    for (AESSetup const& setup : setups) {
        Texts const texts = textsFor(setup);
        auto const run = [&](bool encrypts, std::size_t portion, Ending ending, ByteArray const& secret) {
            SCOPED_TRACE(testing::Message() << "mode " << int(setup.mode) << (encrypts ? ", encryption" : "")
                                            << ", portion " << portion << ", ending " << int(ending));
            AESSetup used = setup;
            std::string given = text(encrypts ? texts.plain : texts.encrypted);
            if (ending == Ending::WorkThrows) { // decryption at its very end, by the tag or the padding
                used.mode = encrypts ? static_cast<AESMode>(5) : used.mode == AESMode::GCM ? used.mode : AESMode::CBC;
                given.resize(given.size() - 16);
            }
            Sink good;
            ThrowingSink full;
            std::ostream output(ending == Ending::WriteThrows ? static_cast<std::streambuf*>(&full) : &good);
            output.exceptions(std::ios_base::badbit);
            PortionBuffer buffer(given, portion, ending == Ending::ReadThrows ? "gone" : "");
            std::istream input(&buffer);
            auto const encryptor = createAESEncryptor(used);
            auto const decryptor = createAESDecryptor(used);

            ReleaseWatch const watch(secret);
            Thrown const thrown =
                catchFrom([&] { encrypts ? encryptor->encrypt(input, output) : decryptor->decrypt(input, output); });
            EXPECT_EQ(thrown.type == "nothing", ending == Ending::Good) << thrown.text;
            EXPECT_GT(watch.blocks(), 0U);
            EXPECT_EQ(watch.blocksWithSecret(), 0U);
        };
        for (bool const encrypts : {true, false}) {
            for (std::size_t const portion : {std::size_t(1), std::size_t(1000), std::size_t(1) << 20}) {
                for (Ending const ending :
                     {Ending::Good, Ending::ReadThrows, Ending::WorkThrows, Ending::WriteThrows}) {
                    run(encrypts, portion, ending, texts.line);
                    run(encrypts, portion, ending, texts.encryptedPart);
                }
            }
        }
    }
}

// What is left of keys

bool contains(ByteArray const& content, ByteArray const& what) {
    return std::search(content.begin(), content.end(), what.begin(), what.end()) != content.end();
}

template <unsigned long Bits, auto Factory> struct Member {
    static constexpr std::size_t size = Bits / 8;

    static auto create(ByteArray const& bytes) { return (provider.*Factory)(bytes); }
};

template <class Member> class AESKeyMemory : public testing::Test {};

using Members =
    testing::Types<Member<128, &CryptoProvider::createAES128Key>, Member<192, &CryptoProvider::createAES192Key>,
                   Member<256, &CryptoProvider::createAES256Key>>;
TYPED_TEST_SUITE(AESKeyMemory, Members);

TYPED_TEST(AESKeyMemory, IsZeroWhenItIsReleased) {
    for (std::size_t const given : {TypeParam::size, std::size_t(40)}) {
        ByteArray const keyBytes = pseudoRandomBytes(given);
        AllocationRecording recording;
        auto key = TypeParam::create(keyBytes);

        // The object with its reference count, and its bytes, exactly as many as the key has.
        std::vector<AllocatedBlock> const& made = recording.blocks();
        ASSERT_EQ(made.size(), 2U);
        std::size_t const at = made[0].size == TypeParam::size ? 0 : 1;
        ASSERT_EQ(made[at].size, TypeParam::size);
        EXPECT_FALSE(made[at].released);
        EXPECT_TRUE(std::equal(keyBytes.begin(), keyBytes.begin() + TypeParam::size,
                               static_cast<unsigned char const*>(made[at].address)));

        key.reset();
        recording.stop();
        EXPECT_TRUE(made[1 - at].released);
        ASSERT_TRUE(made[at].released);
        EXPECT_EQ(made[at].atRelease, ByteArray(TypeParam::size, 0));
    }
}

TYPED_TEST(AESKeyMemory, LivesUntilTheLastReferenceGoes) {
    ByteArray const keyBytes = pseudoRandomBytes(40);
    auto const releasedKeys = [](AllocationRecording const& recording) {
        return std::count_if(recording.blocks().begin(), recording.blocks().end(), [](AllocatedBlock const& known) {
            return known.size == TypeParam::size && known.released;
        });
    };
    AllocationRecording recording;
    auto key = TypeParam::create(keyBytes);
    auto second = key;
    key.reset();
    auto const before = releasedKeys(recording);
    second.reset();
    recording.stop();
    EXPECT_EQ(before, 0);
    EXPECT_EQ(releasedKeys(recording), 1);
}

TEST(KeyMemory, KeepsNoCopyAfterUse) {
    for (AESFactories const& factories : aesFactories()) {
        for (NamedAESMode const& mode : aesModes()) {
            AESSetup const setup{pseudoRandomBytes(factories.keyBytes()), ByteArray(16), mode.mode};
            ByteArray const part(setup.key.begin(), setup.key.begin() + 8);
            AllocationRecording recording;
            {
                auto const encryptor = factories.createEncryptor(setup);
                auto const decryptor = factories.createDecryptor(setup);
                decryptor->decrypt(encryptor->encrypt(ByteArray(100)));
                std::istringstream input("message");
                std::ostringstream output;
                encryptor->encrypt(input, output);
            }
            recording.stop();
            for (AllocatedBlock const& block : recording.blocks()) {
                EXPECT_TRUE(block.released);
                EXPECT_FALSE(contains(block.atRelease, part)) << mode.name << factories.bits;
            }
        }
    }
}

TEST(KeyMemory, ThatIsHandedOutIsTheCallersToWipe) {
    ByteArray const keyBytes = pseudoRandomBytes(16);
    auto const key = provider.createAES128Key(keyBytes);
    AllocationRecording recording;
    key->getKeyBytes();
    recording.stop();
    ASSERT_EQ(recording.blocks().size(), 1U);
    EXPECT_EQ(recording.blocks()[0].atRelease, keyBytes);
}

} // namespace
