#ifndef ZRFL_TESTS_SUPPORT_HEAP_H
#define ZRFL_TESTS_SUPPORT_HEAP_H

#include "Bytes.h"

#include <cstddef>
#include <vector>

/// Watching and exhausting the C++ heap. A test program that links this (Heap.cpp) replaces the global operators new
/// and delete, for itself and for the library. Only what the thread of the test does counts; memory that libcrypto
/// takes is another heap.
namespace support {

/// One block that was allocated while a recording lived.
struct HeapBlock {
    void const* address = nullptr;
    std::size_t size = 0; ///< As asked for.
    bool released = false;
    ByteArray atRelease = {}; ///< What it held when it was released, cut after 4096 bytes.
};

/// Keeps the allocations that are made while it lives, and their releases.
class HeapRecording {
public:
    HeapRecording();
    ~HeapRecording();
    HeapRecording(HeapRecording const&) = delete;
    HeapRecording& operator=(HeapRecording const&) = delete;

    /// In the order of their allocation.
    std::vector<HeapBlock> const& blocks() const { return blocks_; }

    /// The largest sum of the sizes of blocks that were held at one time.
    std::size_t peak() const { return peak_; }

private:
    friend struct HeapState;
    std::vector<HeapBlock> blocks_;
    std::size_t held_ = 0;
    std::size_t peak_ = 0;
};

/// Makes the n-th allocation that follows (1 is the next) throw std::bad_alloc.
class ExhaustedHeap {
public:
    explicit ExhaustedHeap(int nth = 1);
    ~ExhaustedHeap();
    ExhaustedHeap(ExhaustedHeap const&) = delete;
    ExhaustedHeap& operator=(ExhaustedHeap const&) = delete;

    bool happened() const { return left_ <= 0; }

private:
    friend struct HeapState;
    int left_;
};

} // namespace support

#endif
