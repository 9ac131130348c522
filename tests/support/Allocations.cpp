#include "Allocations.h"

#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <new>

namespace support {

struct AllocationState {
    int untilFailure = 0; // 0: none is to fail
    bool failed = false;
    ReleaseWatch* watch = nullptr;

    void* allocate(std::size_t size) {
        if (untilFailure > 0 && --untilFailure == 0) {
            failed = true;
            throw std::bad_alloc();
        }
        void* const block = std::malloc(size == 0 ? 1 : size);
        if (block == nullptr) {
            throw std::bad_alloc();
        }
        return block;
    }

    void release(void* block) {
        if (block != nullptr && watch != nullptr) {
            ++watch->blocks_;
            void const* const found =
                memmem(block, malloc_usable_size(block), watch->secret_.data(), watch->secret_.size());
            watch->blocksWithSecret_ += found == nullptr ? 0 : 1;
        }
        std::free(block);
    }
};

namespace {

thread_local AllocationState state;

} // namespace

FailingAllocation::FailingAllocation(int nth) {
    state.failed = false;
    state.untilFailure = nth;
}

FailingAllocation::~FailingAllocation() {
    state.untilFailure = 0;
}

bool FailingAllocation::happened() const {
    return state.failed;
}

ReleaseWatch::ReleaseWatch(ByteArray secret) : secret_(std::move(secret)) {
    state.watch = this;
}

ReleaseWatch::~ReleaseWatch() {
    state.watch = nullptr;
}

} // namespace support

// The library's objects reach these too: in a test program they stand before the standard library's own.
void* operator new(std::size_t size) {
    return support::state.allocate(size);
}

void operator delete(void* block) noexcept {
    support::state.release(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
    support::state.release(block);
}
