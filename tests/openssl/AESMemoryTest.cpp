// How much memory the transforms take, and what they do when there is none.
#include "support/AES.h"
#include "support/Allocations.h"
#include "support/Bytes.h"
#include "support/Commands.h"
#include "support/Streams.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <memory>
#include <new>
#include <sstream>

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

} // namespace
