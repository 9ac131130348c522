#ifndef FOUNDATION_CRYPTO_UTILS_EXCEPTIONS_H
#define FOUNDATION_CRYPTO_UTILS_EXCEPTIONS_H

#include "foundation/crypto/utils/Visibility.h"

#include <stdexcept>
#include <string>

namespace foundation::crypto::utils {

/// @addtogroup reference-exceptions
/// @{

/// The root of every failure that the library reports; thrown by value, caught by reference. Thrown itself only for an
/// RSA key of another size than the one asked for. Besides this family only `std::bad_alloc` and `std::length_error`
/// leave the library, each where an operation says so or where memory runs out, and from an HSM signer whatever a
/// host's own stream or digest engine throws into it. What a host's own object throws that is no `std::exception`,
/// where a stream lets it out, and the unwinding of a cancelled thread pass every operation unchanged.
///
/// `what()` is the message as given to the constructor. The message texts are part of the interface: they are fixed,
/// odd spacing included, and a host may compare them. Many are followed directly by libcrypto's error text: the calling
/// thread's whole error queue, oldest first, 1024 characters for each error (its text, a NUL, and blanks up to that
/// length), or "No OpenSSL errors." when the queue is empty. A message with error text therefore holds NUL characters:
/// read as a C string it ends at the first of them. Making one empties the thread's error queue.
///
/// An exception is an immutable value: it may be copied (which does not throw) and read from any thread. The derived
/// classes differ only in their type.
class ZRFL_EXPORT Exception : public std::runtime_error {
public:
    /// Keeps `message`, NUL characters included. Throws nothing but `std::bad_alloc`.
    explicit Exception(std::string const& message);
    Exception(Exception const&) = default;
    Exception& operator=(Exception const&) = default;
    ~Exception() override; // defined in one place, where the type information lives
};

/// A libcrypto call failed, a value is outside its enumeration, or a standard exception (or one of a host's own object)
/// was translated; by far the most common.
class ZRFL_EXPORT InternalException : public Exception {
public:
    explicit InternalException(std::string const& message);
    InternalException(InternalException const&) = default;
    InternalException& operator=(InternalException const&) = default;
    ~InternalException() override;
};

/// An argument is out of range: a PBKDF2 password or salt of more than 65535 bytes.
class ZRFL_EXPORT InvalidArgument : public Exception {
public:
    explicit InvalidArgument(std::string const& message);
    InvalidArgument(InvalidArgument const&) = default;
    InvalidArgument& operator=(InvalidArgument const&) = default;
    ~InvalidArgument() override;
};

/// An RSA encryptor, decryptor, signer or verifier was given no key, or one of another implementation.
class ZRFL_EXPORT InvalidKey : public Exception {
public:
    explicit InvalidKey(std::string const& message);
    InvalidKey(InvalidKey const&) = default;
    InvalidKey& operator=(InvalidKey const&) = default;
    ~InvalidKey() override;
};

/// The bytes of an elliptic-curve key cannot be read as PEM, or not with the password given.
class ZRFL_EXPORT InvalidKeyEncoding : public Exception {
public:
    explicit InvalidKeyEncoding(std::string const& message);
    InvalidKeyEncoding(InvalidKeyEncoding const&) = default;
    InvalidKeyEncoding& operator=(InvalidKeyEncoding const&) = default;
    ~InvalidKeyEncoding() override;
};

/// A loaded key lies on another curve than the one asked for, or on none.
class ZRFL_EXPORT KeyAndCurveMismatch : public Exception {
public:
    explicit KeyAndCurveMismatch(std::string const& message);
    KeyAndCurveMismatch(KeyAndCurveMismatch const&) = default;
    KeyAndCurveMismatch& operator=(KeyAndCurveMismatch const&) = default;
    ~KeyAndCurveMismatch() override;
};

/// The stream of an RSA public key could not be read. (Only a stream that throws leads here.)
class ZRFL_EXPORT NotImplemented : public Exception {
public:
    explicit NotImplemented(std::string const& message);
    NotImplemented(NotImplemented const&) = default;
    NotImplemented& operator=(NotImplemented const&) = default;
    ~NotImplemented() override;
};

/// An elliptic-curve signer or verifier was given a digest that its curve does not allow.
class ZRFL_EXPORT UnsupportedDigestAlgorithm : public Exception {
public:
    explicit UnsupportedDigestAlgorithm(std::string const& message);
    UnsupportedDigestAlgorithm(UnsupportedDigestAlgorithm const&) = default;
    UnsupportedDigestAlgorithm& operator=(UnsupportedDigestAlgorithm const&) = default;
    ~UnsupportedDigestAlgorithm() override;
};

/// @}

} // namespace foundation::crypto::utils

#endif
