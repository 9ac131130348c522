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
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
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

/// Which objects several threads can work with.
enum class Sharing { None, Own, OwnAndShared };

/// Whether a case is also measured on several threads. Engines hold one message each, so that none is shared.
inline Sharing sharingOf(std::string const& name) {
    static std::map<std::string, Sharing> const scaled{
        {"method lookup", Sharing::Own},
        {"SHA256 buffer/64", Sharing::Own},
        {"SHA256 creation and one message/64", Sharing::Own},
        {"HMAC-SHA256 buffer/64", Sharing::Own},
        {"BLAKE2b buffer/64", Sharing::Own},
        {"AES-256 GCM encrypt/64", Sharing::OwnAndShared},
        {"AES-256 GCM encrypt/65536", Sharing::OwnAndShared},
        {"random bytes/16", Sharing::OwnAndShared},
        {"RSA-2048 sign PSS", Sharing::OwnAndShared},
        {"RSA-2048 verify PSS", Sharing::OwnAndShared},
        {"P-256 sign/64", Sharing::OwnAndShared},
        {"P-256 verify/64", Sharing::OwnAndShared},
        {"P-256 private key from PEM", Sharing::Own},
        {"Ed25519 sign/64", Sharing::OwnAndShared},
        {"Ed25519 verify/64", Sharing::OwnAndShared},
    };
    auto const found = scaled.find(name);
    return found == scaled.end() ? Sharing::None : found->second;
}

/// What stands in front of the names of cases that run on several threads.
constexpr char const* threadsPrefix = "threads/";

inline void addName(std::string const& name) {
    if (std::find(names().begin(), names().end(), name) == names().end()) {
        names().push_back(name);
    }
}

/// Measures a case on 1, 2, 4 and 8 threads: each with the objects of a `prepare` of its own, or all with the same.
template <class Prepare> void addThreads(std::string const& name, std::string const& way, Prepare prepare) {
    auto const measure = [](std::string const& title, auto run) {
        benchmark::RegisterBenchmark(title.c_str(), run)->ThreadRange(1, 8)->UseRealTime();
    };
    Sharing const sharing = sharingOf(name);
    if (sharing != Sharing::None) {
        std::string const title = threadsPrefix + name + "/own";
        addName(title);
        measure(title + "/" + way, [prepare](benchmark::State& state) {
            auto work = prepare();
            for (auto _ : state) {
                work();
            }
        });
    }
    // What a context of libcrypto holds is for one thread, and so are the objects of the peers.
    if (sharing == Sharing::OwnAndShared && (way == "library" || way == "same calls")) {
        std::string const title = threadsPrefix + name + "/shared";
        addName(title);

        struct Shared {
            std::once_flag once;
            std::optional<std::decay_t<decltype(prepare())>> work;
        };

        measure(title + "/" + way, [prepare, shared = std::make_shared<Shared>()](benchmark::State& state) {
            std::call_once(shared->once, [&] { shared->work.emplace(prepare()); });
            auto& work = *shared->work;
            for (auto _ : state) {
                work();
            }
        });
    }
}

/// Registers one way to do the work of a case. The ways of a case share its `name` ("SHA256 buffer/64/"), and `way` is
/// "library", "same calls" (the libcrypto calls that the library makes, by hand), "best" (libcrypto as fast as it can
/// be used) or the name of a peer, which is used at its best too. `prepare` is called once and returns the function to
/// measure, so that it can hold what the work needs. `bytes` is what one call processes, 0 where that means nothing.
template <class Prepare> void add(std::string const& name, char const* way, std::size_t bytes, Prepare prepare) {
    std::string const plain = name.substr(0, name.size() - 1);
    addName(plain);
    benchmark::RegisterBenchmark((name + way).c_str(), [prepare, bytes](benchmark::State& state) {
        auto work = prepare();
        for (auto _ : state) {
            work();
        }
        if (bytes != 0) {
            state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * static_cast<std::int64_t>(state.iterations()));
        }
    });
    addThreads(plain, way, prepare);
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
