#include "Heap.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace support {

struct HeapState {
    HeapRecording* recording = nullptr;
    ExhaustedHeap* exhausted = nullptr;
    bool busy = false; // what the recording itself allocates does not count

    void* allocate(std::size_t size) {
        constexpr std::size_t unlikely = std::size_t(1) << 40; // AddressSanitizer would end the program over it
        if (!busy && exhausted != nullptr && --exhausted->left_ == 0) {
            throw std::bad_alloc();
        }
        void* const block = size < unlikely ? std::malloc(std::max<std::size_t>(size, 1)) : nullptr;
        if (block == nullptr) {
            throw std::bad_alloc();
        }
        if (!busy && recording != nullptr) {
            busy = true;
            recording->blocks_.push_back({block, size});
            recording->held_ += size;
            recording->peak_ = std::max(recording->peak_, recording->held_);
            busy = false;
        }
        return block;
    }

    void release(void* block) {
        if (!busy && recording != nullptr) {
            auto& blocks = recording->blocks_;
            auto const found = std::find_if(blocks.rbegin(), blocks.rend(), [=](HeapBlock const& known) {
                return known.address == block && !known.released;
            });
            if (found != blocks.rend()) {
                busy = true;
                auto const* const content = static_cast<unsigned char const*>(block);
                found->released = true;
                found->atRelease.assign(content, content + std::min<std::size_t>(found->size, 4096));
                recording->held_ -= found->size;
                busy = false;
            }
        }
        std::free(block);
    }
};

namespace {

thread_local HeapState state;

} // namespace

HeapRecording::HeapRecording() {
    state.recording = this;
}

HeapRecording::~HeapRecording() {
    state.recording = nullptr;
}

ExhaustedHeap::ExhaustedHeap(int nth) : left_(nth) {
    state.exhausted = this;
}

ExhaustedHeap::~ExhaustedHeap() {
    state.exhausted = nullptr;
}

} // namespace support

void* operator new(std::size_t size) {
    return support::state.allocate(size);
}

void operator delete(void* block) noexcept {
    support::state.release(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
    support::state.release(block);
}
