#ifndef ZRFL_TESTS_SUPPORT_OWNSTACK_H
#define ZRFL_TESTS_SUPPORT_OWNSTACK_H

#include "Bytes.h"

#include <cstddef>
#include <functional>
#include <vector>

namespace support {

/// A stack on which one operation runs, to be searched for what it left there. Nothing else runs on it, so that nothing
/// overwrites it afterwards.
class OwnStack {
public:
    OwnStack();

    /// Runs `operation`, which must not throw.
    void run(std::function<void()> const& operation);

    /// How many different runs of eight bytes out of `secrets` are anywhere on the stack. Runs of fewer than five
    /// different bytes say nothing and do not count.
    std::size_t countLeft(std::vector<ByteArray> const& secrets) const;

private:
    ByteArray memory_;
};

} // namespace support

#endif
