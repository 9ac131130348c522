// What the loaders and exports of RSA keys leave in memory that they give back, and what they do when there is none. A
// program of its own, since it replaces libcrypto's heap and the C++ heap.
#include "rsa/RSAKey.h"
#include "rsa/RSAKeyReader.h"

#include "support/Allocations.h"
#include "support/Bytes.h"
#include "support/LibcryptoHeap.h"
#include "support/RSAKeys.h"
#include "support/Throws.h"

#include <gtest/gtest.h>

#include <openssl/pem.h>
#include <openssl/x509.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace support;
using namespace foundation::crypto;
using PrivateKey = openssl::RSAPrivateKey<utils::RSAKeySize<1024>>;
using PublicKey = openssl::RSAPublicKey<utils::RSAKeySize<1024>>;

/// How many of the blocks that libcrypto releases in `work` still hold `secret`.
template <class Work> std::size_t countReleased(ByteArray const& secret, Work&& work) {
    LibcryptoWatch const watch(secret);
    work();
    return watch.blocksWithSecret();
}

class RSAKeyMemory : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(isLibcryptoHeapReplaced());
        PrivateKey(pem).getDER(); // libcrypto's first use of an algorithm is not what is tested
        PrivateKey(der).getPrivateExponent();
        PublicKey(publicPEM).getDER();
        PublicKey(publicDER).getModulus();
        PrivateKey(n, d, e).getModulus();
        PublicKey(n, e).getModulus();
        std::istringstream stream(text(encrypted));
        PrivateKey(stream, "password").getModulus();
    }

    Vector const numbers = readVectors("keys/rsa_numbers.txt").at(0);
    ByteArray const n = numbers.bytes("n");
    ByteArray const d = numbers.bytes("d");
    ByteArray const e = numbers.bytes("e");
    ByteArray const pem = readRSAKey(1024, "private.pem");
    ByteArray const der = readRSAKey(1024, "private.der");
    ByteArray const encrypted = readRSAKey(1024, "encrypted.pem");
    ByteArray const publicPEM = readRSAKey(1024, "public.pem");
    ByteArray const publicDER = readRSAKey(1024, "public.der");

    static ByteArray part(ByteArray const& whole, std::size_t at) { return bytes(text(whole).substr(at, 24)); }

    // The private exponent as the encodings have it, and as libcrypto's numbers have it in memory.
    ByteArray const bigEndian = part(d, 50);
    ByteArray const littleEndian = ByteArray(bigEndian.rbegin(), bigEndian.rend());
    ByteArray const line = part(pem, 400); // in the middle of the text's private half
};

using Read = std::function<void(std::istream&)>;

TEST_F(RSAKeyMemory, OfAStreamsTextIsWiped) {
    std::vector<Read> const readers{
        [](std::istream& stream) { PrivateKey(stream, ""); },
        [](std::istream& stream) { openssl::loadRSAPrivateKey(stream, ""); },
        [](std::istream& stream) { EXPECT_ANY_THROW(PublicKey{stream}); },
        [](std::istream& stream) { EXPECT_ANY_THROW(openssl::loadRSAPublicKey(stream)); },
    };
    for (Read const& read : readers) {
        // A long text in front makes the reader's buffer grow.
        std::istringstream stream(text(pem) + std::string(100000, 'a'));
        ReleaseWatch const watch(line);
        read(stream);
        EXPECT_GT(watch.blocks(), 0U);
        EXPECT_EQ(watch.blocksWithSecret(), 0U);
    }
}

TEST_F(RSAKeyMemory, OfAKeyFromBytesIsNotCopied) {
    for (ByteArray const* const encoded : {&pem, &der}) {
        ReleaseWatch const watch(part(*encoded, 400));
        PrivateKey(*encoded).getModulus();
        openssl::getKeySignatureMethod(openssl::loadRSAPrivateKey(*encoded, "").get());
        EXPECT_EQ(watch.blocksWithSecret(), 0U);
    }
}

TEST_F(RSAKeyMemory, OfThePrivateExponentIsWiped) {
    for (ByteArray const& secret : {bigEndian, littleEndian}) {
        ReleaseWatch const watch(secret);
        EXPECT_EQ(countReleased(secret, [&] { PrivateKey(n, d, e).getModulus(); }), 0U);
        EXPECT_EQ(countReleased(secret,
                                [&] {
                                    PrivateKey const key(n, d, e);
                                    EXPECT_ANY_THROW(key.getDER());
                                }),
                  0U);
        EXPECT_EQ(countReleased(secret, [&] { EXPECT_ANY_THROW(PrivateKey(ByteArray(1), d, e)); }), 0U);
        EXPECT_EQ(watch.blocksWithSecret(), 0U);

        PrivateKey const key(pem);
        ByteArray handedOut;
        EXPECT_EQ(countReleased(secret, [&] { handedOut = key.getPrivateExponent(); }), 0U);
        EXPECT_EQ(watch.blocksWithSecret(), 0U);
    }
}

/// Runs `read` on a BIO that looks at `encoded` where it is, so that whatever it leaves is libcrypto's own doing.
template <class Read> void readBare(ByteArray const& encoded, Read&& read) {
    std::unique_ptr<BIO, decltype(&BIO_free)> const bio(
        BIO_new_mem_buf(encoded.data(), static_cast<int>(encoded.size())), &BIO_free);
    EVP_PKEY_free(read(bio.get()));
}

TEST_F(RSAKeyMemory, OfAnEncodedKeyIsNoMoreThanLibcryptoLeaves) {
    char none[] = "";
    std::size_t const barePEM = countReleased(
        line, [&] { readBare(pem, [&](BIO* bio) { return PEM_read_bio_PrivateKey(bio, nullptr, nullptr, none); }); });
    EXPECT_LE(countReleased(line, [&] { PrivateKey(pem).getModulus(); }), barePEM);

    std::size_t const bareDER = countReleased(bigEndian, [&] {
        readBare(der, [&](BIO* bio) { return d2i_PKCS8PrivateKey_bio(bio, nullptr, nullptr, none); });
        readBare(der, [&](BIO* bio) { return d2i_PrivateKey_bio(bio, nullptr); });
    });
    EXPECT_LE(countReleased(bigEndian, [&] { PrivateKey(der).getModulus(); }), bareDER);
}

// No memory

TEST_F(RSAKeyMemory, OfTheLibraryMayRunOut) {
    std::vector<std::function<void()>> const operations{
        [&] { PrivateKey(pem).getModulus(); },
        [&] { PrivateKey(der).getDER(); },
        [&] { PrivateKey(n, d, e).getPrivateExponent(); },
        [&] { PublicKey(publicPEM).getDER(); },
        [&] { PublicKey(n, e).getPublicExponent(); },
        [&] {
            std::istringstream stream(text(pem));
            PrivateKey(stream, "").getModulus();
        },
        [&] {
            std::istringstream stream(text(publicPEM));
            PublicKey(stream).getModulus();
        },
    };
    int failures = 0;
    for (auto const& operation : operations) {
        bool happened = true;
        for (int nth = 1; happened; ++nth) {
            FailingAllocation const failing(nth);
            try {
                operation();
            } catch (utils::Exception const&) {
                ++failures;
            } catch (std::bad_alloc const&) {
                ++failures;
            }
            happened = failing.happened();
        }
    }
    EXPECT_GT(failures, 10);
}

/// What a host's stream throws becomes an exception of the library; the library's own memory does not, but where all
/// that is thrown while a public key is read has a type of its own.
TEST_F(RSAKeyMemory, ThatRunsOutWhileAStreamIsReadIsTranslatedForPublicKeysAlone) {
    using utils::NotImplemented;
    auto const readExhausted = [](auto const& read) {
        std::istringstream stream("message");
        FailingAllocation const exhausts;
        read(stream);
    };
    EXPECT_THROWS(std::bad_alloc, "std::bad_alloc", readExhausted([](auto& stream) { PrivateKey(stream, ""); }));
    EXPECT_THROWS(std::bad_alloc, "std::bad_alloc",
                  readExhausted([](auto& stream) { openssl::loadRSAPrivateKey(stream, ""); }));
    EXPECT_THROWS(std::bad_alloc, "std::bad_alloc",
                  readExhausted([](auto& stream) { openssl::loadRSAPublicKey(stream); }));
    EXPECT_THROWS(NotImplemented, "std::bad_alloc", readExhausted([](auto& stream) { PublicKey key(stream); }));
}

/// The answer of `work` with each of its allocations by libcrypto failing is `expected`, or an exception.
template <class Work> void expectRightOrNone(char const* name, ByteArray const& expected, Work const& work) {
    SCOPED_TRACE(name);
    int const failures =
        failEach(work, [&](ByteArray const* found) { EXPECT_TRUE(found == nullptr || *found == expected); });
    EXPECT_GT(failures, 0);
}

TEST_F(RSAKeyMemory, OfLibcryptoMayRunOut) {
    expectRightOrNone("PEM", n, [&] { return PrivateKey(pem).getModulus(); });
    expectRightOrNone("DER", n, [&] { return PrivateKey(der).getModulus(); });
    expectRightOrNone("encrypted PEM", n, [&] {
        std::istringstream stream(text(encrypted));
        return PrivateKey(stream, "password").getModulus();
    });
    expectRightOrNone("public PEM", n, [&] { return PublicKey(publicPEM).getModulus(); });
    expectRightOrNone("public DER", n, [&] { return PublicKey(publicDER).getModulus(); });
    expectRightOrNone("numbers", d, [&] { return PrivateKey(n, d, e).getPrivateExponent(); });
    expectRightOrNone("public numbers", e, [&] { return PublicKey(n, e).getPublicExponent(); });
    PrivateKey const key(pem);
    expectRightOrNone("export", der, [&] { return key.getDER(); });
}

// libcrypto itself sometimes writes a wrong encoding of a public key when an allocation fails. That is excused where
// the bare call has just done the same.
TEST_F(RSAKeyMemory, OfLibcryptoMayRunOutInThePublicExport) {
    PublicKey const key(publicPEM);
    auto const exportBare = [&] {
        std::unique_ptr<BIO, decltype(&BIO_free)> const bio(BIO_new(BIO_s_mem()), &BIO_free);
        if (bio == nullptr || i2d_PUBKEY_bio(bio.get(), key.get()) == 0) {
            return ByteArray();
        }
        char* data = nullptr;
        long const size = BIO_get_mem_data(bio.get(), &data);
        return bytes(std::string(data, static_cast<std::size_t>(size)));
    };
    std::vector<ByteArray> bareAnswers;
    int const failures = failEach(exportBare, [&](ByteArray const* found) { bareAnswers.push_back(*found); });
    std::size_t nth = 0;
    failEach([&] { return key.getDER(); },
             [&](ByteArray const* found) {
                 bool const bareIsWrong =
                     nth < bareAnswers.size() && !bareAnswers[nth].empty() && bareAnswers[nth] != publicDER;
                 EXPECT_TRUE(found == nullptr || *found == publicDER || bareIsWrong);
                 ++nth;
             });
    EXPECT_GT(failures, 0);
}

} // namespace
