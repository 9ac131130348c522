#include "Allocations.h"

#include "RepeatedMemory.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <new>
#include <utility>

namespace support {

struct AllocationState {
    int untilFailure = 0; // 0: none is to fail
    bool failed = false;
    bool repeats = false; // large blocks
    ReleaseWatch* watch = nullptr;
    AllocationRecording* recording = nullptr;
    long live = 0;

    void* allocate(std::size_t size) {
        constexpr std::size_t tooLarge = std::size_t(1) << 40; // AddressSanitizer would end the program over it
        bool const counts = ForeignAllocations::depth == 0;
        if (counts && untilFailure > 0 && --untilFailure == 0) {
            failed = true;
            throw std::bad_alloc();
        }
        void* const block = size < tooLarge ? std::malloc(size == 0 ? 1 : size) : nullptr;
        if (block == nullptr) {
            throw std::bad_alloc();
        }
        if (repeats && size >= std::size_t(1) << 30) {
            repeatMemory(block, size);
        }
        ++live;
        if (counts && recording != nullptr) {
            ForeignAllocations const own; // the recording's own memory does not count
            recording->blocks_.push_back({block, size});
            recording->held_ += size;
            recording->peak_ = std::max(recording->peak_, recording->held_);
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
        if (ForeignAllocations::depth == 0 && recording != nullptr) {
            ForeignAllocations const own;
            record(block);
        }
        live -= block == nullptr ? 0 : 1;
        std::free(block);
    }

private:
    void record(void const* block) {
        auto& blocks = recording->blocks_;
        auto const found = std::find_if(blocks.rbegin(), blocks.rend(), [=](AllocatedBlock const& known) {
            return known.address == block && !known.released;
        });
        if (found != blocks.rend()) {
            auto const* const content = static_cast<unsigned char const*>(block);
            found->released = true;
            found->atRelease.assign(content, content + std::min<std::size_t>(found->size, 4096));
            recording->held_ -= found->size;
        }
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

RepeatedBlocks::RepeatedBlocks() {
    state.repeats = true;
}

RepeatedBlocks::~RepeatedBlocks() {
    state.repeats = false;
}

long liveAllocations() {
    return state.live;
}

ReleaseWatch::ReleaseWatch(ByteArray secret) : secret_(std::move(secret)) {
    state.watch = this;
}

ReleaseWatch::~ReleaseWatch() {
    state.watch = nullptr;
}

AllocationRecording::AllocationRecording() {
    state.recording = this;
}

AllocationRecording::~AllocationRecording() {
    stop();
}

void AllocationRecording::stop() {
    state.recording = nullptr;
}

} // namespace support

// The library's objects reach these too: in a test program they stand before the standard library's own.
void* operator new(std::size_t size) {
    return support::state.allocate(size);
}

void* operator new(std::size_t size, std::nothrow_t const& /*tag*/) noexcept {
    try {
        return support::state.allocate(size);
    } catch (std::bad_alloc const&) {
        return nullptr;
    }
}

void operator delete(void* block, std::nothrow_t const& /*tag*/) noexcept {
    support::state.release(block);
}

void operator delete(void* block) noexcept {
    support::state.release(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
    support::state.release(block);
}
