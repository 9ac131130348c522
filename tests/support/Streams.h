#ifndef ZRFL_TESTS_SUPPORT_STREAMS_H
#define ZRFL_TESTS_SUPPORT_STREAMS_H

#include <algorithm>
#include <cstddef>
#include <istream>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <utility>

namespace support {

/// A buffer without random access that delivers `content` in portions of `portion` bytes and then, where `failure` is
/// not empty, throws std::runtime_error(failure) in place of the end.
class PortionBuffer : public std::streambuf {
public:
    explicit PortionBuffer(std::string content, std::size_t portion = 1, std::string failure = "")
        : content_(std::move(content)), portion_(portion), failure_(std::move(failure)) {}

protected:
    int_type underflow() override {
        if (gptr() < egptr()) {
            return traits_type::to_int_type(*gptr());
        }
        if (next_ == content_.size()) {
            if (!failure_.empty()) {
                throw std::runtime_error(failure_);
            }
            return traits_type::eof();
        }
        std::size_t const size = std::min(portion_, content_.size() - next_);
        char* const start = &content_[next_];
        setg(start, start, start + size);
        next_ += size;
        return traits_type::to_int_type(*start);
    }

private:
    std::string content_;
    std::size_t portion_;
    std::string failure_;
    std::size_t next_ = 0;
};

/// A buffer whose end is an exception of any type.
template <class Thrown> class ThrowingBuffer : public std::streambuf {
public:
    explicit ThrowingBuffer(Thrown thrown) : thrown_(std::move(thrown)) {}

protected:
    int_type underflow() override { throw thrown_; }

private:
    Thrown thrown_;
};

/// What a host can see of an input stream after it was read.
struct StreamState {
    std::ios_base::iostate state;
    std::ios_base::fmtflags flags;
    std::streamsize gcount;
    std::streamsize width;

    explicit StreamState(std::istream const& stream)
        : state(stream.rdstate()), flags(stream.flags()), gcount(stream.gcount()), width(stream.width()) {}

    bool operator==(StreamState const& other) const {
        return state == other.state && flags == other.flags && gcount == other.gcount && width == other.width;
    }
};

} // namespace support

#endif
