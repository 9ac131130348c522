// PEM texts of elliptic-curve private keys, from bytes and from streams, with passwords, on both curves.
#include "EncodedKey.h"

#include "ecc/ECCKey.h"

#include <memory>
#include <sstream>

namespace {

using namespace fuzz;
using openssl::ECCKeyInput;
using utils::EllipticCurve;

template <EllipticCurve C> void check(EncodedKey const& key, EVP_PKEY* expected) {
    using PrivateKey = openssl::ECCPrivateKey<C>;
    auto const read = [](ByteArray const& bytes, ECCKeyInput kind) {
        return attempt([&] { return std::make_unique<PrivateKey>(bytes, kind); });
    };
    auto const readStream = [&](std::string const& password) {
        return attempt([&] {
            std::istringstream stream(asString(key.text));
            return std::make_unique<PrivateKey>(stream, password);
        });
    };

    auto const found = readStream(key.password);
    expect(bool(found) == (expected != nullptr), "a key is read if libcrypto reads it and it lies on the curve");
    expect(read(key.text, ECCKeyInput::Encoded).failure == readStream("").failure,
           "bytes are read as a stream with an empty password is");
    if (!found) {
        return;
    }

    PrivateKey const& privateKey = **found.value;
    auto const integer = attempt([&] { return privateKey.getPrivateInteger(); });
    expect(integer.value == (C == EllipticCurve::P256 ? bare::number(expected, OSSL_PKEY_PARAM_PRIV_KEY)
                                                      : bare::octets(expected, OSSL_PKEY_PARAM_PRIV_KEY)),
           "the private number is libcrypto's");

    auto const encoded = attempt([&] { return privateKey.getPEM(); });
    expect(encoded.value == bare::written([&](BIO* bio) {
               return PEM_write_bio_PrivateKey(bio, expected, nullptr, nullptr, 0, nullptr, nullptr);
           }),
           "the key is written as libcrypto writes it");
    if (encoded) {
        auto const again = read(*encoded.value, ECCKeyInput::Encoded);
        expect(bool(again), "what was written can be read");
        expect(attempt([&] { return (*again.value)->getPrivateInteger(); }) == integer, "with the same number");
        expect(attempt([&] { return (*again.value)->getPEM(); }) == encoded, "with the same text");
    }
    if (integer) {
        auto const again = read(*integer.value, ECCKeyInput::Raw);
        expect(bool(again), "a key can be made from the private number");
        expect(attempt([&] { return (*again.value)->getPrivateInteger(); }) == integer, "which is its number again");
    }
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    EncodedKey const key(Input(data, size));
    if (isCostly(key.text)) {
        return -1;
    }
    bare::Key const found = bare::readPEMPrivateKey(key.text, key.password);
    EVP_PKEY* const raw = found.get();
    check<EllipticCurve::P256>(key, raw != nullptr && bare::isOnP256(raw) ? raw : nullptr);
    check<EllipticCurve::Curve25519>(key,
                                     raw != nullptr && EVP_PKEY_get_base_id(raw) == EVP_PKEY_ED25519 ? raw : nullptr);
    return 0;
}
