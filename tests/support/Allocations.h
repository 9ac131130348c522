#ifndef ZRFL_TESTS_SUPPORT_ALLOCATIONS_H
#define ZRFL_TESTS_SUPPORT_ALLOCATIONS_H

#include "Bytes.h"

#include <cstddef>
#include <vector>

/// Failing and watching the heap. A test program that links `zrfl_test_allocations` replaces operator new and delete.
namespace support {

/// Makes the n-th allocation by operator new that follows on this thread (1 is the next) throw std::bad_alloc.
class FailingAllocation {
public:
    explicit FailingAllocation(int nth = 1);
    ~FailingAllocation();
    FailingAllocation(FailingAllocation const&) = delete;
    FailingAllocation& operator=(FailingAllocation const&) = delete;

    bool happened() const;
};

/// While it lives, the blocks of a GiB or more that operator new hands out on this thread repeat the same two MiB of
/// memory (RepeatedMemory.h): for sizes that matter while the content does not.
class RepeatedBlocks {
public:
    RepeatedBlocks();
    ~RepeatedBlocks();
    RepeatedBlocks(RepeatedBlocks const&) = delete;
    RepeatedBlocks& operator=(RepeatedBlocks const&) = delete;
};

/// While it lives, the allocations on this thread are somebody else's: they are not counted, not failed, not recorded.
class [[gnu::visibility("default")]] ForeignAllocations {
public:
    ForeignAllocations() { ++depth; }

    ~ForeignAllocations() { --depth; }

    ForeignAllocations(ForeignAllocations const&) = delete;
    ForeignAllocations& operator=(ForeignAllocations const&) = delete;

private:
    friend struct AllocationState;
    static inline thread_local int depth = 0;
};

/// How many blocks of operator new this thread holds, those included that others allocated for it.
long liveAllocations();

/// Looks at every block that operator delete releases on this thread while it lives, at the moment of its release.
class ReleaseWatch {
public:
    /// `secret` is what no released block may hold any more: its bytes, anywhere in the block.
    explicit ReleaseWatch(ByteArray secret);
    ~ReleaseWatch();
    ReleaseWatch(ReleaseWatch const&) = delete;
    ReleaseWatch& operator=(ReleaseWatch const&) = delete;

    /// How many blocks were released with the secret still in them.
    std::size_t blocksWithSecret() const { return blocksWithSecret_; }

    std::size_t blocks() const { return blocks_; }

private:
    friend struct AllocationState;
    ByteArray secret_;
    std::size_t blocks_ = 0;
    std::size_t blocksWithSecret_ = 0;
};

/// One block that operator new handed out while a recording lived.
struct AllocatedBlock {
    void const* address = nullptr;
    std::size_t size = 0; ///< As asked for.
    bool released = false;
    ByteArray atRelease = {}; ///< What it held when it was released, cut after 4096 bytes.
};

/// Keeps the allocations that are made on this thread while it lives, and their releases.
class AllocationRecording {
public:
    AllocationRecording();
    ~AllocationRecording();
    AllocationRecording(AllocationRecording const&) = delete;
    AllocationRecording& operator=(AllocationRecording const&) = delete;

    /// Ends the recording. What was recorded can then be looked at by code that allocates itself.
    void stop();

    /// In the order of their allocation.
    std::vector<AllocatedBlock> const& blocks() const { return blocks_; }

    /// The largest sum of the sizes of blocks that were held at one time.
    std::size_t peak() const { return peak_; }

private:
    friend struct AllocationState;
    std::vector<AllocatedBlock> blocks_;
    std::size_t held_ = 0;
    std::size_t peak_ = 0;
};

} // namespace support

#endif
