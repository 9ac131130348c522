#include "RSAKeyForms.h"
#include "support/Bytes.h"
#include "support/HostsMark.h"
#include "support/PRNG.h"
#include "support/Provider.h"
#include "support/RSAKeys.h"
#include "support/Threads.h"
#include "support/Throws.h"
#include "support/Vectors.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/err.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace support;
using foundation::crypto::utils::Exception;
using foundation::crypto::utils::InternalException;

std::string const notGenerated = "Failed to generate the private key from the modulus and the exponents";
std::string const noPrivateDER = "Failed to convert RSA private key to DER-form BIO.";

std::string wrongSize(std::string const& kind, unsigned long found, unsigned long expected) {
    return "The input data corresponds to a " + kind + " key of size " + std::to_string(found) +
           " instead of the expected size " + std::to_string(expected);
}

Vector numbersOf(unsigned long bits) {
    for (Vector const& vector : readVectors("keys/rsa_numbers.txt")) {
        if (vector.number("bits") == static_cast<int>(bits)) {
            return vector;
        }
    }
    throw std::out_of_range(std::to_string(bits));
}

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
