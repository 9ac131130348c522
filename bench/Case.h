#ifndef ZRFL_BENCH_CASE_H
#define ZRFL_BENCH_CASE_H

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace bench {

/// The names of all cases in the order in which they were registered, without the slash at their end.
inline std::vector<std::string>& names() {
    static std::vector<std::string> all;
    return all;
}

/// Registers one way to do the work of a case. The three ways of a case share its `name` ("SHA256 buffer/64/"), and
/// `way` is "library", "same calls" (the libcrypto calls that the library makes, by hand) or "best" (libcrypto as fast
/// as it can be used). `prepare` is called once and returns the function to measure, so that it can hold what the work
/// needs. `bytes` is what one call processes, 0 where that means nothing.
template <class Prepare> void add(std::string const& name, char const* way, std::size_t bytes, Prepare prepare) {
    std::string const plain = name.substr(0, name.size() - 1);
    if (std::find(names().begin(), names().end(), plain) == names().end()) {
        names().push_back(plain);
    }
    benchmark::RegisterBenchmark((name + way).c_str(), [prepare, bytes](benchmark::State& state) {
        auto work = prepare();
        for (auto _ : state) {
            work();
        }
        if (bytes != 0) {
            state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * static_cast<std::int64_t>(state.iterations()));
        }
    });
}

/// Stops the benchmark when a libcrypto call in it did not do its work: there would be nothing to measure.
inline void mustSucceed(bool succeeded) {
    if (!succeeded) {
        throw std::runtime_error("libcrypto failed in a benchmark");
    }
}

template <auto release> struct Releaser {
    template <class Object> void operator()(Object* object) const { release(object); }
};
/// Owns an object of libcrypto, which `release` gives back.
template <class Object, auto release> using Held = std::unique_ptr<Object, Releaser<release>>;

} // namespace bench

#endif
