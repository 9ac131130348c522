// What memory holds of a private key when it is given back, by the library itself and by libcrypto for it. A program of
// its own, since it takes over both heaps.
#include "support/Allocations.h"
#include "support/ECC.h"
#include "support/Faults.h"
#include "support/LibcryptoHeap.h"
#include "support/PEM.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/core_names.h>
#include <openssl/crypto.h>

#include <algorithm>
#include <functional>
#include <new>
#include <optional>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using namespace support;

ByteArray part(ByteArray const& bytes, std::size_t at, std::size_t size) {
    auto const begin = bytes.begin() + static_cast<std::ptrdiff_t>(at);
    return {begin, begin + static_cast<std::ptrdiff_t>(size)};
}

/// Twelve bytes out of a private number, as they stand in encodings and as they stand in libcrypto's numbers.
std::vector<ByteArray> partsOf(ByteArray const& integer) {
    ByteArray const forwards = part(integer, 4, 12);
    return {forwards, ByteArray(forwards.rbegin(), forwards.rend())};
}

/// Twelve characters in the middle of the base64 text of a private key.
std::vector<ByteArray> partsOf(std::string const& pem) {
    std::size_t const body = pem.find('\n') + 1;
    std::size_t const end = pem.rfind("\n-----END");
    return {part(bytes(pem), (body + end) / 2 - 20, 12)};
}

template <class Factory> class ECCMemory : public testing::Test {
protected:
    typename Factory::PrivateKey const key = Factory::generateKeyPair()->getPrivateKey();
    ByteArray const integer = key->getPrivateInteger();
    std::string const pem = text(key->getPEM());

    static bool holds(AllocatedBlock const& block, std::vector<ByteArray> const& secrets) {
        return std::any_of(secrets.begin(), secrets.end(), [&](ByteArray const& secret) {
            return std::search(block.atRelease.begin(), block.atRelease.end(), secret.begin(), secret.end()) !=
                   block.atRelease.end();
        });
    }

    /// How many blocks of either heap `operation` gives back with one of `secrets` in them.
    template <class Operation>
    static std::size_t leftBehind(std::vector<ByteArray> const& secrets, Operation&& operation) {
        operation(); // what libcrypto keeps for later is made first
        LibcryptoWatch const watch(secrets);
        AllocationRecording recording;
        operation();
        recording.stop();
        EXPECT_GT(watch.blocks() + recording.blocks().size(), 0U);
        return watch.blocksWithSecret() + static_cast<std::size_t>(std::count_if(
                                              recording.blocks().begin(), recording.blocks().end(),
                                              [&](AllocatedBlock const& block) { return holds(block, secrets); }));
    }

    static std::vector<ByteArray> both(std::vector<ByteArray> left, std::vector<ByteArray> const& right) {
        left.insert(left.end(), right.begin(), right.end());
        return left;
    }

    std::vector<ByteArray> secrets() const { return both(partsOf(integer), partsOf(pem)); }
};

TYPED_TEST_SUITE(ECCMemory, BothCurves, CurveNames);

TYPED_TEST(ECCMemory, IsWatched) {
    ASSERT_TRUE(isLibcryptoHeapReplaced());
    EXPECT_EQ(this->leftBehind({bytes("a secret of some length")},
                               [] { OPENSSL_free(OPENSSL_strdup("this is a secret of some length")); }),
              1U);
}

TYPED_TEST(ECCMemory, HoldsNothingOfAKeyMadeFromItsInteger) {
    EXPECT_EQ(this->leftBehind(partsOf(this->integer), [&] { TypeParam::privateKeyFromInteger(this->integer); }), 0U);
}

TYPED_TEST(ECCMemory, HoldsNothingOfAnIntegerThatBecomesNoKey) {
    std::vector<std::string> calls{"EVP_PKEY_new_raw_private_key"};
    if (TypeParam::curve == EllipticCurve::P256) {
        calls = {"EC_POINT_mul",
                 "EC_POINT_point2oct",
                 "OSSL_PARAM_BLD_push_BN",
                 "OSSL_PARAM_BLD_push_octet_string",
                 "OSSL_PARAM_BLD_to_param",
                 "EVP_PKEY_fromdata_init",
                 "EVP_PKEY_fromdata"};
    }
    for (std::string const& call : calls) {
        EXPECT_EQ(this->leftBehind(partsOf(this->integer),
                                   [&] {
                                       Failing const failing(call);
                                       catchFrom([&] { TypeParam::privateKeyFromInteger(this->integer); });
                                   }),
                  0U)
            << call;
    }
}

TYPED_TEST(ECCMemory, HoldsNoMoreOfAnExportedIntegerThanLibcryptoLeaves) {
    RawKey const raw = readPrivate(this->pem);
    std::size_t const byHand = this->leftBehind(partsOf(this->integer), [&] {
        OSSL_PARAM* parameters = nullptr;
        EVP_PKEY_todata(raw.get(), EVP_PKEY_KEYPAIR, &parameters);
        OSSL_PARAM* const exported = OSSL_PARAM_locate(parameters, OSSL_PKEY_PARAM_PRIV_KEY);
        OPENSSL_cleanse(exported->data, exported->data_size);
        OSSL_PARAM_free(parameters);
    });
    ByteArray result;
    EXPECT_LE(this->leftBehind(partsOf(this->integer), [&] { result = this->key->getPrivateInteger(); }), byHand);
    EXPECT_LE(byHand, TypeParam::curve == EllipticCurve::P256 ? 0U : 1U);
    EXPECT_EQ(result, this->integer);
}

TYPED_TEST(ECCMemory, HoldsNoMoreOfAnIntegerWhoseExportFailsInTheEnd) {
    ByteArray result;
    std::size_t const afterSuccess =
        this->leftBehind(partsOf(this->integer), [&] { result = this->key->getPrivateInteger(); });
    std::size_t const afterFailure = this->leftBehind(partsOf(this->integer), [&] {
        Failing failing("EVP_PKEY_todata");
        failing.carriedOut();
        EXPECT_EQ(catchFrom([&] { this->key->getPrivateInteger(); }).text,
                  "Failed to extract information from private EVP_PKEY");
    });
    EXPECT_LE(afterFailure, afterSuccess);
}

TYPED_TEST(ECCMemory, HoldsNoSecretAfterASignature) {
    auto const signer = TypeParam::signer(this->key);
    auto const engine = TypeParam::engine();
    EXPECT_EQ(this->leftBehind(partsOf(this->integer), [&] { signer->sign(bytes("abc"), engine); }), 0U);
}

/// The same libcrypto calls by hand; they leave copies behind that nobody else can reach.
RawKey readByHand(std::string const& pem) {
    std::unique_ptr<BIO, decltype(&BIO_free)> const bio(BIO_new(BIO_s_mem()), &BIO_free);
    BIO_write(bio.get(), pem.data(), static_cast<int>(pem.size()));
    return owned(PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, const_cast<char*>("")));
}

TYPED_TEST(ECCMemory, HoldsNoMoreOfAKeyTextThanLibcryptoLeaves) {
    ByteArray const asBytes = bytes(this->pem);
    std::size_t const byHand = this->leftBehind(this->secrets(), [&] { readByHand(this->pem); });
    EXPECT_LE(this->leftBehind(this->secrets(), [&] { TypeParam::privateKey(asBytes); }), byHand);

    std::istringstream stream(this->pem);
    EXPECT_LE(this->leftBehind(this->secrets(),
                               [&] {
                                   stream.clear();
                                   stream.seekg(0);
                                   TypeParam::privateKey(stream, "");
                               }),
              byHand);
}

TYPED_TEST(ECCMemory, HoldsNothingOfAKeyTextReadInPieces) {
    std::string const clutter(100000, '#'); // the text grows a few times
    std::istringstream stream(this->pem + clutter + "\n" + this->pem);
    EXPECT_LE(this->leftBehind(partsOf(this->pem),
                               [&] {
                                   stream.clear();
                                   stream.seekg(0);
                                   TypeParam::privateKey(stream, "");
                               }),
              this->leftBehind(partsOf(this->pem), [&] { readByHand(this->pem + clutter); }));
}

TYPED_TEST(ECCMemory, HoldsNoMoreOfAnExportThanLibcryptoLeaves) {
    RawKey const raw = readPrivate(this->pem);
    ByteArray result;
    std::size_t const byHand = this->leftBehind(this->secrets(), [&] {
        std::unique_ptr<BIO, decltype(&BIO_free)> const bio(BIO_new(BIO_s_mem()), &BIO_free);
        PEM_write_bio_PKCS8PrivateKey(bio.get(), raw.get(), nullptr, nullptr, 0, nullptr, nullptr);
    });
    std::size_t const left = this->leftBehind(this->secrets(), [&] { result = this->key->getPEM(); });
    EXPECT_LE(left, byHand);
    EXPECT_EQ(text(result), this->pem);
}

// When memory runs out

using foundation::crypto::utils::Exception;
using foundation::crypto::utils::InternalException;

/// Runs `operation` with each allocation of `Exhausted`'s heap failing, and hands each result that there is to `judge`.
/// What is thrown is of the library's own family or std::bad_alloc.
template <class Exhausted, class Operation, class Judge>
void exhaust(char const* name, Operation&& operation, Judge&& judge) {
    SCOPED_TRACE(name);
    auto const inTheFamily = [&] {
        try {
            return operation();
        } catch (std::bad_alloc const&) {
            throw Exception("out of memory");
        }
    };
    failEach<Exhausted>(inTheFamily, [&](auto const* result) {
        if (result != nullptr) {
            judge(*result);
        }
    });
}

template <class Exhausted, class Factory> void exhaustEverything() {
    auto const pair = Factory::generateKeyPair();
    ByteArray const privateText = pair->getPrivateKey()->getPEM();
    ByteArray const publicText = pair->getPublicKey()->getPEM();
    ByteArray const integer = pair->getPrivateKey()->getPrivateInteger();
    ByteArray const point = pair->getPublicKey()->getPublicPoint();
    auto const signer = Factory::signer(pair->getPrivateKey());
    auto const verifier = Factory::verifier(pair->getPublicKey());
    auto const engine = Factory::engine();
    ByteArray const message = bytes("abc");
    ByteArray const other = bytes("abd");
    ByteArray const signature = signer->sign(message, engine);
    std::istringstream stream;
    auto const streamOf = [&](ByteArray const& content) -> std::istream& {
        stream.clear();
        stream.str(text(content));
        return stream;
    };
    auto const usable = [&](typename Factory::PrivateKey const& key) { EXPECT_EQ(key->getPrivateInteger(), integer); };
    auto const usablePublic = [&](typename Factory::PublicKey const& key) { EXPECT_EQ(key->getPublicPoint(), point); };
    exhaust<Exhausted>(
        "generate", [] { return Factory::generateKeyPair(); },
        [&](auto const& made) {
            auto const made2 = Factory::signer(made->getPrivateKey())->sign(message, engine);
            EXPECT_TRUE(Factory::verifier(made->getPublicKey())->verify(message, made2, engine).isValid());
        });
    exhaust<Exhausted>("private key", [&] { return Factory::privateKey(privateText); }, usable);
    exhaust<Exhausted>("private key stream", [&] { return Factory::privateKey(streamOf(privateText), ""); }, usable);
    EXPECT_TRUE((stream.flags() & std::ios_base::skipws) != 0);
    exhaust<Exhausted>("integer", [&] { return Factory::privateKeyFromInteger(integer); }, usable);
    exhaust<Exhausted>("public key", [&] { return Factory::publicKey(publicText); }, usablePublic);
    exhaust<Exhausted>("public key stream", [&] { return Factory::publicKey(streamOf(publicText)); }, usablePublic);
    exhaust<Exhausted>("point", [&] { return Factory::publicKeyFromPoint(point); }, usablePublic);
    exhaust<Exhausted>(
        "private PEM", [&] { return pair->getPrivateKey()->getPEM(); },
        [&](ByteArray const& found) { EXPECT_EQ(found, privateText); });
    exhaust<Exhausted>(
        "public PEM", [&] { return pair->getPublicKey()->getPEM(); },
        [&](ByteArray const& found) { EXPECT_EQ(found, publicText); });
    exhaust<Exhausted>(
        "exported integer", [&] { return pair->getPrivateKey()->getPrivateInteger(); },
        [&](ByteArray const& found) { EXPECT_EQ(found, integer); });
    exhaust<Exhausted>(
        "exported point", [&] { return pair->getPublicKey()->getPublicPoint(); },
        [&](ByteArray const& found) { EXPECT_EQ(found, point); });
    // Out of memory, libcrypto itself may make a wrong ECDSA signature, or look for a nonce for minutes.
    if (std::is_same_v<Exhausted, FailingAllocation> || Factory::curve != EllipticCurve::P256) {
        exhaust<Exhausted>(
            "sign", [&] { return signer->sign(message, engine); },
            [&](ByteArray const& made) { EXPECT_TRUE(verifier->verify(message, made, engine).isValid()); });
        exhaust<Exhausted>(
            "sign stream", [&] { return signer->sign(streamOf(message), engine); },
            [&](ByteArray const& made) { EXPECT_TRUE(verifier->verify(message, made, engine).isValid()); });
    }
    EXPECT_TRUE((stream.flags() & std::ios_base::skipws) != 0);
    exhaust<Exhausted>("verify", [&] { return verifier->verify(message, signature, engine); }, [](auto) {});
    exhaust<Exhausted>(
        "refuse", [&] { return verifier->verify(other, signature, engine); },
        [](auto status) { EXPECT_FALSE(status.isValid()); });
}

/// An engine that the curve accepts, after whose last answer no memory is left.
class LastBreath {
public:
    DigestEnginePtr engine = std::make_shared<HostEngine>([] { return "SHA512"; },
                                                          [this] {
                                                              exhausted_.emplace();
                                                              return "sha512";
                                                          });

    bool happened() {
        bool const result = exhausted_.has_value() && exhausted_->happened();
        exhausted_.reset();
        return result;
    }

private:
    std::optional<FailingAllocation> exhausted_;
};

TYPED_TEST(ECCMemory, ThatTheLibraryItselfRunsOutOfIsSaidToBeThat) {
    auto const signer = TypeParam::signer(this->key);
    ByteArray const message = bytes("abc");
    std::istringstream stream("abc");
    LastBreath last;
    EXPECT_THROWS(std::bad_alloc, std::bad_alloc().what(), signer->sign(message, last.engine));
    EXPECT_TRUE(last.happened());
    EXPECT_THROWS(std::bad_alloc, std::bad_alloc().what(), signer->sign(stream, last.engine));
    EXPECT_TRUE(last.happened());
    EXPECT_TRUE((stream.flags() & std::ios_base::skipws) != 0);
}

TYPED_TEST(ECCMemory, ThatARefusalRunsOutOfIsSaidToBeThat) {
    auto const signer = TypeParam::signer(this->key);
    auto const verifier = TypeParam::verifier(TypeParam::generateKeyPair()->getPublicKey());
    ByteArray const message = bytes("abc");
    std::optional<FailingAllocation> exhausted;
    int asked = 0;
    auto const refused = std::make_shared<HostEngine>(
        [&] {
            if (++asked % 2 == 0) { // for the message of the refusal
                exhausted.emplace();
            }
            return "MD5";
        },
        nullptr);
    for (auto const& operation : std::vector<std::function<void()>>{
             [&] { signer->sign(message, refused); }, [&] { verifier->verify(message, message, refused); }}) {
        EXPECT_THROWS(std::bad_alloc, std::bad_alloc().what(), operation());
        EXPECT_TRUE(exhausted->happened());
        exhausted.reset();
    }
    EXPECT_EQ(asked, 4);
}

TYPED_TEST(ECCMemory, ThatAnEngineRunsOutOfIsTheEnginesWord) {
    auto const signer = TypeParam::signer(this->key);
    auto const verifier = TypeParam::verifier(TypeParam::generateKeyPair()->getPublicKey());
    auto const exhausted = []() -> std::string { throw std::bad_alloc(); };
    for (auto const& engine : {std::make_shared<HostEngine>(exhausted, nullptr),
                               std::make_shared<HostEngine>([] { return "SHA512"; }, exhausted)}) {
        EXPECT_THROWS(InternalException, std::bad_alloc().what(), signer->sign(bytes("abc"), engine));
        EXPECT_THROWS(InternalException, std::bad_alloc().what(), verifier->verify(bytes("abc"), {}, engine));
    }
}

TYPED_TEST(ECCMemory, ThatRunsOutIsReported) {
    exhaustEverything<FailingAllocation, TypeParam>();
}

/// What a host's stream throws becomes an exception of the library; the library's own memory does not.
TYPED_TEST(ECCMemory, ThatRunsOutWhileAStreamIsReadIsNotTranslated) {
    auto const signer = TypeParam::signer(this->key);
    auto const verifier = TypeParam::verifier(TypeParam::generateKeyPair()->getPublicKey());
    auto const engine = TypeParam::engine();
    ByteArray const signature(64);
    std::function<void(std::istream&)> const operations[]{
        [&](std::istream& stream) { signer->sign(stream, engine); },
        [&](std::istream& stream) { verifier->verify(stream, signature, engine); },
        [&](std::istream& stream) { TypeParam::privateKey(stream, ""); },
        [&](std::istream& stream) { TypeParam::publicKey(stream); },
    };
    for (auto const& operation : operations) {
        std::istringstream stream("message");
        FailingAllocation const exhausts;
        EXPECT_THROWS(std::bad_alloc, "std::bad_alloc", operation(stream));
        EXPECT_TRUE(exhausts.happened());
        EXPECT_TRUE((stream.flags() & std::ios_base::skipws) != 0);
    }
}

TYPED_TEST(ECCMemory, ThatLibcryptoRunsOutOfIsReported) {
    exhaustEverything<ExhaustedLibcrypto, TypeParam>();
}

} // namespace
