#include "Faults.h"

#include <gtest/gtest.h>

#include <openssl/err.h>

#include <algorithm>
#include <cstring>
#include <dlfcn.h>
#include <string_view>
#include <utility>

namespace support {

struct FaultState {
    std::vector<Recording*> recordings;
    std::vector<Failing*> failings;
    std::vector<detail::Replacement*> replacements;
    bool unwatched = false;

    bool empty() const { return recordings.empty() && failings.empty() && replacements.empty(); }

    Verdict judge(Call const& call) {
        for (Recording* const recording : recordings) {
            recording->calls_.push_back(call);
        }
        void* const replacement = replacementOf(call.function);
        Failing* now = nullptr;
        for (Failing* const failing : failings) {
            if (failing->function_ == call.function && --failing->left_ == 0) {
                now = failing;
            }
        }
        if (now != nullptr) {
            if (!now->error_.empty()) {
                ERR_raise_data(ERR_LIB_USER, 1, "%s", now->error_.c_str());
            }
            return {!now->succeeds_, now->hasResult_, now->result_, now->carriedOut_, replacement};
        }
        return {false, false, 0, false, replacement};
    }

private:
    void* replacementOf(std::string const& function) const {
        for (detail::Replacement* const replacement : replacements) {
            if (replacement->function == function) {
                return replacement->body;
            }
        }
        return nullptr;
    }
};

namespace {

thread_local FaultState state;

template <class T> void remove(std::vector<T*>& from, T* what) {
    from.erase(std::remove(from.begin(), from.end(), what), from.end());
}

std::string_view fileOf(void const* address) {
    Dl_info info{};
    return dladdr(address, &info) != 0 && info.dli_fname != nullptr ? std::string_view(info.dli_fname)
                                                                    : std::string_view();
}

} // namespace

Recording::Recording() {
    state.recordings.push_back(this);
}

Recording::~Recording() {
    remove(state.recordings, this);
}

std::vector<Call> Recording::callsOf(std::string const& function) const {
    std::vector<Call> result;
    std::copy_if(calls_.begin(), calls_.end(), std::back_inserter(result),
                 [&](Call const& call) { return call.function == function; });
    return result;
}

std::vector<std::string> Recording::functions() const {
    std::vector<std::string> names;
    for (Call const& call : calls_) {
        names.push_back(call.function);
    }
    return names;
}

Failing::Failing(std::string function, int nth) : function_(std::move(function)), left_(nth) {
    state.failings.push_back(this);
}

Failing::~Failing() {
    remove(state.failings, this);
    EXPECT_TRUE(happened()) << function_ << " was to fail, but was not called often enough";
}

Failing& Failing::withError(std::string text) {
    error_ = std::move(text);
    return *this;
}

Failing& Failing::returning(std::intptr_t result) {
    hasResult_ = true;
    result_ = result;
    return *this;
}

Failing& Failing::carriedOut(bool carriedOut) {
    carriedOut_ = carriedOut;
    return *this;
}

Failing& Failing::succeeding() {
    succeeds_ = true;
    return *this;
}

namespace detail {

Replacement::Replacement(std::string name, void* replacement) : function(std::move(name)), body(replacement) {
    state.replacements.push_back(this);
}

Replacement::~Replacement() {
    remove(state.replacements, this);
}

} // namespace detail

Unwatched::Unwatched() : before_(std::exchange(state.unwatched, true)) {}

Unwatched::~Unwatched() {
    state.unwatched = before_;
}

bool isWatched(void const* caller) {
    if (state.empty() || state.unwatched) {
        return false;
    }
    std::string_view const file = fileOf(caller);
    static std::string_view const program = fileOf(reinterpret_cast<void const*>(&isWatched));
    return file == program || file.find("/libzrflcryptoopenssl.so") != std::string_view::npos;
}

Verdict judge(Call const& call) {
    Unwatched const own;
    return state.judge(call);
}

} // namespace support
