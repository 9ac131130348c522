#ifndef ZRFL_TESTS_SUPPORT_OPERATIONS_FAMILIES_H
#define ZRFL_TESTS_SUPPORT_OPERATIONS_FAMILIES_H

#include "../Operations.h"

#include <vector>

/// The operations of each family: its factories, and the members of what they make.
namespace support::listing {

void addRandom(std::vector<Operation>& list);
void addDigests(std::vector<Operation>& list);
void addDerivation(std::vector<Operation>& list);
void addAES(std::vector<Operation>& list);
void addRSA(std::vector<Operation>& list);
void addECC(std::vector<Operation>& list);

/// Without the members of a signer, which takes a token.
void addHSM(std::vector<Operation>& list);

} // namespace support::listing

#endif
