// Elliptic-curve keys made from raw numbers and points.
#include "Bare.h"

#include "digest/DigestEngine.h"
#include "ecc/ECCKey.h"
#include "ecc/ECCSignature.h"

#include <foundation/crypto/utils/DigestAlgorithms.h>

#include <openssl/ec.h>

#include <memory>

namespace {

using namespace fuzz;
using openssl::ECCKeyInput;
using utils::EllipticCurve;

using Group = std::unique_ptr<EC_GROUP, bare::Release<EC_GROUP_free>>;
using Point = std::unique_ptr<EC_POINT, bare::Release<EC_POINT_free>>;

template <EllipticCurve C> using PrivateKey = openssl::ECCPrivateKey<C>;
template <EllipticCurve C> using PublicKey = openssl::ECCPublicKey<C>;

Group const& p256() {
    static Group const group(EC_GROUP_new_by_curve_name(NID_X9_62_prime256v1));
    return group;
}

ByteArray uncompressed(EC_POINT const* point) {
    ByteArray bytes(65);
    bytes.resize(
        EC_POINT_point2oct(p256().get(), point, POINT_CONVERSION_UNCOMPRESSED, bytes.data(), bytes.size(), nullptr));
    return bytes;
}

template <EllipticCurve C> auto makePrivate(ByteArray const& bytes, ECCKeyInput kind) {
    return attempt([&] { return std::make_shared<PrivateKey<C>>(bytes, kind); });
}

template <EllipticCurve C> auto makePublic(ByteArray const& bytes, ECCKeyInput kind) {
    return attempt([&] { return std::make_shared<PublicKey<C>>(bytes, kind); });
}

/// A signature of the private key is one for the public key.
template <EllipticCurve C>
void checkPair(std::shared_ptr<PrivateKey<C>> privateKey, std::shared_ptr<PublicKey<C>> publicKey) {
    auto const engine = std::make_shared<openssl::DigestEngine<utils::SHA512DigestAlgorithm>>();
    openssl::ECCSigner<C> const signer(privateKey);
    openssl::ECCVerifier<C> const verifier(publicKey);
    ByteArray const message{'m'};
    auto const signature = attempt([&] { return signer.sign(message, engine); });
    expect(signature &&
               attempt([&] { return verifier.verify(message, *signature.value, engine).isValid(); }).value == true,
           "what is signed with a number is valid for its point");
}

/// What was made can be written as PEM text and read again.
template <EllipticCurve C> void checkText(PrivateKey<C> const& key) {
    auto const again = makePrivate<C>(key.getPEM(), ECCKeyInput::Encoded);
    expect(again && (*again.value)->getPrivateInteger() == key.getPrivateInteger(), "a number can be written and read");
}

template <EllipticCurve C> void checkText(PublicKey<C> const& key) {
    auto const again = makePublic<C>(key.getPEM(), ECCKeyInput::Encoded);
    expect(again && (*again.value)->getPublicPoint() == key.getPublicPoint(), "a point can be written and read");
}

void checkP256Number(ByteArray const& bytes) {
    auto const key = makePrivate<EllipticCurve::P256>(bytes, ECCKeyInput::Raw);
    bare::Number const number = bare::asNumber(bytes);
    bool const isOfTheCurve = !BN_is_zero(number.get()) && BN_cmp(number.get(), EC_GROUP_get0_order(p256().get())) < 0;
    expect(bool(key) == !bytes.empty() || !isOfTheCurve, "every number of the curve makes a key");
    if (!key || !isOfTheCurve) {
        if (key) {
            attempt([&] { return (*key.value)->getPrivateInteger(); });
            attempt([&] { return (*key.value)->getPEM(); });
        }
        return;
    }
    expect((*key.value)->getPrivateInteger() == bare::asBytes(number.get()), "a key has its number");
    checkText(**key.value);

    Point const point(EC_POINT_new(p256().get()));
    EC_POINT_mul(p256().get(), point.get(), number.get(), nullptr, nullptr, nullptr);
    auto const publicKey = makePublic<EllipticCurve::P256>(uncompressed(point.get()), ECCKeyInput::Raw);
    expect(bool(publicKey), "the multiple of the generator is a point");
    checkPair(*key.value, *publicKey.value);
}

void checkP256Point(ByteArray const& bytes) {
    auto const key = makePublic<EllipticCurve::P256>(bytes, ECCKeyInput::Raw);
    Point const point(EC_POINT_new(p256().get()));
    bool const isPoint = EC_POINT_oct2point(p256().get(), point.get(), bytes.data(), bytes.size(), nullptr) == 1;
    expect(bool(key) == isPoint, "a key is made of every point, and of nothing else");
    if (key && EC_POINT_is_at_infinity(p256().get(), point.get()) == 0) {
        expect((*key.value)->getPublicPoint() == uncompressed(point.get()), "a key has its point");
        checkText(**key.value);
    }
}

void checkCurve25519(ByteArray const& bytes) {
    auto const privateKey = makePrivate<EllipticCurve::Curve25519>(bytes, ECCKeyInput::Raw);
    auto const publicKey = makePublic<EllipticCurve::Curve25519>(bytes, ECCKeyInput::Raw);
    expect(bool(privateKey) == (bytes.size() == 32), "32 bytes are a private key");
    expect(bool(publicKey) == (bytes.size() == 32), "32 bytes are a public key");
    if (privateKey) {
        expect((*privateKey.value)->getPrivateInteger() == bytes, "a private key has its bytes");
        expect((*publicKey.value)->getPublicPoint() == bytes, "a public key has its bytes");
        checkText(**privateKey.value);
        checkText(**publicKey.value);
        auto const itsPoint = bare::octets((*privateKey.value)->get(), OSSL_PKEY_PARAM_PUB_KEY);
        checkPair(*privateKey.value, *makePublic<EllipticCurve::Curve25519>(*itsPoint, ECCKeyInput::Raw).value);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    constexpr void (*checks[])(ByteArray const&){checkP256Number, checkP256Point, checkCurve25519};
    Input input(data, size);
    auto const check = input.oneOf(checks);
    check(input.rest());
    return 0;
}
