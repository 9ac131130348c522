// Damaged keys: whatever the bytes, a key loads or the library says why not in an exception of its own family.
#include "support/Bytes.h"
#include "support/Mutations.h"
#include "support/Provider.h"
#include "support/RSAKeys.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/err.h>

#include <cstddef>
#include <functional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace support;
using foundation::crypto::utils::Exception;

int loaded = 0;
int refused = 0;

/// Makes a key by `load` and exports it by `use`; either may be refused, but not otherwise than in the family.
template <class Load, class Use> void attempt(Load&& load, Use&& use) {
    try {
        auto const key = load();
        ++loaded;
        use(key);
    } catch (Exception const&) {
        ++refused;
    } catch (std::exception const& error) {
        ADD_FAILURE() << "an exception of another family: " << error.what();
    }
    ERR_clear_error();
}

template <class Export> void tryExport(Export&& perform) {
    try {
        perform();
    } catch (Exception const&) {
        ERR_clear_error();
    }
}

auto const usePrivate = [](auto const& key) {
    tryExport([&] { key->getDER(); });
    tryExport([&] { key->getModulus(); });
    tryExport([&] { key->getPrivateExponent(); });
};

auto const usePublic = [](auto const& key) {
    tryExport([&] { key->getDER(); });
    tryExport([&] { key->getModulus(); });
    tryExport([&] { key->getPublicExponent(); });
};

auto const useNothing = [](auto const& /*method*/) {};

template <class OfSize> void loadPrivate(ByteArray const& encoded) {
    attempt([&] { return OfSize::createPrivateKey(encoded); }, usePrivate);
    attempt([&] { return provider.getPrivateKeySignatureMethod(encoded, "password"); }, useNothing);
}

template <class OfSize> void loadEncrypted(ByteArray const& encoded) {
    attempt(
        [&] {
            std::istringstream stream(text(encoded));
            return OfSize::createPrivateKey(stream, "password");
        },
        usePrivate);
}

template <class OfSize> void loadPublic(ByteArray const& encoded) {
    attempt([&] { return OfSize::createPublicKey(encoded); }, usePublic);
    attempt(
        [&] {
            std::istringstream stream(text(encoded));
            return OfSize::createPublicKey(stream);
        },
        usePublic);
    attempt([&] { return provider.getPublicKeySignatureMethod(encoded); }, useNothing);
}

template <class OfSize> void damageFiles(std::mt19937_64& random, int rounds) {
    struct {
        char const* form;
        std::function<void(ByteArray const&)> load;
    } const forms[] = {
        {"private.pem", loadPrivate<OfSize>},
        {"private.der", loadPrivate<OfSize>},
        {"traditional.pem", loadPrivate<OfSize>},
        {"traditional.der", loadPrivate<OfSize>},
        {"encrypted.pem", loadEncrypted<OfSize>},
        {"traditional-encrypted.pem", loadEncrypted<OfSize>},
        {"public.pem", loadPublic<OfSize>},
        {"public.der", loadPublic<OfSize>},
        {"traditional-public.pem", loadPublic<OfSize>},
    };

    for (auto const& [form, load] : forms) {
        ByteArray const whole = readRSAKey(OfSize::bits, form);
        for (int round = 0; round < rounds; ++round) {
            load(mutate(whole, random));
        }
    }
}

TEST(DamagedRSAKeys, InFilesAreLoadedOrRefused) {
    loaded = refused = 0;
    std::mt19937_64 random(20261120);
    damageFiles<RSAKeys<1024>>(random, 200);
    damageFiles<RSAKeys<2048>>(random, 200);
    damageFiles<RSAKeys<4096>>(random, 50); // 4050 files in all
    EXPECT_GT(loaded, 300);
    EXPECT_GT(refused, 4000);
}

// The outer structure of an encrypted DER key holds the number of iterations that opening it takes, which a damage can
// raise to billions: only what comes after it is damaged here.
TEST(DamagedRSAKeys, InEncryptedDERAreLoadedOrRefused) {
    constexpr std::size_t parametersEnd = 120;
    loaded = refused = 0;
    std::mt19937_64 random(20261120);
    ByteArray const whole = readRSAKey(1024, "encrypted.der");
    for (int round = 0; round < 250; ++round) {
        ByteArray encoded(whole.begin(), whole.begin() + parametersEnd);
        ByteArray const rest = mutate(ByteArray(whole.begin() + parametersEnd, whole.end()), random);
        encoded.insert(encoded.end(), rest.begin(), rest.end());
        loadEncrypted<RSAKeys<1024>>(encoded);
    }
    EXPECT_GT(refused, 150);
}

TEST(DamagedRSAKeys, InNumbersAreLoadedOrRefused) {
    loaded = refused = 0;
    std::mt19937_64 random(20261120);
    Vector const numbers = readVectors("keys/rsa_numbers.txt").at(0);
    ByteArray const n = numbers.bytes("n");
    ByteArray const d = numbers.bytes("d");
    ByteArray const e = numbers.bytes("e");
    auto const sometimes = [&](ByteArray const& number) { return random() % 3 == 0 ? number : mutate(number, random); };
    for (int round = 0; round < 700; ++round) {
        ByteArray const modulus = sometimes(n);
        ByteArray const publicExponent = sometimes(e);
        attempt([&] { return provider.createRSA1024PrivateKey(modulus, sometimes(d), publicExponent); }, usePrivate);
        attempt([&] { return provider.createRSA1024PublicKey(modulus, publicExponent); }, usePublic);
    }
    EXPECT_GT(loaded, 200);
    EXPECT_GT(refused, 200);
}

} // namespace
