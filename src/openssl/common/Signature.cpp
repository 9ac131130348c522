#include "common/Signature.h"

#include "common/Check.h"

namespace foundation::crypto::openssl {

void requireDigestEngine(interfaces::DigestEnginePtr const& engine) {
    require(engine != nullptr, "The digest engine does not exist.");
}

std::string getDigestNameForSignature(interfaces::DigestEnginePtr const& engine) {
    requireDigestEngine(engine);
    return engine->getDigestNameForEVP_MD();
}

ByteArray sign(EVP_MD_CTX* context, Message message) {
    // An empty array has no address, and a hardware module's provider takes a null message for none at all.
    unsigned char const nothing = 0;
    unsigned char const* const data = message.size == 0 ? &nothing : message.data;

    std::size_t size = 0;
    require(EVP_DigestSign(context, nullptr, &size, data, message.size) == 1,
            "Could not calculate size of signature to be generated");
    require(size != 0, "Max size of signature to be generated is 0");
    ByteArray signature(size);
    require(EVP_DigestSign(context, signature.data(), &size, data, message.size) == 1,
            "Could not generate digital signature");
    require(size != 0, "Size of generated signature is 0");
    signature.resize(size);
    return signature;
}

} // namespace foundation::crypto::openssl
