#ifndef ZRFL_TESTS_ABI_HOST_H
#define ZRFL_TESTS_ABI_HOST_H

#include <ostream>

/// Calls every operation with what the seed gives and with the keys of the folder; writes a line about each call.
extern "C" __attribute__((visibility("default"))) void useEverything(char const* keys, unsigned long seed,
                                                                     std::ostream& output);

#endif
