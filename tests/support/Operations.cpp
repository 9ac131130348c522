#include "Operations.h"

#include "operations/Families.h"

namespace support {

std::vector<Operation> const& operations() {
    static std::vector<Operation> const all = [] {
        std::vector<Operation> list;
        listing::addRandom(list);
        listing::addDigests(list);
        listing::addDerivation(list);
        listing::addAES(list);
        listing::addRSA(list);
        listing::addECC(list);
        listing::addHSM(list);
        return list;
    }();
    return all;
}

} // namespace support
