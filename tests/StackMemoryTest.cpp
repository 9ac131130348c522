// What each way of bringing a key in, or of taking it out, leaves of it on the stack when everything is released. Every
// way has a process of its own: what saves registers to the stack is the first call of a function, not the second.
#include "support/Bytes.h"
#include "support/ECC.h"
#include "support/OwnStack.h"
#include "support/PEM.h"
#include "support/Provider.h"
#include "support/RSAKeys.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <gtest/gtest.h>

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/rand.h>
#include <openssl/x509.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace support;
using namespace foundation::crypto;

using Secrets = std::vector<ByteArray>;
using RSA2048 = RSAKeys<2048>;

// Secrets of a key

ByteArray parameter(RawKey const& key, char const* name) {
    BIGNUM* number = nullptr;
    if (EVP_PKEY_get_bn_param(key.get(), name, &number) == 1) {
        std::unique_ptr<BIGNUM, decltype(&BN_clear_free)> const released(number, &BN_clear_free);
        ByteArray bytes(static_cast<std::size_t>(BN_num_bytes(number)));
        BN_bn2bin(number, bytes.data());
        return bytes;
    }
    ByteArray raw(32);
    std::size_t size = raw.size();
    EXPECT_EQ(EVP_PKEY_get_raw_private_key(key.get(), raw.data(), &size), 1);
    return raw;
}

std::vector<ByteArray> privateNumbers(RawKey const& key) {
    if (EVP_PKEY_get_base_id(key.get()) != EVP_PKEY_RSA) {
        return {parameter(key, OSSL_PKEY_PARAM_PRIV_KEY)};
    }
    std::vector<ByteArray> numbers;
    for (char const* const name :
         {OSSL_PKEY_PARAM_RSA_D, OSSL_PKEY_PARAM_RSA_FACTOR1, OSSL_PKEY_PARAM_RSA_FACTOR2,
          OSSL_PKEY_PARAM_RSA_EXPONENT1, OSSL_PKEY_PARAM_RSA_EXPONENT2, OSSL_PKEY_PARAM_RSA_COEFFICIENT1}) {
        numbers.push_back(parameter(key, name));
    }
    return numbers;
}

/// The characters of a PEM text, its line breaks among them, that encode `number` and nothing else.
ByteArray charactersOf(ByteArray const& number, std::string const& pem) {
    std::unique_ptr<BIO, decltype(&BIO_free)> const bio(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())),
                                                        &BIO_free);
    char* name = nullptr;
    char* header = nullptr;
    unsigned char* data = nullptr;
    long size = 0;
    EXPECT_EQ(PEM_read_bio(bio.get(), &name, &header, &data, &size), 1);
    unsigned char const* const found = std::search(data, data + size, number.begin(), number.end());
    EXPECT_NE(found, data + size);
    auto const at = static_cast<std::size_t>(found - data);
    for (void* const read : {static_cast<void*>(name), static_cast<void*>(header), static_cast<void*>(data)}) {
        OPENSSL_free(read);
    }
    constexpr std::size_t lineLength = 64;
    auto const withLineBreaks = [](std::size_t characters) { return characters + characters / lineLength; };
    std::size_t const body = pem.find('\n') + 1;
    std::size_t const begin = body + withLineBreaks((at * 8 + 5) / 6);
    std::size_t const end = body + withLineBreaks((at + number.size()) * 8 / 6);
    return bytes(pem.substr(begin, end - begin));
}

/// The private numbers as encodings have them, as libcrypto has them in memory, and as characters of `pem`.
Secrets secretsOf(RawKey const& key, std::string const& pem) {
    Secrets secrets;
    for (ByteArray const& number : privateNumbers(key)) {
        secrets.push_back(number);
        secrets.emplace_back(number.rbegin(), number.rend());
        secrets.push_back(charactersOf(number, pem));
    }
    return secrets;
}

Secrets secretsOf(std::string const& pem) {
    return secretsOf(readPrivate(pem), pem);
}

// One way in, or out

/// Prepares, runs on the stack that it is given what is to be looked at, and says what was secret about it.
struct Way {
    std::string name;
    std::function<Secrets(OwnStack&)> run;
};

void PrintTo(Way const& way, std::ostream* output) {
    *output << way.name;
}

class StackMemory : public testing::TestWithParam<Way> {};

/// Ends the process with how much was left, cut to what a process can say.
[[noreturn]] void runAndExit(Way const& way) {
    OwnStack stack;
    std::size_t const left = stack.countLeft(way.run(stack));
    std::fprintf(stderr, "%zu runs of a secret's bytes are left\n", left);
    std::_Exit(left == 0 ? EXIT_SUCCESS : EXIT_FAILURE);
}

TEST_P(StackMemory, HoldsNothingOfTheKey) {
    EXPECT_EXIT(runAndExit(GetParam()), testing::ExitedWithCode(EXIT_SUCCESS), "");
}

void leaveBehind(ByteArray const& secret) {
    unsigned char volatile copy[64] = {};
    std::copy(secret.begin(), secret.end(), copy);
}

TEST(StackMemorySearch, FindsWhatIsLeft) {
    ByteArray const secret = pseudoRandomBytes(16);
    OwnStack stack;
    EXPECT_EQ(stack.countLeft({secret}), 0U);
    stack.run([&] { leaveBehind(secret); });
    EXPECT_EQ(stack.countLeft({secret}), 9U);
    EXPECT_EQ(stack.countLeft({ByteArray(16)}), 0U);
}

/// `create` takes a key of `size` bytes.
template <class Create> Way ofBytes(std::string const& name, std::size_t size, Create const& create) {
    return {name, [=](OwnStack& stack) {
                ByteArray const key = pseudoRandomBytes(size);
                stack.run([&] { create(key); });
                return Secrets{key};
            }};
}

std::string rsaPEM() {
    return text(readRSAKey(2048, "private.pem"));
}

template <class Use> Way ofRSAKeyFile(std::string const& name, std::string const& file, Use const& use) {
    return {name, [=](OwnStack& stack) {
                ByteArray const encoded = readRSAKey(2048, file);
                stack.run([&] { use(encoded); });
                return secretsOf(rsaPEM());
            }};
}

template <class Use> Way ofRSAKeyStream(std::string const& name, std::string const& file, Use const& use) {
    return {name, [=](OwnStack& stack) {
                std::istringstream stream(text(readRSAKey(2048, file)));
                std::string const password = "password";
                stack.run([&] { use(stream, password); });
                return secretsOf(rsaPEM());
            }};
}

std::vector<Way> rsaWays() {
    auto const create = [](ByteArray const& encoded) { RSA2048::createPrivateKey(encoded); };
    return {
        ofRSAKeyFile("RSAFromPEM", "private.pem", create),
        ofRSAKeyFile("RSAFromDER", "private.der", create),
        ofRSAKeyFile("RSAFromTraditionalPEM", "traditional.pem", create),
        ofRSAKeyFile("RSAFromTraditionalDER", "traditional.der", create),
        ofRSAKeyFile("RSAFromEncryptedPEM", "encrypted-empty-password.pem", create),
        ofRSAKeyFile("RSAFromEncryptedDER", "encrypted-empty-password.der", create),
        ofRSAKeyFile("RSAQuery", "encrypted.pem",
                     [](ByteArray const& encoded) { provider.getPrivateKeySignatureMethod(encoded, "password"); }),
        {"RSAFromNumbers",
         [](OwnStack& stack) {
             Vector const numbers = readVectors("keys/rsa_numbers.txt").at(1);
             ByteArray const n = numbers.bytes("n");
             ByteArray const d = numbers.bytes("d");
             ByteArray const e = numbers.bytes("e");
             stack.run([&] { RSA2048::createPrivateKey(n, d, e); });
             return secretsOf(rsaPEM());
         }},
        {"RSAGenerated",
         [](OwnStack& stack) {
             auto const prng = provider.createDefaultCryptoPRNG({});
             decltype(RSA2048::generateKeyPair(prng)) pair;
             stack.run([&] { pair = RSA2048::generateKeyPair(prng); });
             ByteArray const der = pair->getPrivateKey()->getDER();
             unsigned char const* start = der.data();
             RawKey const key = owned(d2i_AutoPrivateKey(nullptr, &start, static_cast<long>(der.size())));
             return secretsOf(key, privatePEM(key));
         }},
        {"RSAToDER",
         [](OwnStack& stack) {
             auto const key = RSA2048::createPrivateKey(readRSAKey(2048, "private.der"));
             ByteArray der;
             stack.run([&] { der = key->getDER(); });
             return secretsOf(rsaPEM());
         }},
        {"RSAToPrivateExponent",
         [](OwnStack& stack) {
             auto const key = RSA2048::createPrivateKey(readRSAKey(2048, "private.der"));
             ByteArray exponent;
             stack.run([&] { exponent = key->getPrivateExponent(); });
             return secretsOf(rsaPEM());
         }},
    };
}

template <class Factory> std::vector<Way> eccWays(std::string const& file) {
    std::string const curve = Factory::name;
    auto const pem = [=] { return text(readKey(file)); };
    return {
        {curve + "FromPEM",
         [=](OwnStack& stack) {
             ByteArray const encoded = bytes(pem());
             stack.run([&] { Factory::privateKey(encoded); });
             return secretsOf(pem());
         }},
        {curve + "FromInteger",
         [=](OwnStack& stack) {
             ByteArray const integer = privateNumbers(readPrivate(pem())).front();
             stack.run([&] { Factory::privateKeyFromInteger(integer); });
             return secretsOf(pem());
         }},
        {curve + "Generated",
         [=](OwnStack& stack) {
             typename Factory::KeyPair pair;
             stack.run([&] { pair = Factory::generateKeyPair(); });
             return secretsOf(text(pair->getPrivateKey()->getPEM()));
         }},
        {curve + "ToPEM",
         [=](OwnStack& stack) {
             auto const key = Factory::privateKeyFromInteger(privateNumbers(readPrivate(pem())).front());
             ByteArray encoded;
             stack.run([&] { encoded = key->getPEM(); });
             return secretsOf(pem());
         }},
        {curve + "ToInteger",
         [=](OwnStack& stack) {
             auto const key = Factory::privateKey(bytes(pem()));
             ByteArray integer;
             stack.run([&] { integer = key->getPrivateInteger(); });
             return secretsOf(pem());
         }},
    };
}

std::vector<Way> otherWays() {
    return {
        ofBytes("AES128", 16, [](ByteArray const& key) { provider.createAES128Key(key); }),
        ofBytes("AES192", 24, [](ByteArray const& key) { provider.createAES192Key(key); }),
        ofBytes("AES256", 32, [](ByteArray const& key) { provider.createAES256Key(key); }),
        ofBytes("HMACSHA1", 20, [](ByteArray const& key) { provider.createHMACSHA1DigestEngine(key); }),
        ofBytes("HMACSHA256", 32, [](ByteArray const& key) { provider.createHMACSHA256DigestEngine(key); }),
        ofBytes("HMACSHA512", 64, [](ByteArray const& key) { provider.createHMACSHA512DigestEngine(key); }),
        ofBytes("HMACOfALongKey", 300, [](ByteArray const& key) { provider.createHMACSHA256DigestEngine(key); }),
        ofBytes("HMACInUse", 32,
                [](ByteArray const& key) { provider.createHMACSHA256DigestEngine(key)->computeDigest(key); }),
        ofBytes("Blake2b", 32, [](ByteArray const& key) { provider.createBlake2bDigestEngine(key, {}); }),
        ofBytes("Blake2bOfItsOwnSize", 64,
                [](ByteArray const& key) { provider.createBlake2bDigestEngineWithCustomSize(key, {}, 20); }),
        {"AESToBytes",
         [](OwnStack& stack) {
             auto const key = provider.createAES256Key(pseudoRandomBytes(32));
             ByteArray exported;
             stack.run([&] { exported = key->getKeyBytes(); });
             return Secrets{exported};
         }},
        {"PBKDF2",
         [](OwnStack& stack) {
             std::string const password = text(pseudoRandomBytes(40));
             std::string const salt = "salt";
             ByteArray key;
             stack.run([&] { key = provider.deriveKeyUsingPBKDF2(password, salt, 64, 2); });
             return Secrets{bytes(password), key};
         }},
    };
}

std::vector<Way> ways() {
    std::vector<Way> all = otherWays();
    for (auto const& family :
         {rsaWays(), eccWays<P256>("p256-private.pem"), eccWays<Curve25519>("ed25519-private.pem")}) {
        all.insert(all.end(), family.begin(), family.end());
    }
    return all;
}

template <class Factory> Way ofECCKeyStream(std::string const& name, std::string const& file, bool encrypted) {
    return {Factory::name + name, [=](OwnStack& stack) {
                std::string const pem = text(readKey(file));
                std::string const password = "password";
                std::istringstream stream(encrypted ? encryptedPEM(readPrivate(pem), password) : pem);
                stack.run([&] { Factory::privateKey(stream, password); });
                return secretsOf(pem);
            }};
}

/// Of the module's path and the URI of a key in it, which may have the PIN in it.
Way ofURI(std::string const& name, std::size_t size) {
    return {name, [=](OwnStack& stack) {
                std::string const module = text(pseudoRandomBytes(size, 2));
                std::string const uri = text(pseudoRandomBytes(size));
                stack.run(
                    [&] { provider.createHSMSigner(utils::HSMObject(module, uri), RSAPaddingMode::PSS, nullptr); });
                return Secrets{bytes(module), bytes(uri)};
            }};
}

std::vector<Way> waysThroughTheStandardLibrary() {
    auto const create = [](std::istream& stream, std::string const& password) {
        RSA2048::createPrivateKey(stream, password);
    };
    return {
        ofRSAKeyStream("RSAFromPEM", "private.pem", create),
        ofRSAKeyStream("RSAFromDER", "private.der", create),
        ofRSAKeyStream("RSAFromTraditionalPEM", "traditional.pem", create),
        ofRSAKeyStream("RSAFromTraditionalEncryptedPEM", "traditional-encrypted.pem", create),
        ofRSAKeyStream("RSAFromEncryptedPEM", "encrypted.pem", create),
        ofRSAKeyStream("RSAFromEncryptedDER", "encrypted.der", create),
        ofRSAKeyStream("RSAQuery", "private.pem",
                       [](std::istream& stream, std::string const& password) {
                           provider.getPrivateKeySignatureMethod(stream, password);
                       }),
        ofECCKeyStream<P256>("FromPEM", "p256-private.pem", false),
        ofECCKeyStream<P256>("FromEncryptedPEM", "p256-private.pem", true),
        ofECCKeyStream<Curve25519>("FromPEM", "ed25519-private.pem", false),
        ofECCKeyStream<Curve25519>("FromEncryptedPEM", "ed25519-private.pem", true),
        ofURI("HSM", 100),
        ofURI("HSMOfShortStrings", 15), // which std::string keeps in itself
    };
}

auto const nameOf = [](testing::TestParamInfo<Way> const& info) { return info.param.name; };

INSTANTIATE_TEST_SUITE_P(Bytes, StackMemory, testing::ValuesIn(ways()), nameOf);
INSTANTIATE_TEST_SUITE_P(StreamsAndStrings, StackMemory, testing::ValuesIn(waysThroughTheStandardLibrary()), nameOf);

// libcrypto's generator itself leaves some of a seed behind. That is excused where the bare call has just done the
// same.
TEST(StackMemoryOfASeed, HoldsNoMoreThanLibcryptoLeaves) {
    ByteArray const seed = pseudoRandomBytes(48);
    auto const leftBy = [&](auto const& take) {
        take(); // what libcrypto makes at its first use is made first
        OwnStack stack;
        stack.run(take);
        return stack.countLeft({seed});
    };
    std::size_t const byHand = leftBy([&] { RAND_seed(seed.data(), static_cast<int>(seed.size())); });
    EXPECT_LE(leftBy([&] { provider.createDefaultCryptoPRNG(seed); }), byHand);
}

} // namespace
