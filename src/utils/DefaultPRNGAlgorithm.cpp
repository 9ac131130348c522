#include "foundation/crypto/utils/DefaultPRNGAlgorithm.h"

namespace foundation::crypto::utils {

std::string DefaultPRNGAlgorithm::getPRNGName() {
    return "CTR-DRBG";
}

} // namespace foundation::crypto::utils
