#ifndef FOUNDATION_CRYPTO_UTILS_DEFAULTPRNGALGORITHM_H
#define FOUNDATION_CRYPTO_UTILS_DEFAULTPRNGALGORITHM_H

#include "foundation/crypto/utils/Visibility.h"

#include <string>

namespace foundation::crypto::utils {

/// @addtogroup reference-random
/// @{

/// Names the algorithm of the default random generator; it holds nothing.
class ZRFL_EXPORT DefaultPRNGAlgorithm {
public:
    /// "CTR-DRBG", libcrypto's default generator (NIST SP 800-90A). Only reported, never used to choose a generator.
    static std::string getPRNGName();
};

/// @}

} // namespace foundation::crypto::utils

#endif
