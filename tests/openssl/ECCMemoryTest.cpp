// What memory holds of a private key when it is given back, by the library itself and by libcrypto for it. A program of
// its own, since it takes over both heaps.
#include "support/Allocations.h"
#include "support/ECC.h"
#include "support/PEM.h"

#include <gtest/gtest.h>

#include <openssl/core_names.h>
#include <openssl/crypto.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace support;

/// Looks at every block that libcrypto releases on this thread while it lives.
class LibcryptoWatch {
public:
    explicit LibcryptoWatch(std::vector<ByteArray> secrets) : secrets_(std::move(secrets)) { current = this; }

    ~LibcryptoWatch() { current = nullptr; }

    LibcryptoWatch(LibcryptoWatch const&) = delete;
    LibcryptoWatch& operator=(LibcryptoWatch const&) = delete;

    std::size_t blocks() const { return blocks_; }

    /// How many blocks were released with a secret still in them.
    std::size_t blocksWithSecret() const { return blocksWithSecret_; }

    static void* allocate(std::size_t size, char const* /*file*/, int /*line*/) {
        return size == 0 ? nullptr : std::malloc(size);
    }

    static void* reallocate(void* block, std::size_t size, char const* file, int line) {
        void* const moved = allocate(size, file, line);
        if (block != nullptr && (moved != nullptr || size == 0)) {
            std::memcpy(moved, block, std::min(size, malloc_usable_size(block)));
            release(block, file, line);
        }
        return moved;
    }

    static void release(void* block, char const* /*file*/, int /*line*/) {
        if (block != nullptr && current != nullptr) {
            current->look(block);
        }
        std::free(block);
    }

private:
    void look(void const* block) {
        ++blocks_;
        std::size_t const size = malloc_usable_size(const_cast<void*>(block));
        bool const found = std::any_of(secrets_.begin(), secrets_.end(), [&](ByteArray const& secret) {
            return memmem(block, size, secret.data(), secret.size()) != nullptr;
        });
        blocksWithSecret_ += found ? 1 : 0;
    }

    static thread_local LibcryptoWatch* current;

    std::vector<ByteArray> secrets_;
    std::size_t blocks_ = 0;
    std::size_t blocksWithSecret_ = 0;
};

thread_local LibcryptoWatch* LibcryptoWatch::current = nullptr;

// Before libcrypto allocates anything.
bool const installed =
    CRYPTO_set_mem_functions(LibcryptoWatch::allocate, LibcryptoWatch::reallocate, LibcryptoWatch::release) == 1;

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
        AllocationRecording const recording;
        operation();
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
    ASSERT_TRUE(installed);
    EXPECT_EQ(this->leftBehind({bytes("a secret of some length")},
                               [] { OPENSSL_free(OPENSSL_strdup("this is a secret of some length")); }),
              1U);
}

TYPED_TEST(ECCMemory, HoldsNothingOfAKeyMadeFromItsInteger) {
    EXPECT_EQ(this->leftBehind(partsOf(this->integer), [&] { TypeParam::privateKeyFromInteger(this->integer); }), 0U);
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

} // namespace
