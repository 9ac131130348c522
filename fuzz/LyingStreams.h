#ifndef ZRFL_FUZZ_LYINGSTREAMS_H
#define ZRFL_FUZZ_LYINGSTREAMS_H

#include "Fuzz.h"

#include <ios>
#include <istream>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <vector>

namespace fuzz {

/// Throws something: of the standard's, of the library's own, or of neither family.
inline void throwSomething(unsigned int kind) {
    switch (kind % 5) {
    case 0:
        throw std::runtime_error("the buffer's own");
    case 1:
        throw utils::InvalidKey("of the library's family");
    case 2:
        throw std::bad_alloc();
    case 3:
        throw std::ios_base::failure("of a stream");
    default:
        throw 42;
    }
}

/// What a buffer does when it is asked for more, one after the other.
struct Step {
    enum Kind { Area, Single, UflowOnly, Lie, End, Throw, Tamper };

    Kind kind;
    unsigned int choice; // what is thrown, done to the stream, or how a count differs from the truth
    std::string text;
};

/// The steps that an input describes.
inline std::vector<Step> readSteps(Input& input) {
    std::vector<Step> steps;
    while (!input.isEmpty()) {
        auto const kind = static_cast<Step::Kind>(input.below(7));
        unsigned int const choice = input.below(256);
        steps.push_back({kind, choice, kind < Step::End ? asString(input.take(input.below(256))) : ""});
    }
    return steps;
}

/// A buffer that takes the steps. It answers the same however often it is only looked at.
class LyingBuffer final : public std::streambuf {
public:
    LyingBuffer(std::vector<Step> steps, unsigned int promise) : steps_(std::move(steps)), promise_(promise) {}

    /// The stream that is tampered with.
    void serve(std::istream& stream) { stream_ = &stream; }

    /// What is left, so that two buffers can be compared.
    std::size_t left() const {
        return 1000 * (steps_.size() - next_) + (next_ < steps_.size() ? steps_[next_].text.size() - at_ : 0) +
               static_cast<std::size_t>(egptr() - gptr());
    }

protected:
    int_type underflow() override { return look(false); }

    int_type uflow() override {
        int_type const character = look(true);
        if (gptr() < egptr()) {
            gbump(1);
        }
        return character;
    }

    std::streamsize xsgetn(char* data, std::streamsize size) override {
        if (gptr() == egptr() && reach() && steps_[next_].kind == Step::Lie) {
            Step const& step = steps_[next_++];
            std::streamsize const lies[]{-1,
                                         0,
                                         size,
                                         size + 1,
                                         std::numeric_limits<std::streamsize>::max(),
                                         std::numeric_limits<std::streamsize>::min()};
            std::copy_n(step.text.begin(), std::min<std::streamsize>(size, std::streamsize(step.text.size())), data);
            return lies[step.choice % std::size(lies)];
        }
        return std::streambuf::xsgetn(data, size);
    }

    std::streamsize showmanyc() override {
        constexpr std::streamsize promises[]{-1, 0, 1, std::streamsize(1) << 40U,
                                             std::numeric_limits<std::streamsize>::max()};
        return promises[promise_ % std::size(promises)];
    }

    pos_type seekoff(off_type /*offset*/, std::ios_base::seekdir /*from*/, std::ios_base::openmode /*mode*/) override {
        throwSomething(promise_);
        return pos_type(off_type(-1));
    }

    pos_type seekpos(pos_type /*position*/, std::ios_base::openmode /*mode*/) override {
        throwSomething(promise_);
        return pos_type(off_type(-1));
    }

private:
    /// Goes to the next step that delivers, ends or throws; on the way the stream is tampered with.
    bool reach() {
        while (next_ < steps_.size()) {
            Step const& step = steps_[next_];
            if (step.kind == Step::Tamper) {
                ++next_;
                tamper(step.choice);
            } else if (step.kind < Step::End && at_ == step.text.size()) {
                ++next_;
                at_ = 0;
            } else {
                return true;
            }
        }
        return false;
    }

    int_type look(bool takes) {
        if (!reach()) {
            return traits_type::eof();
        }
        Step& step = steps_[next_];
        switch (step.kind) {
        case Step::Throw:
            ++next_;
            throwSomething(step.choice);
            return traits_type::eof();
        case Step::End:
            ++next_;
            return traits_type::eof();
        case Step::Single:
        case Step::UflowOnly: {
            bool const isHidden = step.kind == Step::UflowOnly && !takes;
            int_type const character = isHidden ? traits_type::eof() : traits_type::to_int_type(step.text[at_]);
            at_ += takes ? 1U : 0U;
            return character;
        }
        default:
            setg(step.text.data(), step.text.data(), step.text.data() + step.text.size());
            ++next_;
            return traits_type::to_int_type(*gptr());
        }
    }

    void tamper(unsigned int choice) {
        switch (choice % 7) {
        case 0:
            return stream_->setstate(std::ios_base::failbit);
        case 1:
            return stream_->setstate(std::ios_base::eofbit);
        case 2:
            return stream_->setstate(std::ios_base::badbit);
        case 3:
            return stream_->clear();
        case 4:
            stream_->rdbuf(&other_);
            return;
        case 5:
            stream_->rdbuf(nullptr);
            return;
        default:
            return stream_->exceptions(std::ios_base::badbit);
        }
    }

    std::vector<Step> steps_;
    unsigned int promise_;
    std::size_t next_ = 0;
    std::size_t at_ = 0; // in the text of a step without a get area
    std::istream* stream_ = nullptr;
    std::stringbuf other_{"what another buffer holds"};
};

/// A stream over a lying buffer, in one of the states and with one of the exception masks that a host may set.
struct LyingStream {
    LyingBuffer buffer;
    std::istream stream;

    LyingStream(std::vector<Step> const& steps, unsigned int setup) : buffer(steps, setup / 16), stream(&buffer) {
        buffer.serve(stream);
        if (setup % 16 < 8) {
            stream.exceptions(static_cast<std::ios_base::iostate>(setup % 8));
        } else {
            stream.clear(static_cast<std::ios_base::iostate>(setup % 8));
        }
    }
};

/// An output buffer that takes some bytes, and then less than it is given, or nothing, or throws.
class LyingOutput final : public std::streambuf {
public:
    LyingOutput(std::size_t room, unsigned int manner) : room_(room), manner_(manner) {}

protected:
    int_type overflow(int_type character) override {
        return xsputn("x", 1) == 1 ? traits_type::not_eof(character) : traits_type::eof();
    }

    std::streamsize xsputn(char const* /*data*/, std::streamsize size) override {
        if (static_cast<std::size_t>(size) <= room_) {
            room_ -= static_cast<std::size_t>(size);
            return size;
        }
        switch (manner_ % 4) {
        case 0:
            return static_cast<std::streamsize>(room_);
        case 1:
            return -1;
        case 2:
            return size + 1;
        default:
            throwSomething(manner_ / 4);
            return 0;
        }
    }

private:
    std::size_t room_;
    unsigned int manner_;
};

} // namespace fuzz

#endif
