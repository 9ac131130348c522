#ifndef ZRFL_TESTS_SUPPORT_VIRTUALSLOTS_H
#define ZRFL_TESTS_SUPPORT_VIRTUALSLOTS_H

#include <array>
#include <cstddef>
#include <cstring>
#include <optional>

/// The table of an interface's virtual functions, as the compiler lays it out.
namespace support {

/// The position that a pointer to a member function names, or nothing when the function is not virtual. `Signature` is
/// the operation's type without its class, which also picks one of several overloads.
///
/// Itanium C++ ABI, section 2.3: such a pointer is a pair (ptr, adj). A virtual function has the offset of its slot in
/// ptr; it is marked by the lowest bit of ptr (which is then the offset plus one), on Arm by the lowest bit of adj.
template <class Signature, class Interface> std::optional<std::size_t> slotOf(Signature Interface::* operation) {
    std::array<std::ptrdiff_t, 2> pair{};
    static_assert(sizeof(operation) == sizeof(pair));
    std::memcpy(pair.data(), &operation, sizeof(pair));
#if defined(__aarch64__) || defined(__arm__)
    bool const isVirtual = (pair[1] & 1) != 0;
    std::ptrdiff_t const offset = pair[0];
#else
    bool const isVirtual = (pair[0] & 1) != 0;
    std::ptrdiff_t const offset = pair[0] - 1;
#endif
    if (!isVirtual) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(offset) / sizeof(void*);
}

/// An interface with one operation more: its position is the number of positions that the interface itself takes.
template <class Interface> struct OneMore : Interface {
    virtual void oneMore() = 0;
};

template <class Interface> std::optional<std::size_t> numberOfSlots() {
    return slotOf<void()>(&OneMore<Interface>::oneMore);
}

} // namespace support

#endif
