#ifndef ZRFL_TESTS_SUPPORT_VECTORS_H
#define ZRFL_TESTS_SUPPORT_VECTORS_H

#include "Bytes.h"

#include <map>
#include <string>
#include <vector>

namespace support {

/// One case of a vector file: lines `name=value`, values in hexadecimal or words. Asking for a field that is not there
/// throws std::out_of_range.
class Vector {
public:
    bool has(std::string const& name) const { return fields_.count(name) != 0; }

    std::string const& word(std::string const& name) const;
    /// The bytes of a hexadecimal value.
    ByteArray bytes(std::string const& name) const;

    /// The verdict that our libcrypto and the library must give: `expect` where the file has it, because they rightly
    /// answer otherwise than the collection that the case is from, and that collection's `result` elsewhere.
    std::string const& expected() const { return word(has("expect") ? "expect" : "result"); }

    int number(std::string const& name) const { return std::stoi(word(name)); }

    /// The value of `id`, which a test traces before it runs the case: that counts it as run, see the table that
    /// `tools/census` ends with.
    std::string const& id() const;

private:
    friend std::vector<Vector> readVectors(std::string const& file);
    std::map<std::string, std::string> fields_;
    std::string file_;
};

/// The cases of a file below tests/vectors. Throws std::runtime_error for a missing file, a malformed line, or a number
/// of cases other than the file's own `# cases: N`, so that neither an empty nor a truncated file passes.
std::vector<Vector> readVectors(std::string const& file);

/// The whole file below tests/vectors, as it is.
ByteArray readVectorFile(std::string const& file);

} // namespace support

#endif
