// Signatures on one of the two curves: under the test's key and under points of the input.
#include "Bare.h"

#include "Engines.h"
#include "ecc/ECCKey.h"
#include "ecc/ECCSignature.h"

#include <memory>
#include <sstream>

namespace {

using namespace fuzz;
using openssl::ECCKeyInput;

constexpr auto curve = utils::EllipticCurve::ZRFL_FUZZED_CURVE;
constexpr bool isECDSA = curve == utils::EllipticCurve::P256;
using PrivateKey = openssl::ECCPrivateKey<curve>;
using PublicKey = openssl::ECCPublicKey<curve>;

std::string const keyName = isECDSA ? "p256" : "ed25519";

/// The engines that the curve accepts.
bool isAccepted(std::string const& digest) {
    return digest == "SHA512" || (isECDSA && (digest == "SHA224" || digest == "SHA256" || digest == "SHA384"));
}

bool isSignature(EVP_PKEY* key, std::string const& digest, ByteArray const& message, ByteArray const& signature) {
    return isECDSA ? bare::isSignature(key, digest, message, signature, bare::needsNoPadding)
                   : bare::isEd25519Signature(key, message, signature);
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    static auto const ownPrivateKey =
        std::make_shared<PrivateKey>(readKeyFile(keyName + "-private.pem"), ECCKeyInput::Encoded);
    static auto const ownPublicKey =
        std::make_shared<PublicKey>(readKeyFile(keyName + "-public.pem"), ECCKeyInput::Encoded);

    Input input(data, size);
    bool const isAlteredHonest = input.below(2) == 1;
    auto const engine = makePlainEngine(input.below(6));
    ByteArray const point = input.field();
    ByteArray const message = input.field();
    ByteArray signature = input.rest();
    auto publicKey = ownPublicKey;
    bool isHonest = false;
    if (isAlteredHonest) {
        openssl::ECCSigner<curve> const signer(ownPrivateKey);
        auto const made = attempt([&] { return signer.sign(message, engine); });
        expect(bool(made) == isAccepted(engine->getDigestName()), "a digest is accepted or not");
        if (made) {
            isHonest = altered(*made.value, signature) == *made.value;
            signature = altered(*made.value, signature);
        }
    } else if (auto const own = attempt([&] { return std::make_shared<PublicKey>(point, ECCKeyInput::Raw); })) {
        publicKey = *own.value;
    }

    openssl::ECCVerifier<curve> const verifier(publicKey);
    auto const verdict = attempt([&] { return verifier.verify(message, signature, engine).isValid(); });
    auto const streamed = attempt([&] {
        std::istringstream stream(asString(message));
        return verifier.verify(stream, signature, engine).isValid();
    });
    expect(bool(verdict) == isAccepted(engine->getDigestName()), "a digest is accepted or not");
    expect(verdict == streamed, "bytes and streams are verified alike");
    if (verdict) {
        expect(*verdict.value == isSignature(publicKey->get(), engine->getDigestNameForEVP_MD(), message, signature),
               "the verdict is libcrypto's");
        expect(!isHonest || *verdict.value, "what was signed is valid");
    }
    if (isHonest) {
        ByteArray other = message;
        other.push_back(0);
        expect(!verifier.verify(other, signature, engine), "a signature is one of no other message");
    }
    return 0;
}
