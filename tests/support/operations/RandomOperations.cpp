#include "Families.h"
#include "Runs.h"

#include <string>

namespace support::listing {

void addRandom(List& list) {
    std::string const of = "ICryptoPRNG";
    auto const create = [] { return provider.createDefaultCryptoPRNG(bytes("seed")); };
    add(
        list, "ICryptoProvider", "createDefaultCryptoPRNG", "", [] { return bytes("seed"); },
        [](ByteArray const& seed) { return provider.createDefaultCryptoPRNG(seed); },
        [](auto const&, CryptoPRNGPtr const& made) { return number(made->generateRandomBytes(100).size()); });
    add(
        list, of, "generateRandomByte", "", create,
        [](CryptoPRNGPtr const& prng) { return prng->generateRandomByte(); },
        [](auto const&, unsigned char) { return ByteArray(); });
    add(
        list, of, "generateRandomBytes", "", create,
        [](CryptoPRNGPtr const& prng) { return prng->generateRandomBytes(100); },
        [](auto const&, ByteArray const& drawn) { return number(drawn.size()); });
    add(list, of, "isSeeded", "", create, [](CryptoPRNGPtr const& prng) { return prng->isSeeded(); }, asIs);
    add(list, of, "getPRNGName", "", create, [](CryptoPRNGPtr const& prng) { return prng->getPRNGName(); }, asIs);
}

} // namespace support::listing
