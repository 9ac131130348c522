// One block of RSA cipher text: as the input has it, with the padding that the input has, or encrypted and then
// altered.
#include "RSADecryption.h"

namespace {

using namespace fuzz;

enum class Origin { Given, Encoded, Honest };

template <class KeySize> void check(Origin origin, utils::RSAPaddingMode padding, Input input) {
    RSATestKey<KeySize> const key(padding);
    ByteArray const message = input.field();
    ByteArray block = input.rest();
    bool isHonest = false;
    if (origin == Origin::Encoded) {
        block = bare::publicPower(key.raw(), block).value_or(ByteArray());
    } else if (origin == Origin::Honest) {
        if (auto const made = attempt([&] { return key.encryptor.encrypt(message); })) {
            isHonest = altered(*made.value, block) == *made.value;
            block = altered(*made.value, block);
        }
    }

    auto const found = attempt([&] { return key.decryptor.decrypt(block); });
    expect(found.value == key.decrypt(block), "a block is decrypted as libcrypto decrypts it");
    expect(!isHonest || found.value == message, "what was encrypted is decrypted");
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    constexpr Origin origins[]{Origin::Given, Origin::Encoded, Origin::Honest};
    constexpr int sizes[]{1024, 2048, 1024, 2048, 1024, 2048, 1024, 4096}; // the largest is the slowest by far
    Input input(data, size);
    Origin const origin = input.oneOf(origins);
    int const bits = input.oneOf(sizes);
    auto const padding = input.oneOf(rsaPaddings);
    withRSASize(bits, [&](auto keySize) { check<decltype(keySize)>(origin, padding, input); });
    return 0;
}
