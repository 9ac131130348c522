#ifndef ZRFL_TESTS_SUPPORT_OPERATIONS_RUNS_H
#define ZRFL_TESTS_SUPPORT_OPERATIONS_RUNS_H

#include "../Bytes.h"
#include "../Operations.h"
#include "../Provider.h"

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

/// How the rows of the list of operations are written: with the arguments of a call, the call, and what came of it.
namespace support::listing {

using namespace foundation::crypto;
using interfaces::CryptoPRNGPtr;
using interfaces::DigestEnginePtr;

using List = std::vector<Operation>;

struct Nothing {};

inline Nothing noArguments() {
    return {};
}

template <class Interface> void const* mostDerived(std::shared_ptr<Interface> const& object) {
    return dynamic_cast<void const*>(object.get());
}

template <class Result> std::vector<void const*> objectsIn(Result const& /*result*/) {
    return {};
}

template <class Interface> std::vector<void const*> objectsIn(std::shared_ptr<Interface> const& object) {
    return {mostDerived(object)};
}

template <class KeySize>
std::vector<void const*> objectsIn(std::shared_ptr<interfaces::IRSAKeyPair<KeySize>> const& pair) {
    return {mostDerived(pair), mostDerived(pair->getPublicKey()), mostDerived(pair->getPrivateKey())};
}

template <utils::EllipticCurve C> std::vector<void const*> objectsIn(interfaces::ECCKeyPairPtr<C> const& pair) {
    return {mostDerived(pair), mostDerived(pair->getPrivateKey()), mostDerived(pair->getPublicKey())};
}

// What a stream operation works on. A copy of it has streams of its own, with nothing read or written yet.

class Input {
public:
    explicit Input(ByteArray const& content) : Input(text(content)) {}

    explicit Input(std::string const& content) : stream_(std::make_unique<std::istringstream>(content)) {}

    Input(Input const& other) : Input(other.stream_->str()) {}

    std::istream& operator*() const { return *stream_; }

private:
    std::unique_ptr<std::istringstream> stream_;
};

/// Needs no memory that may run out: that a host's own stream fails is another matter.
class Output : public std::ostream {
public:
    Output() : std::ostream(nullptr) { rdbuf(&sink_); }

    ByteArray written() const { return sink_.written(); }

private:
    class Sink : public std::streambuf {
    public:
        Sink() { setp(room_.data(), room_.data() + room_.size()); }

        ByteArray written() const { return ByteArray(pbase(), pptr()); }

    private:
        std::array<char, 4096> room_{};
    };

    Sink sink_;
};

struct Streams {
    explicit Streams(ByteArray const& content) : input(content) {}

    Streams(Streams const& other) : input(other.input) {}

    Input input;
    std::unique_ptr<Output> output = std::make_unique<Output>();
};

/// A run, whatever the types of its arguments and its result.
class Run {
public:
    virtual ~Run() = default;
    virtual void call() = 0;
    virtual ByteArray outcome() = 0;
    virtual std::vector<void const*> made() = 0;
    virtual ByteArray again() = 0;
    virtual bool wroteNoHalf() = 0;
    virtual std::unique_ptr<Run> beside() = 0;
};

inline OperationRun toOperationRun(std::unique_ptr<Run> only) {
    std::shared_ptr<Run> const run = std::move(only);
    return {[=] { run->call(); },
            [=] { return run->outcome(); },
            [=] { return run->made(); },
            [=] { return run->again(); },
            [=] { return run->wroteNoHalf(); },
            [=] { return toOperationRun(run->beside()); }};
}

/// The use after a call is the same call once more.
struct SameCall {};

struct NothingToWrite {};

/// Calls `call(arguments)`, whose result is `describe(arguments, result)` in bytes. `again(arguments)` is what comes of
/// a use after that.
template <class Arguments, class Call, class Describe, class Again, class NoHalf> class RunOf : public Run {
public:
    RunOf(Arguments arguments, Call call, Describe describe, Again again, NoHalf wroteNoHalf)
        : arguments_(std::move(arguments)), call_(call), describe_(describe), again_(again), wroteNoHalf_(wroteNoHalf) {
    }

    void call() override { result_.emplace(call_(arguments_)); }

    ByteArray outcome() override { return describe_(arguments_, result_.value()); }

    std::vector<void const*> made() override { return objectsIn(result_.value()); }

    ByteArray again() override {
        if constexpr (std::is_same_v<Again, SameCall>) {
            std::unique_ptr<Run> const same = beside();
            same->call();
            return same->outcome();
        } else {
            return again_(arguments_);
        }
    }

    bool wroteNoHalf() override {
        if constexpr (std::is_same_v<NoHalf, NothingToWrite>) {
            return true;
        } else {
            return wroteNoHalf_(arguments_);
        }
    }

    std::unique_ptr<Run> beside() override {
        return std::unique_ptr<Run>(new RunOf(arguments_, call_, describe_, again_, wroteNoHalf_));
    }

private:
    Arguments arguments_;
    Call call_;
    Describe describe_;
    Again again_;
    NoHalf wroteNoHalf_;
    std::optional<std::decay_t<std::invoke_result_t<Call, Arguments&>>> result_;
};

template <class Prepare, class Call, class Describe, class NoHalf = NothingToWrite, class Again = SameCall>
std::function<OperationRun()> preparing(Prepare prepare, Call call, Describe describe, NoHalf wroteNoHalf = {},
                                        Again again = {}) {
    return [=] {
        using Of = RunOf<decltype(prepare()), Call, Describe, Again, NoHalf>;
        // Owners of each such class would take as long to compile as all the rest.
        return toOperationRun(std::unique_ptr<Run>(new Of(prepare(), call, describe, again, wroteNoHalf)));
    };
}

/// Adds the operation whose runs are `preparing(steps...)`.
template <class... Steps>
Operation& add(List& list, std::string interface, std::string name, std::string kind, Steps... steps) {
    return list.emplace_back(
        Operation{std::move(interface), std::move(name), std::move(kind), preparing(std::move(steps)...)});
}

inline ByteArray number(unsigned long value) {
    return bytes(std::to_string(value));
}

inline ByteArray joined(ByteArray left, ByteArray const& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

/// For results that are bytes already, or numbers or words.
inline auto const asIs = [](auto const& /*arguments*/, auto const& result) {
    using Result = std::decay_t<decltype(result)>;
    if constexpr (std::is_same_v<Result, ByteArray>) {
        return result;
    } else if constexpr (std::is_same_v<Result, std::string>) {
        return bytes(result);
    } else {
        return number(static_cast<unsigned long>(result));
    }
};

inline ByteArray const message = bytes("a message");

// The members of objects that several factories make take a `Maker` of them, so that they are compiled once.
template <class Pointer> using Maker = std::function<Pointer()>;

} // namespace support::listing

#endif
