#ifndef ZRFL_BENCH_PEERS_CRYPTOPP_H
#define ZRFL_BENCH_PEERS_CRYPTOPP_H

#include "Case.h"

#include <cryptopp/osrng.h>

#include <string>

/// Crypto++ at its best: objects that stay and keep their keys, elliptic curves with their tables made beforehand.
namespace bench::cryptopp {

constexpr char const* way = "Crypto++";

using Generator = CryptoPP::AutoSeededRandomPool;

template <class Prepare> void addObject(std::string const& object, Prepare prepare) {
    add("object: " + object + "/", way, 0, [=] { return [make = prepare()] { benchmark::DoNotOptimize(make()); }; });
}

} // namespace bench::cryptopp

#endif
