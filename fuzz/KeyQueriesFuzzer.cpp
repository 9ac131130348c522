// The queries for the size of an encoded RSA key, private and public.
#include "EncodedKey.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <sstream>

namespace {

using namespace fuzz;
using interfaces::KeySignatureMethod;

std::optional<KeySignatureMethod> methodOf(bare::Key const& key) {
    switch (bare::bits(key)) {
    case 1024:
        return KeySignatureMethod::RSA1024;
    case 2048:
        return KeySignatureMethod::RSA2048;
    case 4096:
        return KeySignatureMethod::RSA4096;
    default:
        return std::nullopt;
    }
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    EncodedKey const key(Input(data, size));
    if (isCostly(key.text)) {
        return -1;
    }
    openssl::CryptoProvider const provider;

    auto const privateKey = attempt([&] { return provider.getPrivateKeySignatureMethod(key.text, key.password); });
    expect(privateKey.value == methodOf(bare::readRSAPrivateKey(key.text, key.password)),
           "a private key has the size that libcrypto finds");
    expect(privateKey == attempt([&] {
               std::istringstream stream(asString(key.text));
               return provider.getPrivateKeySignatureMethod(stream, key.password);
           }),
           "bytes and streams with a private key are read alike");

    auto const publicKey = attempt([&] { return provider.getPublicKeySignatureMethod(key.text); });
    expect(publicKey.value == methodOf(bare::readRSAPublicKey(key.text)),
           "a public key has the size that libcrypto finds");
    expect(publicKey == attempt([&] {
               std::istringstream stream(asString(key.text));
               return provider.getPublicKeySignatureMethod(stream);
           }),
           "bytes and streams with a public key are read alike");
    return 0;
}
