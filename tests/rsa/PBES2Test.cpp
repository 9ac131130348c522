// PBES2 (RFC 8018, section 6.2), the scheme in which private keys are encrypted, put together from this library's key
// derivation and ciphers.
#include "support/AES.h"
#include "support/Bytes.h"
#include "support/Provider.h"
#include "support/RSAKeys.h"
#include "support/Throws.h"
#include "support/Vectors.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <sstream>
#include <string>

namespace {

using namespace support;

TEST(PBES2Vectors, GoBothWays) {
    for (Vector const& vector : readVectors("pbes2.txt")) {
        SCOPED_TRACE(vector.id());
        ByteArray const key = provider.deriveKeyUsingPBKDF2(text(vector.bytes("password")), text(vector.bytes("salt")),
                                                            vector.number("bits") / 8, vector.number("iterations"));
        AESSetup const setup{key, vector.bytes("iv")};
        EXPECT_EQ(createAESEncryptor(setup)->encrypt(vector.bytes("pt")), vector.bytes("ct"));
        EXPECT_EQ(createAESDecryptor(setup)->decrypt(vector.bytes("ct")), vector.bytes("pt"));

        std::istringstream input(text(vector.bytes("ct")));
        std::ostringstream output;
        createAESDecryptor(setup)->decrypt(input, output);
        EXPECT_EQ(bytes(output.str()), vector.bytes("pt"));
    }
}

/// One DER element of `tag` around `parts` (X.690), which are less than 65536 bytes.
ByteArray element(unsigned char tag, std::initializer_list<ByteArray> parts) {
    ByteArray content;
    for (ByteArray const& part : parts) {
        content.insert(content.end(), part.begin(), part.end());
    }
    auto const high = static_cast<unsigned char>(content.size() >> 8U);
    auto const low = static_cast<unsigned char>(content.size() & 0xffU);
    ByteArray whole = content.size() < 128 ? ByteArray{tag, low} : ByteArray{tag, 0x82, high, low};
    if (content.size() >= 128 && content.size() < 256) {
        whole = {tag, 0x81, low};
    }
    whole.insert(whole.end(), content.begin(), content.end());
    return whole;
}

TEST(PBES2Keys, OfOurMakingAreOpenedByTheirPassword) {
    constexpr unsigned char sequence = 0x30;
    constexpr unsigned char octets = 0x04;
    constexpr unsigned char object = 0x06;
    ByteArray const pbes2 = element(object, {unhex("2a864886f70d01050d")});
    ByteArray const pbkdf2 = element(object, {unhex("2a864886f70d01050c")});
    ByteArray const hmacSHA512 = element(object, {unhex("2a864886f70d020b")});
    ByteArray const aes256CBC = element(object, {unhex("60864801650304012a")});
    ByteArray const null = unhex("0500");
    ByteArray const thousand = unhex("020203e8");

    ByteArray const salt = pseudoRandomBytes(16);
    ByteArray const iv = pseudoRandomBytes(16, 2);
    ByteArray const key = provider.deriveKeyUsingPBKDF2("the password", text(salt), 32, 1000);
    ByteArray const encrypted = createAESEncryptor({key, iv})->encrypt(readRSAKey(2048, "private.der"));

    ByteArray const derivation = element(
        sequence,
        {pbkdf2, element(sequence, {element(octets, {salt}), thousand, element(sequence, {hmacSHA512, null})})});
    ByteArray const cipher = element(sequence, {aes256CBC, element(octets, {iv})});
    ByteArray const encoded = element(
        sequence, {element(sequence, {pbes2, element(sequence, {derivation, cipher})}), element(octets, {encrypted})});

    std::istringstream stream(text(encoded));
    EXPECT_EQ(provider.createRSA2048PrivateKey(stream, "the password")->getDER(), readRSAKey(2048, "private.der"));
    EXPECT_THROWS(foundation::crypto::utils::InternalException,
                  "Fail to create EVP_PKEYUPtr; the given raw pointer is NULL",
                  provider.getPrivateKeySignatureMethod(encoded, "another password"));
}

} // namespace
