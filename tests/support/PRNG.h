#ifndef ZRFL_TESTS_SUPPORT_PRNG_H
#define ZRFL_TESTS_SUPPORT_PRNG_H

#include <foundation/crypto/interfaces/ICryptoPRNG.h>

#include <cstddef>
#include <stdexcept>
#include <string>

namespace support {

/// A host's own generator, of which the library asks nothing.
class ForeignPRNG final : public foundation::crypto::interfaces::ICryptoPRNG {
public:
    unsigned char generateRandomByte() override { throw std::logic_error("drawn from"); }

    foundation::crypto::utils::ByteArray generateRandomBytes(std::size_t /*size*/) override {
        throw std::logic_error("drawn from");
    }

    bool isSeeded() const override { throw std::logic_error("asked"); }

    std::string getPRNGName() const override { throw std::logic_error("asked"); }
};

} // namespace support

#endif
