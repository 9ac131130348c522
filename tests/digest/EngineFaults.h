#ifndef ZRFL_TESTS_DIGEST_ENGINEFAULTS_H
#define ZRFL_TESTS_DIGEST_ENGINEFAULTS_H

#include "support/Bytes.h"
#include "support/Faults.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

/// What the tests with failing libcrypto calls ask of the engines of every family.
namespace support {

/// Nothing comes out of `engine` any more but exceptions with the two texts, and libcrypto is not asked for anything.
template <class Engine>
void expectUnusable(Engine& engine, std::string const& notUpdated, std::string const& notFinalized) {
    using foundation::crypto::utils::InternalException;
    Recording const recording;
    EXPECT_THROWS(InternalException, notUpdated, engine.update(bytes("abc")));
    EXPECT_THROWS(InternalException, notUpdated, engine.update(nullptr, 0));
    EXPECT_THROWS(InternalException, notUpdated, engine.computeDigest(bytes("abc")));
    EXPECT_THROWS(InternalException, notFinalized, engine.finalize());
    EXPECT_THROWS(InternalException, notFinalized, engine.finalize());
    std::istringstream stream("abc");
    EXPECT_THROWS(InternalException, notUpdated, engine.computeDigest(stream));
    std::istringstream spent;
    spent.setstate(std::ios_base::eofbit);
    EXPECT_THROWS(InternalException, notFinalized, engine.computeDigest(spent));
    EXPECT_TRUE(recording.calls().empty()) << "used a context that is not there, or used up";
}

/// The sizes of the pieces in which `engine` hands a stream of `size` bytes to the libcrypto function `update`.
template <class Engine>
std::vector<std::intptr_t> piecesOfStream(Engine engine, std::string const& update, std::size_t size) {
    std::istringstream stream(std::string(size, 'a'));
    Recording const recording;
    engine.computeDigest(stream);
    std::vector<std::intptr_t> found;
    for (Call const& call : recording.callsOf(update)) {
        found.push_back(call.arguments.at(2));
    }
    return found;
}

/// Success is anything but 0 for the calls that start and end a MAC.
template <class Create> void expectZeroAloneToFailMACs(Create create) {
    auto const expected = create().computeDigest(bytes("abc"));
    Replacing<decltype(EVP_MAC_init)> const start("EVP_MAC_init", [](auto real, auto... arguments) {
        EXPECT_EQ(real(arguments...), 1);
        return 2;
    });
    Replacing<decltype(EVP_MAC_final)> const end("EVP_MAC_final", [](auto real, auto... arguments) {
        EXPECT_EQ(real(arguments...), 1);
        return -1;
    });
    EXPECT_EQ(create().computeDigest(bytes("abc")), expected);
}

/// A MAC of another size than `expected` is refused with `text`.
template <class Create> void expectOtherMACSizesRefused(Create create, std::size_t expected, std::string const& text) {
    using foundation::crypto::utils::InternalException;
    for (int const difference : {-1, 1}) {
        Replacing<decltype(EVP_MAC_final)> const resized(
            "EVP_MAC_final",
            [&](auto real, EVP_MAC_CTX* context, unsigned char* code, std::size_t* size, std::size_t capacity) {
                EXPECT_EQ(capacity, expected);
                int const result = real(context, code, size, capacity);
                *size += static_cast<std::size_t>(difference);
                return result;
            });
        EXPECT_THROWS(InternalException, text, create().finalize());
    }
}

} // namespace support

#endif
