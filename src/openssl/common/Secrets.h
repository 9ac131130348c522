#ifndef ZRFL_OPENSSL_SECRETS_H
#define ZRFL_OPENSSL_SECRETS_H

#include <openssl/bn.h>
#include <openssl/crypto.h>
#include <openssl/params.h>

#include <cstddef>
#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace foundation::crypto::openssl {

/// Wipes memory before it goes back to the heap: the copies that a growing vector leaves behind included.
template <class Byte> struct WipingAllocator {
    using value_type = Byte;

    WipingAllocator() noexcept = default;

    template <class Other> explicit WipingAllocator(WipingAllocator<Other> const& /*other*/) noexcept {}

    Byte* allocate(std::size_t count) { return std::allocator<Byte>().allocate(count); }

    void deallocate(Byte* bytes, std::size_t count) noexcept {
        OPENSSL_cleanse(bytes, count * sizeof(Byte));
        std::allocator<Byte>().deallocate(bytes, count);
    }

    friend bool operator==(WipingAllocator /*left*/, WipingAllocator /*right*/) noexcept { return true; }

    friend bool operator!=(WipingAllocator /*left*/, WipingAllocator /*right*/) noexcept { return false; }
};

/// Key material and key text that the library itself holds, wiped wherever it is released.
using SecretBytes = std::vector<unsigned char, WipingAllocator<unsigned char>>;

/// As `WipingAllocator`, for texts as large as a host's messages: a vector that is resized leaves the new bytes as they
/// are in memory, since filling them with zeros first would take noticeable time.
template <class Byte> struct UnfilledWipingAllocator : WipingAllocator<Byte> {
    UnfilledWipingAllocator() noexcept = default;

    template <class Other> explicit UnfilledWipingAllocator(UnfilledWipingAllocator<Other> const& /*other*/) noexcept {}

    template <class Value> void construct(Value* place) noexcept { ::new (static_cast<void*>(place)) Value; }
};

/// As `SecretBytes`, for messages. Only what was written to it may be handed on: the other bytes are whatever the
/// memory held before.
using UnfilledSecretBytes = std::vector<unsigned char, UnfilledWipingAllocator<unsigned char>>;

/// Wipes `secret` when the scope ends, by whichever path. The buffer must not grow meanwhile.
template <class Bytes> class Wiped {
public:
    explicit Wiped(Bytes& secret) noexcept : secret_(secret) {}

    ~Wiped() { OPENSSL_cleanse(secret_.data(), secret_.size()); }

    Wiped(Wiped const&) = delete;
    Wiped& operator=(Wiped const&) = delete;

private:
    Bytes& secret_;
};

/// Runs `operation`; when it fails, `secret` is wiped before the exception goes on.
template <class Bytes, class Operation> decltype(auto) wipingOnFailure(Bytes& secret, Operation&& operation) {
    try {
        return std::forward<Operation>(operation)();
    } catch (...) {
        OPENSSL_cleanse(secret.data(), secret.size());
        throw;
    }
}

inline void wipe(BIGNUM* number) noexcept {
    if (number != nullptr) {
        BN_clear(number);
    }
}

inline void wipe(OSSL_PARAM* parameters) noexcept {
    for (OSSL_PARAM* entry = parameters; entry != nullptr && entry->key != nullptr; ++entry) {
        OPENSSL_cleanse(entry->data, entry->data_size);
    }
}

/// As `Wiped`, for a libcrypto object that does not wipe itself when its owner releases it: a number, or parameters.
/// It may be null.
template <class Object> class WipedObject {
public:
    explicit WipedObject(Object* secret) noexcept : secret_(secret) {}

    ~WipedObject() { wipe(secret_); }

    WipedObject(WipedObject const&) = delete;
    WipedObject& operator=(WipedObject const&) = delete;

private:
    Object* secret_;
};

} // namespace foundation::crypto::openssl

#endif
