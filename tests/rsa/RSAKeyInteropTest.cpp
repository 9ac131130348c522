// Keys exchanged with the openssl command, both ways, and the keys of the published vectors.
#include "support/Bytes.h"
#include "support/Commands.h"
#include "support/Provider.h"
#include "support/RSAKeys.h"
#include "support/Vectors.h"

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace support;
using foundation::crypto::interfaces::KeySignatureMethod;

/// Runs the openssl command and returns its output as bytes.
ByteArray openssl(std::string const& arguments) {
    CommandResult const result = run("openssl " + arguments + " 2>/dev/null");
    EXPECT_EQ(result.status, 0) << arguments;
    return bytes(result.output);
}

template <class OfSize> class RSAKeyInterop : public testing::Test {
protected:
    TemporaryDirectory directory;
    std::string file = directory / "key";

    void write(ByteArray const& content) const { writeFile(file, content); }

    auto loadPrivate(std::string const& password) const {
        std::ifstream stream(file, std::ios::binary);
        return OfSize::createPrivateKey(stream, password);
    }
};

TYPED_TEST_SUITE(RSAKeyInterop, RSASizes, RSASizeNames);

TYPED_TEST(RSAKeyInterop, OpensslReadsWhatWeWrite) {
    auto const privateKey = TypeParam::createPrivateKey(readRSAKey(TypeParam::bits, "traditional.pem"));
    this->write(privateKey->getDER());
    EXPECT_EQ(text(openssl("pkey -inform DER -noout -check -in " + this->file)), "Key is valid\n");
    EXPECT_EQ(openssl("pkcs8 -inform DER -nocrypt -in " + this->file), readRSAKey(TypeParam::bits, "private.pem"));

    auto const publicKey = TypeParam::createPublicKey(readRSAKey(TypeParam::bits, "traditional-public.pem"));
    this->write(publicKey->getDER());
    EXPECT_EQ(openssl("pkey -inform DER -pubin -pubout -in " + this->file), readRSAKey(TypeParam::bits, "public.pem"));
}

TYPED_TEST(RSAKeyInterop, WeReadWhatOpensslWrites) {
    std::string const bits = std::to_string(TypeParam::bits);
    std::string const generated = this->directory / "generated";
    if (TypeParam::bits == 4096) { // a new one takes seconds
        writeFile(generated, readRSAKey(TypeParam::bits, "private.pem"));
    } else {
        openssl("genrsa -out " + generated + " " + bits);
    }
    ByteArray const der = openssl("pkcs8 -topk8 -nocrypt -outform DER -in " + generated);
    ByteArray const publicDER = openssl("rsa -pubout -outform DER -in " + generated);
    std::string const in = " -in " + generated + " -out " + this->file;
    std::string const pass = " -passout 'pass:a rather long pass phrase, with blanks'";

    struct {
        std::string command;
        bool isEncrypted;
    } const rows[] = {
        {"rsa" + in, false},
        {"rsa -traditional" + in, false},
        {"rsa -outform DER" + in, false},
        {"pkcs8 -topk8 -nocrypt -outform DER" + in, false},
        {"rsa -traditional -aes256" + in + pass, true},
        {"rsa -traditional -des3" + in + pass, true},
        {"pkcs8 -topk8 -v2 aes-128-cbc" + in + pass, true},
        {"pkcs8 -topk8 -v2 aes-256-cbc -v2prf hmacWithSHA512 -iter 1000" + in + pass, true},
        {"pkcs8 -topk8 -v2 des3 -v2prf hmacWithSHA1 -outform DER" + in + pass, true},
        {"pkcs8 -topk8 -scrypt -outform DER" + in + pass, true},
        {"pkcs8 -topk8 -v1 PBE-SHA1-3DES -outform DER" + in + pass, true},
    };

    for (auto const& [command, isEncrypted] : rows) {
        SCOPED_TRACE(command);
        openssl(command);
        EXPECT_EQ(this->loadPrivate("a rather long pass phrase, with blanks")->getDER(), der);
        if (!isEncrypted) {
            EXPECT_EQ(TypeParam::createPrivateKey(readFile(this->file))->getDER(), der);
        }
    }
    for (std::string const form : {"-pubout", "-pubout -outform DER", "-RSAPublicKey_out"}) {
        SCOPED_TRACE(form);
        openssl("rsa " + form + in);
        std::ifstream stream(this->file, std::ios::binary);
        EXPECT_EQ(TypeParam::createPublicKey(stream)->getDER(), publicDER);
        EXPECT_EQ(TypeParam::createPublicKey(readFile(this->file))->getDER(), publicDER);
    }
}

TEST(RSAKeyVectors, GoInAndOutUnchanged) {
    std::size_t checked = 0;
    for (Vector const& vector : readVectors("rsa_pkcs1_sign.txt")) {
        SCOPED_TRACE(vector.word("id")); // which does not count it as run: its signature is not looked at
        ByteArray const pkcs8 = vector.bytes("pkcs8");
        ByteArray const spki = vector.bytes("spki");
        auto const goesThrough = [&](auto ofSize, KeySignatureMethod method) {
            auto const privateKey = decltype(ofSize)::createPrivateKey(pkcs8);
            auto const publicKey = decltype(ofSize)::createPublicKey(spki);
            EXPECT_EQ(privateKey->getDER(), pkcs8);
            EXPECT_EQ(publicKey->getDER(), spki);
            EXPECT_EQ(privateKey->getModulus(), publicKey->getModulus());
            EXPECT_EQ(provider.getPrivateKeySignatureMethod(pkcs8, ""), method);
            EXPECT_EQ(provider.getPublicKeySignatureMethod(spki), method);
            ++checked;
        };
        switch (vector.number("bits")) {
        case 1024:
            goesThrough(RSAKeys<1024>(), KeySignatureMethod::RSA1024);
            break;
        case 2048:
            goesThrough(RSAKeys<2048>(), KeySignatureMethod::RSA2048);
            break;
        case 4096:
            goesThrough(RSAKeys<4096>(), KeySignatureMethod::RSA4096);
            break;
        }
    }
    EXPECT_EQ(checked, 100U);
}

} // namespace
