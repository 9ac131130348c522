// AES in all modes, one block of memory at a time.
#include "AES.h"

namespace {

using namespace fuzz;

void check(AESSetup const& setup, interfaces::IAESEncryptor const& encryptor,
           interfaces::IAESDecryptor const& decryptor, unsigned int tagBit, ByteArray const& data) {
    auto const decrypted = attempt([&] { return decryptor.decrypt(data); });
    auto const encrypted = attempt([&] { return encryptor.encrypt(data); });
    if (!setup.isComparable()) {
        return;
    }
    expect(decrypted.value == setup.transform(false, data), "data is decrypted as libcrypto decrypts it");
    expect(encrypted.value == setup.transform(true, data), "data is encrypted as libcrypto encrypts it");
    if (decrypted) {
        expect(attempt([&] { return encryptor.encrypt(*decrypted.value); }).value == data,
               "what was decrypted is encrypted to the same");
    }
    if (encrypted) {
        expect(attempt([&] { return decryptor.decrypt(*encrypted.value); }).value == data,
               "what was encrypted is decrypted");
        if (setup.isGCM()) {
            ByteArray wrong = *encrypted.value;
            wrong[wrong.size() - 1 - tagBit / 8] ^= static_cast<unsigned char>(1U << tagBit % 8);
            expect(!attempt([&] { return decryptor.decrypt(wrong); }), "a wrong tag is refused");
        }
    }
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    Input input(data, size);
    AESSetup const setup(input);
    unsigned int const tagBit = input.below(128);
    auto const encryptor = attempt([&] { return setup.makeEncryptor(); });
    auto const decryptor = attempt([&] { return setup.makeDecryptor(); });
    expect(bool(encryptor) == (setup.isGCM() || setup.iv.empty() || setup.iv.size() >= 16),
           "short vectors are refused");
    expect(encryptor.failure == decryptor.failure, "in both directions alike");
    if (encryptor) {
        check(setup, **encryptor.value, **decryptor.value, tagBit, input.rest());
    }
    return 0;
}
