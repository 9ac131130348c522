#ifndef ZRFL_BENCH_PEERS_BOTAN_H
#define ZRFL_BENCH_PEERS_BOTAN_H

#include "Case.h"

#include <botan/auto_rng.h>

#include <memory>
#include <string>

/// Botan at its best: objects that stay and keep their keys, results in place where it has no other way.
namespace bench::botan {

constexpr char const* way = "Botan";

using Generator = std::shared_ptr<Botan::AutoSeeded_RNG>;

inline Generator newGenerator() {
    return std::make_shared<Botan::AutoSeeded_RNG>();
}

template <class Prepare> void addObject(std::string const& object, Prepare prepare) {
    add("object: " + object + "/", way, 0, [=] { return [make = prepare()] { benchmark::DoNotOptimize(make()); }; });
}

} // namespace bench::botan

#endif
