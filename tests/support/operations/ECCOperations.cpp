#include "../ECC.h"
#include "../PEM.h"
#include "../RSAKeys.h"
#include "Families.h"
#include "Signers.h"

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

namespace support::listing {

namespace {

ByteArray signByHand(RawKey const& key, char const* digest, ByteArray const& data) {
    auto const requireOne = [](int result) {
        if (result != 1) {
            throw std::runtime_error("libcrypto cannot sign");
        }
    };
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> const context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    requireOne(context != nullptr ? 1 : 0);
    requireOne(EVP_DigestSignInit_ex(context.get(), nullptr, digest, nullptr, nullptr, key.get(), nullptr));
    std::size_t size = 0;
    requireOne(EVP_DigestSign(context.get(), nullptr, &size, data.data(), data.size()));
    ByteArray signature(size);
    requireOne(EVP_DigestSign(context.get(), signature.data(), &size, data.data(), data.size()));
    signature.resize(size);
    return signature;
}

template <class Of> void addECCKeys(List& list, std::string const& file) {
    std::string const curve = Of::name;
    std::string const factory = "ICryptoProvider";
    auto const privateText = [=] { return readKey(file + "-private.pem"); };
    auto const publicText = [=] { return readKey(file + "-public.pem"); };
    auto const privateKey = [=] { return Of::privateKey(privateText()); };
    auto const publicKey = [=] { return Of::publicKey(publicText()); };
    auto const describePrivate = [](auto const&, auto const& key) { return key->getPEM(); };
    auto const describePublic = [](auto const&, auto const& key) { return key->getPEM(); };

    add(
        list, factory, "generateECC" + curve + "KeyPair", "", noArguments,
        [](Nothing) { return Of::generateKeyPair(); },
        [](auto const&, auto const& pair) {
            ByteArray const signature = Of::signer(pair->getPrivateKey())->sign(message, Of::engine());
            bool const isValid = Of::verifier(pair->getPublicKey())->verify(message, signature, Of::engine()).isValid();
            return number(isValid ? 1 : 0);
        });
    std::string const createPrivate = "createECC" + curve + "PrivateKey";
    add(
        list, factory, createPrivate + "(bytes)", "", privateText,
        [](ByteArray const& encoded) { return Of::privateKey(encoded); }, describePrivate);
    add(
        list, factory, createPrivate + "FromInteger", "", [=] { return privateKey()->getPrivateInteger(); },
        [](ByteArray const& integer) { return Of::privateKeyFromInteger(integer); }, describePrivate);
    add(
        list, factory, createPrivate + "(stream)", "encrypted.pem",
        [=] {
            static ByteArray const encrypted = bytes(encryptedPEM(readPrivate(text(privateText())), "password"));
            return Input(encrypted);
        },
        [](auto const& encoded) { return Of::privateKey(*encoded, "password"); }, describePrivate);
    std::string const createPublic = "createECC" + curve + "PublicKey";
    add(
        list, factory, createPublic + "(bytes)", "", publicText,
        [](ByteArray const& encoded) { return Of::publicKey(encoded); }, describePublic);
    add(
        list, factory, createPublic + "FromPoint", "", [=] { return publicKey()->getPublicPoint(); },
        [](ByteArray const& point) { return Of::publicKeyFromPoint(point); }, describePublic);
    add(
        list, factory, createPublic + "(stream)", "", [=] { return Input(publicText()); },
        [](auto const& encoded) { return Of::publicKey(*encoded); }, describePublic);

    static auto const pair = Of::generateKeyPair(); // one is enough, since it never changes
    add(
        list, "IECCKeyPair", "getPrivateKey", curve, noArguments, [](Nothing) { return pair->getPrivateKey(); },
        describePrivate);
    add(
        list, "IECCKeyPair", "getPublicKey", curve, noArguments, [](Nothing) { return pair->getPublicKey(); },
        describePublic);
    add(list, "IECCPrivateKey", "getPEM", curve, privateKey, [](auto const& key) { return key->getPEM(); }, asIs);
    add(
        list, "IECCPrivateKey", "getPrivateInteger", curve, privateKey,
        [](auto const& key) { return key->getPrivateInteger(); }, asIs);
    add(list, "IECCPublicKey", "getPEM", curve, publicKey, [](auto const& key) { return key->getPEM(); }, asIs);
    add(
        list, "IECCPublicKey", "getPublicPoint", curve, publicKey,
        [](auto const& key) { return key->getPublicPoint(); }, asIs);
}

/// Signatures over SHA-512, which both curves take.
template <class Of> void addECCSignatures(List& list, std::string const& file) {
    std::string const curve = Of::name;
    std::string const factory = "ICryptoProvider";
    auto const privateKey = [=] { return Of::privateKey(readKey(file + "-private.pem")); };
    auto const publicKey = [=] { return Of::publicKey(readKey(file + "-public.pem")); };
    auto const sign = [=] { return Of::signer(privateKey())->sign(message, sha512()); };
    auto const isRight = [=](ByteArray const& signature) {
        return Of::verifier(publicKey())->verify(message, signature, sha512()).isValid();
    };
    add(
        list, factory, "createECC" + curve + "Signer", "", privateKey, [](auto const& key) { return Of::signer(key); },
        [=](auto const&, auto const& made) { return number(isRight(made->sign(message, sha512())) ? 1 : 0); });
    add(
        list, factory, "createECC" + curve + "Verifier", "", publicKey,
        [](auto const& key) { return Of::verifier(key); },
        [=](auto const&, auto const& made) {
            return number(made->verify(message, sign(), sha512()).isValid() ? 1 : 0);
        });
    // Out of memory, libcrypto may make a wrong ECDSA signature, or look for a nonce for seconds.
    std::function<OperationRun()> const signingByHand =
        preparing([=] { return readPrivate(text(readKey(file + "-private.pem"))); },
                  [](RawKey const& key) { return signByHand(key, "sha512", message); },
                  [=](auto const&, ByteArray const& signature) { return number(isRight(signature) ? 1 : 0); });
    addSigner<ECCSignerPtr>(
        list, "IECCSigner", curve, [=] { return Of::signer(privateKey()); }, isRight, sha512,
        Of::curve == EllipticCurve::P256 ? signingByHand : nullptr);
    addVerifier<ECCVerifierPtr>(list, "IECCVerifier", curve, [=] { return Of::verifier(publicKey()); }, sign, sha512);
}

} // namespace

void addECC(List& list) {
    addECCKeys<P256>(list, "p256");
    addECCKeys<Curve25519>(list, "ed25519");
    addECCSignatures<P256>(list, "p256");
    addECCSignatures<Curve25519>(list, "ed25519");
}

} // namespace support::listing
