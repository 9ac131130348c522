// A plug-in of a host that hides its symbols, with its own copy of the example.
#include "examples/SerializedHSMSigner.h"

extern "C" [[gnu::visibility("default")]] std::mutex* handOver() {
    return &SerializedHSMSigner::mutex();
}
