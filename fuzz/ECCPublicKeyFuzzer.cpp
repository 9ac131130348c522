// PEM texts of elliptic-curve public keys, from bytes and from streams, on both curves.
#include "EncodedKey.h"

#include "ecc/ECCKey.h"

#include <memory>
#include <sstream>

namespace {

using namespace fuzz;
using openssl::ECCKeyInput;
using utils::EllipticCurve;

template <EllipticCurve C> void check(EncodedKey const& key, EVP_PKEY* expected) {
    using PublicKey = openssl::ECCPublicKey<C>;
    auto const read = [](ByteArray const& bytes, ECCKeyInput kind) {
        return attempt([&] { return std::make_unique<PublicKey>(bytes, kind); });
    };

    auto const found = read(key.text, ECCKeyInput::Encoded);
    auto const streamed = attempt([&] {
        std::istringstream stream(asString(key.text));
        return std::make_unique<PublicKey>(stream);
    });
    expect(bool(found) == (expected != nullptr), "a key is read if libcrypto reads it and it lies on the curve");
    expect(found.failure == streamed.failure, "bytes and streams are read alike");
    if (!found) {
        return;
    }

    PublicKey const& publicKey = **found.value;
    auto const point = attempt([&] { return publicKey.getPublicPoint(); });
    expect(point.value == bare::octets(expected, OSSL_PKEY_PARAM_PUB_KEY), "the point is libcrypto's");
    expect(attempt([&] { return (*streamed.value)->getPublicPoint(); }) == point, "from bytes and from streams alike");

    auto const encoded = attempt([&] { return publicKey.getPEM(); });
    expect(encoded.value == bare::written([&](BIO* bio) { return PEM_write_bio_PUBKEY(bio, expected); }),
           "the key is written as libcrypto writes it");
    if (encoded) {
        auto const again = read(*encoded.value, ECCKeyInput::Encoded);
        expect(bool(again), "what was written can be read");
        expect(attempt([&] { return (*again.value)->getPublicPoint(); }) == point, "with the same point");
        expect(attempt([&] { return (*again.value)->getPEM(); }) == encoded, "with the same text");
    }
    if (point) {
        expect(bool(read(*point.value, ECCKeyInput::Raw)), "a key can be made from the point");
    }
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    EncodedKey const key(Input(data, size));
    if (isCostly(key.text)) {
        return -1;
    }
    bare::Key const found = bare::readPEMPublicKey(key.text);
    EVP_PKEY* const raw = found.get();
    check<EllipticCurve::P256>(key, raw != nullptr && bare::isOnP256(raw) ? raw : nullptr);
    check<EllipticCurve::Curve25519>(key,
                                     raw != nullptr && EVP_PKEY_get_base_id(raw) == EVP_PKEY_ED25519 ? raw : nullptr);
    return 0;
}
