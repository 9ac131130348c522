#include "NoTypeInformation.h"

#include <cstddef>
#include <istream>
#include <utility>

namespace untyped {

namespace {

using namespace foundation::crypto;
using utils::ByteArray;
using utils::EllipticCurve;
using utils::RSAKeySize;

class Buffer final : public std::streambuf {
public:
    explicit Buffer(std::string content) : content_(std::move(content)) {}

protected:
    int_type underflow() override {
        if (eback() != nullptr || content_.empty()) {
            return traits_type::eof();
        }
        setg(content_.data(), content_.data(), content_.data() + content_.size());
        return traits_type::to_int_type(*gptr());
    }

private:
    std::string content_;
};

class DigestEngine final : public interfaces::IDigestEngine {
public:
    ByteArray computeDigest(ByteArray const& /*data*/) override { return {}; }

    ByteArray computeDigest(std::istream& /*input*/) override { return {}; }

    void update(ByteArray const& /*data*/) override {}

    void update(unsigned char const* /*data*/, std::size_t /*size*/) override {}

    ByteArray finalize() override { return {}; }

    std::string getDigestName() const override { return "SHA256"; }

    std::string getDigestNameForEVP_MD() const override { return "sha256"; }

    std::size_t getDigestSize() const override { return 32; }
};

class PublicKey final : public interfaces::IRSAPublicKey<RSAKeySize<2048>> {
public:
    unsigned long getKeySize() const override { return 2048; }

    ByteArray getDER() const override { return {}; }

    ByteArray getModulus() const override { return {}; }

    ByteArray getPublicExponent() const override { return {}; }
};

class PrivateKey final : public interfaces::IECCPrivateKey<EllipticCurve::P256> {
public:
    ByteArray getPEM() const override { return {}; }

    ByteArray getPrivateInteger() const override { return {}; }
};

class Generator final : public interfaces::ICryptoPRNG {
public:
    unsigned char generateRandomByte() override { return 0; }

    ByteArray generateRandomBytes(std::size_t size) override { return ByteArray(size); }

    bool isSeeded() const override { return true; }

    std::string getPRNGName() const override { return "none"; }
};

} // namespace

std::unique_ptr<std::streambuf> bufferOf(std::string content) {
    return std::make_unique<Buffer>(std::move(content));
}

interfaces::DigestEnginePtr digestEngine() {
    return std::make_shared<DigestEngine>();
}

interfaces::RSAPublicKeyPtr<2048> publicKey() {
    return std::make_shared<PublicKey>();
}

interfaces::ECCPrivateKeyPtr<EllipticCurve::P256> privateKey() {
    return std::make_shared<PrivateKey>();
}

interfaces::CryptoPRNGPtr generator() {
    return std::make_shared<Generator>();
}

} // namespace untyped
