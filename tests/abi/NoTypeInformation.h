#ifndef ZRFL_TESTS_ABI_NOTYPEINFORMATION_H
#define ZRFL_TESTS_ABI_NOTYPEINFORMATION_H

#include <foundation/crypto/interfaces/ICryptoProvider.h>

#include <memory>
#include <streambuf>
#include <string>

/// Objects of a host that is compiled without type information: their tables of virtual functions have none.
namespace untyped {

std::unique_ptr<std::streambuf> bufferOf(std::string content);

/// It names SHA-256.
foundation::crypto::interfaces::DigestEnginePtr digestEngine();

foundation::crypto::interfaces::RSAPublicKeyPtr<2048> publicKey();
foundation::crypto::interfaces::ECCPrivateKeyPtr<foundation::crypto::utils::EllipticCurve::P256> privateKey();
foundation::crypto::interfaces::CryptoPRNGPtr generator();

} // namespace untyped

#endif
