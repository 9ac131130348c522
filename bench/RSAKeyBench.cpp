#include "Case.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <openssl/core_names.h>
#include <openssl/err.h>
#include <openssl/param_build.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <array>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>

namespace {

using namespace bench;
using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::ByteArray;

CryptoProvider const provider;

using Bio = Held<BIO, BIO_free_all>;
using Key = Held<EVP_PKEY, EVP_PKEY_free>;
using Number = Held<BIGNUM, BN_free>;

ByteArray contentOf(BIO* bio) {
    char* data = nullptr;
    long const size = BIO_get_mem_data(bio, &data);
    return {data, data + size};
}

ByteArray toBytes(BIGNUM const* number) {
    ByteArray bytes(static_cast<std::size_t>(BN_num_bytes(number)));
    BN_bn2bin(number, bytes.data());
    return bytes;
}

/// One key in the forms that are loaded.
struct Forms {
    Key key;
    Key publicKey;
    ByteArray privatePEM, privateDER, publicPEM, publicDER, n, d, e;

    explicit Forms(unsigned int bits) : key(EVP_RSA_gen(bits)) {
        auto const write = [](auto perform) {
            Bio const bio(BIO_new(BIO_s_mem()));
            mustSucceed(perform(bio.get()) == 1);
            return contentOf(bio.get());
        };
        EVP_PKEY* const raw = key.get();
        privatePEM =
            write([=](BIO* bio) { return PEM_write_bio_PrivateKey(bio, raw, nullptr, nullptr, 0, nullptr, nullptr); });
        privateDER =
            write([=](BIO* bio) { return i2d_PKCS8PrivateKey_bio(bio, raw, nullptr, nullptr, 0, nullptr, nullptr); });
        publicPEM = write([=](BIO* bio) { return PEM_write_bio_PUBKEY(bio, raw); });
        publicDER = write([=](BIO* bio) { return i2d_PUBKEY_bio(bio, raw); });
        auto const number = [=](char const* name) {
            BIGNUM* value = nullptr;
            mustSucceed(EVP_PKEY_get_bn_param(raw, name, &value) == 1);
            return toBytes(Number(value).get());
        };
        n = number(OSSL_PKEY_PARAM_RSA_N);
        d = number(OSSL_PKEY_PARAM_RSA_D);
        e = number(OSSL_PKEY_PARAM_RSA_E);
        unsigned char const* data = publicDER.data();
        publicKey.reset(d2i_PUBKEY(nullptr, &data, static_cast<long>(publicDER.size())));
    }
};

Forms const& forms() {
    static Forms const made(2048);
    return made;
}

Forms const& largeForms() {
    static Forms const made(4096);
    return made;
}

Bio written(ByteArray const& encoded) {
    Bio bio(BIO_new(BIO_s_mem()));
    mustSucceed(BIO_write(bio.get(), encoded.data(), static_cast<int>(encoded.size())) > 0);
    return bio;
}

Bio inPlace(ByteArray const& encoded) {
    return Bio(BIO_new_mem_buf(encoded.data(), static_cast<int>(encoded.size())));
}

char none[] = "";

/// What reads the keys of one size.
struct Size {
    std::string name;
    int bits;
    Forms const& (*forms)();
    void (*readPrivate)(ByteArray const&);
    void (*readPublic)(ByteArray const&);
};

Size const size2048{"RSA-2048", 2048, forms,
                    [](ByteArray const& encoded) { provider.createRSA2048PrivateKey(encoded); },
                    [](ByteArray const& encoded) { provider.createRSA2048PublicKey(encoded); }};
Size const size4096{"RSA-4096", 4096, largeForms,
                    [](ByteArray const& encoded) { provider.createRSA4096PrivateKey(encoded); },
                    [](ByteArray const& encoded) { provider.createRSA4096PublicKey(encoded); }};

void addLoading(Size const& size) {
    std::string const privatePEM = size.name + " private key from PEM/";
    add(privatePEM, "library", 0,
        [=] { return [&forms = size.forms(), size] { size.readPrivate(forms.privatePEM); }; });
    add(privatePEM, "same calls", 0, [=] {
        return [&forms = size.forms(), bits = size.bits] {
            Key const key(PEM_read_bio_PrivateKey(written(forms.privatePEM).get(), nullptr, nullptr, none));
            mustSucceed(EVP_PKEY_get_bits(key.get()) == bits);
        };
    });
    add(privatePEM, "best", 0, [=] {
        return [&forms = size.forms()] {
            Key const key(PEM_read_bio_PrivateKey(inPlace(forms.privatePEM).get(), nullptr, nullptr, none));
            mustSucceed(key != nullptr);
        };
    });

    std::string const privateDER = size.name + " private key from PKCS #8 DER/";
    add(privateDER, "library", 0,
        [=] { return [&forms = size.forms(), size] { size.readPrivate(forms.privateDER); }; });
    add(privateDER, "same calls", 0, [=] {
        return [&forms = size.forms(), bits = size.bits] {
            Bio const bio = written(forms.privateDER);
            mustSucceed(d2i_PKCS8PrivateKey_bio(bio.get(), nullptr, nullptr, none) == nullptr);
            ERR_clear_error();
            BIO_ctrl(bio.get(), BIO_CTRL_RESET, 0, nullptr);
            BIO_write(bio.get(), forms.privateDER.data(), static_cast<int>(forms.privateDER.size()));
            Key const key(d2i_PrivateKey_bio(bio.get(), nullptr));
            mustSucceed(EVP_PKEY_get_bits(key.get()) == bits);
        };
    });
    add(privateDER, "best", 0, [=] {
        return [&forms = size.forms()] {
            unsigned char const* data = forms.privateDER.data();
            Key const key(d2i_AutoPrivateKey(nullptr, &data, static_cast<long>(forms.privateDER.size())));
            mustSucceed(key != nullptr);
        };
    });

    std::string const publicPEM = size.name + " public key from PEM/";
    add(publicPEM, "library", 0, [=] { return [&forms = size.forms(), size] { size.readPublic(forms.publicPEM); }; });
    add(publicPEM, "same calls", 0, [=] {
        return [&forms = size.forms(), bits = size.bits] {
            Key const key(PEM_read_bio_PUBKEY(written(forms.publicPEM).get(), nullptr, nullptr, none));
            mustSucceed(EVP_PKEY_get_bits(key.get()) == bits);
        };
    });
    add(publicPEM, "best", 0, [=] {
        return [&forms = size.forms()] {
            Key const key(PEM_read_bio_PUBKEY(inPlace(forms.publicPEM).get(), nullptr, nullptr, none));
            mustSucceed(key != nullptr);
        };
    });

    std::string const publicDER = size.name + " public key from DER/";
    add(publicDER, "library", 0, [=] { return [&forms = size.forms(), size] { size.readPublic(forms.publicDER); }; });
    add(publicDER, "same calls", 0, [=] {
        return [&forms = size.forms(), bits = size.bits] {
            Key const key(d2i_PUBKEY_bio(written(forms.publicDER).get(), nullptr));
            mustSucceed(EVP_PKEY_get_bits(key.get()) == bits);
        };
    });
    add(publicDER, "best", 0, [=] {
        return [&forms = size.forms()] {
            unsigned char const* data = forms.publicDER.data();
            Key const key(d2i_PUBKEY(nullptr, &data, static_cast<long>(forms.publicDER.size())));
            mustSucceed(key != nullptr);
        };
    });
}

void addStreamLoading() {
    add("RSA-2048 private key from a PEM stream/", "library", 0, [] {
        std::string const text(forms().privatePEM.begin(), forms().privatePEM.end());
        return [stream = std::make_shared<std::istringstream>(text)] {
            stream->clear();
            stream->seekg(0);
            benchmark::DoNotOptimize(provider.createRSA2048PrivateKey(*stream, ""));
        };
    });
    add("RSA-2048 private key from a PEM stream/", "same calls", 0, [] {
        std::string const text(forms().privatePEM.begin(), forms().privatePEM.end());
        return [stream = std::make_shared<std::istringstream>(text)] {
            stream->clear();
            stream->seekg(0);
            *stream >> std::noskipws;
            ByteArray const encoded{std::istream_iterator<unsigned char>(*stream),
                                    std::istream_iterator<unsigned char>()};
            Key const key(PEM_read_bio_PrivateKey(written(encoded).get(), nullptr, nullptr, none));
            mustSucceed(EVP_PKEY_get_bits(key.get()) == 2048);
        };
    });
}

Key buildByHand() {
    auto const toNumber = [](ByteArray const& bytes) {
        return Number(BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr));
    };
    Key const blank(EVP_PKEY_new());
    Number const n = toNumber(forms().n);
    Number const d = toNumber(forms().d);
    Number const e = toNumber(forms().e);
    Held<OSSL_PARAM_BLD, OSSL_PARAM_BLD_free> const builder(OSSL_PARAM_BLD_new());
    OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_N, n.get());
    OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_E, e.get());
    OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_D, d.get());
    Held<OSSL_PARAM, OSSL_PARAM_free> const parameters(OSSL_PARAM_BLD_to_param(builder.get()));
    Held<EVP_PKEY_CTX, EVP_PKEY_CTX_free> const context(EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr));
    EVP_PKEY* built = nullptr;
    mustSucceed(EVP_PKEY_fromdata_init(context.get()) == 1 &&
                EVP_PKEY_fromdata(context.get(), &built, EVP_PKEY_KEYPAIR, parameters.get()) == 1);
    return Key(built);
}

void addBuilding() {
    add("RSA-2048 private key from its numbers/", "library", 0, [] {
        return [] { benchmark::DoNotOptimize(provider.createRSA2048PrivateKey(forms().n, forms().d, forms().e)); };
    });
    add("RSA-2048 private key from its numbers/", "same calls", 0,
        [] { return [] { mustSucceed(EVP_PKEY_get_bits(buildByHand().get()) == 2048); }; });
}

void addExports() {
    add("RSA-2048 private key to DER/", "library", 0, [] {
        return
            [key = provider.createRSA2048PrivateKey(forms().privateDER)] { benchmark::DoNotOptimize(key->getDER()); };
    });
    add("RSA-2048 private key to DER/", "same calls", 0, [] {
        return [] {
            Bio const bio(BIO_new(BIO_s_mem()));
            mustSucceed(i2d_PKCS8PrivateKey_bio(bio.get(), forms().key.get(), nullptr, nullptr, 0, nullptr, nullptr) ==
                        1);
            ByteArray der(static_cast<std::size_t>(BIO_pending(bio.get())));
            BIO_read(bio.get(), der.data(), static_cast<int>(der.size()));
            benchmark::DoNotOptimize(der);
        };
    });
    add("RSA-2048 public key to DER/", "library", 0, [] {
        return [key = provider.createRSA2048PublicKey(forms().publicDER)] { benchmark::DoNotOptimize(key->getDER()); };
    });
    add("RSA-2048 public key to DER/", "same calls", 0, [] {
        return [] {
            Bio const bio(BIO_new(BIO_s_mem()));
            mustSucceed(i2d_PUBKEY_bio(bio.get(), forms().publicKey.get()) == 1);
            ByteArray der(static_cast<std::size_t>(BIO_pending(bio.get())));
            BIO_read(bio.get(), der.data(), static_cast<int>(der.size()));
            benchmark::DoNotOptimize(der);
        };
    });
    add("RSA-2048 public key to DER/", "best", 0, [] {
        return [] {
            ByteArray der(512);
            unsigned char* data = der.data();
            mustSucceed(i2d_PUBKEY(forms().publicKey.get(), &data) > 0);
            benchmark::DoNotOptimize(der);
        };
    });
    add("RSA-2048 modulus/", "library", 0, [] {
        return
            [key = provider.createRSA2048PublicKey(forms().publicDER)] { benchmark::DoNotOptimize(key->getModulus()); };
    });
    add("RSA-2048 modulus/", "same calls", 0, [] {
        return [] {
            Number const number(BN_new());
            BIGNUM* value = number.get();
            mustSucceed(EVP_PKEY_get_bn_param(forms().key.get(), OSSL_PKEY_PARAM_RSA_N, &value) == 1);
            benchmark::DoNotOptimize(toBytes(value));
        };
    });
}

/// How long it takes is chance: other numbers are tried until two are prime.
template <class Generate> void addGeneration(std::size_t bits, Generate generate) {
    std::string const name = "RSA-" + std::to_string(bits) + " key pair generated/";
    add(name, "library", 0, [=] {
        return
            [=, prng = provider.createDefaultCryptoPRNG({})] { benchmark::DoNotOptimize((provider.*generate)(prng)); };
    });
    add(name, "best", 0, [=] {
        return [=] {
            Key const key(EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", bits));
            mustSucceed(key != nullptr);
        };
    });
}

[[maybe_unused]] bool const registered = [] {
    addGeneration(1024, &CryptoProvider::generateRSA1024KeyPair);
    addGeneration(2048, &CryptoProvider::generateRSA2048KeyPair);
    addGeneration(4096, &CryptoProvider::generateRSA4096KeyPair);
    addLoading(size2048);
    addLoading(size4096);
    addStreamLoading();
    addBuilding();
    addExports();
    return true;
}();

} // namespace
