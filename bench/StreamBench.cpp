// Whole files through streams: what a host pays beside the plain loop that it would write itself.
#include "RSAKeys.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <openssl/evp.h>
#include <openssl/rsa.h>

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using namespace bench;
using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::AESMode;
using foundation::crypto::utils::AESPaddingMode;
using foundation::crypto::utils::ByteArray;
using foundation::crypto::utils::RSAPaddingMode;

CryptoProvider const provider;

ByteArray const key(32, 0x42);
ByteArray const vector(16, 0x24);

constexpr std::size_t mebibyte = std::size_t(1) << 20;

/// A file of `size` bytes and the name of another beside it, gone when the process ends.
class Files {
public:
    explicit Files(std::size_t size) : folder_(makeFolder()) {
        std::string const block(mebibyte, 'a');
        std::ofstream file(input(), std::ios::binary);
        for (std::size_t written = 0; written < size; written += block.size()) {
            file.write(block.data(), static_cast<std::streamsize>(block.size()));
        }
        mustSucceed(file.flush().good());
    }

    ~Files() { std::filesystem::remove_all(folder_); }

    Files(Files const&) = delete;
    Files& operator=(Files const&) = delete;

    std::string input() const { return folder_ + "/input"; }

    std::string output() const { return folder_ + "/output"; }

private:
    static std::string makeFolder() {
        std::string folder = std::filesystem::temp_directory_path().string() + "/zrflbenchXXXXXX";
        mustSucceed(mkdtemp(folder.data()) != nullptr);
        return folder;
    }

    std::string folder_;
};

Files const& filesOf(std::size_t size) {
    static std::map<std::size_t, Files> all;
    return all.try_emplace(size, size).first->second;
}

/// A file's descriptor.
class Descriptor {
public:
    Descriptor(std::string const& path, int flags) : number_(open(path.c_str(), flags, 0600)) {
        mustSucceed(number_ >= 0);
    }

    ~Descriptor() { close(number_); }

    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;

    int get() const { return number_; }

private:
    int number_;
};

/// The plain loop: hands `work` piece after piece in a buffer that stays warm.
template <class Work> void readPieces(std::string const& path, Work&& work) {
    static std::vector<unsigned char> buffer(mebibyte);
    Descriptor const input(path, O_RDONLY);
    for (ssize_t size = 0; (size = read(input.get(), buffer.data(), buffer.size())) > 0;) {
        work(buffer.data(), static_cast<int>(size));
    }
}

using CipherContext = Held<EVP_CIPHER_CTX, EVP_CIPHER_CTX_free>;

void encryptByLoop(EVP_CIPHER const* cipher, Files const& files) {
    static std::vector<unsigned char> encrypted(mebibyte + EVP_MAX_BLOCK_LENGTH);
    CipherContext const context(EVP_CIPHER_CTX_new());
    mustSucceed(EVP_EncryptInit_ex(context.get(), cipher, nullptr, key.data(), vector.data()) == 1);
    Descriptor const output(files.output(), O_WRONLY | O_CREAT | O_TRUNC);
    int size = 0;
    readPieces(files.input(), [&](unsigned char const* data, int count) {
        mustSucceed(EVP_EncryptUpdate(context.get(), encrypted.data(), &size, data, count) == 1);
        mustSucceed(write(output.get(), encrypted.data(), static_cast<std::size_t>(size)) == size);
    });
    mustSucceed(EVP_EncryptFinal_ex(context.get(), encrypted.data(), &size) == 1);
    std::array<unsigned char, 16> tag{};
    if (EVP_CIPHER_get_mode(cipher) == EVP_CIPH_GCM_MODE) {
        mustSucceed(EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_GET_TAG, 16, tag.data()) == 1);
        size = 16;
    }
    mustSucceed(write(output.get(), tag.data(), static_cast<std::size_t>(size)) == size);
}

struct Size {
    char const* name;
    std::size_t bytes;
};

void addEncryption(char const* modeName, AESMode mode, EVP_CIPHER const* (*cipher)(), Size const& size) {
    std::string const name = std::string("AES-256 ") + modeName + " file/" + size.name + "/";
    add(name, "library", size.bytes, [=] {
        ByteArray const nonce(vector.begin(), vector.begin() + (mode == AESMode::GCM ? 12 : 16));
        auto const encryptor =
            provider.createAES256Encryptor(provider.createAES256Key(key), nonce, mode, AESPaddingMode::PKCS7, nullptr);
        return [=, &files = filesOf(size.bytes)] {
            std::ifstream input(files.input(), std::ios::binary);
            std::ofstream output(files.output(), std::ios::binary);
            encryptor->encrypt(input, output);
            mustSucceed(output.flush().good());
        };
    });
    add(name, "best", size.bytes,
        [=] { return [=, &files = filesOf(size.bytes)] { encryptByLoop(cipher(), files); }; });
}

void addSignature(Size const& size) {
    std::string const name = std::string("RSA-2048 sign PSS file/") + size.name + "/";
    add(name, "library", size.bytes, [=] {
        return [signer = provider.createRSA2048Signer(rsa2048().privateKey, RSAPaddingMode::PSS, prng()),
                engine = provider.createSHA256DigestEngine(), &files = filesOf(size.bytes)] {
            std::ifstream input(files.input(), std::ios::binary);
            benchmark::DoNotOptimize(signer->sign(input, engine));
        };
    });
    add(name, "best", size.bytes, [=] {
        return [&files = filesOf(size.bytes)] {
            Held<EVP_MD_CTX, EVP_MD_CTX_free> const context(EVP_MD_CTX_new());
            EVP_PKEY_CTX* keyContext = nullptr;
            mustSucceed(EVP_DigestSignInit_ex(context.get(), &keyContext, "sha256", nullptr, nullptr,
                                              rsa2048().rawPrivateKey.get(), nullptr) == 1 &&
                        EVP_PKEY_CTX_set_rsa_padding(keyContext, RSA_PKCS1_PSS_PADDING) > 0 &&
                        EVP_PKEY_CTX_set_rsa_pss_saltlen(keyContext, 32) > 0);
            readPieces(files.input(), [&](unsigned char const* data, int count) {
                mustSucceed(EVP_DigestSignUpdate(context.get(), data, static_cast<std::size_t>(count)) == 1);
            });
            std::array<unsigned char, 256> signature{};
            std::size_t written = signature.size();
            mustSucceed(EVP_DigestSignFinal(context.get(), signature.data(), &written) == 1);
        };
    });
}

[[maybe_unused]] bool const registered = [] {
    for (Size const& size : {Size{"1 MiB", mebibyte}, Size{"64 MiB", 64 * mebibyte}}) {
        addEncryption("GCM", AESMode::GCM, EVP_aes_256_gcm, size);
        addEncryption("CTR", AESMode::CTR, EVP_aes_256_ctr, size);
        addSignature(size);
    }
    return true;
}();

} // namespace
