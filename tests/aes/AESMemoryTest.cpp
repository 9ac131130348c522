// What the memory of a key holds when it is given back; how much memory the transforms take, and what they do when
// there is none.
#include "support/AES.h"
#include "support/Allocations.h"
#include "support/Bytes.h"
#include "support/Commands.h"
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

CryptoProvider const provider;
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
        EXPECT_EQ(recording.blocks().front().size, encrypted.size() + 16);
        EXPECT_LE(recording.peak(), encrypted.size() + 16 + 16);
    }
}

void expectInputAndOutputAlone(std::string const& kind, std::istream& input, std::size_t size,
                               std::size_t slack = 65536) {
    SCOPED_TRACE(kind);
    Sink sink;
    std::ostream output(&sink);
    auto const encryptor = createAESEncryptor({ByteArray(16), ByteArray(16), AESMode::CTR});
    AllocationRecording const recording;
    encryptor->encrypt(input, output);
    EXPECT_GE(recording.peak(), 2 * size);
    EXPECT_LE(recording.peak(), 2 * size + slack);
}

TEST(AESMemory, OfAStreamThatKnowsItsLengthIsInputAndOutput) {
    constexpr std::size_t size = 10 * mebibyte + 12345;
    TemporaryDirectory const directory;
    std::string const path = directory / "message";
    writeFile(path, ByteArray(size));

    std::ifstream file(path, std::ios::binary);
    expectInputAndOutputAlone("a file", file, size);
    file.seekg(5);
    file.peek(); // its buffer holds the beginning
    expectInputAndOutputAlone("a file that was read from", file, size - 5);
    std::ifstream textFile(path);
    expectInputAndOutputAlone("a file opened as text", textFile, size);

    std::istringstream string(std::string(size, 'a'));
    expectInputAndOutputAlone("a string", string, size);
    std::stringstream both;
    both << std::string(size, 'a');
    expectInputAndOutputAlone("a string that was written", both, size);
}

TEST(AESMemory, OfAnyOtherStreamIsHardlyMore) {
    constexpr std::size_t size = 10 * mebibyte + 12345;
    for (std::size_t const portion : {std::size_t(1), std::size_t(1000), std::size_t(65536), 3 * mebibyte}) {
        PortionBuffer buffer(std::string(size, 'a'), portion);
        std::istream input(&buffer);
        expectInputAndOutputAlone(std::to_string(portion), input, size, mebibyte + 65536);
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
