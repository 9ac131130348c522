// Mutations of everything that comes from outside, ten thousand of each in the long tests. What is right to answer is
// known in advance only for signatures; of the rest it is asked that the answer is a key or one of the library's own
// exceptions, that a key serves, and that nothing happens that a sanitizer would see.
#include "support/ECC.h"
#include "support/Mutations.h"
#include "support/PEM.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/err.h>

#include <random>
#include <sstream>
#include <string>

namespace {

using namespace support;
namespace utils = foundation::crypto::utils;

int const rounds = mutations(10000);

/// Runs `work`; true when it returns, false for one of the library's own exceptions, and everything else fails the
/// test.
template <class Work> bool survives(Work&& work) {
    try {
        work();
        return true;
    } catch (utils::Exception const& error) {
        EXPECT_FALSE(std::string(error.what()).empty());
    } catch (std::exception const& error) {
        ADD_FAILURE() << "not of the library's family: " << error.what();
    }
    ERR_clear_error();
    return false;
}

template <class Factory> void use(typename Factory::PrivateKey const& key) {
    survives([&] { static_cast<void>(key->getPEM()); });
    survives([&] { static_cast<void>(key->getPrivateInteger()); });
    survives([&] { Factory::signer(key)->sign(bytes("abc"), Factory::engine()); });
}

template <class Factory> void use(typename Factory::PublicKey const& key) {
    survives([&] { static_cast<void>(key->getPEM()); });
    survives([&] { static_cast<void>(key->getPublicPoint()); });
    survives([&] { Factory::verifier(key)->verify(bytes("abc"), ByteArray(64, 0x30), Factory::engine()); });
}

template <class Factory> class ECCHostileInput : public testing::Test {
protected:
    typename Factory::KeyPair const pair = Factory::generateKeyPair();
    std::mt19937_64 random{20261120};
};

TYPED_TEST_SUITE(ECCHostileInput, BothCurves, CurveNames);

TYPED_TEST(ECCHostileInput, AsPrivateKeyText) {
    RawKey const raw = readPrivate(text(this->pair->getPrivateKey()->getPEM()));
    std::vector<std::string> texts{privatePEM(raw), publicPEM(raw)};
    if (TypeParam::curve == EllipticCurve::P256) {
        texts.push_back(traditionalPEM(raw));
        texts.push_back(traditionalPEM(raw, "secret"));
    }
    int keys = 0;
    for (int i = 0; i < rounds; ++i) {
        ByteArray const input = mutate(bytes(texts[static_cast<std::size_t>(i) % texts.size()]), this->random);
        survives([&] {
            std::istringstream stream(text(input));
            auto const key = i % 2 == 0 ? TypeParam::privateKey(input) : TypeParam::privateKey(stream, "secret");
            ++keys;
            use<TypeParam>(key);
        });
    }
    EXPECT_GT(keys, 0); // some of what is changed does not matter
    EXPECT_LT(keys, rounds);
}

TYPED_TEST(ECCHostileInput, AsEncryptedKeyText) {
    RawKey const raw = readPrivate(text(this->pair->getPrivateKey()->getPEM()));
    ByteArray const locked = bytes(encryptedPEM(raw, "secret"));
    for (int i = 0; i < rounds / 20; ++i) { // each right one costs a key derivation
        std::istringstream stream(text(mutate(locked, this->random)));
        survives([&] { use<TypeParam>(TypeParam::privateKey(stream, "secret")); });
    }
}

TYPED_TEST(ECCHostileInput, AsPublicKeyText) {
    RawKey const raw = readPrivate(text(this->pair->getPrivateKey()->getPEM()));
    std::string const texts[] = {publicPEM(raw), privatePEM(raw)};
    int keys = 0;
    for (int i = 0; i < rounds; ++i) {
        ByteArray const input = mutate(bytes(texts[i % 4 == 3 ? 1 : 0]), this->random);
        survives([&] {
            std::istringstream stream(text(input));
            auto const key = i % 2 == 0 ? TypeParam::publicKey(input) : TypeParam::publicKey(stream);
            ++keys;
            use<TypeParam>(key);
        });
    }
    EXPECT_GT(keys, 0);
    EXPECT_LT(keys, rounds);
}

TYPED_TEST(ECCHostileInput, AsKeyStructures) { // the text around them intact
    RawKey const raw = readPrivate(text(this->pair->getPrivateKey()->getPEM()));
    auto const wrap = [](ByteArray const& der, std::string const& label) {
        ByteArray base64(4 * ((der.size() + 2) / 3) + 1);
        EVP_EncodeBlock(base64.data(), der.data(), static_cast<int>(der.size()));
        std::string body = text(base64).substr(0, base64.size() - 1);
        std::string lines;
        for (std::size_t at = 0; at < body.size(); at += 64) {
            lines += body.substr(at, 64) + "\n";
        }
        return bytes("-----BEGIN " + label + "-----\n" + lines + "-----END " + label + "-----\n");
    };
    int keys = 0;
    for (int i = 0; i < rounds; ++i) {
        survives([&] {
            use<TypeParam>(TypeParam::privateKey(wrap(mutate(privateDER(raw), this->random), "PRIVATE KEY")));
            ++keys;
        });
        survives([&] {
            use<TypeParam>(TypeParam::publicKey(wrap(mutate(publicDER(raw), this->random), "PUBLIC KEY")));
            ++keys;
        });
    }
    EXPECT_GT(keys, 0);
}

TYPED_TEST(ECCHostileInput, AsPrivateIntegers) {
    ByteArray const integer = this->pair->getPrivateKey()->getPrivateInteger();
    for (int i = 0; i < rounds; ++i) {
        ByteArray const input = mutate(integer, this->random);
        bool const made = survives([&] { use<TypeParam>(TypeParam::privateKeyFromInteger(input)); });
        bool const expected = TypeParam::curve == EllipticCurve::P256 ? !input.empty() : input.size() == 32;
        EXPECT_EQ(made, expected) << hex(input);
    }
}

TYPED_TEST(ECCHostileInput, AsPublicPoints) {
    ByteArray const point = this->pair->getPublicKey()->getPublicPoint();
    for (int i = 0; i < rounds; ++i) {
        ByteArray const input = mutate(point, this->random);
        bool const made = survives([&] { use<TypeParam>(TypeParam::publicKeyFromPoint(input)); });
        if (TypeParam::curve == EllipticCurve::Curve25519) {
            EXPECT_EQ(made, input.size() == 32) << hex(input);
        } else if (made && input != point) {
            EXPECT_TRUE(input.size() == 33 || input == ByteArray{0x00}) << hex(input); // nothing else is on the curve
        }
    }
}

TYPED_TEST(ECCHostileInput, AsSignatures) {
    auto const engine = TypeParam::engine();
    auto const verifier = TypeParam::verifier(this->pair->getPublicKey());
    ByteArray const signature = TypeParam::signer(this->pair->getPrivateKey())->sign(bytes("abc"), engine);
    for (int i = 0; i < rounds; ++i) {
        ByteArray const input = mutate(signature, this->random);
        EXPECT_EQ(verifier->verify(bytes("abc"), input, engine).isValid(), input == signature) << hex(input);
    }
}

TYPED_TEST(ECCHostileInput, AsMessages) {
    auto const engine = TypeParam::engine();
    auto const verifier = TypeParam::verifier(this->pair->getPublicKey());
    ByteArray const message = pseudoRandomBytes(100);
    ByteArray const signature = TypeParam::signer(this->pair->getPrivateKey())->sign(message, engine);
    for (int i = 0; i < rounds / 10; ++i) {
        ByteArray const input = mutate(message, this->random);
        EXPECT_EQ(verifier->verify(input, signature, engine).isValid(), input == message) << hex(input);
    }
}

} // namespace
