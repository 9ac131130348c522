// Does what a row of docs/symptoms.md says, and prints what comes of it in the row's own words.
// Usage: by_symptom OPERATION FILE...   for example: by_symptom 'createRSA2048PrivateKey(stream, "secret")' key.pem
#include <foundation/crypto/openssl/CryptoProvider.h>

#include <cstddef>
#include <exception>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using foundation::crypto::openssl::CryptoProvider;
using namespace foundation::crypto::utils;

CryptoProvider const provider;

std::ifstream open(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::invalid_argument("cannot open " + path);
    }
    return file;
}

ByteArray read(std::string const& path) {
    std::ifstream file = open(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// What stands between the parentheses of an operation, and the files that it is given.
struct Call {
    std::string arguments;
    std::vector<std::string> files;

    ByteArray bytes(std::size_t index) const { return read(files.at(index)); }

    /// `stream, "secret"` has one.
    std::string password() const {
        std::size_t const first = arguments.find('"') + 1;
        return arguments.substr(first, arguments.rfind('"') - first);
    }
};

using Operation = std::function<std::string(Call const&)>;

/// A key from whichever of its forms the call names and the provider has.
template <class Make> Operation loads(Make make) {
    return [=](Call const& call) -> std::string {
        if constexpr (std::is_invocable_v<Make, std::istream&, std::string>) {
            if (call.arguments.find("stream, \"") == 0) {
                std::ifstream file = open(call.files.at(0));
                make(file, call.password());
                return "loads";
            }
        }
        if constexpr (std::is_invocable_v<Make, ByteArray, ByteArray, ByteArray>) {
            if (call.arguments == "n, d, e") {
                make(call.bytes(0), call.bytes(1), call.bytes(2));
                return "loads";
            }
        }
        if constexpr (std::is_invocable_v<Make, ByteArray, ByteArray>) {
            if (call.arguments == "n, e") {
                make(call.bytes(0), call.bytes(1));
                return "loads";
            }
        }
        if constexpr (std::is_invocable_v<Make, ByteArray>) {
            if (call.arguments == "bytes") {
                make(call.bytes(0));
                return "loads";
            }
        }
        throw std::invalid_argument("no such form: " + call.arguments);
    };
}

/// An operation of the provider by its name, in all its forms.
#define ZRFL_LOADS(name)                                                                                               \
    {#name, loads([](auto&&... given) -> decltype(provider.name(given...)) { return provider.name(given...); })}

using foundation::crypto::interfaces::KeySignatureMethod;

std::string answers(KeySignatureMethod method) {
    switch (method) {
    case KeySignatureMethod::RSA1024:
        return "answers RSA1024";
    case KeySignatureMethod::RSA2048:
        return "answers RSA2048";
    case KeySignatureMethod::RSA4096:
        return "answers RSA4096";
    }
    return "answers what is not in the enumeration";
}

std::string queryPrivate(Call const& call) {
    return answers(provider.getPrivateKeySignatureMethod(call.bytes(0), call.password()));
}

std::string queryPublic(Call const& call) {
    return answers(provider.getPublicKeySignatureMethod(call.bytes(0)));
}

std::string verifyP256(Call const& call) {
    auto const verifier = provider.createECCP256Verifier(provider.createECCP256PublicKey(call.bytes(0)));
    bool const valid = verifier->verify(call.bytes(1), call.bytes(2), provider.createSHA256DigestEngine()).isValid();
    return valid ? "valid" : "invalid";
}

std::string signPSS(Call const& call) {
    auto const key = provider.createRSA2048PrivateKey(call.bytes(0));
    auto const signer = provider.createRSA2048Signer(key, RSAPaddingMode::PSS, provider.createDefaultCryptoPRNG({}));
    ByteArray const signature = signer->sign(call.bytes(1), provider.createSHA384DigestEngine());
    std::ofstream(call.files.at(2), std::ios::binary).write(reinterpret_cast<char const*>(signature.data()), 256);
    return "signs";
}

// clang-format off
std::map<std::string, Operation> const operations{
    ZRFL_LOADS(createRSA2048PrivateKey),
    ZRFL_LOADS(createRSA2048PublicKey),
    ZRFL_LOADS(createECCP256PrivateKey),
    ZRFL_LOADS(createECCP256PrivateKeyFromInteger),
    ZRFL_LOADS(createECCP256PublicKey),
    ZRFL_LOADS(createECCP256PublicKeyFromPoint),
    ZRFL_LOADS(createECCCurve25519PrivateKey),
    ZRFL_LOADS(createECCCurve25519PrivateKeyFromInteger),
    ZRFL_LOADS(createECCCurve25519PublicKey),
    ZRFL_LOADS(createECCCurve25519PublicKeyFromPoint),
    {"getPrivateKeySignatureMethod", queryPrivate},
    {"getPublicKeySignatureMethod", queryPublic},
    {"createECCP256Verifier", verifyP256},
    {"createRSA2048Signer", signPSS},
};
// clang-format on

std::string carryOut(std::string const& operation, std::vector<std::string> const& files) {
    std::size_t const opening = operation.find('(');
    std::string const arguments = operation.substr(opening + 1, operation.size() - opening - 2);
    try {
        return operations.at(operation.substr(0, opening))({arguments, files});
    } catch (InvalidKeyEncoding const& error) {
        return "`InvalidKeyEncoding`: `" + std::string(error.what()) + "`";
    } catch (KeyAndCurveMismatch const& error) {
        return "`KeyAndCurveMismatch`: `" + std::string(error.what()) + "`";
    } catch (InternalException const& error) {
        return "`InternalException`: `" + std::string(error.what()) + "`";
    } catch (Exception const& error) {
        return "`Exception`: `" + std::string(error.what()) + "`";
    }
}

} // namespace

int main(int argc, char** argv) try {
    std::cout << carryOut(argv[1], {argv + 2, argv + argc}) << '\n';
} catch (std::exception const& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
