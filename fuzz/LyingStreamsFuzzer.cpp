// Every way in which the library reads a stream, through buffers that lie, throw, and change their stream meanwhile.
// What it finds is what the standard's own way of reading finds in the same buffer.
#include "LyingStreams.h"

#include "Engines.h"

#include <array>
#include <functional>
#include <memory>

namespace {

using namespace fuzz;
using utils::EllipticCurve;

openssl::CryptoProvider const provider;

/// The marker for an exception of neither family, which passes.
ByteArray const passed{'p', 'a', 's', 's', 'e', 'd'};

template <class Run> auto attemptPassing(Run&& run) {
    return attempt([&] {
        try {
            return run();
        } catch (int) {
            return passed;
        }
    });
}

// The standard's own ways of reading

ByteArray extractCharacters(std::istream& input) {
    input >> std::noskipws;
    return {std::istream_iterator<unsigned char>(input), std::istream_iterator<unsigned char>()};
}

ByteArray iterateBuffer(std::istream& input) {
    return {std::istreambuf_iterator<char>(input), std::istreambuf_iterator<char>()};
}

ByteArray readChunks(std::istream& input) {
    ByteArray all;
    while (input.good()) {
        std::array<char, 1024> chunk{};
        input.read(chunk.data(), chunk.size());
        all.insert(all.end(), chunk.begin(), chunk.begin() + std::clamp<std::streamsize>(input.gcount(), 0, 1024));
    }
    return all;
}

/// An operation over a stream; and the same over the bytes that `read` takes from the stream.
struct Operation {
    std::function<ByteArray(std::istream&)> overStream;
    std::function<ByteArray(ByteArray const&)> overBytes;
    ByteArray (*read)(std::istream&);
};

template <class Engine> Operation digestWith(Engine engine) {
    return {[=](std::istream& input) { return engine()->computeDigest(input); },
            [=](ByteArray const& bytes) { return engine()->computeDigest(bytes); }, readChunks};
}

template <class Read> Operation keyReadBy(Read read) {
    return {[=](std::istream& input) { return (read(input), ByteArray()); },
            [=](ByteArray const& bytes) {
                std::istringstream stream(asString(bytes));
                return (read(stream), ByteArray());
            },
            extractCharacters};
}

std::vector<Operation> makeOperations() {
    ByteArray const key(32, 'k');
    auto const prng = provider.createDefaultCryptoPRNG({});
    auto const engine = provider.createSHA512DigestEngine();
    auto const encryptor = provider.createAES256Encryptor(provider.createAES256Key(key), key, utils::AESMode::CTR,
                                                          utils::AESPaddingMode::NoPadding, prng);
    auto const decryptor = provider.createAES256Decryptor(provider.createAES256Key(key), key, utils::AESMode::CBC,
                                                          utils::AESPaddingMode::PKCS7, prng);
    auto const rsaSigner = provider.createRSA1024Signer(
        provider.createRSA1024PrivateKey(readKeyFile("rsa1024-private.der")), utils::RSAPaddingMode::PKCS1_V1_5, prng);
    auto const rsaVerifier = provider.createRSA1024Verifier(
        provider.createRSA1024PublicKey(readKeyFile("rsa1024-public.der")), utils::RSAPaddingMode::PSS, prng);
    auto const eccSigner =
        provider.createECCCurve25519Signer(provider.createECCCurve25519PrivateKey(readKeyFile("ed25519-private.pem")));
    auto const eccVerifier =
        provider.createECCP256Verifier(provider.createECCP256PublicKey(readKeyFile("p256-public.pem")));
    auto const verdict = [](bool isValid) { return ByteArray{static_cast<unsigned char>(isValid)}; };
    return {
        digestWith([] { return provider.createSHA256DigestEngine(); }),
        digestWith([=] { return provider.createHMACSHA512DigestEngine(key); }),
        digestWith([=] { return provider.createBlake2bDigestEngine(key, {}); }),
        {[=](std::istream& input) {
             std::ostringstream output;
             encryptor->encrypt(input, output);
             return asBytes(output.str());
         },
         [=](ByteArray const& bytes) { return encryptor->encrypt(bytes); }, iterateBuffer},
        {[=](std::istream& input) {
             std::ostringstream output;
             decryptor->decrypt(input, output);
             return asBytes(output.str());
         },
         [=](ByteArray const& bytes) { return decryptor->decrypt(bytes); }, iterateBuffer},
        {[=](std::istream& input) { return rsaSigner->sign(input, engine); },
         [=](ByteArray const& bytes) { return rsaSigner->sign(bytes, engine); }, extractCharacters},
        {[=](std::istream& input) { return verdict(rsaVerifier->verify(input, key, engine).isValid()); },
         [=](ByteArray const& bytes) { return verdict(rsaVerifier->verify(bytes, key, engine).isValid()); },
         extractCharacters},
        {[=](std::istream& input) { return eccSigner->sign(input, engine); },
         [=](ByteArray const& bytes) { return eccSigner->sign(bytes, engine); }, extractCharacters},
        {[=](std::istream& input) { return verdict(eccVerifier->verify(input, key, engine).isValid()); },
         [=](ByteArray const& bytes) { return verdict(eccVerifier->verify(bytes, key, engine).isValid()); },
         extractCharacters},
        keyReadBy([](std::istream& input) { provider.createRSA1024PrivateKey(input, ""); }),
        keyReadBy([](std::istream& input) { provider.createRSA1024PublicKey(input); }),
        keyReadBy([](std::istream& input) { provider.createECCP256PrivateKey(input, ""); }),
        keyReadBy([](std::istream& input) { provider.createECCP256PublicKey(input); }),
        keyReadBy([](std::istream& input) { provider.getPrivateKeySignatureMethod(input, ""); }),
        keyReadBy([](std::istream& input) { provider.getPublicKeySignatureMethod(input); }),
    };
}

void compareWithTheStandards(Operation const& operation, std::vector<Step> const& steps, unsigned int setup) {
    LyingStream found(steps, setup);
    auto const outcome = attemptPassing([&] { return operation.overStream(found.stream); });

    LyingStream expected(steps, setup);
    std::optional<ByteArray> bytes;
    try {
        bytes = operation.read(expected.stream);
    } catch (...) {
        expect(!outcome || outcome.value == passed, "a stream that throws makes the operation fail");
    }
    if (bytes) {
        expect(outcome == attempt([&] { return operation.overBytes(*bytes); }), "the bytes are those of the stream");
    }
    expect(found.stream.rdstate() == expected.stream.rdstate(), "the stream is left in the same state");
    expect(found.stream.gcount() == expected.stream.gcount(), "the stream has the same count");
    expect(found.stream.rdbuf() == nullptr ? expected.stream.rdbuf() == nullptr
                                           : found.buffer.left() == expected.buffer.left(),
           "as much is left in the buffer");
}

/// RSA streams are read in pieces, each of them a block: there is nothing to compare. Here the output lies, too.
void encryptOntoLies(std::vector<Step> const& steps, unsigned int setup, unsigned int manner) {
    static auto const prng = provider.createDefaultCryptoPRNG({});
    static auto const rsaEncryptor = provider.createRSA1024Encryptor(
        provider.createRSA1024PublicKey(readKeyFile("rsa1024-public.der")), utils::RSAPaddingMode::PKCS1_V1_5, prng);
    static auto const rsaDecryptor = provider.createRSA1024Decryptor(
        provider.createRSA1024PrivateKey(readKeyFile("rsa1024-private.der")), utils::RSAPaddingMode::PKCS1_V1_5, prng);
    static auto const aesEncryptor =
        provider.createAES128Encryptor(provider.createAES128Key(ByteArray(16, 'k')), ByteArray(16, 'i'),
                                       utils::AESMode::GCM, utils::AESPaddingMode::NoPadding, prng);
    LyingStream input(steps, setup);
    LyingOutput buffer(manner / 16 * 40, manner);
    std::ostream output(&buffer);
    output.exceptions(static_cast<std::ios_base::iostate>(manner % 8));
    output.width(manner % 3);
    attemptPassing([&] {
        switch (manner % 3) {
        case 0:
            rsaEncryptor->encrypt(input.stream, output);
            break;
        case 1:
            rsaDecryptor->decrypt(input.stream, output);
            break;
        default:
            aesEncryptor->encrypt(input.stream, output);
        }
        return ByteArray();
    });
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    static std::vector<Operation> const operations = makeOperations();
    Input input(data, size);
    unsigned int const choice = input.below(static_cast<unsigned int>(operations.size() + 1));
    unsigned int const setup = input.below(256);
    unsigned int const manner = input.below(256);
    std::vector<Step> const steps = readSteps(input);
    if (choice < operations.size()) {
        compareWithTheStandards(operations[choice], steps, setup);
    } else {
        encryptOntoLies(steps, setup, manner);
    }
    return 0;
}
