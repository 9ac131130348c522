// A host may be compiled without type information. Whatever it hands in is used as any other host's.
#include "NoTypeInformation.h"

#include "support/AES.h"
#include "support/Bytes.h"
#include "support/ECC.h"
#include "support/Provider.h"
#include "support/RSA.h"
#include "support/Throws.h"

#include <gtest/gtest.h>

#include <istream>
#include <memory>
#include <sstream>
#include <streambuf>
#include <string>

namespace {

using namespace support;
using namespace foundation::crypto;
using interfaces::KeySignatureMethod;
using utils::InvalidKey;
using utils::RSAPaddingMode;

std::string const message = "a message of a host";

/// What `read` makes of a stream over the host's buffer.
template <class Read> auto readFrom(std::string const& content, Read read) {
    std::unique_ptr<std::streambuf> const buffer = untyped::bufferOf(content);
    std::istream input(buffer.get());
    return read(input);
}

class HostsWithoutTypeInformation : public testing::Test {
protected:
    void SetUp() override {
#ifdef __SANITIZE_ADDRESS__
        GTEST_SKIP() << "UndefinedBehaviorSanitizer, its companion, asks every object for its type information";
#endif
    }
};

TEST_F(HostsWithoutTypeInformation, MayHandInTheirBuffers) {
    EXPECT_EQ(readFrom(message, [](auto& input) { return provider.createSHA256DigestEngine()->computeDigest(input); }),
              provider.createSHA256DigestEngine()->computeDigest(bytes(message)));

    auto const key = provider.createAES128Key(ByteArray(16));
    auto const encryptor = provider.createAES128Encryptor(key, ByteArray(16), AESMode::CBC, AESPaddingMode::PKCS7, {});
    std::ostringstream cipherText;
    readFrom(message, [&](auto& input) { return encryptor->encrypt(input, cipherText).good(); });
    EXPECT_EQ(bytes(cipherText.str()), encryptor->encrypt(bytes(message)));

    auto const pair = provider.generateECCP256KeyPair();
    auto const signature = readFrom(message, [&](auto& input) {
        return provider.createECCP256Signer(pair->getPrivateKey())->sign(input, untyped::digestEngine());
    });
    EXPECT_TRUE(readFrom(message, [&](auto& input) {
        return provider.createECCP256Verifier(pair->getPublicKey())
            ->verify(input, signature, provider.createSHA256DigestEngine())
            .isValid();
    }));

    std::string const encoded = text(readRSAKey(2048, "public.pem"));
    EXPECT_EQ(readFrom(encoded, [](auto& input) { return provider.createRSA2048PublicKey(input)->getKeySize(); }),
              2048U);
    EXPECT_EQ(readFrom(encoded, [](auto& input) { return provider.getPublicKeySignatureMethod(input); }),
              KeySignatureMethod::RSA2048);
}

TEST_F(HostsWithoutTypeInformation, HandInForeignKeysAndGenerators) {
    EXPECT_THROWS(InvalidKey, "The encryption key does not exist.",
                  provider.createRSA2048Encryptor(untyped::publicKey(), RSAPaddingMode::OAEP_SHA1,
                                                  provider.createDefaultCryptoPRNG({})));
    auto const key = provider.createRSA2048PublicKey(readRSAKey(2048, "public.pem"));
    EXPECT_THROWS(InternalException, "The PRNG does not exist.",
                  provider.createRSA2048Encryptor(key, RSAPaddingMode::OAEP_SHA1, untyped::generator()));
    auto const signer = provider.createECCP256Signer(untyped::privateKey());
    EXPECT_THROWS(InternalException, "Failed while doing setup to generate signature",
                  signer->sign(bytes(message), provider.createSHA256DigestEngine()));
}

} // namespace
