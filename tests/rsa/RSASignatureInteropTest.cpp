// The openssl command, both ways.
#include "RSASigning.h"
#include "support/Bytes.h"
#include "support/Commands.h"
#include "support/RSA.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace support;

class RSASignatureExchange : public testing::Test {
protected:
    explicit RSASignatureExchange() { writeFile(directory / "message", message); }

    void useKey(int bits) {
        writeFile(directory / "private.der", readRSAKey(static_cast<unsigned long>(bits), "private.der"));
        writeFile(directory / "public.der", readRSAKey(static_cast<unsigned long>(bits), "public.der"));
    }

    CommandResult dgst(std::string const& hash, std::string const& options) const {
        return run("cd " + directory.path().string() + " && openssl dgst -" + hash + " -keyform DER " + options +
                   " message 2>/dev/null");
    }

    ByteArray signByCommand(std::string const& hash, std::string const& options) const {
        EXPECT_EQ(dgst(hash, "-sign private.der -out signature " + options).status, 0);
        return readFile(directory / "signature");
    }

    bool verifyByCommand(std::string const& hash, ByteArray const& signature, std::string const& options) const {
        writeFile(directory / "signature", signature);
        return dgst(hash, "-verify public.der -signature signature " + options).status == 0;
    }

    static std::string pssWith(std::string const& salt) {
        return "-sigopt rsa_padding_mode:pss -sigopt rsa_pss_saltlen:" + salt;
    }

    TemporaryDirectory directory;
    ByteArray message = pseudoRandomBytes(5000);
};

TEST_F(RSASignatureExchange, AgreesOnPKCS1) {
    for (int const bits : sizes) {
        useKey(bits);
        RSAKeyUser const& user = rsaTestKeyUser(bits);
        for (std::string const& hash : hashes) {
            SCOPED_TRACE(std::to_string(bits) + " " + hash);
            ByteArray const signature = sign(*user.signer(pkcs1), message, hash);
            EXPECT_EQ(signByCommand(hash, ""), signature);
            EXPECT_TRUE(verifyByCommand(hash, signature, ""));
            EXPECT_FALSE(verifyByCommand(hash, sign(*user.signer(pkcs1), bytes("another"), hash), ""));
        }
    }
}

TEST_F(RSASignatureExchange, AgreesOnPSSWhateverTheSalt) {
    for (int const bits : sizes) {
        useKey(bits);
        RSAKeyUser const& user = rsaTestKeyUser(bits);
        for (std::string const& hash : hashes) {
            if (bits == 1024 && hash == "sha512") {
                continue; // a salt of 64 bytes does not fit
            }
            SCOPED_TRACE(std::to_string(bits) + " " + hash);
            bool const fixed = hash == "sha1" || hash == "sha256" || hash == "sha512";
            ByteArray const ours = sign(*user.signer(pss), message, hash);
            EXPECT_EQ(verifyByCommand(hash, ours, pssWith("digest")), fixed);
            EXPECT_EQ(verifyByCommand(hash, ours, pssWith("max")), !fixed);
            EXPECT_TRUE(verifyByCommand(hash, ours, pssWith("auto")));
            EXPECT_TRUE(verifyByCommand(hash, sign(*user.signer(unknown), message, hash), pssWith("digest")));

            ByteArray const asDigest = signByCommand(hash, pssWith("digest"));
            EXPECT_TRUE(verify(*user.verifier(pss), message, asDigest, hash));
            EXPECT_TRUE(verify(*user.verifier(unknown), message, asDigest, hash));
            for (std::string const salt : {"max", "auto", "0", "21"}) {
                ByteArray const other = signByCommand(hash, pssWith(salt));
                EXPECT_EQ(verify(*user.verifier(pss), message, other, hash), !fixed) << salt;
                EXPECT_TRUE(verify(*user.verifier(unknown), message, other, hash)) << salt;
            }
        }
    }
}

} // namespace
