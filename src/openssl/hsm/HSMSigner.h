#ifndef ZRFL_OPENSSL_HSMSIGNER_H
#define ZRFL_OPENSSL_HSMSIGNER_H

#include "common/Signature.h"

#include <foundation/crypto/interfaces/ICryptoPRNG.h>
#include <foundation/crypto/interfaces/IHSMSigner.h>
#include <foundation/crypto/utils/HSMObject.h>
#include <foundation/crypto/utils/RSAPaddingMode.h>

namespace foundation::crypto::openssl {

/// RSA-PSS signatures with a private key inside a PKCS #11 module, by way of the provider module "pkcs11prov". Every
/// operation loads that module into a library context of its own and frees both before it returns. Not to be called
/// from two threads at once, whatever the objects: see the interface, and examples/SerializedHSMSigner.h.
class HSMSigner final : public interfaces::IHSMSigner {
public:
    /// Checks nothing: whatever is wrong with the arguments comes up in the operations. `prng` is kept and never used.
    HSMSigner(utils::HSMObject hsmObject, utils::RSAPaddingMode padding, interfaces::CryptoPRNGPtr prng);

    ByteArray sign(ByteArray const& message, interfaces::DigestEnginePtr digest) const override;
    ByteArray sign(std::istream& message, interfaces::DigestEnginePtr digest) const override;
    unsigned long getKeySize() const override;

private:
    ByteArray sign(Message message, interfaces::DigestEnginePtr const& digest) const;

    utils::HSMObject hsmObject_;
    utils::RSAPaddingMode padding_;
    interfaces::CryptoPRNGPtr prng_;
};

} // namespace foundation::crypto::openssl

#endif
