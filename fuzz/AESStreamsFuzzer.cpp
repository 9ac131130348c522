// AES in all modes over streams, in portions of any size.
#include "AES.h"

#include "support/Streams.h"

#include <sstream>

namespace {

using namespace fuzz;

/// Runs a stream form, and holds it to what it may do to its streams.
template <class Transform> auto overStreams(ByteArray const& data, std::size_t portion, Transform&& transform) {
    support::PortionBuffer buffer(asString(data), portion);
    std::istream in(&buffer);
    std::ostringstream out;
    support::StreamState const before(in);
    auto const outcome = attempt([&] {
        expect(&transform(in, out) == &out, "the output stream is returned");
        return asBytes(out.str());
    });
    expect(support::StreamState(in) == before, "the input stream's state stays");
    expect(outcome || out.str().empty(), "a failure writes nothing");
    return outcome;
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    Input input(data, size);
    std::size_t const portion = 1 + input.below(255);
    AESSetup const setup(input);
    auto const encryptor = attempt([&] { return setup.makeEncryptor(); });
    auto const decryptor = attempt([&] { return setup.makeDecryptor(); });
    ByteArray const text = input.rest();
    if (!encryptor || !decryptor) {
        return 0;
    }
    auto const encrypt = [&](std::istream& in, std::ostream& out) -> std::ostream& {
        return (*encryptor.value)->encrypt(in, out);
    };
    auto const decrypt = [&](std::istream& in, std::ostream& out) -> std::ostream& {
        return (*decryptor.value)->decrypt(in, out);
    };
    auto const decrypted = overStreams(text, portion, decrypt);
    auto const encrypted = overStreams(text, portion, encrypt);
    if (!setup.isComparable()) {
        return 0;
    }
    expect(decrypted == attempt([&] { return (*decryptor.value)->decrypt(text); }),
           "bytes and streams are decrypted alike");
    expect(encrypted == attempt([&] { return (*encryptor.value)->encrypt(text); }),
           "bytes and streams are encrypted alike");
    expect(decrypted.value == setup.transform(false, text), "a stream is decrypted as libcrypto decrypts it");
    expect(encrypted.value == setup.transform(true, text), "a stream is encrypted as libcrypto encrypts it");
    if (encrypted) {
        expect(overStreams(*encrypted.value, portion, decrypt).value == text, "what was encrypted is decrypted");
    }
    return 0;
}
