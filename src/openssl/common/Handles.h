#ifndef ZRFL_OPENSSL_HANDLES_H
#define ZRFL_OPENSSL_HANDLES_H

#include <foundation/crypto/utils/Exceptions.h>

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/conf.h>
#include <openssl/crypto.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <openssl/params.h>
#include <openssl/provider.h>
#include <openssl/store.h>

#include <memory>
#include <string>

namespace foundation::crypto::openssl {

/// How one libcrypto type is released, and what its owner is called in messages. No other place releases these types.
template <class Object> struct HandleTraits;

// No family owns a CONF at present; it is kept on purpose, so that whoever reads a configuration finds its owner here.
// clang-format off
template <> struct HandleTraits<BIO>             { static constexpr auto release = BIO_free_all;         static constexpr auto name = "BIOUPtr"; };
template <> struct HandleTraits<BIGNUM>          { static constexpr auto release = BN_free;              static constexpr auto name = "BNUPtr"; };
template <> struct HandleTraits<BN_CTX>          { static constexpr auto release = BN_CTX_free;          static constexpr auto name = "BN_CTXUPtr"; };
template <> struct HandleTraits<CONF>            { static constexpr auto release = NCONF_free;           static constexpr auto name = "CONFUPtr"; };
template <> struct HandleTraits<EC_GROUP>        { static constexpr auto release = EC_GROUP_free;        static constexpr auto name = "EC_GROUP"; };
template <> struct HandleTraits<EC_POINT>        { static constexpr auto release = EC_POINT_free;        static constexpr auto name = "EC_POINTUPtr"; };
template <> struct HandleTraits<EVP_CIPHER_CTX>  { static constexpr auto release = EVP_CIPHER_CTX_free;  static constexpr auto name = "EVP_CIPHER_CTXUPtr"; };
template <> struct HandleTraits<EVP_MD_CTX>      { static constexpr auto release = EVP_MD_CTX_free;      static constexpr auto name = "EVP_MD_CTXUPtr"; };
template <> struct HandleTraits<EVP_PKEY>        { static constexpr auto release = EVP_PKEY_free;        static constexpr auto name = "EVP_PKEYUPtr"; };
template <> struct HandleTraits<EVP_PKEY_CTX>    { static constexpr auto release = EVP_PKEY_CTX_free;    static constexpr auto name = "EVP_PKEY_CTXUPtr"; };
template <> struct HandleTraits<OSSL_LIB_CTX>    { static constexpr auto release = OSSL_LIB_CTX_free;    static constexpr auto name = "OSSL_LIB_CTXUPtr"; };
template <> struct HandleTraits<OSSL_PARAM>      { static constexpr auto release = OSSL_PARAM_free;      static constexpr auto name = "OSSL_PARAMUPtr"; };
template <> struct HandleTraits<OSSL_PARAM_BLD>  { static constexpr auto release = OSSL_PARAM_BLD_free;  static constexpr auto name = "OSSL_PARAM_BLDUPtr"; };
template <> struct HandleTraits<OSSL_PROVIDER>   { static constexpr auto release = OSSL_PROVIDER_unload; static constexpr auto name = "OSSL_PROVIDERUPtr"; };
template <> struct HandleTraits<OSSL_STORE_CTX>  { static constexpr auto release = OSSL_STORE_close;     static constexpr auto name = "OSSL_STORE_CTXUPtr"; };
template <> struct HandleTraits<OSSL_STORE_INFO> { static constexpr auto release = OSSL_STORE_INFO_free; static constexpr auto name = "OSSL_STORE_INFOUPtr"; };
// Held by families that word the null case themselves, so without a name.
template <> struct HandleTraits<EVP_MAC>         { static constexpr auto release = EVP_MAC_free; };
template <> struct HandleTraits<EVP_MAC_CTX>     { static constexpr auto release = EVP_MAC_CTX_free; };

// clang-format on

struct Release {
    template <class Object> void operator()(Object* raw) const noexcept { HandleTraits<Object>::release(raw); }
};

/// An owner that may be empty, for a family that has words of its own for the null case.
template <class Object> using Owned = std::unique_ptr<Object, Release>;

/// Lets a libcrypto function that gives an object out through a pointer to a pointer give it to `owner`, whatever else
/// comes of the call: `require(EVP_PKEY_keygen(context, receive(key)) == 1, "...")`. The owner has the object as soon
/// as the whole expression is done, or abandoned by an exception.
template <class Object> class Receiver {
public:
    explicit Receiver(Owned<Object>& owner) noexcept : owner_(owner) {}

    ~Receiver() { owner_.reset(given_); }

    Receiver(Receiver const&) = delete;
    Receiver& operator=(Receiver const&) = delete;

    // NOLINTNEXTLINE(google-explicit-constructor): it stands where the pointer's address would
    operator Object**() noexcept { return &given_; }

private:
    Owned<Object>& owner_;
    Object* given_ = nullptr;
};

template <class Object> Receiver<Object> receive(Owned<Object>& owner) noexcept {
    return Receiver<Object>(owner);
}

/// The sole owner of one libcrypto object; it cannot be made from a null pointer. A moved-from handle is empty.
template <class Object> class Handle {
public:
    /// @throws utils::InternalException when `raw` is null.
    explicit Handle(Object* raw) : object_(raw) {
        if (raw == nullptr) {
            throw utils::InternalException(std::string("Fail to create ") + HandleTraits<Object>::name +
                                           "; the given raw pointer is NULL");
        }
    }

    explicit Handle(Owned<Object> object) : Handle(object.release()) {}

    Object* get() const noexcept { return object_.get(); }

private:
    Owned<Object> object_;
};

using BIOUPtr = Handle<BIO>;
using BNUPtr = Handle<BIGNUM>;
using BN_CTXUPtr = Handle<BN_CTX>;
using CONFUPtr = Handle<CONF>;
using EC_GROUPUPtr = Handle<EC_GROUP>;
using EC_POINTUPtr = Handle<EC_POINT>;
using EVP_CIPHER_CTXUPtr = Handle<EVP_CIPHER_CTX>;
using EVP_MD_CTXUPtr = Handle<EVP_MD_CTX>;
using EVP_PKEYUPtr = Handle<EVP_PKEY>;
using EVP_PKEY_CTXUPtr = Handle<EVP_PKEY_CTX>;
using OSSL_LIB_CTXUPtr = Handle<OSSL_LIB_CTX>;
using OSSL_PARAMUPtr = Handle<OSSL_PARAM>;
using OSSL_PARAM_BLDUPtr = Handle<OSSL_PARAM_BLD>;
using OSSL_PROVIDERUPtr = Handle<OSSL_PROVIDER>;
using OSSL_STORE_CTXUPtr = Handle<OSSL_STORE_CTX>;
using OSSL_STORE_INFOUPtr = Handle<OSSL_STORE_INFO>;

} // namespace foundation::crypto::openssl

#endif
