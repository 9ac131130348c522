#include "RSASigning.h"
#include "support/Bytes.h"
#include "support/Engines.h"
#include "support/RSA.h"
#include "support/Streams.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <istream>
#include <sstream>
#include <string>

namespace {

using namespace support;
using namespace foundation::crypto::utils;

TEST(RSASignatureStreams, AreReadFromWhereTheyStandToTheirEnd) {
    RSAKeyUser const& user = rsaTestKeyUser(1024);
    using namespace std::string_literals;
    std::string const message = " \t\r\n white \n\n space and a NUL \0 at the end \n"s;
    ByteArray const signature = sign(*user.signer(pkcs1), bytes(message));
    for (std::size_t const portion : {1U, 7U, 4096U}) {
        PortionBuffer buffer("read before" + message, portion);
        std::istream stream(&buffer);
        stream.ignore(11);
        EXPECT_EQ(user.signer(pkcs1)->sign(stream, engineNamed("sha256")), signature);
        EXPECT_TRUE(stream.eof() && stream.fail() && !stream.bad());
        EXPECT_EQ(stream.flags() & std::ios_base::skipws, std::ios_base::fmtflags()); // and left so
    }
    std::istringstream stream("read before" + message);
    stream.ignore(11);
    EXPECT_TRUE(user.verifier(pkcs1)->verify(stream, signature, engineNamed("sha256")).isValid());
    EXPECT_TRUE(stream.eof() && stream.fail() && !stream.bad());
    EXPECT_EQ(stream.flags() & std::ios_base::skipws, std::ios_base::fmtflags());
}

TEST(RSASignatureStreams, ThatAreNotGoodAreTheEmptyMessage) {
    RSAKeyUser const& user = rsaTestKeyUser(1024);
    ByteArray const ofNothing = sign(*user.signer(pkcs1), {});
    for (auto const state : {std::ios_base::eofbit, std::ios_base::failbit, std::ios_base::badbit}) {
        std::istringstream stream("unread");
        stream.setstate(state);
        EXPECT_EQ(user.signer(pkcs1)->sign(stream, engineNamed("sha256")), ofNothing);
        std::istringstream again("unread");
        again.setstate(state);
        EXPECT_TRUE(user.verifier(pkcs1)->verify(again, ofNothing, engineNamed("sha256")).isValid());
    }
}

TEST(RSASignatureStreams, WhoseBufferThrowsEndThereOrAreReported) {
    RSAKeyUser const& user = rsaTestKeyUser(1024);
    ByteArray const ofHalf = sign(*user.signer(pkcs1), bytes("half a message"));
    PortionBuffer silent("half a message", 5, "the disk is gone");
    std::istream stream(&silent);
    EXPECT_EQ(user.signer(pkcs1)->sign(stream, engineNamed("sha256")), ofHalf);
    EXPECT_TRUE(stream.bad());

    for (RSAPaddingMode const padding : {pkcs1, RSAPaddingMode::OAEP_SHA1}) { // reading comes before all checks
        PortionBuffer buffer("half a message", 5, "the disk is gone");
        std::istream strict(&buffer);
        strict.exceptions(std::ios_base::badbit);
        EXPECT_THROWS(InternalException, "the disk is gone", user.signer(padding)->sign(strict, nullptr));
        PortionBuffer secondBuffer("half a message", 5, "the disk is gone");
        std::istream second(&secondBuffer);
        second.exceptions(std::ios_base::badbit);
        EXPECT_THROWS(InternalException, "the disk is gone", user.verifier(padding)->verify(second, ofHalf, nullptr));
    }
    std::istringstream strict("message");
    strict.exceptions(std::ios_base::failbit);
    EXPECT_THROWS_PREFIX(InternalException, "basic_ios::clear",
                         user.signer(pkcs1)->sign(strict, engineNamed("sha256")));
}

TEST(RSASignatureStreams, WhoseBufferThrowsTheLibrarysOwnExceptionsPassThemUnchanged) {
    RSAKeyUser const& user = rsaTestKeyUser(1024);
    ThrowingBuffer<InvalidKeyEncoding> buffer(InvalidKeyEncoding("of a stream"));
    std::istream stream(&buffer);
    stream.exceptions(std::ios_base::badbit);
    EXPECT_THROWS(InvalidKeyEncoding, "of a stream", user.signer(pkcs1)->sign(stream, engineNamed("sha256")));
    stream.clear();
    EXPECT_THROWS(InvalidKeyEncoding, "of a stream", user.verifier(pkcs1)->verify(stream, {}, engineNamed("sha256")));
}

} // namespace
