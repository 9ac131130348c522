#include "LibcryptoHeap.h"

#include <openssl/crypto.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <malloc.h>

namespace support {

struct LibcryptoHeap {
    static thread_local int untilFailure; // 0: none is to fail
    static thread_local long live;
    static thread_local LibcryptoWatch* watch;
    static bool replaced;

    static bool failsNow() {
        if (untilFailure == 0) {
            return false;
        }
        --untilFailure;
        return untilFailure == 0;
    }

    static void* allocate(std::size_t size, char const* /*file*/, int /*line*/) {
        void* const block = size == 0 || failsNow() ? nullptr : std::malloc(size);
        if (block != nullptr) {
            std::memset(block, 0, malloc_usable_size(block)); // what an earlier owner left is not libcrypto's
            ++live;
        }
        return block;
    }

    // Moves the block always, so that what is left at its old place is looked at.
    static void* reallocate(void* block, std::size_t size, char const* file, int line) {
        if (size == 0) {
            release(block, file, line);
            return nullptr;
        }
        void* const moved = allocate(size, file, line);
        if (block != nullptr && moved != nullptr) {
            std::memcpy(moved, block, std::min(size, malloc_usable_size(block)));
            release(block, file, line);
        }
        return moved;
    }

    static void release(void* block, char const* /*file*/, int /*line*/) {
        if (block != nullptr && watch != nullptr) {
            watch->look(block);
        }
        live -= block == nullptr ? 0 : 1;
        std::free(block);
    }

    // Before the program's own objects are made, which may use libcrypto.
    __attribute__((constructor(101))) static void replace() {
        replaced = CRYPTO_set_mem_functions(allocate, reallocate, release) == 1;
    }
};

thread_local int LibcryptoHeap::untilFailure = 0;
thread_local long LibcryptoHeap::live = 0;
thread_local LibcryptoWatch* LibcryptoHeap::watch = nullptr;
bool LibcryptoHeap::replaced = false;

bool isLibcryptoHeapReplaced() {
    return LibcryptoHeap::replaced;
}

long liveLibcryptoAllocations() {
    return LibcryptoHeap::live;
}

ExhaustedLibcrypto::ExhaustedLibcrypto(int nth) {
    LibcryptoHeap::untilFailure = nth;
}

ExhaustedLibcrypto::~ExhaustedLibcrypto() {
    LibcryptoHeap::untilFailure = 0;
}

bool ExhaustedLibcrypto::happened() const {
    return LibcryptoHeap::untilFailure == 0;
}

LibcryptoWatch::LibcryptoWatch(std::vector<ByteArray> const& secrets) {
    for (ByteArray const& secret : secrets) {
        secrets_.push_back(&secret);
    }
    LibcryptoHeap::watch = this;
}

LibcryptoWatch::LibcryptoWatch(ByteArray const& secret) : secrets_{&secret} {
    LibcryptoHeap::watch = this;
}

LibcryptoWatch::~LibcryptoWatch() {
    LibcryptoHeap::watch = nullptr;
}

void LibcryptoWatch::look(void const* block) {
    ++blocks_;
    std::size_t const size = malloc_usable_size(const_cast<void*>(block));
    bool const found = std::any_of(secrets_.begin(), secrets_.end(), [&](ByteArray const* secret) {
        return memmem(block, size, secret->data(), secret->size()) != nullptr;
    });
    blocksWithSecret_ += found ? 1 : 0;
}

} // namespace support
