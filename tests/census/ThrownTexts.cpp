// Loaded in front of a program (LD_PRELOAD), it writes down what the program throws: the texts of standard exceptions,
// those of the library among them, wherever in the process they are thrown. `tools/census` compares them with the texts
// of the sources.
//
// Each text is written once by each process and its children, to the file `thrown` in the folder that ZRFL_CENSUS
// names. A record is three strings, each with its NUL: the program, the mangled name of the exception's type, the text.
// Nothing is allocated and no lock is taken, since programs watch their heaps, fork, and throw in many threads.
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <exception>
#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <typeinfo>
#include <unistd.h>

namespace {

using Throw = void(void* object, std::type_info* type, void (*destroy)(void*));

Throw* realThrow = nullptr;
std::array<char, PATH_MAX> file{}; // empty: nothing is written

__attribute__((constructor)) void prepare() {
    realThrow = reinterpret_cast<Throw*>(dlsym(RTLD_NEXT, "__cxa_throw"));
    char const* const folder = std::getenv("ZRFL_CENSUS");
    if (folder != nullptr) {
        std::snprintf(file.data(), file.size(), "%s/thrown", folder);
    }
}

std::uint64_t hash(std::uint64_t sum, char const* text) {
    for (; *text != '\0'; ++text) {
        sum = (sum ^ static_cast<unsigned char>(*text)) * 0x100000001b3U; // FNV-1a
    }
    return sum;
}

/// Whether this is the first time. With the table full it always is.
bool isNew(std::uint64_t value) {
    static std::array<std::atomic<std::uint64_t>, 16384> seen{};
    for (std::size_t step = 0; step < seen.size(); ++step) {
        std::uint64_t there = 0;
        if (seen[(value + step) % seen.size()].compare_exchange_strong(there, value)) {
            return true;
        }
        if (there == value) {
            return false;
        }
    }
    return true;
}

/// In one write, which the system does not mix with those of other processes. By the bare system calls, at which no
/// thread is cancelled.
void append(char const* type, char const* text) {
    long const descriptor = syscall(SYS_openat, AT_FDCWD, file.data(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (descriptor >= 0) {
        auto const part = [](char const* string) { return iovec{const_cast<char*>(string), std::strlen(string) + 1}; };
        std::array<iovec, 3> const record{part(program_invocation_short_name), part(type), part(text)};
        syscall(SYS_writev, descriptor, record.data(), record.size());
        syscall(SYS_close, descriptor);
    }
}

void record(void* object, std::type_info const& type) {
    int const error = errno;
    // Points to the standard exception in the object afterwards, if it is one.
    if (file[0] != '\0' && typeid(std::exception).__do_catch(&type, &object, 1)) {
        char const* const text = static_cast<std::exception*>(object)->what();
        if (isNew(hash(hash(0xcbf29ce484222325U, type.name()), text))) {
            append(type.name(), text);
        }
    }
    errno = error;
}

} // namespace

extern "C" __attribute__((visibility("default"), noreturn)) void
__cxa_throw(void* object, std::type_info* type, void (*destroy)(void*)) { // NOLINT: the runtime's name
    record(object, *type);
    realThrow(object, type, destroy);
    std::abort();
}
