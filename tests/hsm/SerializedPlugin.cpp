// A plug-in of a host that hides its symbols, with its own copy of the example.
#include "examples/SerializedHSMSigner.h"

extern "C" __attribute__((visibility("default"))) std::mutex* turns();

std::mutex* turns() {
    return &SerializedHSMSigner::mutex();
}
