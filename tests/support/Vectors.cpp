#include "Vectors.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace support {

namespace {

std::string const directory = ZRFL_TEST_VECTORS;

std::ifstream open(std::string const& file) {
    std::ifstream input(directory + "/" + file, std::ios::binary);
    if (!input) {
        throw std::runtime_error("no vector file " + file);
    }
    return input;
}

} // namespace

std::string const& Vector::word(std::string const& name) const {
    auto const found = fields_.find(name);
    if (found == fields_.end()) {
        throw std::out_of_range("a vector without the field " + name);
    }
    return found->second;
}

ByteArray Vector::bytes(std::string const& name) const {
    return unhex(word(name));
}

std::vector<Vector> readVectors(std::string const& file) {
    static std::string const countMark = "# cases: ";
    std::ifstream input = open(file);
    std::vector<Vector> vectors;
    Vector current;
    std::size_t expected = 0;
    auto const finish = [&] {
        if (!current.fields_.empty()) {
            vectors.push_back(std::move(current));
            current = Vector();
        }
    };
    for (std::string line; std::getline(input, line);) {
        if (line.empty()) {
            finish();
        } else if (line.front() == '#') {
            if (line.compare(0, countMark.size(), countMark) == 0) {
                expected = std::stoul(line.substr(countMark.size()));
            }
        } else {
            std::size_t const equals = line.find('=');
            if (equals == std::string::npos) {
                throw std::runtime_error(file + ": not a field: " + line);
            }
            current.fields_[line.substr(0, equals)] = line.substr(equals + 1);
        }
    }
    finish();
    if (vectors.empty() || vectors.size() != expected) {
        throw std::runtime_error(file + ": " + std::to_string(vectors.size()) + " cases, but the file announces " +
                                 std::to_string(expected));
    }
    return vectors;
}

ByteArray readVectorFile(std::string const& file) {
    std::ifstream input = open(file);
    return {std::istreambuf_iterator<char>(input), std::istreambuf_iterator<char>()};
}

} // namespace support
