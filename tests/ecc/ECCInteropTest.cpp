// Keys and signatures exchanged with the openssl command, both ways.
#include "support/Commands.h"
#include "support/ECC.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

namespace {

using namespace support;

/// How the command makes, signs with and verifies with a key of the curve; each finds its files in the current folder.
template <class Factory> struct Command;

template <> struct Command<P256> {
    static std::string generate() { return "openssl genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-256"; }

    static std::string sign(std::string const& hash) {
        return "openssl dgst -" + hash + " -sign private.pem -out signature message";
    }

    static std::string verify(std::string const& hash) {
        return "openssl dgst -" + hash + " -verify public.pem -signature signature message";
    }

    static std::vector<std::string> hashes() { return {"sha224", "sha256", "sha384", "sha512"}; }

    static constexpr auto verified = "Verified OK\n";
};

template <> struct Command<Curve25519> {
    static std::string generate() { return "openssl genpkey -algorithm ED25519"; }

    static std::string sign(std::string const& /*hash*/) {
        return "openssl pkeyutl -sign -rawin -inkey private.pem -in message -out signature";
    }

    static std::string verify(std::string const& /*hash*/) {
        return "openssl pkeyutl -verify -rawin -pubin -inkey public.pem -in message -sigfile signature";
    }

    static std::vector<std::string> hashes() { return {"sha512"}; }

    static constexpr auto verified = "Signature Verified Successfully\n";
};

template <class Factory> class ECCInterop : public testing::Test {
protected:
    TemporaryDirectory const directory;

    CommandResult runHere(std::string const& command) const {
        return run("cd " + directory.path().string() + " && " + command + " 2>&1");
    }

    void mustRun(std::string const& command) const {
        CommandResult const result = runHere(command);
        ASSERT_EQ(result.status, 0) << command << '\n' << result.output;
    }

    void write(std::string const& name, ByteArray const& content) const { writeFile(directory / name, content); }

    ByteArray read(std::string const& name) const { return readFile(directory / name); }

    /// Sizes around the blocks of the hashes; the command's Ed25519 wants at least one byte.
    static std::vector<std::size_t> sizes() { return {1, 63, 64, 1000, 100000}; }
};

TYPED_TEST_SUITE(ECCInterop, BothCurves, CurveNames);

TYPED_TEST(ECCInterop, TheCommandVerifiesOurSignatures) {
    auto const pair = TypeParam::generateKeyPair();
    auto const signer = TypeParam::signer(pair->getPrivateKey());
    this->write("public.pem", pair->getPublicKey()->getPEM());
    for (std::string const& hash : Command<TypeParam>::hashes()) {
        for (std::size_t const size : this->sizes()) {
            SCOPED_TRACE(hash + " of " + std::to_string(size) + " bytes");
            ByteArray message = pseudoRandomBytes(size);
            this->write("message", message);
            this->write("signature", signer->sign(message, engineNamed(hash)));
            EXPECT_EQ(this->runHere(Command<TypeParam>::verify(hash)).output, Command<TypeParam>::verified);

            message[size / 2] ^= 0x01;
            this->write("message", message);
            EXPECT_NE(this->runHere(Command<TypeParam>::verify(hash)).status, 0);
        }
    }
}

TYPED_TEST(ECCInterop, WeVerifyTheCommandsSignatures) {
    this->mustRun(Command<TypeParam>::generate() + " -out private.pem");
    this->mustRun("openssl pkey -in private.pem -pubout -out public.pem");
    auto const verifier = TypeParam::verifier(TypeParam::publicKey(this->read("public.pem")));
    for (std::string const& hash : Command<TypeParam>::hashes()) {
        for (std::size_t const size : this->sizes()) {
            SCOPED_TRACE(hash + " of " + std::to_string(size) + " bytes");
            ByteArray message = pseudoRandomBytes(size);
            this->write("message", message);
            this->mustRun(Command<TypeParam>::sign(hash));
            ByteArray const signature = this->read("signature");
            std::ifstream stream(this->directory / "message", std::ios::binary);
            EXPECT_TRUE(verifier->verify(message, signature, engineNamed(hash)).isValid());
            EXPECT_TRUE(verifier->verify(stream, signature, engineNamed(hash)).isValid());
            message[size / 2] ^= 0x01;
            EXPECT_FALSE(verifier->verify(message, signature, engineNamed(hash)).isValid());
        }
    }
}

TYPED_TEST(ECCInterop, TheCommandReadsOurKeys) {
    auto const pair = TypeParam::generateKeyPair();
    this->write("private.pem", pair->getPrivateKey()->getPEM());
    this->write("public.pem", pair->getPublicKey()->getPEM());
    EXPECT_EQ(this->runHere("openssl pkey -in private.pem").output, text(pair->getPrivateKey()->getPEM()));
    EXPECT_EQ(this->runHere("openssl pkey -in private.pem -pubout").output, text(pair->getPublicKey()->getPEM()));
    EXPECT_EQ(this->runHere("openssl pkey -pubin -in public.pem").output, text(pair->getPublicKey()->getPEM()));

    this->write("message", bytes("abc"));
    this->mustRun(Command<TypeParam>::sign("sha512"));
    EXPECT_TRUE(TypeParam::verifier(pair->getPublicKey())
                    ->verify(bytes("abc"), this->read("signature"), engineNamed("sha512"))
                    .isValid());
}

TYPED_TEST(ECCInterop, WeReadTheCommandsKeys) {
    this->mustRun(Command<TypeParam>::generate() + " -out private.pem");
    this->mustRun("openssl pkey -in private.pem -pubout -out public.pem");
    this->mustRun("openssl pkcs8 -topk8 -in private.pem -out locked.pem -v2 aes-256-cbc -passout pass:secret");
    this->mustRun("openssl pkcs8 -topk8 -in private.pem -out unlocked.pem -v2 aes-256-cbc -passout pass:");
    this->mustRun("openssl pkey -in private.pem -outform DER -out private.der");
    this->mustRun("openssl pkey -in private.pem -pubout -outform DER -out public.der");

    ByteArray const privateText = this->read("private.pem");
    EXPECT_EQ(TypeParam::privateKey(privateText)->getPEM(), privateText);
    EXPECT_EQ(TypeParam::publicKey(this->read("public.pem"))->getPEM(), this->read("public.pem"));
    std::ifstream locked(this->directory / "locked.pem");
    EXPECT_EQ(TypeParam::privateKey(locked, "secret")->getPEM(), privateText);
    EXPECT_EQ(TypeParam::privateKey(this->read("unlocked.pem"))->getPEM(), privateText);

    // The raw forms stand at the end of the plain encodings.
    ByteArray const point = this->read("public.der");
    EXPECT_EQ(TypeParam::publicKey(this->read("public.pem"))->getPublicPoint(),
              ByteArray(point.end() - static_cast<std::ptrdiff_t>(TypeParam::pointSize), point.end()));
    EXPECT_ANY_THROW(TypeParam::privateKey(this->read("private.der")));
    EXPECT_ANY_THROW(TypeParam::publicKey(this->read("public.der")));
}

class P256Interop : public ECCInterop<P256> {};

TEST_F(P256Interop, WeReadTheCommandsTraditionalKeys) {
    mustRun("openssl ecparam -name prime256v1 -genkey -out both.pem"); // with a block of parameters before the key
    mustRun("openssl pkcs8 -topk8 -nocrypt -in both.pem -out private.pem");
    mustRun("openssl ec -in both.pem -aes-128-cbc -passout pass:secret -out locked.pem");
    EXPECT_EQ(P256::privateKey(read("both.pem"))->getPEM(), read("private.pem"));
    std::ifstream locked(directory / "locked.pem");
    EXPECT_EQ(P256::privateKey(locked, "secret")->getPEM(), read("private.pem"));
}

TEST_F(P256Interop, WeReadTheCommandsCompressedPoints) {
    mustRun("openssl ecparam -name prime256v1 -genkey -noout -out private.pem");
    mustRun("openssl ec -in private.pem -pubout -conv_form compressed -out public.pem");
    auto const key = P256::publicKey(read("public.pem"));
    EXPECT_EQ(key->getPublicPoint().size(), 33U);
    EXPECT_EQ(key->getPEM(), read("public.pem"));
    write("message", bytes("abc"));
    mustRun(Command<P256>::sign("sha256"));
    EXPECT_TRUE(P256::verifier(key)->verify(bytes("abc"), read("signature"), P256::engine()).isValid());
}

} // namespace
