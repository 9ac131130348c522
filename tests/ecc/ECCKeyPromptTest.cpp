#include "support/ECC.h"
#include "support/KeyPromptTests.h"
#include "support/PEM.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <istream>
#include <string>
#include <vector>

namespace support {

namespace {

using foundation::crypto::utils::InvalidKeyEncoding;

/// One encrypted key of each form, all with the password "secret".
std::vector<std::string> const& encryptedKeys() {
    static std::vector<std::string> const keys = [] {
        RawKey const onP256 = readPrivate(text(P256::generateKeyPair()->getPrivateKey()->getPEM()));
        RawKey const onCurve25519 = readPrivate(text(Curve25519::generateKeyPair()->getPrivateKey()->getPEM()));
        return std::vector<std::string>{encryptedPEM(onP256, "secret"), traditionalPEM(onP256, "secret"),
                                        encryptedPEM(onCurve25519, "secret")};
    }();
    return keys;
}

template <class Factory> void loadWithoutItsPassword(std::string const& pem) {
    auto const mustFail = [&](auto&&... readers) {
        mustRefuse<InvalidKeyEncoding>("Could not create key from bytes in PEM encoding. Is the key really in PEM "
                                       "encoding? DER is not supported.",
                                       pem, readers...);
    };
    for (std::string const& password : uselessPasswords) {
        mustFail([&](std::istream& stream) { Factory::privateKey(stream, password); });
    }
    mustFail([&](std::istream&) { Factory::privateKey(bytes(pem)); },
             [&](std::istream&) { Factory::publicKey(bytes(pem)); },
             [](std::istream& stream) { Factory::publicKey(stream); });
}

void loadAllWithoutTheirPasswords() {
    for (std::string const& pem : encryptedKeys()) {
        loadWithoutItsPassword<P256>(pem);
        loadWithoutItsPassword<Curve25519>(pem);
    }
}

INSTANTIATE_TEST_SUITE_P(ECC, KeyPrompt,
                         testing::Values(KeyPromptCase{[] { encryptedKeys(); }, loadAllWithoutTheirPasswords,
                                                       [] { readPrivate(encryptedKeys().front()); }}),
                         [](auto const&) { return "EncryptedKeys"; });

} // namespace

} // namespace support
