#ifndef ZRFL_BENCH_CASE_H
#define ZRFL_BENCH_CASE_H

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace bench {

/// The sizes of messages that every family of messages is measured with, in bytes.
constexpr std::array<std::size_t, 6> messageSizes{16, 64, 1024, 65536, std::size_t(1) << 20, std::size_t(1) << 24};

/// The names of all cases in the order in which they were registered, without the slash at their end.
inline std::vector<std::string>& names() {
    static std::vector<std::string> all;
    return all;
}

/// The other libraries that take part, each with its version.
inline std::map<std::string, std::string>& peers() {
    static std::map<std::string, std::string> all;
    return all;
}

/// Registers one way to do the work of a case. The ways of a case share its `name` ("SHA256 buffer/64/"), and `way` is
/// "library", "same calls" (the libcrypto calls that the library makes, by hand), "best" (libcrypto as fast as it can
/// be used) or the name of a peer, which is used at its best too. `prepare` is called once and returns the function to
/// measure, so that it can hold what the work needs. `bytes` is what one call processes, 0 where that means nothing.
template <class Prepare> void add(std::string const& name, char const* way, std::size_t bytes, Prepare prepare) {
    std::string const plain = name.substr(0, name.size() - 1);
    if (std::find(names().begin(), names().end(), plain) == names().end()) {
        names().push_back(plain);
    }
    std::string const whole = name + way;
    char const* const registered = whole.c_str(); // of a string itself Debian 12's Google Benchmark takes none
    benchmark::RegisterBenchmark(registered, [prepare, bytes](benchmark::State& state) {
        auto work = prepare();
        for (auto _ : state) {
            work();
        }
        if (bytes != 0) {
            state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * static_cast<std::int64_t>(state.iterations()));
        }
    });
}

/// What registers the cases of the peers, once all others are.
inline std::vector<std::function<void()>>& peerCases() {
    static std::vector<std::function<void()>> all;
    return all;
}

/// What registers cases that must not run before all others have: those after which the process is not what it was.
inline std::vector<std::function<void()>>& lastCases() {
    static std::vector<std::function<void()>> all;
    return all;
}

/// Stops the benchmark when a call in it did not do its work: there would be nothing to measure.
inline void mustSucceed(bool succeeded) {
    if (!succeeded) {
        throw std::runtime_error("a call failed in a benchmark");
    }
}

template <auto release> struct Releaser {
    template <class Object> void operator()(Object* object) const { release(object); }
};
/// Owns an object of libcrypto, which `release` gives back.
template <class Object, auto release> using Held = std::unique_ptr<Object, Releaser<release>>;

} // namespace bench

#endif
