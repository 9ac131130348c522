#ifndef ZRFL_TESTS_SUPPORT_TOKEN_H
#define ZRFL_TESTS_SUPPORT_TOKEN_H

#include "Commands.h"

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace support {

/// An environment variable that has another value for a while.
class EnvironmentVariable {
public:
    EnvironmentVariable(char const* name, std::string const& value) : name_(name) {
        if (char const* const before = std::getenv(name)) {
            before_ = before;
        }
        setenv(name, value.c_str(), 1);
    }

    ~EnvironmentVariable() {
        if (before_) {
            setenv(name_, before_->c_str(), 1);
        } else {
            unsetenv(name_);
        }
    }

    EnvironmentVariable(EnvironmentVariable const&) = delete;
    EnvironmentVariable& operator=(EnvironmentVariable const&) = delete;

private:
    char const* name_;
    std::optional<std::string> before_;
};

/// A SoftHSM token of its own, in a temporary folder, which the PKCS #11 module works on while this object lives. The
/// process makes one token and every object of this class starts as a copy of it, so a test may wreck its own. It holds
/// these keys, each named by its label:
///
/// - "rsa1024", "rsa2048", "rsa3072": RSA keys of that size
/// - "certified": an RSA key of 2048 bits and its certificate
/// - "p256": a key on the curve P-256
class Token {
public:
    /// @throws std::runtime_error when this build has no token software.
    Token();

    /// The PKCS #11 module that reaches the token.
    static std::string module();
    /// The PKCS #11 URI of the private key `label`, with this PIN in it.
    static std::string uri(std::string const& label, std::string const& pin = "1234");
    /// The file of the public half of the key `label`, in PEM.
    std::string publicKeyFile(std::string const& label) const;

    /// The public half of the key `label`, in PEM.
    ByteArray publicKey(std::string const& label) const { return readFile(publicKeyFile(label)); }

    /// Puts the key `label` onto the token once more, under the label and identifier (two hexadecimal digits) given.
    void import(std::string const& label, std::string const& newLabel, std::string const& newIdentifier);

    /// The names of the files that make up the token.
    std::vector<std::string> files() const;

    /// The path for a file `name` that a test may write; it goes with the token.
    std::string scratchFile(std::string const& name) const { return directory_ / name; }

private:
    TemporaryDirectory directory_;
    EnvironmentVariable configuration_;
};

/// A PKCS #11 module that stands in front of the token's own and keeps a list of the calls that concern sessions.
class SpyModule {
public:
    explicit SpyModule(Token const& token);

    static std::string path();

    /// The calls so far, such as "C_OpenSession"; a failed one with its result, such as "C_Login 0xa0".
    std::vector<std::string> calls() const;

private:
    std::string log_;
    EnvironmentVariable spied_;
    EnvironmentVariable logged_;
};

} // namespace support

#endif
