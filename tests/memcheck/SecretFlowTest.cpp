// Which way a program takes, and which memory it touches, can be measured from outside. These tests show that in the
// library neither depends on a secret. They run under valgrind (tools/secret-flow): what counts as secret is marked as
// uninitialised there, memcheck follows the mark through every computation, and reports each branch and each address
// that depends on a marked byte. Whose branches are excused is in secret-flow.supp; what libcrypto tells about a secret
// that everyone may know, in LibcryptoBorder.cpp.
#include "support/AES.h"
#include "support/ECC.h"
#include "support/Engines.h"
#include "support/PEM.h"
#include "support/Provider.h"
#include "support/RSA.h"
#include "support/Throws.h"
#include "support/Token.h"

#include <foundation/crypto/utils/HSMObject.h>

#include <valgrind/memcheck.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace support;
using namespace foundation::crypto;

// Marks

/// Marks what it is given as secret; or leaves it, to see what would come out otherwise.
class Hide {
public:
    explicit Hide(bool hides) : hides_(hides) {}

    template <class Bytes> Bytes operator()(Bytes bytes) const {
        if (hides_) {
            VALGRIND_MAKE_MEM_UNDEFINED(bytes.data(), bytes.size());
        }
        return bytes;
    }

private:
    bool hides_;
};

Hide const hide(true);

bool isSecret(ByteArray const& bytes) {
    ByteArray marks(bytes.size());
    VALGRIND_GET_VBITS(bytes.data(), marks.data(), bytes.size());
    return std::any_of(marks.begin(), marks.end(), [](unsigned char mark) { return mark != 0; });
}

ByteArray revealed(ByteArray bytes) {
    VALGRIND_MAKE_MEM_DEFINED(bytes.data(), bytes.size());
    return bytes;
}

/// What memcheck has reported so far, without what is excused.
unsigned reports() {
    return VALGRIND_COUNT_ERRORS;
}

class UnderValgrind : public testing::Test {
protected:
    void SetUp() override { ASSERT_NE(RUNNING_ON_VALGRIND, 0U) << "tools/secret-flow runs these tests"; }
};

// Operations

/// An operation on secrets.
struct Flow {
    std::string name;
    std::function<ByteArray(Hide const&)> run; ///< Gives the same bytes whether or not its inputs are marked.
    bool staysSecret = true;                   ///< The result depends on the secrets, and is no answer to the public.
};

void PrintTo(Flow const& flow, std::ostream* output) {
    *output << flow.name;
}

using List = std::vector<Flow>;

ByteArray const message = pseudoRandomBytes(3000);

DigestEnginePtr sha256() {
    return provider.createSHA256DigestEngine();
}

/// A buffer that gives its characters by `uflow()` alone.
class OneByOne : public std::streambuf {
public:
    explicit OneByOne(std::string content) : content_(std::move(content)) {}

protected:
    int_type uflow() override {
        return next_ < content_.size() ? traits_type::to_int_type(content_[next_++]) : traits_type::eof();
    }

    int_type underflow() override {
        return next_ < content_.size() ? traits_type::to_int_type(content_[next_]) : traits_type::eof();
    }

private:
    std::string content_;
    std::size_t next_ = 0;
};

/// Adds the operation `call(stream, hide)` on `content`, which is secret, out of streams of two kinds.
template <class Content, class Call> void addOfStream(List& list, std::string const& name, Content content, Call call) {
    list.push_back({name + "FromString", [=](Hide const& in) {
                        std::istringstream input(text(in(content())));
                        return call(input, in);
                    }});
    list.push_back({name + "OneByOne", [=](Hide const& in) {
                        OneByOne buffer(text(in(content())));
                        std::istream input(&buffer);
                        return call(input, in);
                    }});
}

ByteArray readMessage() {
    return message;
}

template <class Create> void addEngine(List& list, std::string const& name, Create create) {
    list.push_back({name + "OfBytes", [=](Hide const& in) { return create(in)->computeDigest(in(message)); }});
    list.push_back({name + "OfPieces", [=](Hide const& in) {
                        DigestEnginePtr const engine = create(in);
                        ByteArray const given = in(message);
                        engine->update(given.data(), 100);
                        engine->update(given.data() + 100, given.size() - 100);
                        return engine->finalize();
                    }});
    addOfStream(list, name, readMessage,
                [=](std::istream& input, Hide const& in) { return create(in)->computeDigest(input); });
}

void addDigests(List& list) {
    for (char const* const name : {"md5", "sha1", "sha224", "sha256", "sha384", "sha512"}) {
        addEngine(list, name, [=](Hide const& /*in*/) { return engineNamed(name); });
    }
    for (std::size_t const size : {5U, 500U}) { // a key that is longer than a block is hashed
        ByteArray const key = pseudoRandomBytes(size, 2);
        std::string const suffix = "KeyOf" + std::to_string(size);
        addEngine(list, "hmacSHA1" + suffix, [=](auto in) { return provider.createHMACSHA1DigestEngine(in(key)); });
        addEngine(list, "hmacSHA256" + suffix, [=](auto in) { return provider.createHMACSHA256DigestEngine(in(key)); });
        addEngine(list, "hmacSHA512" + suffix, [=](auto in) { return provider.createHMACSHA512DigestEngine(in(key)); });
    }
    addEngine(list, "blake2b", [](auto /*in*/) { return provider.createBlake2bDigestEngine({}, {}); });
    addEngine(list, "blake2bKeyed",
              [](auto in) { return provider.createBlake2bDigestEngine(in(bytes("a key")), in(bytes("a salt"))); });
}

void addDerivationAndSeed(List& list) {
    list.push_back({"pbkdf2", [](Hide const& in) {
                        return provider.deriveKeyUsingPBKDF2(in(std::string("a password")), "salt", 40, 2);
                    }});
    list.push_back({"seed",
                    [](Hide const& in) {
                        auto const prng = provider.createDefaultCryptoPRNG(in(bytes("a seed")));
                        return bytes(prng->isSeeded() ? "seeded" : "not seeded");
                    },
                    false});
}

// AES

void addAES(List& list) {
    ByteArray const iv = pseudoRandomBytes(16, 3);
    for (AESFactories const& of : aesFactories()) {
        ByteArray const key = pseudoRandomBytes(of.keyBytes(), 4);
        for (auto const& [modeName, mode] : aesModes()) {
            for (auto const& [paddingName, padding] :
                 {std::pair("Padded", AESPaddingMode::PKCS7), std::pair("Whole", AESPaddingMode::NoPadding)}) {
                std::string const name = "aes" + std::to_string(of.bits) + modeName + paddingName;
                ByteArray const plain = pseudoRandomBytes(padding == AESPaddingMode::PKCS7 ? 1001 : 1008, 5);
                auto const setup = [=, m = mode, p = padding](Hide const& in) { return AESSetup{in(key), iv, m, p}; };
                auto const cipher = [=] { return of.createEncryptor(setup(Hide(false)))->encrypt(plain); };
                list.push_back({name + "Encrypts",
                                [=](Hide const& in) { return of.createEncryptor(setup(in))->encrypt(in(plain)); }});
                list.push_back({name + "Decrypts",
                                [=](Hide const& in) { return of.createDecryptor(setup(in))->decrypt(cipher()); }});
                addOfStream(
                    list, name + "Encrypts", [=] { return plain; },
                    [=](std::istream& input, Hide const& in) {
                        std::ostringstream output;
                        of.createEncryptor(setup(in))->encrypt(input, output);
                        return bytes(output.str());
                    });
                addOfStream(list, name + "Decrypts", cipher, [=](std::istream& input, Hide const& in) {
                    std::ostringstream output;
                    of.createDecryptor(setup(in))->decrypt(input, output);
                    return bytes(output.str());
                });
            }
        }
    }
    list.push_back(
        {"aesKey", [](Hide const& in) { return provider.createAES192Key(in(pseudoRandomBytes(30)))->getKeyBytes(); }});
    for (AESMode const mode : {AESMode::CBC, AESMode::GCM}) { // the last byte of a padding, or of a tag, is wrong
        list.push_back({mode == AESMode::CBC ? "aesWrongPadding" : "aesWrongTag",
                        [=](Hide const& in) {
                            AESSetup const setup{in(pseudoRandomBytes(32, 4)), pseudoRandomBytes(16), mode};
                            return bytes(
                                catchFrom([&] { createAESDecryptor(setup)->decrypt(in(ByteArray(160, 1))); }).text);
                        },
                        false});
    }
}

// RSA

template <unsigned long N> void addRSA(List& list) {
    using Of = RSAKeys<N>;
    std::string const size = "rsa" + std::to_string(N);
    auto const prng = provider.createDefaultCryptoPRNG({});
    auto const file = [](char const* name) { return readRSAKey(N, name); };
    auto const readKeyIn = [=](Hide const& in) { return Of::createPrivateKey(in(file("private.der"))); };
    auto const readPrivate = [=] { return readKeyIn(Hide(false)); };
    auto const readPublic = [=] { return Of::createPublicKey(file("public.der")); };

    for (auto const& [kind, name] : {std::pair("DER", "private.der"), std::pair("PEM", "private.pem"),
                                     std::pair("TraditionalDER", "traditional.der")}) {
        list.push_back({size + "From" + kind, [=, read = name](Hide const& in) {
                            return Of::createPrivateKey(in(file(read)))->getPrivateExponent();
                        }});
    }
    for (auto const& [kind, name] : {std::pair("DER", "encrypted.der"), std::pair("PEM", "encrypted.pem"),
                                     std::pair("TraditionalPEM", "traditional-encrypted.pem")}) {
        addOfStream(
            list, size + "FromEncrypted" + kind, [=, read = name] { return file(read); },
            [](std::istream& input, Hide const& in) {
                return Of::createPrivateKey(input, in(std::string("password")))->getPrivateExponent();
            });
    }
    list.push_back({size + "FromNumbers", [=](Hide const& in) {
                        auto const key = Of::createPrivateKey(file("private.der"));
                        ByteArray const exponent = Of::createPublicKey(file("public.der"))->getPublicExponent();
                        return Of::createPrivateKey(in(key->getModulus()), in(key->getPrivateExponent()), in(exponent))
                            ->getPrivateExponent();
                    }});
    list.push_back({size + "ToDER", [=](Hide const& in) { return readKeyIn(in)->getDER(); }});
    list.push_back({size + "ToModulus", [=](Hide const& in) { return readKeyIn(in)->getModulus(); }});
    list.push_back({size + "Query",
                    [=](Hide const& in) {
                        auto const method = provider.getPrivateKeySignatureMethod(in(file("encrypted.pem")),
                                                                                  in(std::string("password")));
                        return bytes(std::to_string(static_cast<int>(method)));
                    },
                    false});

    auto const sign = [=](Hide const& in, RSAPaddingMode padding) {
        return Of::signer(readPrivate(), padding, prng)->sign(in(message), sha256());
    };
    auto const isValid = [=](Hide const& in, RSAPaddingMode padding, ByteArray const& signature) {
        auto const verifier = Of::verifier(readPublic(), padding, prng);
        return bytes(verifier->verify(in(message), revealed(signature), sha256()).isValid() ? "valid" : "invalid");
    };
    auto const pkcs1 = RSAPaddingMode::PKCS1_V1_5;
    auto const pss = RSAPaddingMode::PSS;
    list.push_back({size + "SignsPKCS1", [=](Hide const& in) { return sign(in, pkcs1); }, false});
    list.push_back(
        {size + "SignsPSS", [=](Hide const& in) { return isValid(Hide(false), pss, sign(in, pss)); }, false});
    addOfStream(list, size + "SignsPKCS1", readMessage, [=](std::istream& input, Hide const& in) {
        return in(Of::signer(readPrivate(), pkcs1, prng)->sign(input, sha256()));
    });
    for (RSAPaddingMode const padding : {pkcs1, pss}) {
        list.push_back({size + (padding == pss ? "VerifiesPSS" : "VerifiesPKCS1"),
                        [=](Hide const& in) { return isValid(in, padding, sign(Hide(false), padding)); }, false});
    }

    for (auto const& [name, padding] : {std::pair("PKCS1", pkcs1), std::pair("OAEP1", RSAPaddingMode::OAEP_SHA1),
                                        std::pair("OAEP256", RSAPaddingMode::OAEP_SHA256)}) {
        ByteArray const plain = pseudoRandomBytes(20);
        auto const encrypt = [=, p = padding](Hide const& in) {
            return Of::encryptor(readPublic(), p, prng)->encrypt(in(plain));
        };
        auto const decryptor = [=, p = padding] { return Of::decryptor(readPrivate(), p, prng); };
        list.push_back(
            {size + "Decrypts" + name, [=](Hide const& /*in*/) { return decryptor()->decrypt(encrypt(Hide(false))); }});
        list.push_back(
            {size + "Encrypts" + name, [=](Hide const& in) { return decryptor()->decrypt(revealed(encrypt(in))); }});
        list.push_back({size + "DecryptsStream" + name, [=](Hide const& /*in*/) {
                            std::istringstream input(text(encrypt(Hide(false))));
                            std::ostringstream output;
                            decryptor()->decrypt(input, output);
                            return bytes(output.str());
                        }});
        addOfStream(
            list, size + "Encrypts" + name, [=] { return plain; },
            [=, p = padding](std::istream& input, Hide const& /*in*/) {
                std::ostringstream output;
                Of::encryptor(readPublic(), p, prng)->encrypt(input, output);
                return decryptor()->decrypt(revealed(bytes(output.str())));
            });
    }
    list.push_back({size + "GivesRandomBytesForWrongPKCS1",
                    [=](Hide const& /*in*/) {
                        Of::decryptor(readPrivate(), pkcs1, prng)->decrypt(ByteArray(N / 8, 1));
                        return bytes("done");
                    },
                    false});
}

// Elliptic curves

template <class Of> void addECC(List& list, std::string const& file) {
    auto const readPrivateText = [=] { return readKey(file + "-private.pem"); };
    auto const encrypted = [=] { return bytes(encryptedPEM(readPrivate(text(readPrivateText())), "password")); };
    auto const readKeyIn = [=](Hide const& in) { return Of::privateKey(in(readPrivateText())); };
    auto const readPrivateKey = [=] { return readKeyIn(Hide(false)); };
    list.push_back({file + "FromPEM", [=](Hide const& in) { return readKeyIn(in)->getPrivateInteger(); }});
    list.push_back(
        {file + "FromInteger", [=](Hide const& in) {
             return Of::privateKeyFromInteger(in(readKeyIn(Hide(false))->getPrivateInteger()))->getPrivateInteger();
         }});
    addOfStream(list, file + "FromEncryptedPEM", encrypted, [](std::istream& input, Hide const& in) {
        return Of::privateKey(input, in(std::string("password")))->getPrivateInteger();
    });
    list.push_back({file + "ToPEM", [=](Hide const& in) { return readKeyIn(in)->getPEM(); }});

    auto const isValid = [=](Hide const& in, ByteArray const& signature) {
        auto const verifier = Of::verifier(Of::publicKey(readKey(file + "-public.pem")));
        return bytes(verifier->verify(in(message), revealed(signature), Of::engine()).isValid() ? "valid" : "invalid");
    };
    list.push_back({file + "Signs",
                    [=](Hide const& in) {
                        return isValid(Hide(false), Of::signer(readPrivateKey())->sign(in(message), Of::engine()));
                    },
                    false});
    list.push_back(
        {file + "Verifies",
         [=](Hide const& in) { return isValid(in, Of::signer(readPrivateKey())->sign(message, Of::engine())); },
         false});
    addOfStream(list, file + "Signs", readMessage, [=](std::istream& input, Hide const& in) {
        return in(isValid(Hide(false), Of::signer(readPrivateKey())->sign(input, Of::engine())));
    });
}

List flows() {
    List list;
    addDigests(list);
    addDerivationAndSeed(list);
    addAES(list);
    addRSA<1024>(list);
    addRSA<2048>(list);
    addRSA<4096>(list);
    addECC<P256>(list, "p256");
    addECC<Curve25519>(list, "ed25519");
    return list;
}

class SecretFlow : public UnderValgrind, public testing::WithParamInterface<Flow> {};

TEST_P(SecretFlow, LeadsToNoBranchAndNoAddress) {
    Flow const& flow = GetParam();
    ByteArray const expected = revealed(flow.run(Hide(false)));
    unsigned const before = reports();
    ByteArray const result = flow.run(hide);
    EXPECT_EQ(reports(), before);
    EXPECT_EQ(isSecret(result), flow.staysSecret); // else the mark was lost on the way, and nothing was shown
    EXPECT_EQ(revealed(result), expected);
}

INSTANTIATE_TEST_SUITE_P(Operations, SecretFlow, testing::ValuesIn(flows()),
                         [](auto const& row) { return row.param.name; });

// The PIN of a key in a hardware module

using PINFlow = UnderValgrind;

TEST_F(PINFlow, LeadsToNoBranchAndNoAddress) {
    Token const token;
    std::string uri = Token::uri("rsa2048");
    VALGRIND_MAKE_MEM_UNDEFINED(&uri[uri.find("1234")], 4);
    unsigned const before = reports();
    auto const signer =
        provider.createHSMSigner(utils::HSMObject(Token::module(), std::move(uri)), RSAPaddingMode::PSS, nullptr);
    EXPECT_EQ(signer->getKeySize(), 2048U);
    std::istringstream input(text(hide(message)));
    EXPECT_EQ(signer->sign(hide(message), sha256()).size(), 256U);
    EXPECT_EQ(signer->sign(input, sha256()).size(), 256U);
    EXPECT_EQ(reports(), before);
}

// What the tests above would notice

class PlantedFlow : public UnderValgrind {
protected:
    /// The number of reports while `leak(secret)` runs on bytes that came out of the library.
    template <class Leak> static unsigned reportsOf(ByteArray const& secret, Leak leak) {
        unsigned const before = reports();
        int volatile seen = leak(secret);
        static_cast<void>(seen);
        return reports() - before;
    }
};

constexpr std::array<int, 256> table{1, 2, 3};

std::vector<std::pair<std::string, std::function<int(ByteArray const&)>>> const leaks{
    {"a branch",
     [](ByteArray const& secret) {
         int volatile result = 1;
         if (secret[5] == 7) {
             result = 2;
         }
         return static_cast<int>(result);
     }},
    {"an index", [](ByteArray const& secret) { return table[secret[3]]; }},
    {"a comparison", [](ByteArray const& secret) { return secret == ByteArray(secret.size()) ? 1 : 0; }},
    {"a search",
     [](ByteArray const& secret) { return std::find(secret.begin(), secret.end(), '-') != secret.end() ? 1 : 0; }},
};

TEST_F(PlantedFlow, IsNoticedAtEachPlaceWhereSecretsComeBy) {
    ByteArray const key = pseudoRandomBytes(32);
    ByteArray const iv(16);
    auto const decrypted = [&] {
        ByteArray const cipherText = createAESEncryptor({key, iv})->encrypt(message);
        return createAESDecryptor({hide(key), iv})->decrypt(cipherText);
    };
    std::vector<std::pair<std::string, ByteArray>> const secrets{
        {"an input", hide(message)},
        {"a digest", provider.createSHA256DigestEngine()->computeDigest(hide(message))},
        {"a plain text", decrypted()},
        {"an exported key", RSAKeys<2048>::createPrivateKey(hide(readRSAKey(2048, "private.der")))->getDER()},
    };
    for (auto const& [secretName, secret] : secrets) {
        for (auto const& [leakName, leak] : leaks) {
            EXPECT_NE(reportsOf(secret, leak), 0U) << leakName << " on " << secretName;
            EXPECT_EQ(reportsOf(revealed(secret), leak), 0U) << leakName << " on " << secretName;
        }
    }
}

} // namespace
