// Streams of RSA cipher text, in portions of any size, and streams that are encrypted first.
#include "RSADecryption.h"

#include "support/Streams.h"

#include <sstream>

namespace {

using namespace fuzz;

template <class KeySize> void check(utils::RSAPaddingMode padding, bool isEncrypted, std::size_t portion, Input input) {
    RSATestKey<KeySize> const key(padding);
    ByteArray text = input.rest();
    text.resize(std::min(text.size(), 4 * openssl::modulusBytes<KeySize>)); // a block takes as long as any other
    ByteArray cipherText = text;
    bool isHonest = false;
    if (isEncrypted) {
        auto const made = attempt([&] {
            std::istringstream in(asString(text));
            std::ostringstream out;
            key.encryptor.encrypt(in, out);
            return asBytes(out.str());
        });
        isHonest = bool(made);
        cipherText = made.value.value_or(text);
    }

    ByteArray expected;
    bool succeeds = true;
    for (auto next = cipherText.begin(); succeeds && next != cipherText.end();) {
        auto const size = std::min(cipherText.end() - next, std::ptrdiff_t(openssl::modulusBytes<KeySize>));
        auto const block = key.decrypt({next, next + size});
        succeeds = block.has_value();
        if (block) {
            expected.insert(expected.end(), block->begin(), block->end());
        }
        next += size;
    }

    std::ostringstream out;
    auto const found = attempt([&] {
        support::PortionBuffer buffer(asString(cipherText), portion);
        std::istream in(&buffer);
        return &key.decryptor.decrypt(in, out) == &out;
    });
    expect(bool(found) == succeeds, "a stream is decrypted if libcrypto decrypts all its blocks");
    expect(asBytes(out.str()) == expected, "the blocks before a failure are written");
    expect(!isHonest || expected == text, "what was encrypted is decrypted");
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    constexpr int sizes[]{1024, 2048, 1024, 2048, 1024, 2048, 1024, 4096}; // the largest is the slowest by far
    Input input(data, size);
    bool const isEncrypted = input.below(2) == 1;
    int const bits = input.oneOf(sizes);
    auto const padding = input.oneOf(rsaPaddings);
    std::size_t const portion = 1 + input.below(255);
    withRSASize(bits, [&](auto keySize) { check<decltype(keySize)>(padding, isEncrypted, portion, input); });
    return 0;
}
