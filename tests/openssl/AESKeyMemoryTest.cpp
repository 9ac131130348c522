// What the memory of a key holds when it is given back, by the library as it ships.
#include "support/AES.h"
#include "support/Allocations.h"
#include "support/Bytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <sstream>
#include <vector>

namespace {

using namespace support;

CryptoProvider const provider;

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
