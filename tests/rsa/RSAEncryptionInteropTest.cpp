// The openssl command, both ways.
#include "RSABlocks.h"
#include "support/Bytes.h"
#include "support/Commands.h"
#include "support/RSA.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

namespace {

using namespace support;

TEST(RSAEncryptionExchange, AgreesWithTheCommand) {
    static std::map<RSAPaddingMode, std::string> const options{
        {oaep1, "-pkeyopt rsa_padding_mode:oaep"},
        {oaep256, "-pkeyopt rsa_padding_mode:oaep -pkeyopt rsa_oaep_md:sha256 -pkeyopt rsa_mgf1_md:sha256"},
        {oaep512, "-pkeyopt rsa_padding_mode:oaep -pkeyopt rsa_oaep_md:sha512"},
        {pkcs1, "-pkeyopt rsa_padding_mode:pkcs1"}};
    TemporaryDirectory const directory;
    std::string const pkeyutl = "cd " + directory.path().string() + " && openssl pkeyutl -in in -out out ";
    for (int const bits : sizes) {
        RSAKeyUser const& user = rsaTestKeyUser(bits);
        writeFile(directory / "private.der", readRSAKey(static_cast<unsigned long>(bits), "private.der"));
        writeFile(directory / "public.der", readRSAKey(static_cast<unsigned long>(bits), "public.der"));
        for (RSAPaddingMode const padding : paddings) {
            int const limit = limitOf(bits, padding);
            for (int const size : {0, 1, limit}) {
                if (size < 0 || limit < 0) {
                    continue;
                }
                SCOPED_TRACE(describe(bits, padding) + ", " + std::to_string(size) + " bytes");
                ByteArray const message = pseudoRandomBytes(static_cast<std::size_t>(size));
                writeFile(directory / "in", message);
                ASSERT_EQ(run(pkeyutl + "-encrypt -pubin -keyform DER -inkey public.der " + options.at(padding)).status,
                          0);
                EXPECT_EQ(user.decryptor(padding)->decrypt(readFile(directory / "out")), message);

                writeFile(directory / "in", user.encryptor(padding)->encrypt(message));
                ASSERT_EQ(run(pkeyutl + "-decrypt -keyform DER -inkey private.der " + options.at(padding)).status, 0);
                EXPECT_EQ(readFile(directory / "out"), message);
            }
        }
    }
}

TEST(RSAEncryptionExchange, AgreesWithTheCommandBlockByBlock) {
    TemporaryDirectory const directory;
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    writeFile(directory / "private.der", readRSAKey(2048, "private.der"));
    ByteArray const message = pseudoRandomBytes(600);
    std::ofstream file(directory / "encrypted", std::ios::binary);
    std::istringstream input(text(message));
    user.encryptor(pkcs1)->encrypt(input, file);
    file.close();
    CommandResult const result = run("cd " + directory.path().string() +
                                     " && for block in 0 1 2; do dd bs=256 count=1 skip=$block if=encrypted of=block "
                                     "2>/dev/null && openssl pkeyutl -decrypt -keyform DER -inkey private.der "
                                     "-in block; done");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, text(message));
}

} // namespace
