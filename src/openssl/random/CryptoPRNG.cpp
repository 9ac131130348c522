#include "random/CryptoPRNG.h"

#include "common/Check.h"
#include "common/ErrorQueue.h"

#include <openssl/rand.h>

#include <algorithm>
#include <limits>
#include <string>

namespace foundation::crypto::openssl {

namespace {

void fillWithRandomBytes(ByteArray& bytes) {
    constexpr std::size_t largestPiece = 32767;
    for (std::size_t filled = 0; filled < bytes.size();) {
        std::size_t const piece = std::min(bytes.size() - filled, largestPiece);
        requireExplained(RAND_bytes(bytes.data() + filled, static_cast<int>(piece)) == 1,
                         "Unable to generate random bytes. Error=");
        filled += piece;
    }
}

ByteArray makeRandomBytes(std::size_t size) {
    return rethrowBadAllocAs<utils::InternalException>(
        [=] {
            ByteArray bytes(size);
            fillWithRandomBytes(bytes);
            return bytes;
        },
        [=] { return ";Size = " + std::to_string(size); });
}

} // namespace

void seedGenerator(unsigned char const* seed, std::size_t size) {
    constexpr std::size_t largest = std::numeric_limits<int>::max();
    ErrorQueueMark const mark; // a seed that libcrypto does not take is no failure: the generator seeds itself
    RAND_seed(seed, static_cast<int>(std::min(size, largest)));
}

template <class Algorithm> CryptoPRNG<Algorithm>::CryptoPRNG(ByteArray const& seed) : seeded_(!seed.empty()) {
    if (seeded_) {
        seedGenerator(seed.data(), seed.size());
    }
}

template <class Algorithm> unsigned char CryptoPRNG<Algorithm>::generateRandomByte() {
    return generateRandomBytes(1).front();
}

template <class Algorithm> ByteArray CryptoPRNG<Algorithm>::generateRandomBytes(std::size_t size) {
    return rethrowAs<utils::InternalException>([=] { return makeRandomBytes(size); });
}

template class CryptoPRNG<utils::DefaultPRNGAlgorithm>;

} // namespace foundation::crypto::openssl
