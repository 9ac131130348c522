// Nobody is ever asked for a password: not on a terminal, and not by reading the host's standard input.
#include "support/ECC.h"
#include "support/PEM.h"
#include "support/Terminal.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace support;
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

/// Throws unless `load` fails as a reader does that cannot open the key.
template <class Load> void mustFail(Load&& load) {
    if (!throwsExactly<InvalidKeyEncoding>("Could not create key from bytes in PEM encoding. Is the key really in PEM "
                                           "encoding? DER is not supported.",
                                           false, load)) {
        throw std::logic_error("the key was not refused in the reader's words");
    }
}

template <class Factory> void loadWithoutItsPassword(std::string const& pem) {
    for (std::string const& password : {std::string(), std::string("wrong"), std::string(1, '\0')}) {
        mustFail([&] {
            std::istringstream stream(pem);
            Factory::privateKey(stream, password);
        });
    }
    mustFail([&] { Factory::privateKey(bytes(pem)); });
    mustFail([&] { Factory::publicKey(bytes(pem)); });
    mustFail([&] {
        std::istringstream stream(pem);
        Factory::publicKey(stream);
    });
}

void loadAllWithoutTheirPasswords() {
    for (std::string const& pem : encryptedKeys()) {
        loadWithoutItsPassword<P256>(pem);
        loadWithoutItsPassword<Curve25519>(pem);
    }
}

/// What the library must not do: libcrypto's reader without a pass phrase.
void askForThePassword() {
    if (std::freopen("/dev/null", "w", stderr) == nullptr) { // where it asks when there is no terminal
        throw std::runtime_error("no /dev/null");
    }
    readPrivate(encryptedKeys().front());
}

TEST(ECCKeyPrompt, IsNeverWrittenOnTheTerminal) {
    encryptedKeys(); // made before the process is split
    TerminalUse const use = runAtTerminal(loadAllWithoutTheirPasswords);
    EXPECT_TRUE(use.finished);
    EXPECT_EQ(use.written, "");
}

TEST(ECCKeyPrompt, NeverReadsTheStandardInput) {
    encryptedKeys();
    TerminalUse const use = runWithInput("secret\n", loadAllWithoutTheirPasswords);
    EXPECT_TRUE(use.finished);
    EXPECT_EQ(use.unread, "secret\n");
}

TEST(ECCKeyPrompt, WouldHaveBeenSeen) {
    encryptedKeys();
    TerminalUse const atTerminal = runAtTerminal(askForThePassword);
    EXPECT_FALSE(atTerminal.finished);
    EXPECT_EQ(atTerminal.written, "Enter PEM pass phrase:");
    EXPECT_NE(runWithInput("secret\n", askForThePassword).unread, "secret\n");
}

} // namespace
