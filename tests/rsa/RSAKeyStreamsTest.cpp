#include "RSAKeyForms.h"
#include "support/Bytes.h"
#include "support/Commands.h"
#include "support/Provider.h"
#include "support/RSAKeys.h"
#include "support/Streams.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <istream>
#include <iterator>
#include <memory>
#include <sstream>
#include <streambuf>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

namespace {

using namespace support;
using foundation::crypto::utils::InternalException;
using foundation::crypto::utils::InvalidKey;
using foundation::crypto::utils::NotImplemented;

enum class Reader { privateKey, publicKey, privateQuery, publicQuery };

void readWith(Reader reader, std::istream& stream) {
    switch (reader) {
    case Reader::privateKey:
        provider.createRSA1024PrivateKey(stream, "password");
        break;
    case Reader::publicKey:
        provider.createRSA1024PublicKey(stream);
        break;
    case Reader::privateQuery:
        provider.getPrivateKeySignatureMethod(stream, "password");
        break;
    case Reader::publicQuery:
        provider.getPublicKeySignatureMethod(stream);
        break;
    }
}

std::vector<Reader> const readers{Reader::privateKey, Reader::publicKey, Reader::privateQuery, Reader::publicQuery};

ByteArray encodedFor(Reader reader) {
    bool const isPrivate = reader == Reader::privateKey || reader == Reader::privateQuery;
    return readRSAKey(1024, isPrivate ? "encrypted.pem" : "public.pem");
}

/// What the readers stand for: extraction of one character after the other.
std::string extractCharacterwise(std::istream& input) {
    input >> std::noskipws;
    return {std::istream_iterator<char>(input), std::istream_iterator<char>()};
}

/// The buffers that a host may read a key from.
std::vector<std::function<std::unique_ptr<std::streambuf>(std::string const&)>> const buffers{
    [](std::string const& content) { return std::make_unique<std::stringbuf>(content, std::ios::in); },
    [](std::string const& content) { return std::make_unique<PortionBuffer>(content, 1); },
    [](std::string const& content) { return std::make_unique<PortionBuffer>(content, 100); },
    [](std::string const& content) { return std::make_unique<PortionBuffer>(content, 100, "the line is dead"); },
    [](std::string const& /*content*/) { return std::make_unique<PortionBuffer>("", 1, "the line is dead"); },
    [](std::string const& /*content*/) { return std::unique_ptr<std::streambuf>(); },
};

std::vector<std::function<void(std::istream&)>> const preparations{
    [](std::istream& /*input*/) {},
    [](std::istream& input) { input.unsetf(std::ios_base::skipws); },
    [](std::istream& input) { input.width(7); },
    [](std::istream& input) { input.get(); },
    [](std::istream& input) { input.setstate(std::ios_base::failbit); },
    [](std::istream& input) { input.setstate(std::ios_base::eofbit); },
    [](std::istream& input) { input.setstate(std::ios_base::badbit); },
};

TEST(RSAKeyStream, IsLeftAsReadingCharacterByCharacterWouldLeaveIt) {
    using Mask = std::ios_base::iostate;
    int compared = 0;
    for (Reader const reader : readers) {
        std::string const content = " \n" + text(encodedFor(reader)) + "\n \t";
        for (auto const& makeBuffer : buffers) {
            for (auto const& prepare : preparations) {
                for (Mask const mask : {std::ios_base::goodbit, std::ios_base::eofbit, std::ios_base::failbit,
                                        std::ios_base::badbit, std::ios_base::eofbit | std::ios_base::badbit}) {
                    auto const observe = [&](auto&& read) {
                        auto const buffer = makeBuffer(content);
                        std::istream stream(buffer.get());
                        prepare(stream);
                        try {
                            stream.exceptions(mask);
                        } catch (std::ios_base::failure const&) {
                        }
                        Thrown const thrown = catchFrom([&] { read(stream); });
                        return std::make_pair(thrown, StreamState(stream));
                    };
                    std::string collected;
                    auto const [modelThrew, model] =
                        observe([&](std::istream& stream) { collected = extractCharacterwise(stream); });
                    auto const [threw, left] = observe([&](std::istream& stream) { readWith(reader, stream); });

                    StreamState expected = model;
                    if (reader == Reader::publicKey && modelThrew.type == "nothing") {
                        expected.flags |= std::ios_base::skipws;
                    }
                    EXPECT_EQ(left, expected);
                    if (modelThrew.type != "nothing") {
                        EXPECT_EQ(threw.text, modelThrew.text);
                        EXPECT_EQ(threw.type, reader == Reader::publicKey ? typeid(NotImplemented).name()
                                                                          : typeid(InternalException).name());
                    } else if (collected.empty()) {
                        EXPECT_NE(threw.text.find("key string is empty"), std::string::npos) << threw.text;
                    } else {
                        EXPECT_EQ(threw.type, "nothing") << threw.text;
                    }
                    ++compared;
                }
            }
        }
    }
    EXPECT_EQ(compared, 4 * 6 * 7 * 5);
}

TEST(RSAKeyStream, HasItsSkipwsSetOrClearedAsTheReaderDoes) {
    for (Reader const reader : readers) {
        for (bool const before : {true, false}) {
            for (bool const readable : {true, false}) {
                std::istringstream stream = streamOf(readable ? encodedFor(reader) : bytes("no key"));
                stream.flags(before ? stream.flags() | std::ios_base::skipws : stream.flags() & ~std::ios_base::skipws);
                catchFrom([&] { readWith(reader, stream); });
                EXPECT_EQ((stream.flags() & std::ios_base::skipws) != 0, reader == Reader::publicKey);
                EXPECT_EQ(stream.rdstate(), std::ios_base::eofbit | std::ios_base::failbit);
            }
        }
    }
}

TEST(RSAKeyStream, ThatThrowsIsReportedInItsOwnWords) {
    for (Reader const reader : readers) {
        PortionBuffer buffer(text(encodedFor(reader)), 10, "the line is dead");
        std::istream stream(&buffer);
        stream.exceptions(std::ios_base::badbit);
        if (reader == Reader::publicKey) {
            EXPECT_THROWS(NotImplemented, "the line is dead", readWith(reader, stream));
        } else {
            EXPECT_THROWS(InternalException, "the line is dead", readWith(reader, stream));
        }
        EXPECT_EQ(stream.flags() & std::ios_base::skipws, 0);
    }
}

TEST(RSAKeyStream, ThatThrowsTheLibrarysOwnExceptionsIsTranslatedToo) {
    for (Reader const reader : readers) {
        ThrowingBuffer<InvalidKey> buffer(InvalidKey("of a stream"));
        std::istream stream(&buffer);
        stream.exceptions(std::ios_base::badbit);
        if (reader == Reader::publicKey) {
            EXPECT_THROWS(NotImplemented, "of a stream", readWith(reader, stream));
        } else {
            EXPECT_THROWS(InternalException, "of a stream", readWith(reader, stream));
        }
    }
}

TEST(RSAKeyStream, IsReadFromWhereItStands) {
    std::istringstream stream(text(readRSAKey(1024, "private.pem")) + text(readRSAKey(2048, "private.pem")));
    stream.seekg(static_cast<std::streamoff>(readRSAKey(1024, "private.pem").size()));
    EXPECT_EQ(provider.createRSA2048PrivateKey(stream, "")->getDER(), readRSAKey(2048, "private.der"));
}

TEST(RSAKeyStream, MayBeAFile) {
    TemporaryDirectory const directory;
    writeFile(directory / "key.der", readRSAKey(4096, "private.der"));
    std::ifstream file(directory / "key.der", std::ios::binary);
    EXPECT_EQ(provider.createRSA4096PrivateKey(file, "")->getDER(), readRSAKey(4096, "private.der"));

    std::ifstream missing(directory / "missing.der", std::ios::binary);
    EXPECT_THROWS(InternalException, emptyPrivate, provider.createRSA4096PrivateKey(missing, ""));
    EXPECT_THROWS(InternalException, emptyPublic, provider.createRSA4096PublicKey(missing));
}

} // namespace
