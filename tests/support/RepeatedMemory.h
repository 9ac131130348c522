#ifndef ZRFL_TESTS_SUPPORT_REPEATEDMEMORY_H
#define ZRFL_TESTS_SUPPORT_REPEATEDMEMORY_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <sys/mman.h>
#include <unistd.h>

namespace support {

/// Puts the same two MiB again and again in the place of the memory at `data`, so that a large region costs none. The
/// parts of pages at its ends keep their own.
inline void repeatMemory(void* data, std::size_t size) {
    constexpr std::size_t repeated = std::size_t(1) << 21;
    auto const page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    std::size_t const before = (page - reinterpret_cast<std::uintptr_t>(data) % page) % page;
    int const memory = memfd_create("repeated", 0);
    bool done = size >= before && ftruncate(memory, repeated) == 0;
    auto* at = static_cast<char*>(data) + before;
    for (std::size_t left = (size - before) / page * page; done && left > 0;) {
        std::size_t const piece = std::min(left, repeated);
        done = mmap(at, piece, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED | MAP_POPULATE, memory, 0) != MAP_FAILED;
        at += piece;
        left -= piece;
    }
    close(memory);
    if (!done) {
        throw std::bad_alloc();
    }
}

} // namespace support

#endif
