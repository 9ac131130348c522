// RSA signatures: with one of the two paddings, under the tests' keys and under keys of the input.
#include "Bare.h"

#include "Engines.h"
#include "random/CryptoPRNG.h"
#include "rsa/RSAKey.h"
#include "rsa/RSASignature.h"

#include <foundation/crypto/utils/DefaultPRNGAlgorithm.h>

#include <memory>
#include <sstream>

namespace {

using namespace fuzz;

constexpr auto padding = utils::RSAPaddingMode::ZRFL_FUZZED_PADDING;
using PRNG = openssl::CryptoPRNG<utils::DefaultPRNGAlgorithm>;

/// The rule of PSS: the salt is as long as these three digests, and of any length with others.
int saltLengthOf(std::string const& digest) {
    return digest == "sha1" ? 20 : digest == "sha256" ? 32 : digest == "sha512" ? 64 : RSA_PSS_SALTLEN_AUTO;
}

bool configure(EVP_PKEY_CTX* context, std::string const& digest) {
    if (padding == utils::RSAPaddingMode::PSS) {
        return EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_PSS_PADDING) > 0 &&
               EVP_PKEY_CTX_set_rsa_pss_saltlen(context, saltLengthOf(digest)) > 0;
    }
    return EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_PADDING) > 0;
}

template <class KeySize> struct TestKeys {
    std::string const name = "rsa" + std::to_string(openssl::bitsOf(KeySize()));
    std::shared_ptr<openssl::RSAPrivateKey<KeySize>> const privateKey =
        std::make_shared<openssl::RSAPrivateKey<KeySize>>(readKeyFile(name + "-private.der"));
    std::shared_ptr<openssl::RSAPublicKey<KeySize>> const publicKey =
        std::make_shared<openssl::RSAPublicKey<KeySize>>(readKeyFile(name + "-public.der"));
};

/// How a signature comes about.
enum class Origin { Given, Encoded, Honest };

template <class KeySize> void check(Origin origin, Input input, interfaces::DigestEnginePtr const& engine) {
    static TestKeys<KeySize> const keys;
    auto const prng = std::make_shared<PRNG>(ByteArray());
    auto const key = input.field();
    auto const message = input.field();
    auto publicKey = keys.publicKey;
    ByteArray signature = input.rest();
    bool isHonest = false;
    switch (origin) {
    case Origin::Given: // under a key of the input
        if (auto const own = attempt([&] { return std::make_shared<openssl::RSAPublicKey<KeySize>>(key); })) {
            publicKey = *own.value;
        }
        break;
    case Origin::Encoded: // the verifier finds what the input says under the public power
        signature = bare::privatePower(keys.privateKey->get(), signature).value_or(ByteArray());
        break;
    case Origin::Honest: // altered by the input
        openssl::RSASigner<KeySize> const signer(keys.privateKey, padding, prng);
        if (auto const made = attempt([&] { return signer.sign(message, engine); })) {
            isHonest = altered(*made.value, signature) == *made.value;
            signature = altered(*made.value, signature);
        }
    }

    openssl::RSAVerifier<KeySize> const verifier(publicKey, padding, prng);
    auto const verdict = attempt([&] { return verifier.verify(message, signature, engine).isValid(); });
    auto const streamed = attempt([&] {
        std::istringstream stream(asString(message));
        return verifier.verify(stream, signature, engine).isValid();
    });
    std::string const digest = engine->getDigestNameForEVP_MD();
    bool const expected = signature.size() == openssl::modulusBytes<KeySize> &&
                          bare::isSignature(publicKey->get(), digest, message, signature,
                                            [&](EVP_PKEY_CTX* context) { return configure(context, digest); });
    expect(verdict.value == expected, "the verdict is libcrypto's");
    expect(verdict == streamed, "bytes and streams are verified alike");
    expect(!isHonest || expected, "what was signed is valid");
    if (expected) {
        ByteArray other = message;
        other.push_back(0);
        expect(!verifier.verify(other, signature, engine), "a signature is one of no other message");
    }
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    constexpr Origin origins[]{Origin::Given, Origin::Encoded, Origin::Honest};
    constexpr int sizes[]{1024, 2048, 1024, 2048, 1024, 2048, 1024, 4096}; // the largest is the slowest by far
    Input input(data, size);
    Origin const origin = input.oneOf(origins);
    int const bits = input.oneOf(sizes);
    auto const engine = makePlainEngine(input.below(6));
    withRSASize(bits, [&](auto keySize) { check<decltype(keySize)>(origin, input, engine); });
    return 0;
}
