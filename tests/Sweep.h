#ifndef ZRFL_TESTS_SWEEP_H
#define ZRFL_TESTS_SWEEP_H

#include "support/Allocations.h"
#include "support/Faults.h"
#include "support/HostsMark.h"
#include "support/LibcryptoHeap.h"
#include "support/Operations.h"
#include "support/PEM.h"
#include "support/RSAKeys.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/err.h>
#include <openssl/ui.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <ostream>
#include <string>

/// One operation in which something fails, as its host sees it.
namespace support::sweep {

// What is there before an operation and has to be there afterwards

/// Counts the times that somebody is asked for a password, and gives none.
class Prompts {
public:
    Prompts() : method_(UI_create_method("nobody"), &UI_destroy_method), before_(UI_get_default_method()) {
        UI_method_set_opener(method_.get(), [](UI*) { return ++count_, 0; });
        UI_set_default_method(method_.get());
    }

    ~Prompts() { UI_set_default_method(before_); }

    Prompts(Prompts const&) = delete;
    Prompts& operator=(Prompts const&) = delete;

    static int count() { return count_; }

private:
    static inline int count_ = 0;
    std::unique_ptr<UI_METHOD, decltype(&UI_destroy_method)> method_;
    UI_METHOD const* before_;
};

/// Finding primes takes seconds and is not what is looked at, so the keys are there already.
class ReadyKeys {
    using Generate = EVP_PKEY*(OSSL_LIB_CTX*, char const*, char const*, std::size_t);

    static EVP_PKEY* take(std::size_t bits) {
        static std::map<std::size_t, RawKey> const keys = [] {
            std::map<std::size_t, RawKey> all;
            for (std::size_t const size : {1024U, 2048U, 4096U}) {
                all[size] = readPrivate(text(readRSAKey(size, "private.pem")));
            }
            return all;
        }();
        EVP_PKEY* const key = keys.at(bits).get();
        EVP_PKEY_up_ref(key);
        return key;
    }

    Replacing<Generate> generating_{"EVP_PKEY_Q_keygen",
                                    [](auto, auto*, char const*, char const*, std::size_t bits) { return take(bits); }};
};

/// Blocks of both heaps that this thread holds.
inline long live() {
    return liveAllocations() + liveLibcryptoAllocations();
}

// What a host sees

/// What came of one use of an operation's objects.
enum class Ending { Right, Negative, Wrong, Refused, OutOfMemory, Foreign };

inline void PrintTo(Ending ending, std::ostream* output) {
    char const* const names[]{"right", "negative", "wrong", "refused", "out of memory", "a foreign exception"};
    *output << names[static_cast<std::size_t>(ending)];
}

/// `text`, where there is one, has room for what is thrown, so that to look at it takes no memory.
template <class Use> Ending endingOf(Use use, std::string* text = nullptr) {
    try {
        return use();
    } catch (foundation::crypto::utils::Exception const& error) {
        if (text != nullptr) {
            text->assign(error.what(), std::min(std::strlen(error.what()), text->capacity()));
        }
        return Ending::Refused;
    } catch (std::bad_alloc const&) {
        return Ending::OutOfMemory;
    } catch (...) {
        return Ending::Foreign;
    }
}

inline Ending compared(ByteArray const& found, ByteArray const& right, std::optional<ByteArray> const& negative = {}) {
    return found == right ? Ending::Right : found == negative ? Ending::Negative : Ending::Wrong;
}

/// Of an operation in which something failed.
struct Seen {
    bool failed = false; ///< Whether anything was made to.
    Ending ending = Ending::Wrong;
    bool returned = false;
    bool markKept = false;  ///< The host's mark is in the error queue, with its error beneath.
    bool queueKept = false; ///< There is nothing above it either.
    bool queueEmpty = false;
    bool wroteHalf = false;
    Ending again = Ending::Wrong; ///< Of the same objects in their next use.
    Ending fresh = Ending::Wrong; ///< Of fresh objects.
    int prompts = 0;
    long leaked = 0; ///< Blocks of both heaps that nobody releases.
    std::string text;
};

inline bool isEngine(Operation const& operation) {
    return operation.interface == "IDigestEngine";
}

/// A module that libcrypto loads empties the queue, and keeps memory of its own.
inline bool isOfModule(Operation const& operation) {
    return operation.interface == "IHSMSigner";
}

/// The right results of an operation.
struct Rights {
    ByteArray outcome;
    ByteArray again;

    explicit Rights(Operation const& operation) {
        OperationRun const run = operation.prepare();
        run.call();
        outcome = run.outcome();
        again = run.again();
    }
};

/// Runs the operation with what an object of `Fault(arguments...)` makes fail.
template <class Fault, class... Arguments>
Seen seeOnce(Operation const& operation, Rights const& rights, Arguments const&... arguments) {
    Seen seen;
    seen.text.reserve(2048);
    int const promptsBefore = Prompts::count();
    long const liveBefore = live();
    {
        OperationRun const run = operation.prepare();
        bool const libcryptoTakesIt = operation.decryptsKey() && decryptingTakesMarks(); // the host's error as well
        HostsMark const mark(operation.decryptsKey());
        {
            Fault const fault(arguments...);
            seen.ending = endingOf([&] { return run.call(), Ending::Right; }, &seen.text);
            seen.failed = fault.happened();
        }
        seen.returned = seen.ending == Ending::Right;
        seen.queueEmpty = ERR_peek_error() == 0;
        seen.queueKept = libcryptoTakesIt || ERR_GET_REASON(ERR_peek_last_error()) == HostsMark::reason;
        seen.markKept = mark.isThere();
        ERR_clear_error();
        if (seen.returned) {
            seen.ending = endingOf([&] { return compared(run.outcome(), rights.outcome, operation.negative); });
        } else {
            seen.wroteHalf = !run.wroteNoHalf();
        }
        seen.again = endingOf([&] { return compared(run.again(), rights.again); });
        OperationRun const another = operation.prepare();
        seen.fresh = endingOf([&] { return another.call(), compared(another.outcome(), rights.outcome); });
        ERR_clear_error();
    }
    seen.leaked = live() - liveBefore;
    seen.prompts = Prompts::count() - promptsBefore;
    return seen;
}

/// What libcrypto makes once and keeps is no leak: that shows every time.
template <class Fault, class... Arguments>
Seen see(Operation const& operation, Rights const& rights, Arguments const&... arguments) {
    Seen seen = seeOnce<Fault>(operation, rights, arguments...);
    for (int time = 1; time < 3 && seen.leaked != 0 && !isOfModule(operation); ++time) {
        seen = seeOnce<Fault>(operation, rights, arguments...);
    }
    return seen;
}

/// Whether an exception's text carries libcrypto's. Collecting it empties the queue, the host's errors and mark as
/// well.
inline bool isExplained(std::string const& text) {
    return text.find("error:") != std::string::npos || text.find("No OpenSSL errors.") != std::string::npos;
}

/// What holds whatever has failed.
inline void expectNoHarm(Operation const& operation, Seen const& seen) {
    EXPECT_NE(seen.ending, Ending::Foreign);
    EXPECT_FALSE(seen.wroteHalf);
    EXPECT_EQ(seen.fresh, Ending::Right);
    EXPECT_EQ(seen.prompts, 0);
    if (!isOfModule(operation)) {
        EXPECT_EQ(seen.leaked, 0);
    }
    // An engine whose state is uncertain refuses to go on; everything else is as good as before.
    if (seen.again != Ending::Refused || !isEngine(operation)) {
        EXPECT_EQ(seen.again, Ending::Right);
    }
    if (!isOfModule(operation) && !seen.returned) {
        if (isExplained(seen.text)) {
            EXPECT_TRUE(seen.queueEmpty);
        } else {
            EXPECT_TRUE(seen.markKept);
        }
    }
}

} // namespace support::sweep

#endif
