#ifndef FOUNDATION_CRYPTO_UTILS_HSMOBJECT_H
#define FOUNDATION_CRYPTO_UTILS_HSMOBJECT_H

#include "foundation/crypto/utils/Visibility.h"

#include <string>

namespace foundation::crypto::utils {

/// @addtogroup reference-hsm
/// @{

/// Says where a private key is held in a hardware security module. A value; nothing is checked here. A URI that carries
/// a PIN is a secret: both strings are wiped wherever an object ends, is assigned to or is moved from. What the
/// accessors hand out is the caller's to wipe.
class ZRFL_EXPORT HSMObject {
public:
    /// @param modulePath the file of the PKCS #11 module (the driver library of the HSM's maker).
    /// @param uri the key's PKCS #11 URI (RFC 7512), such as "pkcs11:token=t;object=k;type=private?pin-value=1234". It
    ///            must describe exactly one private key when the object is used.
    HSMObject(std::string modulePath, std::string uri);
    HSMObject(HSMObject const& other);
    /// Leaves `other` with empty strings.
    HSMObject(HSMObject&& other) noexcept;
    HSMObject& operator=(HSMObject const& other);
    /// Leaves `other` with empty strings.
    HSMObject& operator=(HSMObject&& other) noexcept;
    ~HSMObject();

    /// The file of the PKCS #11 module, as given.
    std::string getModulePath() const;
    /// The key's URI, as given.
    std::string getURI() const;

private:
    void wipeBoth() noexcept;

    std::string modulePath_;
    std::string uri_;
};

/// @}

} // namespace foundation::crypto::utils

#endif
