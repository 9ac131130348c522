#include "NoTypeInformation.h"

#include "HostUses.h"

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

} // namespace

std::unique_ptr<std::streambuf> bufferOf(std::string content) {
    return std::make_unique<Buffer>(std::move(content));
}

interfaces::DigestEnginePtr digestEngine() {
    return std::make_shared<host::HostEngine>();
}

interfaces::RSAPublicKeyPtr<2048> publicKey() {
    return std::make_shared<PublicKey>();
}

interfaces::ECCPrivateKeyPtr<EllipticCurve::P256> privateKey() {
    return std::make_shared<PrivateKey>();
}

interfaces::CryptoPRNGPtr generator() {
    return std::make_shared<host::HostPRNG>(1);
}

} // namespace untyped
