#include "support/Bytes.h"
#include "support/Commands.h"
#include "support/HostsMark.h"
#include "support/PRNG.h"
#include "support/Provider.h"
#include "support/RSAKeys.h"
#include "support/Streams.h"
#include "support/Threads.h"
#include "support/Throws.h"
#include "support/Vectors.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/err.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace support;
using foundation::crypto::interfaces::KeySignatureMethod;
using foundation::crypto::utils::Exception;
using foundation::crypto::utils::InternalException;
using foundation::crypto::utils::InvalidKey;
using foundation::crypto::utils::NotImplemented;

std::string const noKey = "Fail to create EVP_PKEYUPtr; the given raw pointer is NULL";
std::string const emptyPrivate = "The input private key string is empty";
std::string const emptyPublic = "The input public key string is empty";
std::string const unsupportedSize = "Unsupported Key size";
std::string const notGenerated = "Failed to generate the private key from the modulus and the exponents";
std::string const noPrivateDER = "Failed to convert RSA private key to DER-form BIO.";

std::string wrongSize(std::string const& kind, unsigned long found, unsigned long expected) {
    return "The input data corresponds to a " + kind + " key of size " + std::to_string(found) +
           " instead of the expected size " + std::to_string(expected);
}

ByteArray joined(std::initializer_list<ByteArray> parts) {
    ByteArray whole;
    for (ByteArray const& part : parts) {
        whole.insert(whole.end(), part.begin(), part.end());
    }
    return whole;
}

std::istringstream streamOf(ByteArray const& content) {
    return std::istringstream(text(content));
}

Vector numbersOf(unsigned long bits) {
    for (Vector const& vector : readVectors("keys/rsa_numbers.txt")) {
        if (vector.number("bits") == static_cast<int>(bits)) {
            return vector;
        }
    }
    throw std::out_of_range(std::to_string(bits));
}

std::vector<std::string> const plainPrivateForms{"private.pem", "private.der", "traditional.pem", "traditional.der"};
std::vector<std::string> const encryptedForms{"encrypted.pem", "encrypted.der", "traditional-encrypted.pem"};
std::vector<std::string> const publicForms{"public.pem", "public.der", "traditional-public.pem"};

template <class OfSize> class RSAKey : public testing::Test {
protected:
    static constexpr unsigned long bits = OfSize::bits;

    Vector numbers = numbersOf(bits);
    ByteArray n = numbers.bytes("n");
    ByteArray d = numbers.bytes("d");
    ByteArray e = numbers.bytes("e");

    static ByteArray read(std::string const& form) { return readRSAKey(bits, form); }

    static auto loadPrivate(ByteArray const& encoded) { return OfSize::createPrivateKey(encoded); }

    static auto loadPrivate(ByteArray const& encoded, std::string const& password) {
        std::istringstream stream = streamOf(encoded);
        return OfSize::createPrivateKey(stream, password);
    }

    static auto loadPublic(ByteArray const& encoded) { return OfSize::createPublicKey(encoded); }

    static auto loadPublicStream(ByteArray const& encoded) {
        std::istringstream stream = streamOf(encoded);
        return OfSize::createPublicKey(stream);
    }

    template <class Key> void expectPrivate(std::shared_ptr<Key> const& key) const {
        EXPECT_EQ(key->getKeySize(), bits);
        EXPECT_EQ(key->getModulus(), n);
        EXPECT_EQ(key->getPrivateExponent(), d);
        EXPECT_EQ(key->getDER(), read("private.der"));
    }

    template <class Key> void expectPublic(std::shared_ptr<Key> const& key) const {
        EXPECT_EQ(key->getKeySize(), bits);
        EXPECT_EQ(key->getModulus(), n);
        EXPECT_EQ(key->getPublicExponent(), e);
        EXPECT_EQ(key->getDER(), read("public.der"));
    }
};

TYPED_TEST_SUITE(RSAKey, RSASizes, RSASizeNames);

// Loading and exporting

TYPED_TEST(RSAKey, LoadsFromEachPlainForm) {
    for (std::string const& form : plainPrivateForms) {
        SCOPED_TRACE(form);
        this->expectPrivate(this->loadPrivate(this->read(form)));
        this->expectPrivate(this->loadPrivate(this->read(form), ""));
        this->expectPrivate(this->loadPrivate(this->read(form), "a password that nothing asks for"));
    }
    for (std::string const& form : publicForms) {
        SCOPED_TRACE(form);
        this->expectPublic(this->loadPublic(this->read(form)));
        this->expectPublic(this->loadPublicStream(this->read(form)));
    }
}

TYPED_TEST(RSAKey, LoadsFromAnEncryptedFormWithItsPasswordOnly) {
    for (std::string const& form : encryptedForms) {
        SCOPED_TRACE(form);
        ByteArray const encoded = this->read(form);
        this->expectPrivate(this->loadPrivate(encoded, "password"));
        EXPECT_THROWS(InternalException, noKey, this->loadPrivate(encoded, "passwore"));
        EXPECT_THROWS(InternalException, noKey, this->loadPrivate(encoded, "password "));
        EXPECT_THROWS(InternalException, noKey, this->loadPrivate(encoded, ""));
        EXPECT_THROWS(InternalException, noKey, this->loadPrivate(encoded));
        EXPECT_THROWS(InternalException, noKey, this->loadPublic(encoded));
        EXPECT_THROWS(InternalException, noKey, this->loadPublicStream(encoded));
    }
}

TYPED_TEST(RSAKey, IsMadeFromItsNumbers) {
    auto const publicKey = TypeParam::createPublicKey(this->n, this->e);
    this->expectPublic(publicKey);

    auto const privateKey = TypeParam::createPrivateKey(this->n, this->d, this->e);
    EXPECT_EQ(privateKey->getKeySize(), TypeParam::bits);
    EXPECT_EQ(privateKey->getModulus(), this->n);
    EXPECT_EQ(privateKey->getPrivateExponent(), this->d);
    EXPECT_THROWS(InternalException, noPrivateDER, privateKey->getDER()); // no CRT factors to write
}

TYPED_TEST(RSAKey, IgnoresLeadingZeroBytesOfItsNumbers) {
    auto const padded = [](ByteArray const& number) { return joined({ByteArray(3), number}); };
    auto const privateKey = TypeParam::createPrivateKey(padded(this->n), padded(this->d), padded(this->e));
    EXPECT_EQ(privateKey->getModulus(), this->n);
    EXPECT_EQ(privateKey->getPrivateExponent(), this->d);
    auto const publicKey = TypeParam::createPublicKey(padded(this->n), padded(this->e));
    EXPECT_EQ(publicKey->getModulus(), this->n);
    EXPECT_EQ(publicKey->getPublicExponent(), this->e);
}

TYPED_TEST(RSAKey, DoesNotNoticeExchangedExponents) {
    auto const key = TypeParam::createPrivateKey(this->n, this->e, this->d);
    EXPECT_EQ(key->getPrivateExponent(), this->e);
    EXPECT_EQ(TypeParam::createPublicKey(this->n, this->d)->getPublicExponent(), this->d);
}

TYPED_TEST(RSAKey, ChecksNothingButTheSizeOfItsNumbers) {
    ByteArray even = this->n;
    even.back() = 0;
    EXPECT_EQ(TypeParam::createPrivateKey(even, this->d, this->e)->getModulus(), even);
    EXPECT_EQ(TypeParam::createPublicKey(even, this->e)->getModulus(), even);
    EXPECT_EQ(TypeParam::createPrivateKey(this->n, ByteArray(), ByteArray())->getPrivateExponent(), ByteArray());
    EXPECT_EQ(TypeParam::createPublicKey(this->n, ByteArray())->getPublicExponent(), ByteArray());

    for (ByteArray const& nothing : {ByteArray(), ByteArray(1), ByteArray(600)}) {
        EXPECT_THROWS(Exception, wrongSize("private", 0, TypeParam::bits),
                      TypeParam::createPrivateKey(nothing, nothing, this->e));
        EXPECT_THROWS(Exception, wrongSize("public", 0, TypeParam::bits), TypeParam::createPublicKey(nothing, this->e));
        EXPECT_THROWS(InternalException, notGenerated, TypeParam::createPrivateKey(nothing, this->d, this->e));
    }
    ByteArray shorter = this->n;
    shorter.front() = 0x7f;
    EXPECT_THROWS(Exception, wrongSize("private", TypeParam::bits - 1, TypeParam::bits),
                  TypeParam::createPrivateKey(shorter, this->d, this->e));
    EXPECT_THROWS(Exception, wrongSize("public", TypeParam::bits - 1, TypeParam::bits),
                  TypeParam::createPublicKey(shorter, this->e));
    ByteArray const longer = joined({ByteArray{1}, this->n});
    EXPECT_THROWS(Exception, wrongSize("private", TypeParam::bits + 1, TypeParam::bits),
                  TypeParam::createPrivateKey(longer, this->d, this->e));
    EXPECT_THROWS(Exception, wrongSize("public", TypeParam::bits + 1, TypeParam::bits),
                  TypeParam::createPublicKey(longer, this->e));
    EXPECT_NO_THROW(TypeParam::createPrivateKey(this->n, this->d, longer));
    EXPECT_NO_THROW(TypeParam::createPublicKey(this->n, longer));
    // The one thing that libcrypto does look at is that d has no more bits than n.
    EXPECT_THROWS(InternalException, notGenerated, TypeParam::createPrivateKey(this->n, longer, this->e));
}

TYPED_TEST(RSAKey, OfAnotherSizeIsRefused) {
    for (unsigned long const other : {1024UL, 2048UL, 4096UL}) {
        if (other == TypeParam::bits) {
            continue;
        }
        SCOPED_TRACE(other);
        Vector const others = numbersOf(other);
        std::string const privateText = wrongSize("private", other, TypeParam::bits);
        std::string const publicText = wrongSize("public", other, TypeParam::bits);
        for (std::string const& form : plainPrivateForms) {
            EXPECT_THROWS(Exception, privateText, this->loadPrivate(readRSAKey(other, form)));
            EXPECT_THROWS(Exception, privateText, this->loadPrivate(readRSAKey(other, form), ""));
        }
        for (std::string const& form : encryptedForms) {
            EXPECT_THROWS(Exception, privateText, this->loadPrivate(readRSAKey(other, form), "password"));
        }
        for (std::string const& form : publicForms) {
            EXPECT_THROWS(Exception, publicText, this->loadPublic(readRSAKey(other, form)));
            EXPECT_THROWS(Exception, publicText, this->loadPublicStream(readRSAKey(other, form)));
        }
        EXPECT_THROWS(Exception, privateText,
                      TypeParam::createPrivateKey(others.bytes("n"), others.bytes("d"), others.bytes("e")));
        EXPECT_THROWS(Exception, publicText, TypeParam::createPublicKey(others.bytes("n"), others.bytes("e")));
    }
}

TYPED_TEST(RSAKey, NeedsAnInput) {
    std::istringstream unread("unread");
    unread.setstate(std::ios_base::eofbit);
    EXPECT_THROWS(InternalException, emptyPrivate, this->loadPrivate(ByteArray()));
    EXPECT_THROWS(InternalException, emptyPrivate, this->loadPrivate(ByteArray(), "password"));
    EXPECT_THROWS(InternalException, emptyPrivate, TypeParam::createPrivateKey(unread, ""));
    EXPECT_THROWS(InternalException, emptyPublic, this->loadPublic(ByteArray()));
    EXPECT_THROWS(InternalException, emptyPublic, this->loadPublicStream(ByteArray()));
    EXPECT_THROWS(InternalException, emptyPublic, TypeParam::createPublicKey(unread));
}

TYPED_TEST(RSAKey, IsNoPublicKeyInDERUnlessAsSubjectPublicKeyInfo) {
    EXPECT_THROWS(InternalException, noKey, this->loadPublic(this->read("traditional-public.der")));
    EXPECT_THROWS(InternalException, noKey, this->loadPublic(this->read("private.der")));
    EXPECT_THROWS(InternalException, noKey, this->loadPublic(this->read("private.pem")));
    EXPECT_THROWS(InternalException, noKey, this->loadPrivate(this->read("public.der")));
    EXPECT_THROWS(InternalException, noKey, this->loadPrivate(this->read("public.pem")));
}

TYPED_TEST(RSAKey, GoesThroughItsExports) {
    auto const privateKey = this->loadPrivate(this->read("private.pem"));
    this->expectPrivate(this->loadPrivate(privateKey->getDER()));
    auto const publicKey = this->loadPublic(this->read("public.pem"));
    this->expectPublic(this->loadPublic(publicKey->getDER()));
    this->expectPublic(TypeParam::createPublicKey(publicKey->getModulus(), publicKey->getPublicExponent()));
}

// What is PEM and what is DER

TEST(RSAKeyForm, IsPEMWhenBeginComesBeforeEnd) {
    ByteArray const pem = readRSAKey(1024, "private.pem");
    ByteArray const der = readRSAKey(1024, "private.der");
    ByteArray const publicPEM = readRSAKey(1024, "public.pem");
    ByteArray const publicDER = readRSAKey(1024, "public.der");

    struct {
        char const* name;
        std::string before;
        std::string after;
        bool loadsPEM;
        bool loadsDER; // with `after` behind it, which DER readers ignore
    } const rows[] = {
        {"nothing else", "", "", true, true},
        {"text before", "Subject: the key\n\n", "", true, true},
        {"END before BEGIN", "-----END \n", "-----END -----BEGIN ", false, true},
        {"END without its blank before BEGIN", "-----END-----\n", "-----BEGIN -----END", true, true},
        {"BEGIN without its blank", "-----BEGIN-----\n", "-----BEGIN-----END ", true, true},
        {"BEGIN and END", "-----BEGIN X-----\nAAAA\n-----END X-----\n", "-----BEGIN -----END ", true, false},
        {"BEGIN, END, END, BEGIN", "-----BEGIN X-----\nAAAA\n-----END X-----\n-----END X-----\n",
         "-----BEGIN -----END -----END -----BEGIN ", true, false},
        {"BEGIN alone", "", "-----BEGIN ", true, true},
        {"END alone", "", "-----END ", true, true},
    };

    auto const expect = [](bool loads, auto&& load) {
        if (loads) {
            EXPECT_NO_THROW(load());
        } else {
            EXPECT_THROWS(InternalException, noKey, load());
        }
    };
    for (auto const& row : rows) {
        SCOPED_TRACE(row.name);
        expect(row.loadsPEM, [&] { provider.createRSA1024PrivateKey(joined({bytes(row.before), pem})); });
        expect(row.loadsPEM, [&] { provider.createRSA1024PublicKey(joined({bytes(row.before), publicPEM})); });
        expect(row.loadsDER, [&] { provider.createRSA1024PrivateKey(joined({der, bytes(row.after)})); });
        expect(row.loadsDER, [&] { provider.createRSA1024PublicKey(joined({publicDER, bytes(row.after)})); });
    }
}

TEST(RSAKeyForm, IsTheFirstBlockOfTheWantedKind) {
    ByteArray const both =
        joined({readKey("p256-public.pem"), readRSAKey(1024, "private.pem"), readRSAKey(2048, "private.pem")});
    EXPECT_EQ(provider.createRSA1024PrivateKey(both)->getDER(), readRSAKey(1024, "private.der"));
    EXPECT_THROWS(Exception, wrongSize("private", 1024, 2048), provider.createRSA2048PrivateKey(both));
}

TEST(RSAKeyForm, ThatIsCutShortIsRefused) {
    for (std::string const form : {"private.pem", "private.der", "traditional.der", "encrypted.der"}) {
        ByteArray const whole = readRSAKey(1024, form);
        for (std::size_t size = 1; size < whole.size() - 1; size += 7) {
            std::istringstream stream(text(whole).substr(0, size));
            EXPECT_THROWS(InternalException, noKey, provider.createRSA1024PrivateKey(stream, "password"))
                << form << " of " << size;
        }
    }
    for (std::string const form : {"public.pem", "public.der"}) {
        ByteArray const whole = readRSAKey(1024, form);
        for (std::size_t size = 1; size < whole.size() - 1; size += 7) {
            EXPECT_THROWS(InternalException, noKey, provider.createRSA1024PublicKey(bytes(text(whole).substr(0, size))))
                << form << " of " << size;
        }
    }
}

TEST(RSAKeyForm, MayHoldNULs) {
    ByteArray const pem = joined({ByteArray(3), bytes("\n"), readRSAKey(1024, "private.pem"), ByteArray(3)});
    EXPECT_EQ(provider.createRSA1024PrivateKey(pem)->getDER(), readRSAKey(1024, "private.der"));
    EXPECT_THROWS(InternalException, noKey, provider.createRSA1024PrivateKey(ByteArray(100)));
    EXPECT_THROWS(InternalException, noKey, provider.createRSA1024PublicKey(ByteArray(100)));
}

// Passwords

TEST(RSAKeyPassword, EndsAtItsFirstNUL) {
    std::istringstream stream = streamOf(readRSAKey(2048, "encrypted.pem"));
    EXPECT_NO_THROW(provider.createRSA2048PrivateKey(stream, std::string("password\0beyond", 15)));
}

TEST(RSAKeyPassword, ThatIsEmptyOpensKeysEncryptedWithTheEmptyOne) {
    for (std::string const form : {"encrypted-empty-password.pem", "encrypted-empty-password.der"}) {
        SCOPED_TRACE(form);
        EXPECT_EQ(provider.createRSA2048PrivateKey(readRSAKey(2048, form))->getDER(), readRSAKey(2048, "private.der"));
        std::istringstream stream = streamOf(readRSAKey(2048, form));
        EXPECT_NO_THROW(provider.createRSA2048PrivateKey(stream, ""));
        std::istringstream again = streamOf(readRSAKey(2048, form));
        EXPECT_THROWS(InternalException, noKey, provider.createRSA2048PrivateKey(again, "password"));
    }
}

// Keys of other kinds

TEST(RSAKeyKind, IsNotLookedAtWhenTheSizeIsRight) {
    EXPECT_NO_THROW(provider.createRSA2048PrivateKey(readKey("rsapss2048-private.pem")));
    EXPECT_NO_THROW(provider.createRSA2048PublicKey(readKey("rsapss2048-public.pem")));
    auto const dsaPrivate = provider.createRSA1024PrivateKey(readKey("dsa1024-private.pem"));
    auto const dsaPublic = provider.createRSA1024PublicKey(readKey("dsa1024-public.pem"));
    EXPECT_EQ(dsaPrivate->getKeySize(), 1024U);
    EXPECT_THROWS(InternalException, "Failed to get the modulus for the private key", dsaPrivate->getModulus());
    EXPECT_THROWS(InternalException, "Failed to get the private exponent for the private key",
                  dsaPrivate->getPrivateExponent());
    EXPECT_THROWS(InternalException, "Failed to get the modulus for the public key", dsaPublic->getModulus());
    EXPECT_THROWS(InternalException, "Failed to get the public exponent for the public key",
                  dsaPublic->getPublicExponent());
}

TEST(RSAKeyKind, IsToldByTheModulusThatOtherKindsLack) {
    std::string const noModulus = "Failed to get the modulus for the public key";
    auto const diffieHellman = provider.createRSA2048PublicKey(readKey("dh2048-public.pem"));
    EXPECT_THROWS(InternalException, noModulus, diffieHellman->getModulus());
    EXPECT_NO_THROW(provider.createRSA2048PrivateKey(readKey("dh2048-private.pem")));
    auto const mlKEM = provider.createRSA1024PublicKey(readKey("mlkem1024-public.pem"));
    EXPECT_THROWS(InternalException, noModulus, mlKEM->getModulus());
    EXPECT_NO_THROW(provider.createRSA1024PrivateKey(readKey("mlkem1024-private.pem")));
    EXPECT_EQ(provider.createRSA2048PublicKey(readKey("rsapss2048-public.pem"))->getModulus().size(), 256U);
}

TEST(RSAKeyKind, ShowsInTheSizeOtherwise) {
    EXPECT_THROWS(Exception, wrongSize("private", 256, 2048),
                  provider.createRSA2048PrivateKey(readKey("p256-private.pem")));
    EXPECT_THROWS(Exception, wrongSize("public", 256, 2048),
                  provider.createRSA2048PublicKey(readKey("p256-public.pem")));
    EXPECT_THROWS(Exception, wrongSize("private", 3072, 4096),
                  provider.createRSA4096PrivateKey(readKey("rsa3072-private.pem")));
}

// Key pairs

template <class OfSize> class RSAKeyPair : public testing::Test {};

TYPED_TEST_SUITE(RSAKeyPair, RSASizes, RSASizeNames);

TYPED_TEST(RSAKeyPair, HoldsTwoHalvesOfOneKey) {
    auto const pair = TypeParam::generateKeyPair(std::make_shared<ForeignPRNG>());
    auto const privateKey = pair->getPrivateKey();
    auto const publicKey = pair->getPublicKey();
    EXPECT_EQ(privateKey->getKeySize(), TypeParam::bits);
    EXPECT_EQ(publicKey->getKeySize(), TypeParam::bits);
    EXPECT_EQ(privateKey->getModulus(), publicKey->getModulus());
    EXPECT_EQ(privateKey->getModulus().size(), TypeParam::bits / 8);
    EXPECT_EQ(hex(publicKey->getPublicExponent()), "010001");
    EXPECT_EQ(TypeParam::createPrivateKey(privateKey->getDER())->getDER(), privateKey->getDER());
    EXPECT_EQ(TypeParam::createPublicKey(publicKey->getDER())->getDER(), publicKey->getDER());

    EXPECT_EQ(pair->getPrivateKey(), privateKey);
    EXPECT_EQ(pair->getPublicKey(), publicKey);
    EXPECT_EQ(privateKey.use_count(), 2);
    EXPECT_EQ(publicKey.use_count(), 2);

    TemporaryDirectory const directory;
    writeFile(directory / "key.der", privateKey->getDER());
    CommandResult const checked = run("openssl rsa -inform DER -noout -check -in " + (directory / "key.der"));
    EXPECT_EQ(checked.output, "RSA key ok\n");
    CommandResult const half =
        run("openssl rsa -inform DER -pubout -outform DER 2>/dev/null -in " + (directory / "key.der"));
    EXPECT_EQ(bytes(half.output), publicKey->getDER());
}

TYPED_TEST(RSAKeyPair, NeedsAPRNG) {
    EXPECT_THROWS(InternalException, "The PRNG does not exist.", TypeParam::generateKeyPair(nullptr));
}

TEST(RSAKeyPairs, KeepTheirPRNGAndAreOutlivedByTheirKeys) {
    auto const prng = std::make_shared<ForeignPRNG>();
    auto pair = provider.generateRSA1024KeyPair(prng);
    EXPECT_EQ(prng.use_count(), 2);
    auto const privateKey = pair->getPrivateKey();
    auto const publicKey = pair->getPublicKey();
    pair.reset();
    EXPECT_EQ(prng.use_count(), 1);
    EXPECT_EQ(privateKey->getModulus(), publicKey->getModulus());
}

TEST(RSAKeyPairs, AreMadeWithTheProvidersOwnPRNGToo) {
    auto const prng = provider.createDefaultCryptoPRNG({});
    EXPECT_NE(provider.generateRSA1024KeyPair(prng)->getPrivateKey()->getModulus(),
              provider.generateRSA1024KeyPair(prng)->getPrivateKey()->getModulus());
}

// Streams

enum class Reader { privateKey, publicKey, privateQuery, publicQuery };

void readWith(Reader reader, std::istream& stream) {
    switch (reader) {
    case Reader::privateKey:
        provider.createRSA1024PrivateKey(stream, "password");
        break;
    case Reader::publicKey:
        provider.createRSA1024PublicKey(stream);
        break;
    case Reader::privateQuery:
        provider.getPrivateKeySignatureMethod(stream, "password");
        break;
    case Reader::publicQuery:
        provider.getPublicKeySignatureMethod(stream);
        break;
    }
}

std::vector<Reader> const readers{Reader::privateKey, Reader::publicKey, Reader::privateQuery, Reader::publicQuery};

ByteArray encodedFor(Reader reader) {
    bool const isPrivate = reader == Reader::privateKey || reader == Reader::privateQuery;
    return readRSAKey(1024, isPrivate ? "encrypted.pem" : "public.pem");
}

/// What the readers stand for: extraction of one character after the other.
std::string extractCharacterwise(std::istream& input) {
    input >> std::noskipws;
    return {std::istream_iterator<char>(input), std::istream_iterator<char>()};
}

/// The buffers that a host may read a key from.
std::vector<std::function<std::unique_ptr<std::streambuf>(std::string const&)>> const buffers{
    [](std::string const& content) { return std::make_unique<std::stringbuf>(content, std::ios::in); },
    [](std::string const& content) { return std::make_unique<PortionBuffer>(content, 1); },
    [](std::string const& content) { return std::make_unique<PortionBuffer>(content, 100); },
    [](std::string const& content) { return std::make_unique<PortionBuffer>(content, 100, "the line is dead"); },
    [](std::string const& /*content*/) { return std::make_unique<PortionBuffer>("", 1, "the line is dead"); },
    [](std::string const& /*content*/) { return std::unique_ptr<std::streambuf>(); },
};

std::vector<std::function<void(std::istream&)>> const preparations{
    [](std::istream& /*input*/) {},
    [](std::istream& input) { input.unsetf(std::ios_base::skipws); },
    [](std::istream& input) { input.width(7); },
    [](std::istream& input) { input.get(); },
    [](std::istream& input) { input.setstate(std::ios_base::failbit); },
    [](std::istream& input) { input.setstate(std::ios_base::eofbit); },
    [](std::istream& input) { input.setstate(std::ios_base::badbit); },
};

TEST(RSAKeyStream, IsLeftAsReadingCharacterByCharacterWouldLeaveIt) {
    using Mask = std::ios_base::iostate;
    int compared = 0;
    for (Reader const reader : readers) {
        std::string const content = " \n" + text(encodedFor(reader)) + "\n \t";
        for (auto const& makeBuffer : buffers) {
            for (auto const& prepare : preparations) {
                for (Mask const mask : {std::ios_base::goodbit, std::ios_base::eofbit, std::ios_base::failbit,
                                        std::ios_base::badbit, std::ios_base::eofbit | std::ios_base::badbit}) {
                    auto const observe = [&](auto&& read) {
                        auto const buffer = makeBuffer(content);
                        std::istream stream(buffer.get());
                        prepare(stream);
                        try {
                            stream.exceptions(mask);
                        } catch (std::ios_base::failure const&) {
                        }
                        Thrown const thrown = catchFrom([&] { read(stream); });
                        return std::make_pair(thrown, StreamState(stream));
                    };
                    std::string collected;
                    auto const [modelThrew, model] =
                        observe([&](std::istream& stream) { collected = extractCharacterwise(stream); });
                    auto const [threw, left] = observe([&](std::istream& stream) { readWith(reader, stream); });

                    StreamState expected = model;
                    if (reader == Reader::publicKey && modelThrew.type == "nothing") {
                        expected.flags |= std::ios_base::skipws;
                    }
                    EXPECT_EQ(left, expected);
                    if (modelThrew.type != "nothing") {
                        EXPECT_EQ(threw.text, modelThrew.text);
                        EXPECT_EQ(threw.type, reader == Reader::publicKey ? typeid(NotImplemented).name()
                                                                          : typeid(InternalException).name());
                    } else if (collected.empty()) {
                        EXPECT_NE(threw.text.find("key string is empty"), std::string::npos) << threw.text;
                    } else {
                        EXPECT_EQ(threw.type, "nothing") << threw.text;
                    }
                    ++compared;
                }
            }
        }
    }
    EXPECT_EQ(compared, 4 * 6 * 7 * 5);
}

TEST(RSAKeyStream, HasItsSkipwsSetOrClearedAsTheReaderDoes) {
    for (Reader const reader : readers) {
        for (bool const before : {true, false}) {
            for (bool const readable : {true, false}) {
                std::istringstream stream = streamOf(readable ? encodedFor(reader) : bytes("no key"));
                stream.flags(before ? stream.flags() | std::ios_base::skipws : stream.flags() & ~std::ios_base::skipws);
                catchFrom([&] { readWith(reader, stream); });
                EXPECT_EQ((stream.flags() & std::ios_base::skipws) != 0, reader == Reader::publicKey);
                EXPECT_EQ(stream.rdstate(), std::ios_base::eofbit | std::ios_base::failbit);
            }
        }
    }
}

TEST(RSAKeyStream, ThatThrowsIsReportedInItsOwnWords) {
    for (Reader const reader : readers) {
        PortionBuffer buffer(text(encodedFor(reader)), 10, "the line is dead");
        std::istream stream(&buffer);
        stream.exceptions(std::ios_base::badbit);
        if (reader == Reader::publicKey) {
            EXPECT_THROWS(NotImplemented, "the line is dead", readWith(reader, stream));
        } else {
            EXPECT_THROWS(InternalException, "the line is dead", readWith(reader, stream));
        }
        EXPECT_EQ(stream.flags() & std::ios_base::skipws, 0);
    }
}

TEST(RSAKeyStream, ThatThrowsTheLibrarysOwnExceptionsIsTranslatedToo) {
    for (Reader const reader : readers) {
        ThrowingBuffer<InvalidKey> buffer(InvalidKey("of a stream"));
        std::istream stream(&buffer);
        stream.exceptions(std::ios_base::badbit);
        if (reader == Reader::publicKey) {
            EXPECT_THROWS(NotImplemented, "of a stream", readWith(reader, stream));
        } else {
            EXPECT_THROWS(InternalException, "of a stream", readWith(reader, stream));
        }
    }
}

TEST(RSAKeyStream, IsReadFromWhereItStands) {
    std::istringstream stream(text(readRSAKey(1024, "private.pem")) + text(readRSAKey(2048, "private.pem")));
    stream.seekg(static_cast<std::streamoff>(readRSAKey(1024, "private.pem").size()));
    EXPECT_EQ(provider.createRSA2048PrivateKey(stream, "")->getDER(), readRSAKey(2048, "private.der"));
}

TEST(RSAKeyStream, MayBeAFile) {
    TemporaryDirectory const directory;
    writeFile(directory / "key.der", readRSAKey(4096, "private.der"));
    std::ifstream file(directory / "key.der", std::ios::binary);
    EXPECT_EQ(provider.createRSA4096PrivateKey(file, "")->getDER(), readRSAKey(4096, "private.der"));

    std::ifstream missing(directory / "missing.der", std::ios::binary);
    EXPECT_THROWS(InternalException, emptyPrivate, provider.createRSA4096PrivateKey(missing, ""));
    EXPECT_THROWS(InternalException, emptyPublic, provider.createRSA4096PublicKey(missing));
}

// The queries for the size

TEST(RSASizeQuery, KnowsTheThreeSizes) {
    struct {
        unsigned long bits;
        KeySignatureMethod method;
    } const rows[] = {
        {1024, KeySignatureMethod::RSA1024}, {2048, KeySignatureMethod::RSA2048}, {4096, KeySignatureMethod::RSA4096}};

    for (auto const& [bits, method] : rows) {
        SCOPED_TRACE(bits);
        auto const expectPrivate = [&, method = method](ByteArray const& encoded, std::string const& password) {
            std::istringstream stream = streamOf(encoded);
            EXPECT_EQ(provider.getPrivateKeySignatureMethod(stream, password), method);
            EXPECT_EQ(provider.getPrivateKeySignatureMethod(encoded, password), method);
        };
        for (std::string const& form : plainPrivateForms) {
            expectPrivate(readRSAKey(bits, form), "");
        }
        for (std::string const& form : encryptedForms) {
            expectPrivate(readRSAKey(bits, form), "password");
        }
        for (std::string const& form : publicForms) {
            std::istringstream stream = streamOf(readRSAKey(bits, form));
            EXPECT_EQ(provider.getPublicKeySignatureMethod(stream), method);
            EXPECT_EQ(provider.getPublicKeySignatureMethod(readRSAKey(bits, form)), method);
        }
    }
}

TEST(RSASizeQuery, RefusesEveryOtherSize) {
    for (std::string const key : {"p256", "rsa3072", "ed25519"}) {
        SCOPED_TRACE(key);
        ByteArray const privateKey = readKey(key + "-private.pem");
        ByteArray const publicKey = readKey(key + "-public.pem");
        std::istringstream privateStream = streamOf(privateKey);
        std::istringstream publicStream = streamOf(publicKey);
        EXPECT_THROWS(InternalException, unsupportedSize, provider.getPrivateKeySignatureMethod(privateKey, ""));
        EXPECT_THROWS(InternalException, unsupportedSize, provider.getPrivateKeySignatureMethod(privateStream, ""));
        EXPECT_THROWS(InternalException, unsupportedSize, provider.getPublicKeySignatureMethod(publicKey));
        EXPECT_THROWS(InternalException, unsupportedSize, provider.getPublicKeySignatureMethod(publicStream));
    }
}

TEST(RSASizeQuery, LooksAtNothingButTheSize) {
    EXPECT_EQ(provider.getPrivateKeySignatureMethod(readKey("dsa1024-private.pem"), ""), KeySignatureMethod::RSA1024);
    EXPECT_EQ(provider.getPublicKeySignatureMethod(readKey("rsapss2048-public.pem")), KeySignatureMethod::RSA2048);
    EXPECT_EQ(provider.getPrivateKeySignatureMethod(readKey("dh2048-private.pem"), ""), KeySignatureMethod::RSA2048);
    EXPECT_EQ(provider.getPublicKeySignatureMethod(readKey("mlkem1024-public.pem")), KeySignatureMethod::RSA1024);
}

TEST(RSASizeQuery, ReportsWhatTheLoadersReport) {
    std::istringstream empty;
    EXPECT_THROWS(InternalException, emptyPrivate, provider.getPrivateKeySignatureMethod(empty, ""));
    EXPECT_THROWS(InternalException, emptyPrivate, provider.getPrivateKeySignatureMethod(ByteArray(), ""));
    EXPECT_THROWS(InternalException, emptyPublic, provider.getPublicKeySignatureMethod(empty));
    EXPECT_THROWS(InternalException, emptyPublic, provider.getPublicKeySignatureMethod(ByteArray()));

    ByteArray const encrypted = readRSAKey(1024, "encrypted.pem");
    std::istringstream stream = streamOf(encrypted);
    EXPECT_THROWS(InternalException, noKey, provider.getPrivateKeySignatureMethod(encrypted, "wrong"));
    EXPECT_THROWS(InternalException, noKey, provider.getPrivateKeySignatureMethod(stream, ""));
    EXPECT_THROWS(InternalException, noKey, provider.getPublicKeySignatureMethod(encrypted));
    EXPECT_THROWS(InternalException, noKey, provider.getPublicKeySignatureMethod(bytes("no key")));
}

TEST(RSASizeQuery, TakesBlanksAndLineBreaksAsPartOfTheKey) {
    std::istringstream stream(" \n\t\n" + text(readRSAKey(2048, "private.pem")));
    EXPECT_EQ(provider.getPrivateKeySignatureMethod(stream, ""), KeySignatureMethod::RSA2048);
    std::istringstream blanks(" \n");
    EXPECT_THROWS(InternalException, noKey, provider.getPrivateKeySignatureMethod(blanks, ""));
    ByteArray const der = readRSAKey(2048, "private.der"); // not DER any more with a blank before it
    EXPECT_THROWS(InternalException, noKey, provider.getPrivateKeySignatureMethod(joined({bytes(" "), der}), ""));
}

// The error queue

void createFromStream(std::string const& form) {
    std::istringstream stream = streamOf(readRSAKey(1024, form));
    provider.createRSA1024PrivateKey(stream, "password");
}

void queryPrivate(std::string const& form) {
    provider.getPrivateKeySignatureMethod(readRSAKey(1024, form), "password");
}

TEST(RSAKeyErrorQueue, IsAsItWasAfterEverySuccess) {
    Vector const numbers = numbersOf(1024);
    auto const privateKey = provider.createRSA1024PrivateKey(readRSAKey(1024, "private.der"));
    auto const publicKey = provider.createRSA1024PublicKey(readRSAKey(1024, "public.der"));
    std::vector<std::function<void()>> operations{
        [] { provider.generateRSA1024KeyPair(std::make_shared<ForeignPRNG>()); },
        [&] { provider.createRSA1024PrivateKey(numbers.bytes("n"), numbers.bytes("d"), numbers.bytes("e")); },
        [&] { provider.createRSA1024PublicKey(numbers.bytes("n"), numbers.bytes("e")); },
        [&] { privateKey->getDER(); },
        [&] { privateKey->getModulus(); },
        [&] { privateKey->getPrivateExponent(); },
        [&] { publicKey->getDER(); },
        [&] { publicKey->getModulus(); },
        [&] { publicKey->getPublicExponent(); },
    };
    for (std::string const& form : plainPrivateForms) {
        operations.emplace_back([form] { createFromStream(form); });
        operations.emplace_back([form] { queryPrivate(form); });
    }
    for (std::string const& form : publicForms) {
        operations.emplace_back([form] { provider.createRSA1024PublicKey(readRSAKey(1024, form)); });
        operations.emplace_back([form] { provider.getPublicKeySignatureMethod(readRSAKey(1024, form)); });
    }
    for (std::size_t index = 0; index < operations.size(); ++index) {
        SCOPED_TRACE(index);
        operations[index]();
        EXPECT_EQ(ERR_peek_error(), 0U);

        ERR_raise(ERR_LIB_USER, 7);
        operations[index]();
        EXPECT_EQ(ERR_GET_REASON(ERR_get_error()), 7);
        EXPECT_EQ(ERR_get_error(), 0U);
    }
    for (std::string const& form : encryptedForms) {
        SCOPED_TRACE(form);
        int const expected = reasonBehindBareReading(readRSAKey(1024, form), "password");
        for (auto const& operation : {createFromStream, queryPrivate}) {
            operation(form);
            EXPECT_EQ(ERR_peek_error(), 0U);

            ERR_raise(ERR_LIB_USER, HostsMark::reason);
            operation(form);
            EXPECT_EQ(ERR_GET_REASON(ERR_get_error()), expected);
            EXPECT_EQ(ERR_get_error(), 0U);
        }
    }
}

// Threads

TEST(RSAKeyThreads, ExportOneKeyAlike) {
    auto const privateKey = provider.createRSA2048PrivateKey(readRSAKey(2048, "private.pem"));
    auto const publicKey = provider.createRSA2048PublicKey(readRSAKey(2048, "public.pem"));
    ByteArray const n = privateKey->getModulus();
    ByteArray const d = privateKey->getPrivateExponent();
    ByteArray const e = publicKey->getPublicExponent();
    std::vector<int> wrong(4);
    onThreads(wrong.size(), [&](std::size_t thread) {
        for (int round = 0; round < 100; ++round) {
            bool const right = privateKey->getDER() == readRSAKey(2048, "private.der") &&
                               publicKey->getDER() == readRSAKey(2048, "public.der") && privateKey->getModulus() == n &&
                               publicKey->getModulus() == n && privateKey->getPrivateExponent() == d &&
                               publicKey->getPublicExponent() == e;
            wrong[thread] += right ? 0 : 1;
        }
    });
    EXPECT_EQ(wrong, std::vector<int>(4));
}

TEST(RSAKeyThreads, LoadAtTheSameTime) {
    std::vector<ByteArray> found(4);
    onThreads(found.size(), [&](std::size_t thread) {
        for (int round = 0; round < 20; ++round) {
            std::istringstream stream = streamOf(readRSAKey(1024, "traditional.der"));
            found[thread] = provider.createRSA1024PrivateKey(stream, "")->getDER();
        }
    });
    EXPECT_EQ(found, std::vector<ByteArray>(4, readRSAKey(1024, "private.der")));
}

} // namespace
