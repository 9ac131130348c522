// Encoded RSA public keys, from bytes and from streams.
#include "EncodedKey.h"

#include "rsa/RSAKey.h"

#include <memory>
#include <sstream>

namespace {

using namespace fuzz;

template <class KeySize> void check(EncodedKey const& key, bare::Key const& expected) {
    using PublicKey = openssl::RSAPublicKey<KeySize>;
    auto const read = [](ByteArray const& bytes) {
        return attempt([&] { return std::make_unique<PublicKey>(bytes); });
    };

    auto const found = read(key.text);
    auto const streamed = attempt([&] {
        std::istringstream stream(asString(key.text));
        return std::make_unique<PublicKey>(stream);
    });
    expect(bool(found) == (bare::bits(expected) == openssl::bitsOf(KeySize())),
           "a key is read if libcrypto reads it and it has the size");
    expect(found.failure == streamed.failure, "bytes and streams are read alike");
    if (!found) {
        return;
    }

    PublicKey const& publicKey = **found.value;
    auto const modulus = attempt([&] { return publicKey.getModulus(); });
    auto const exponent = attempt([&] { return publicKey.getPublicExponent(); });
    expect(modulus.value == bare::number(expected.get(), OSSL_PKEY_PARAM_RSA_N), "the modulus is libcrypto's");
    expect(exponent.value == bare::number(expected.get(), OSSL_PKEY_PARAM_RSA_E), "the exponent is libcrypto's");

    auto const encoded = attempt([&] { return publicKey.getDER(); });
    expect(encoded.value == bare::written([&](BIO* bio) { return i2d_PUBKEY_bio(bio, expected.get()); }),
           "the key is written as libcrypto writes it");
    expect(attempt([&] { return (*streamed.value)->getDER(); }) == encoded, "from bytes and from streams alike");
    if (encoded && !bare::isPEM(*encoded.value)) { // whose modulus could have the marks of PEM in it
        auto const again = read(*encoded.value);
        expect(bool(again), "what was written can be read");
        expect(attempt([&] { return (*again.value)->getModulus(); }) == modulus, "with the same modulus");
        expect(attempt([&] { return (*again.value)->getPublicExponent(); }) == exponent, "with the same exponent");
        expect(attempt([&] { return (*again.value)->getDER(); }) == encoded, "with the same encoding");
    }
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    EncodedKey const key(Input(data, size));
    if (isCostly(key.text)) {
        return -1;
    }
    bare::Key const expected = bare::readRSAPublicKey(key.text);
    withRSASize(bare::bits(expected), [&](auto keySize) { check<decltype(keySize)>(key, expected); });
    return 0;
}
