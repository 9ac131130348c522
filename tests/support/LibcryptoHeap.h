#ifndef ZRFL_TESTS_SUPPORT_LIBCRYPTOHEAP_H
#define ZRFL_TESTS_SUPPORT_LIBCRYPTOHEAP_H

#include "Bytes.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/err.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

/// Failing and watching libcrypto's heap. A test program that links `zrfl_test_libcrypto_heap` replaces it.
namespace support {

/// Whether libcrypto took the replacement, which it does only before it has allocated anything.
bool isLibcryptoHeapReplaced();

/// Makes the n-th allocation of libcrypto that follows on this thread (1 is the next) fail.
class ExhaustedLibcrypto {
public:
    explicit ExhaustedLibcrypto(int nth);
    ~ExhaustedLibcrypto();
    ExhaustedLibcrypto(ExhaustedLibcrypto const&) = delete;
    ExhaustedLibcrypto& operator=(ExhaustedLibcrypto const&) = delete;

    bool happened() const;
};

/// How many blocks libcrypto holds for this thread.
long liveLibcryptoAllocations();

/// Looks at every block that libcrypto releases on this thread while it lives, at the moment of its release.
class LibcryptoWatch {
public:
    /// `secrets` are what no released block may hold any more: the bytes of each, anywhere in the block. They are not
    /// copied, lest a watch over the C++ heap see the copies.
    explicit LibcryptoWatch(std::vector<ByteArray> const& secrets);
    explicit LibcryptoWatch(ByteArray const& secret);
    ~LibcryptoWatch();
    LibcryptoWatch(LibcryptoWatch const&) = delete;
    LibcryptoWatch& operator=(LibcryptoWatch const&) = delete;

    std::size_t blocks() const { return blocks_; }

    /// How many blocks were released with a secret still in them.
    std::size_t blocksWithSecret() const { return blocksWithSecret_; }

private:
    friend struct LibcryptoHeap;
    void look(void const* block);

    std::vector<ByteArray const*> secrets_;
    std::size_t blocks_ = 0;
    std::size_t blocksWithSecret_ = 0;
};

/// Prepares some work and runs it with its first allocation failing, then with its second, ... until none is left to
/// fail. `judge` gets a pointer to each result, null where the work threw an exception of the library's family.
/// Returns how many allocations failed. The heap is libcrypto's, or the C++ heap with `FailingAllocation`.
template <class Exhausted = ExhaustedLibcrypto, class Prepare, class Judge>
int failEachAfter(Prepare&& prepare, Judge&& judge) {
    EXPECT_TRUE(isLibcryptoHeapReplaced());
    prepare()(); // libcrypto's first use of an algorithm is not what is tested
    for (int nth = 1;; ++nth) {
        SCOPED_TRACE("allocation " + std::to_string(nth));
        auto work = prepare();
        std::optional<decltype(work())> result;
        bool happened = false;
        {
            Exhausted const exhausted(nth);
            try {
                result.emplace(work());
            } catch (foundation::crypto::utils::Exception const&) {
            }
            happened = exhausted.happened();
        }
        ERR_clear_error();
        judge(result ? &*result : nullptr);
        if (!happened) {
            return nth - 1;
        }
    }
}

/// The same with `operation`, which needs no preparation.
template <class Exhausted = ExhaustedLibcrypto, class Operation, class Judge>
int failEach(Operation&& operation, Judge&& judge) {
    return failEachAfter<Exhausted>([&] { return [&] { return operation(); }; }, judge);
}

} // namespace support

#endif
