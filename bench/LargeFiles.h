#ifndef ZRFL_BENCH_LARGEFILES_H
#define ZRFL_BENCH_LARGEFILES_H

#include "Case.h"

#include <array>
#include <cstddef>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <unistd.h>
#include <vector>

namespace bench {

constexpr std::size_t mebibyte = std::size_t(1) << 20;

struct FileSize {
    char const* name;
    std::size_t bytes;
};

constexpr std::array<FileSize, 3> fileSizes{
    {{"1 MiB", mebibyte}, {"64 MiB", 64 * mebibyte}, {"512 MiB", 512 * mebibyte}}};

/// A file of `size` bytes and the names of others beside it, gone when the process ends.
class Files {
public:
    explicit Files(std::size_t size) : folder_(makeFolder()) {
        std::string const block(mebibyte, 'a');
        std::ofstream file(input(), std::ios::binary);
        for (std::size_t written = 0; written < size; written += block.size()) {
            file.write(block.data(), static_cast<std::streamsize>(block.size()));
        }
        mustSucceed(file.flush().good());
    }

    ~Files() { std::filesystem::remove_all(folder_); }

    Files(Files const&) = delete;
    Files& operator=(Files const&) = delete;

    std::string input() const { return folder_ + "/input"; }

    std::string encrypted() const { return folder_ + "/encrypted"; }

    std::string output() const { return folder_ + "/output"; }

private:
    static std::string makeFolder() {
        std::string folder = std::filesystem::temp_directory_path().string() + "/zrflbenchXXXXXX";
        mustSucceed(mkdtemp(folder.data()) != nullptr);
        return folder;
    }

    std::string folder_;
};

inline Files const& filesOf(std::size_t size) {
    static std::map<std::size_t, Files> all;
    return all.try_emplace(size, size).first->second;
}

/// A file's descriptor.
class Descriptor {
public:
    Descriptor(std::string const& path, int flags) : number_(open(path.c_str(), flags, 0600)) {
        mustSucceed(number_ >= 0);
    }

    ~Descriptor() { close(number_); }

    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;

    int get() const { return number_; }

private:
    int number_;
};

/// The plain loop: hands `work` piece after piece in a buffer that stays warm.
template <class Work> void readPieces(std::string const& path, Work&& work) {
    static std::vector<unsigned char> buffer(mebibyte);
    Descriptor const input(path, O_RDONLY);
    for (ssize_t size = 0; (size = read(input.get(), buffer.data(), buffer.size())) > 0;) {
        work(buffer.data(), static_cast<int>(size));
    }
}

/// A whole file in memory that stays warm.
inline std::vector<unsigned char> const& readWhole(std::string const& path) {
    static std::vector<unsigned char> whole;
    whole.resize(std::filesystem::file_size(path));
    Descriptor const input(path, O_RDONLY);
    for (std::size_t size = 0; size < whole.size();) {
        ssize_t const count = read(input.get(), whole.data() + size, whole.size() - size);
        mustSucceed(count > 0);
        size += static_cast<std::size_t>(count);
    }
    return whole;
}

} // namespace bench

#endif
