#ifndef ZRFL_TESTS_SUPPORT_RESIDENTMEMORY_H
#define ZRFL_TESTS_SUPPORT_RESIDENTMEMORY_H

#include <cstddef>
#include <fstream>
#include <string>

#include <malloc.h>

namespace support {

/// A number that the kernel tells about this process in KiB, such as "VmRSS:", in bytes.
inline std::size_t readProcessStatus(std::string const& name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind(name, 0) == 0) {
            return std::stoul(line.substr(name.size())) * 1024;
        }
    }
    return 0;
}

/// By how many bytes `work` raised the process's resident memory at most.
template <class Work> std::size_t peakMemoryOf(Work&& work) {
    malloc_trim(0); // what the heap keeps of earlier work would be used again, and not be seen
    std::ofstream("/proc/self/clear_refs") << "5"; // forgets the peak so far
    std::size_t const before = readProcessStatus("VmRSS:");
    work();
    return readProcessStatus("VmHWM:") - before;
}

} // namespace support

#endif
