#ifndef ZRFL_TESTS_SUPPORT_THREADS_H
#define ZRFL_TESTS_SUPPORT_THREADS_H

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <thread>
#include <vector>

namespace support {

/// Runs `work(thread)` on `count` threads that start together; that none of them throws is expected.
template <class Work> void onThreads(std::size_t count, Work&& work) {
    std::atomic<std::size_t> ready{0};
    std::atomic<int> failed{0};
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < count; ++i) {
        threads.emplace_back([&, i] {
            ++ready;
            while (ready < count) {
                std::this_thread::yield();
            }
            try {
                work(i);
            } catch (...) {
                ++failed;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failed, 0);
}

} // namespace support

#endif
