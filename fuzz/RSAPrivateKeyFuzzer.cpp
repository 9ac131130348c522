// Encoded RSA private keys, from bytes and from streams, with passwords.
#include "EncodedKey.h"

#include "rsa/RSAKey.h"

#include <memory>
#include <sstream>

namespace {

using namespace fuzz;

template <class KeySize> void check(EncodedKey const& key, bare::Key const& expected) {
    using PrivateKey = openssl::RSAPrivateKey<KeySize>;
    auto const read = [](ByteArray const& bytes) {
        return attempt([&] { return std::make_unique<PrivateKey>(bytes); });
    };
    auto const readStream = [&](std::string const& password) {
        return attempt([&] {
            std::istringstream stream(asString(key.text));
            return std::make_unique<PrivateKey>(stream, password);
        });
    };

    auto const found = readStream(key.password);
    expect(bool(found) == (bare::bits(expected) == openssl::bitsOf(KeySize())),
           "a key is read if libcrypto reads it and it has the size");
    expect(read(key.text).failure == readStream("").failure, "bytes are read as a stream with an empty password is");
    if (!found) {
        return;
    }

    PrivateKey const& privateKey = **found.value;
    auto const modulus = attempt([&] { return privateKey.getModulus(); });
    auto const exponent = attempt([&] { return privateKey.getPrivateExponent(); });
    expect(modulus.value == bare::number(expected.get(), OSSL_PKEY_PARAM_RSA_N), "the modulus is libcrypto's");
    expect(exponent.value == bare::number(expected.get(), OSSL_PKEY_PARAM_RSA_D), "the exponent is libcrypto's");

    auto const encoded = attempt([&] { return privateKey.getDER(); });
    expect(encoded.value == bare::written([&](BIO* bio) {
               return i2d_PKCS8PrivateKey_bio(bio, expected.get(), nullptr, nullptr, 0, nullptr, nullptr);
           }),
           "the key is written as libcrypto writes it");
    if (encoded && !bare::isPEM(*encoded.value)) { // whose numbers could have the marks of PEM in them
        auto const again = read(*encoded.value);
        expect(bool(again), "what was written can be read");
        expect(attempt([&] { return (*again.value)->getModulus(); }) == modulus, "with the same modulus");
        expect(attempt([&] { return (*again.value)->getPrivateExponent(); }) == exponent, "with the same exponent");
        expect(attempt([&] { return (*again.value)->getDER(); }) == encoded, "with the same encoding");
    }
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    EncodedKey const key(Input(data, size));
    if (isCostly(key.text)) {
        return -1;
    }
    bare::Key const expected = bare::readRSAPrivateKey(key.text, key.password);
    withRSASize(bare::bits(expected), [&](auto keySize) { check<decltype(keySize)>(key, expected); });
    return 0;
}
