// Throws in all the ways that thrown_texts.sh looks for: in the library, in the program, in a thread and in a child.
#include <foundation/crypto/openssl/CryptoProvider.h>
#include <foundation/crypto/utils/Exceptions.h>

#include <new>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

namespace utils = foundation::crypto::utils;

template <class Action> void caught(Action action) {
    try {
        action();
    } catch (...) { // what it is shows in the file
    }
}

void throwEverything() {
    foundation::crypto::openssl::CryptoProvider const provider;
    caught([&] { provider.createAES128Key({}); });
    caught([] { throw utils::InvalidKey("two\nlines"); });
    caught([] { throw utils::Exception(std::string("front\0behind", 12)); });
    caught([] { throw std::runtime_error(""); });
    caught([] { throw std::bad_alloc(); });
    caught([] { throw 42; });
    caught([] {
        try {
            throw std::logic_error("rethrown");
        } catch (std::exception const&) {
            throw;
        }
    });
}

} // namespace

int main() {
    for (int round = 0; round < 100; ++round) {
        throwEverything();
    }
    std::thread(throwEverything).join();
    std::thread([] { caught([] { throw std::logic_error("in a thread"); }); }).join();
    pid_t const child = fork();
    throwEverything();
    if (child == 0) {
        caught([] { throw std::logic_error("in a child"); });
        _exit(0);
    }
    int status = 1;
    waitpid(child, &status, 0);
    return status;
}
