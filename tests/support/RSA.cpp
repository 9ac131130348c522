#include "RSA.h"

#include <stdexcept>

namespace support {

namespace {

template <unsigned long N> RSAKeyUser makeRSAKeyUser(ByteArray const& pkcs8, ByteArray const& spki) {
    using OfSize = RSAKeys<N>;
    auto const prng = CryptoProvider().createDefaultCryptoPRNG({});
    auto const privateKey = pkcs8.empty() ? nullptr : OfSize::createPrivateKey(pkcs8);
    auto const publicKey = spki.empty() ? nullptr : OfSize::createPublicKey(spki);
    return {N, [=](RSAPaddingMode padding) { return OfSize::signer(privateKey, padding, prng); },
            [=](RSAPaddingMode padding) { return OfSize::verifier(publicKey, padding, prng); },
            [=](RSAPaddingMode padding) { return OfSize::encryptor(publicKey, padding, prng); },
            [=](RSAPaddingMode padding) { return OfSize::decryptor(privateKey, padding, prng); }};
}

} // namespace

RSAKeyUser makeRSAKeyUser(int bits, ByteArray const& pkcs8, ByteArray const& spki) {
    switch (bits) {
    case 1024:
        return makeRSAKeyUser<1024>(pkcs8, spki);
    case 2048:
        return makeRSAKeyUser<2048>(pkcs8, spki);
    case 4096:
        return makeRSAKeyUser<4096>(pkcs8, spki);
    default:
        throw std::out_of_range("an RSA key of " + std::to_string(bits) + " bits");
    }
}

RSAKeyUser makeRSAKeyUser(Vector const& vector) {
    auto const bytesOf = [&](char const* name) { return vector.has(name) ? vector.bytes(name) : ByteArray(); };
    return makeRSAKeyUser(vector.number("bits"), bytesOf("pkcs8"), bytesOf("spki"));
}

RSAKeyUser const& rsaTestKeyUser(int bits) {
    static auto const make = [](int size) {
        auto const read = [&](char const* name) { return readRSAKey(static_cast<unsigned long>(size), name); };
        return makeRSAKeyUser(size, read("private.der"), read("public.der"));
    };
    static RSAKeyUser const users[]{make(1024), make(2048), make(4096)};
    return bits == 1024 ? users[0] : bits == 2048 ? users[1] : users[2];
}

RSAKeyUser makePSSKeyUser() {
    return makeRSAKeyUser(2048, readRSAKey(2048, "pss-private.pem"), readRSAKey(2048, "pss-public.pem"));
}

RSAKeyUser makeDSAKeyUser() {
    return makeRSAKeyUser(1024, readKey("dsa1024-private.pem"), readKey("dsa1024-public.pem"));
}

} // namespace support
