#include "foundation/crypto/utils/DigestAlgorithms.h"

namespace foundation::crypto::utils {

// clang-format off
std::string MD5DigestAlgorithm::getDigestName()        { return "MD5"; }
std::string SHA1DigestAlgorithm::getDigestName()       { return "SHA1"; }
std::string SHA224DigestAlgorithm::getDigestName()     { return "SHA224"; }
std::string SHA256DigestAlgorithm::getDigestName()     { return "SHA256"; }
std::string SHA384DigestAlgorithm::getDigestName()     { return "SHA384"; }
std::string SHA512DigestAlgorithm::getDigestName()     { return "SHA512"; }
std::string HMACSHA1DigestAlgorithm::getDigestName()   { return "HMAC-SHA1"; }
std::string HMACSHA256DigestAlgorithm::getDigestName() { return "HMAC-SHA256"; }
std::string HMACSHA512DigestAlgorithm::getDigestName() { return "HMAC-SHA512"; }
std::string Blake2bDigestAlgorithm::getDigestName()    { return "BLAKE2b"; }

std::size_t MD5DigestAlgorithm::getDigestSize() noexcept        { return 16; }
std::size_t SHA1DigestAlgorithm::getDigestSize() noexcept       { return 20; }
std::size_t SHA224DigestAlgorithm::getDigestSize() noexcept     { return 28; }
std::size_t SHA256DigestAlgorithm::getDigestSize() noexcept     { return 32; }
std::size_t SHA384DigestAlgorithm::getDigestSize() noexcept     { return 48; }
std::size_t SHA512DigestAlgorithm::getDigestSize() noexcept     { return 64; }
std::size_t HMACSHA1DigestAlgorithm::getDigestSize() noexcept   { return 20; }
std::size_t HMACSHA256DigestAlgorithm::getDigestSize() noexcept { return 32; }
std::size_t HMACSHA512DigestAlgorithm::getDigestSize() noexcept { return 64; }
std::size_t Blake2bDigestAlgorithm::getDigestSize() noexcept    { return 64; }

std::string MD5DigestAlgorithm::getDigestNameForEVP_MD()        { return "md5"; }
std::string SHA1DigestAlgorithm::getDigestNameForEVP_MD()       { return "sha1"; }
std::string SHA224DigestAlgorithm::getDigestNameForEVP_MD()     { return "sha224"; }
std::string SHA256DigestAlgorithm::getDigestNameForEVP_MD()     { return "sha256"; }
std::string SHA384DigestAlgorithm::getDigestNameForEVP_MD()     { return "sha384"; }
std::string SHA512DigestAlgorithm::getDigestNameForEVP_MD()     { return "sha512"; }
std::string HMACSHA1DigestAlgorithm::getDigestNameForEVP_MD()   { return "sha1"; }
std::string HMACSHA256DigestAlgorithm::getDigestNameForEVP_MD() { return "sha256"; }
std::string HMACSHA512DigestAlgorithm::getDigestNameForEVP_MD() { return "sha512"; }

// clang-format on

} // namespace foundation::crypto::utils
