#ifndef ZRFL_TESTS_SUPPORT_OPERATIONS_H
#define ZRFL_TESTS_SUPPORT_OPERATIONS_H

#include "Bytes.h"

#include <foundation/crypto/utils/HSMObject.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// Every operation of the public interface, for tests that ask the same of all of them. An operation that is added to
/// an interface is added here once and takes part in each of those tests.
namespace support {

/// One call of an operation, with objects and arguments that were made for it alone.
struct OperationRun {
    std::function<void()> call;         ///< The operation and nothing else.
    std::function<ByteArray()> outcome; ///< What came of a call that returned: for every right result the same bytes.
    /// The objects that the call returned, as their most derived classes, those inside a key pair included.
    std::function<std::vector<void const*>()> made;
    /// What comes of the same objects in their next use, whatever a call before has left to do: after every call that
    /// did them no harm the same bytes.
    std::function<ByteArray()> again;
    /// Whether a call that threw has written nothing, or no more than a documented part of its result.
    std::function<bool()> wroteNoHalf;
    std::function<OperationRun()> beside; ///< A call on the same objects, with streams and a result of its own.
};

struct Operation {
    std::string interface; ///< Such as "IRSASigner".
    std::string name;      ///< With the kind of its arguments where several have one name: "sign(stream)".
    std::string kind;      ///< Of the object it belongs to or makes, such as "2048 PSS"; may be empty.
    std::function<OperationRun()> prepare;
    /// The outcome with which it may return, in place of an exception, when something failed in it: a verification then
    /// says that nothing was shown to be signed.
    std::optional<ByteArray> negative = {};
    /// The same calls of libcrypto by hand, where libcrypto itself answers wrongly when it runs out of memory.
    std::function<OperationRun()> prepareBare = {};

    /// Whether a key is decrypted after PBES2.
    bool decryptsKey() const { return kind.rfind("encrypted.", 0) == 0; }

    std::string description() const { return interface + "::" + name + (kind.empty() ? "" : ", " + kind); }
};

/// All of them but the members of the HSM signer. Every factory is there, with the members of every kind of object.
std::vector<Operation> const& operations();

/// The members of the signer for the key of a hardware security module; `publicKey` is its public half in PEM.
std::vector<Operation> hsmOperations(foundation::crypto::utils::HSMObject const& key, ByteArray const& publicKey);

} // namespace support

#endif
