// Where the library hands secrets to libcrypto and gets them back. These functions stand in front of libcrypto's own,
// in the shipped library too: they pass the calls on, and tell memcheck which of what comes back is public. All of it
// is what the operation tells its caller anyway: whether it succeeded, how long the result is, what kind of key it is.
//
// What libcrypto computes with secrets is not examined here, and to follow the marks through it can take minutes: where
// nothing of a secret comes back, libcrypto gets a copy without marks.
#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/params.h>
#include <openssl/rand.h>
#include <openssl/store.h>

#include <valgrind/memcheck.h>

#include <cstddef>
#include <cstring>
#include <dlfcn.h>
#include <vector>

namespace {

template <class Function> Function* real(Function* /*interposer*/, char const* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

template <class Value> Value known(Value value) {
    VALGRIND_MAKE_MEM_DEFINED(&value, sizeof(value));
    return value;
}

/// Marks what the library gets; what libcrypto's own calls of these functions get stays as it is.
template <class Size> void hideFrom(void* caller, void* data, Size size) {
    Dl_info object{};
    if (dladdr(caller, &object) != 0 && std::strstr(object.dli_fname, "libzrflcrypto") != nullptr) {
        VALGRIND_MAKE_MEM_UNDEFINED(data, size);
    }
}

std::vector<unsigned char> withoutMarks(unsigned char const* data, std::size_t size) {
    std::vector<unsigned char> copy(data, data + size);
    VALGRIND_MAKE_MEM_DEFINED(copy.data(), copy.size());
    return copy;
}

} // namespace

#pragma GCC visibility push(default)

// Sizes and kinds

int EVP_PKEY_get_bits(EVP_PKEY const* key) {
    return known(real(EVP_PKEY_get_bits, __func__)(key));
}

int EVP_PKEY_get_size(EVP_PKEY const* key) {
    return known(real(EVP_PKEY_get_size, __func__)(key));
}

int BN_num_bits(BIGNUM const* number) {
    return known(real(BN_num_bits, __func__)(number)); // numbers are given without leading zeros
}

long BIO_ctrl(BIO* bio, int command, long number, void* pointer) {
    return known(real(BIO_ctrl, __func__)(bio, command, number, pointer)); // how much is pending
}

// Results. libcrypto looks base64 up in tables, and what comes out of a table has no mark: keys get a new one here.

int BIO_read(BIO* bio, void* data, int size) {
    int const read = known(real(BIO_read, __func__)(bio, data, size));
    hideFrom(__builtin_return_address(0), data, read);
    return read;
}

int BN_bn2bin(BIGNUM const* number, unsigned char* bytes) {
    int const written = known(real(BN_bn2bin, __func__)(number, bytes));
    hideFrom(__builtin_return_address(0), bytes, written);
    return written;
}

int EVP_PKEY_todata(EVP_PKEY const* key, int selection, OSSL_PARAM** parameters) {
    int const result = known(real(EVP_PKEY_todata, __func__)(key, selection, parameters));
    if (OSSL_PARAM* const integer = OSSL_PARAM_locate(*parameters, OSSL_PKEY_PARAM_PRIV_KEY)) {
        hideFrom(__builtin_return_address(0), integer->data, integer->data_size);
    }
    return result;
}

int EVP_DecryptFinal_ex(EVP_CIPHER_CTX* context, unsigned char* output, int* written) {
    int const result = known(real(EVP_DecryptFinal_ex, __func__)(context, output, written));
    *written = known(*written);
    return result;
}

/// The plain text is secret, also where the key was not marked.
int EVP_PKEY_decrypt(EVP_PKEY_CTX* context, unsigned char* output, std::size_t* outputSize, unsigned char const* input,
                     std::size_t size) {
    int const result = known(real(EVP_PKEY_decrypt, __func__)(context, output, outputSize, input, size));
    *outputSize = known(*outputSize);
    if (output != nullptr) {
        hideFrom(__builtin_return_address(0), output, *outputSize);
    }
    return result;
}

int EVP_DigestSign(EVP_MD_CTX* context, unsigned char* signature, std::size_t* signatureSize,
                   unsigned char const* message, std::size_t size) {
    auto const copy = withoutMarks(message, size);
    return real(EVP_DigestSign, __func__)(context, signature, signatureSize, copy.data(), size);
}

int EVP_DigestVerify(EVP_MD_CTX* context, unsigned char const* signature, std::size_t signatureSize,
                     unsigned char const* message, std::size_t size) {
    auto const copy = withoutMarks(message, size);
    return real(EVP_DigestVerify, __func__)(context, signature, signatureSize, copy.data(), size);
}

/// Else all that is random would count as secret from then on.
void RAND_seed(void const* seed, int size) {
    auto const copy = withoutMarks(static_cast<unsigned char const*>(seed), static_cast<std::size_t>(size));
    real(RAND_seed, __func__)(copy.data(), size);
}

OSSL_STORE_CTX* OSSL_STORE_open_ex(char const* uri, OSSL_LIB_CTX* library, char const* properties,
                                   UI_METHOD const* method, void* data, OSSL_PARAM const parameters[],
                                   OSSL_STORE_post_process_info_fn process, void* processData) {
    std::size_t size = 0;
    for (; known(uri[size]) != '\0'; ++size) {
    }
    auto const copy = withoutMarks(reinterpret_cast<unsigned char const*>(uri), size + 1);
    return real(OSSL_STORE_open_ex, __func__)(reinterpret_cast<char const*>(copy.data()), library, properties, method,
                                              data, parameters, process, processData);
}

#pragma GCC visibility pop
