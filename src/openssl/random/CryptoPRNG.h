#ifndef ZRFL_OPENSSL_CRYPTOPRNG_H
#define ZRFL_OPENSSL_CRYPTOPRNG_H

#include <foundation/crypto/interfaces/ICryptoPRNG.h>
#include <foundation/crypto/utils/ByteArray.h>
#include <foundation/crypto/utils/DefaultPRNGAlgorithm.h>

#include <cstddef>

namespace foundation::crypto::openssl {

/// Mixes the `size` bytes at `seed` into libcrypto's generator, as many of them as it can count in one call.
void seedGenerator(unsigned char const* seed, std::size_t size);

/// Random bytes from libcrypto's generator, which is the process's and not the object's; `Algorithm` only names it.
template <class Algorithm> class CryptoPRNG final : public interfaces::ICryptoPRNG {
public:
    /// Mixes `seed` into the generator unless it is empty.
    explicit CryptoPRNG(ByteArray const& seed);
    ~CryptoPRNG() override = default;
    CryptoPRNG(CryptoPRNG const&) = delete;
    CryptoPRNG& operator=(CryptoPRNG const&) = delete;

    unsigned char generateRandomByte() override;
    ByteArray generateRandomBytes(std::size_t size) override;

    bool isSeeded() const override { return seeded_; }

    std::string getPRNGName() const override { return Algorithm::getPRNGName(); }

private:
    bool seeded_;
};

extern template class CryptoPRNG<utils::DefaultPRNGAlgorithm>;

} // namespace foundation::crypto::openssl

#endif
