// RSA keys made from their numbers, and what can be done with them.
#include "Bare.h"

#include "digest/DigestEngine.h"
#include "random/CryptoPRNG.h"
#include "rsa/RSAKey.h"
#include "rsa/RSASignature.h"

#include <foundation/crypto/utils/DefaultPRNGAlgorithm.h>
#include <foundation/crypto/utils/DigestAlgorithms.h>

#include <openssl/param_build.h>

#include <memory>

namespace {

using namespace fuzz;
using PRNG = openssl::CryptoPRNG<utils::DefaultPRNGAlgorithm>;
using SHA256 = openssl::DigestEngine<utils::SHA256DigestAlgorithm>;

struct Numbers {
    ByteArray n;
    ByteArray d;
    ByteArray e;
};

ByteArray withoutZerosInFront(ByteArray const& bytes) {
    return {std::find_if(bytes.begin(), bytes.end(), [](unsigned char byte) { return byte != 0; }), bytes.end()};
}

bare::Key makeKey(Numbers const& numbers, bool isPrivate) {
    std::unique_ptr<OSSL_PARAM_BLD, bare::Release<OSSL_PARAM_BLD_free>> const builder(OSSL_PARAM_BLD_new());
    bare::Number const n = bare::asNumber(numbers.n);
    bare::Number const d = bare::asNumber(numbers.d);
    bare::Number const e = bare::asNumber(numbers.e);
    OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_E, e.get());
    OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_N, n.get());
    if (isPrivate) {
        OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_D, d.get());
    }
    std::unique_ptr<OSSL_PARAM, bare::Release<OSSL_PARAM_free>> const parameters(
        OSSL_PARAM_BLD_to_param(builder.get()));
    bare::KeyContext const context(EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr));
    EVP_PKEY* key = nullptr;
    EVP_PKEY_fromdata_init(context.get());
    EVP_PKEY_fromdata(context.get(), &key, isPrivate ? EVP_PKEY_KEYPAIR : EVP_PKEY_PUBLIC_KEY, parameters.get());
    return bare::Key(key);
}

template <class KeySize> void check(Numbers const& numbers) {
    using PrivateKey = openssl::RSAPrivateKey<KeySize>;
    using PublicKey = openssl::RSAPublicKey<KeySize>;

    auto const publicKey = attempt([&] { return std::make_shared<PublicKey>(numbers.n, numbers.e); });
    expect(bool(publicKey) == (bare::bits(makeKey(numbers, false)) == openssl::bitsOf(KeySize())),
           "a public key is made if libcrypto makes it and it has the size");
    auto const privateKey = attempt([&] { return std::make_shared<PrivateKey>(numbers.n, numbers.d, numbers.e); });
    expect(bool(privateKey) == (bare::bits(makeKey(numbers, true)) == openssl::bitsOf(KeySize())),
           "a private key is made if libcrypto makes it and it has the size");

    if (publicKey) {
        PublicKey const& key = **publicKey.value;
        expect(key.getModulus() == withoutZerosInFront(numbers.n), "the public key has the modulus");
        expect(key.getPublicExponent() == withoutZerosInFront(numbers.e), "the public key has the exponent");
        auto const encoded = attempt([&] { return key.getDER(); });
        if (encoded && !bare::isPEM(*encoded.value)) { // whose modulus could have the marks of PEM in it
            PublicKey const again(*encoded.value);
            expect(again.getModulus() == key.getModulus(), "the modulus can be written and read");
            expect(again.getPublicExponent() == key.getPublicExponent(), "the exponent can be written and read");
        }
    }
    if (privateKey) {
        PrivateKey const& key = **privateKey.value;
        expect(key.getModulus() == withoutZerosInFront(numbers.n), "the private key has the modulus");
        expect(key.getPrivateExponent() == withoutZerosInFront(numbers.d), "the private key has the exponent");
        expect(!attempt([&] { return key.getDER(); }), "a key without its primes cannot be written");
    }
    if (publicKey && privateKey) {
        // Numbers that do not belong together give signatures, if any, of another key.
        auto const prng = std::make_shared<PRNG>(ByteArray());
        auto const engine = std::make_shared<SHA256>();
        openssl::RSASigner<KeySize> const signer(*privateKey.value, utils::RSAPaddingMode::PKCS1_V1_5, prng);
        openssl::RSAVerifier<KeySize> const verifier(*publicKey.value, utils::RSAPaddingMode::PKCS1_V1_5, prng);
        if (auto const signature = attempt([&] { return signer.sign(numbers.e, engine); })) {
            expect(signature.value->size() == openssl::modulusBytes<KeySize>, "a signature is as long as the modulus");
            auto const verdict =
                attempt([&] { return verifier.verify(numbers.e, *signature.value, engine).isValid(); });
            expect(verdict.value == bare::isSignature((*publicKey.value)->get(), "sha256", numbers.e, *signature.value,
                                                      bare::needsNoPadding),
                   "the verdict is libcrypto's");
        }
    }
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    Input input(data, size);
    Numbers numbers;
    numbers.n = input.field();
    numbers.d = input.field();
    numbers.e = input.rest();
    withRSASize(BN_num_bits(bare::asNumber(numbers.n).get()), [&](auto keySize) { check<decltype(keySize)>(numbers); });
    return 0;
}
