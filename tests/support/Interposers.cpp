// Defines, in front of libcrypto's own, the libcrypto functions that tests fail, replace or record. See Faults.h.
#include "Faults.h"

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/conf.h>
#include <openssl/crypto.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <openssl/params.h>
#include <openssl/pem.h>
#include <openssl/provider.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>
#include <openssl/store.h>
#include <openssl/x509.h>

#include <dlfcn.h>

// A row: the function's result type, name, parameters and arguments, and what it returns when it fails.
#define ZRFL_INTERPOSE(result, name, parameters, arguments, failure)                                                   \
    extern "C" result name parameters {                                                                                \
        static auto const real = reinterpret_cast<decltype(&name)>(dlsym(RTLD_NEXT, #name));                           \
        return support::intercept(#name, __builtin_return_address(0), real, failure, std::make_tuple arguments,        \
                                  support::keepResult);                                                                \
    }

// For functions that return a new object, null when they fail: the last column is how it is released.
#define ZRFL_INTERPOSE_MAKER(result, name, parameters, arguments, release)                                             \
    extern "C" result name parameters {                                                                                \
        static auto const real = reinterpret_cast<decltype(&name)>(dlsym(RTLD_NEXT, #name));                           \
        return support::intercept(#name, __builtin_return_address(0), real, 0, std::make_tuple arguments, release);    \
    }

// For functions that return nothing: they can be recorded, not failed.
#define ZRFL_OBSERVE(name, type)                                                                                       \
    extern "C" void name(type* object) {                                                                               \
        static auto const real = reinterpret_cast<decltype(&name)>(dlsym(RTLD_NEXT, #name));                           \
        support::ForeignAllocations const foreign;                                                                     \
        if (support::isWatched(__builtin_return_address(0))) {                                                         \
            support::judge({#name, {support::asNumber(object)}, support::Returns::Nothing});                           \
        }                                                                                                              \
        real(object);                                                                                                  \
    }

// clang-format off
ZRFL_INTERPOSE(int, OPENSSL_init_crypto, (uint64_t options, OPENSSL_INIT_SETTINGS const* settings), (options, settings), 0)

// Memory BIOs
ZRFL_INTERPOSE_MAKER(BIO*, BIO_new, (BIO_METHOD const* method), (method), BIO_free_all)
ZRFL_INTERPOSE(int, BIO_write, (BIO* bio, void const* data, int size), (bio, data, size), -1)
ZRFL_INTERPOSE(int, BIO_read, (BIO* bio, void* data, int size), (bio, data, size), -1)
ZRFL_INTERPOSE(long, BIO_ctrl, (BIO* bio, int command, long number, void* pointer), (bio, command, number, pointer), 0)
ZRFL_OBSERVE(BIO_free_all, BIO)

// Configurations
ZRFL_OBSERVE(NCONF_free, CONF)

// Numbers and points
ZRFL_INTERPOSE_MAKER(BIGNUM*, BN_new, (), (), BN_free)
ZRFL_INTERPOSE_MAKER(BIGNUM*, BN_bin2bn, (unsigned char const* data, int size, BIGNUM* number), (data, size, number), BN_free)
ZRFL_INTERPOSE(int, BN_bn2bin, (BIGNUM const* number, unsigned char* data), (number, data), -1)
ZRFL_INTERPOSE_MAKER(BN_CTX*, BN_CTX_new, (), (), BN_CTX_free)
ZRFL_INTERPOSE_MAKER(EC_GROUP*, EC_GROUP_new_by_curve_name, (int nid), (nid), EC_GROUP_free)
ZRFL_INTERPOSE_MAKER(EC_POINT*, EC_POINT_new, (EC_GROUP const* group), (group), EC_POINT_free)
ZRFL_INTERPOSE(int, EC_POINT_oct2point, (EC_GROUP const* group, EC_POINT* point, unsigned char const* data, size_t size, BN_CTX* context), (group, point, data, size, context), 0)
ZRFL_INTERPOSE(size_t, EC_POINT_point2oct, (EC_GROUP const* group, EC_POINT const* point, point_conversion_form_t form, unsigned char* data, size_t size, BN_CTX* context), (group, point, form, data, size, context), 0)
ZRFL_INTERPOSE(int, EC_POINT_mul, (EC_GROUP const* group, EC_POINT* result, BIGNUM const* n, EC_POINT const* q, BIGNUM const* m, BN_CTX* context), (group, result, n, q, m, context), 0)
ZRFL_OBSERVE(BN_free, BIGNUM)
ZRFL_OBSERVE(BN_CTX_free, BN_CTX)
ZRFL_OBSERVE(EC_GROUP_free, EC_GROUP)
ZRFL_OBSERVE(EC_POINT_free, EC_POINT)

// Digests and MACs
ZRFL_INTERPOSE(EVP_MD const*, EVP_get_digestbyname, (char const* name), (name), 0)
ZRFL_INTERPOSE_MAKER(EVP_MD_CTX*, EVP_MD_CTX_new, (), (), EVP_MD_CTX_free)
ZRFL_INTERPOSE(int, EVP_MD_CTX_get_size_ex, (EVP_MD_CTX const* context), (context), -1)
ZRFL_INTERPOSE(int, EVP_MD_CTX_copy_ex, (EVP_MD_CTX* target, EVP_MD_CTX const* source), (target, source), 0)
ZRFL_INTERPOSE(int, EVP_DigestInit_ex, (EVP_MD_CTX* context, EVP_MD const* digest, ENGINE* engine), (context, digest, engine), 0)
ZRFL_INTERPOSE(int, EVP_DigestInit_ex2, (EVP_MD_CTX* context, EVP_MD const* digest, OSSL_PARAM const* parameters), (context, digest, parameters), 0)
ZRFL_INTERPOSE(int, EVP_DigestUpdate, (EVP_MD_CTX* context, void const* data, size_t size), (context, data, size), 0)
ZRFL_INTERPOSE(int, EVP_DigestFinal_ex, (EVP_MD_CTX* context, unsigned char* digest, unsigned int* size), (context, digest, size), 0)
ZRFL_INTERPOSE_MAKER(EVP_MAC*, EVP_MAC_fetch, (OSSL_LIB_CTX* library, char const* name, char const* properties), (library, name, properties), EVP_MAC_free)
ZRFL_INTERPOSE_MAKER(EVP_MAC_CTX*, EVP_MAC_CTX_new, (EVP_MAC* mac), (mac), EVP_MAC_CTX_free)
ZRFL_INTERPOSE_MAKER(EVP_MAC_CTX*, EVP_MAC_CTX_dup, (EVP_MAC_CTX const* source), (source), EVP_MAC_CTX_free)
ZRFL_INTERPOSE(int, EVP_MAC_init, (EVP_MAC_CTX* context, unsigned char const* key, size_t size, OSSL_PARAM const* parameters), (context, key, size, parameters), 0)
ZRFL_INTERPOSE(int, EVP_MAC_update, (EVP_MAC_CTX* context, unsigned char const* data, size_t size), (context, data, size), 0)
ZRFL_INTERPOSE(int, EVP_MAC_final, (EVP_MAC_CTX* context, unsigned char* code, size_t* size, size_t capacity), (context, code, size, capacity), 0)
ZRFL_OBSERVE(EVP_MD_CTX_free, EVP_MD_CTX)
ZRFL_OBSERVE(EVP_MAC_free, EVP_MAC)
ZRFL_OBSERVE(EVP_MAC_CTX_free, EVP_MAC_CTX)

// Random bytes and key derivation
ZRFL_INTERPOSE(int, RAND_bytes, (unsigned char* data, int size), (data, size), 0)
ZRFL_INTERPOSE(int, PKCS5_PBKDF2_HMAC, (char const* password, int passwordSize, unsigned char const* salt, int saltSize, int iterations, EVP_MD const* digest, int size, unsigned char* key), (password, passwordSize, salt, saltSize, iterations, digest, size, key), 0)
ZRFL_INTERPOSE(void, RAND_seed, (void const* data, int size), (data, size), 0)

// Ciphers
ZRFL_INTERPOSE(EVP_CIPHER const*, EVP_aes_128_cbc, (), (), 0)
ZRFL_INTERPOSE(EVP_CIPHER const*, EVP_aes_192_cbc, (), (), 0)
ZRFL_INTERPOSE(EVP_CIPHER const*, EVP_aes_256_cbc, (), (), 0)
ZRFL_INTERPOSE(EVP_CIPHER const*, EVP_aes_128_cfb128, (), (), 0)
ZRFL_INTERPOSE(EVP_CIPHER const*, EVP_aes_192_cfb128, (), (), 0)
ZRFL_INTERPOSE(EVP_CIPHER const*, EVP_aes_256_cfb128, (), (), 0)
ZRFL_INTERPOSE(EVP_CIPHER const*, EVP_aes_128_ofb, (), (), 0)
ZRFL_INTERPOSE(EVP_CIPHER const*, EVP_aes_192_ofb, (), (), 0)
ZRFL_INTERPOSE(EVP_CIPHER const*, EVP_aes_256_ofb, (), (), 0)
ZRFL_INTERPOSE(EVP_CIPHER const*, EVP_aes_128_gcm, (), (), 0)
ZRFL_INTERPOSE(EVP_CIPHER const*, EVP_aes_192_gcm, (), (), 0)
ZRFL_INTERPOSE(EVP_CIPHER const*, EVP_aes_256_gcm, (), (), 0)
ZRFL_INTERPOSE(EVP_CIPHER const*, EVP_aes_128_ctr, (), (), 0)
ZRFL_INTERPOSE(EVP_CIPHER const*, EVP_aes_192_ctr, (), (), 0)
ZRFL_INTERPOSE(EVP_CIPHER const*, EVP_aes_256_ctr, (), (), 0)
ZRFL_INTERPOSE_MAKER(EVP_CIPHER_CTX*, EVP_CIPHER_CTX_new, (), (), EVP_CIPHER_CTX_free)
ZRFL_INTERPOSE(int, EVP_CIPHER_CTX_set_padding, (EVP_CIPHER_CTX* context, int padding), (context, padding), 0)
ZRFL_INTERPOSE(int, EVP_CIPHER_CTX_ctrl, (EVP_CIPHER_CTX* context, int command, int number, void* pointer), (context, command, number, pointer), 0)
ZRFL_INTERPOSE(int, EVP_EncryptInit_ex, (EVP_CIPHER_CTX* context, EVP_CIPHER const* cipher, ENGINE* engine, unsigned char const* key, unsigned char const* iv), (context, cipher, engine, key, iv), 0)
ZRFL_INTERPOSE(int, EVP_DecryptInit_ex, (EVP_CIPHER_CTX* context, EVP_CIPHER const* cipher, ENGINE* engine, unsigned char const* key, unsigned char const* iv), (context, cipher, engine, key, iv), 0)
ZRFL_INTERPOSE(int, EVP_EncryptUpdate, (EVP_CIPHER_CTX* context, unsigned char* out, int* written, unsigned char const* in, int size), (context, out, written, in, size), 0)
ZRFL_INTERPOSE(int, EVP_DecryptUpdate, (EVP_CIPHER_CTX* context, unsigned char* out, int* written, unsigned char const* in, int size), (context, out, written, in, size), 0)
ZRFL_INTERPOSE(int, EVP_EncryptFinal_ex, (EVP_CIPHER_CTX* context, unsigned char* out, int* written), (context, out, written), 0)
ZRFL_INTERPOSE(int, EVP_DecryptFinal_ex, (EVP_CIPHER_CTX* context, unsigned char* out, int* written), (context, out, written), 0)
ZRFL_OBSERVE(EVP_CIPHER_CTX_free, EVP_CIPHER_CTX)

// Keys
ZRFL_INTERPOSE_MAKER(EVP_PKEY*, EVP_PKEY_new, (), (), EVP_PKEY_free)
ZRFL_INTERPOSE_MAKER(EVP_PKEY*, EVP_PKEY_dup, (EVP_PKEY* key), (key), EVP_PKEY_free)
ZRFL_INTERPOSE(int, EVP_PKEY_get_bits, (EVP_PKEY const* key), (key), 0)
ZRFL_INTERPOSE(int, EVP_PKEY_get_size, (EVP_PKEY const* key), (key), 0)
ZRFL_INTERPOSE(int, EVP_PKEY_get_base_id, (EVP_PKEY const* key), (key), 0)
ZRFL_INTERPOSE(int, EVP_PKEY_get_bn_param, (EVP_PKEY const* key, char const* name, BIGNUM** number), (key, name, number), 0)
ZRFL_INTERPOSE(int, EVP_PKEY_todata, (EVP_PKEY const* key, int selection, OSSL_PARAM** parameters), (key, selection, parameters), 0)
ZRFL_INTERPOSE_MAKER(EVP_PKEY*, EVP_PKEY_new_raw_private_key, (int type, ENGINE* engine, unsigned char const* data, size_t size), (type, engine, data, size), EVP_PKEY_free)
ZRFL_INTERPOSE_MAKER(EVP_PKEY*, EVP_PKEY_new_raw_public_key, (int type, ENGINE* engine, unsigned char const* data, size_t size), (type, engine, data, size), EVP_PKEY_free)
ZRFL_INTERPOSE_MAKER(EVP_PKEY_CTX*, EVP_PKEY_CTX_new, (EVP_PKEY* key, ENGINE* engine), (key, engine), EVP_PKEY_CTX_free)
ZRFL_INTERPOSE_MAKER(EVP_PKEY_CTX*, EVP_PKEY_CTX_new_id, (int type, ENGINE* engine), (type, engine), EVP_PKEY_CTX_free)
ZRFL_INTERPOSE_MAKER(EVP_PKEY_CTX*, EVP_PKEY_CTX_new_from_name, (OSSL_LIB_CTX* library, char const* name, char const* properties), (library, name, properties), EVP_PKEY_CTX_free)
ZRFL_INTERPOSE(int, EVP_PKEY_CTX_ctrl_str, (EVP_PKEY_CTX* context, char const* name, char const* value), (context, name, value), 0)
ZRFL_INTERPOSE(int, EVP_PKEY_keygen_init, (EVP_PKEY_CTX* context), (context), 0)
ZRFL_INTERPOSE(int, EVP_PKEY_keygen, (EVP_PKEY_CTX* context, EVP_PKEY** key), (context, key), 0)
ZRFL_INTERPOSE(int, EVP_PKEY_fromdata_init, (EVP_PKEY_CTX* context), (context), 0)
ZRFL_INTERPOSE(int, EVP_PKEY_fromdata, (EVP_PKEY_CTX* context, EVP_PKEY** key, int selection, OSSL_PARAM* parameters), (context, key, selection, parameters), 0)
ZRFL_OBSERVE(EVP_PKEY_free, EVP_PKEY)
ZRFL_OBSERVE(EVP_PKEY_CTX_free, EVP_PKEY_CTX)

// RSA key generation takes its size as a variable argument; "RSA" has exactly one.
extern "C" EVP_PKEY* EVP_PKEY_Q_keygen(OSSL_LIB_CTX* library, char const* properties, char const* type, ...) {
    va_list variable;
    va_start(variable, type);
    size_t const bits = va_arg(variable, size_t);
    va_end(variable);
    using RSAKeygen = EVP_PKEY* (*)(OSSL_LIB_CTX*, char const*, char const*, size_t);
    static auto const real = reinterpret_cast<RSAKeygen>(dlsym(RTLD_NEXT, "EVP_PKEY_Q_keygen"));
    return support::intercept("EVP_PKEY_Q_keygen", __builtin_return_address(0), real, 0, std::make_tuple(library, properties, type, bits), EVP_PKEY_free);
}

// Parameters
ZRFL_INTERPOSE_MAKER(OSSL_PARAM_BLD*, OSSL_PARAM_BLD_new, (), (), OSSL_PARAM_BLD_free)
ZRFL_INTERPOSE_MAKER(OSSL_PARAM*, OSSL_PARAM_BLD_to_param, (OSSL_PARAM_BLD* builder), (builder), OSSL_PARAM_free)
ZRFL_INTERPOSE(int, OSSL_PARAM_BLD_push_BN, (OSSL_PARAM_BLD* builder, char const* name, BIGNUM const* number), (builder, name, number), 0)
ZRFL_INTERPOSE(int, OSSL_PARAM_BLD_push_utf8_string, (OSSL_PARAM_BLD* builder, char const* name, char const* text, size_t size), (builder, name, text, size), 0)
ZRFL_INTERPOSE(int, OSSL_PARAM_BLD_push_octet_string, (OSSL_PARAM_BLD* builder, char const* name, void const* data, size_t size), (builder, name, data, size), 0)
ZRFL_INTERPOSE(OSSL_PARAM const*, OSSL_PARAM_locate_const, (OSSL_PARAM const* parameters, char const* name), (parameters, name), 0)
ZRFL_INTERPOSE(int, OSSL_PARAM_get_BN, (OSSL_PARAM const* parameter, BIGNUM** number), (parameter, number), 0)
ZRFL_INTERPOSE(int, OSSL_PARAM_get_utf8_string_ptr, (OSSL_PARAM const* parameter, char const** text), (parameter, text), 0)
ZRFL_OBSERVE(OSSL_PARAM_BLD_free, OSSL_PARAM_BLD)
ZRFL_OBSERVE(OSSL_PARAM_free, OSSL_PARAM)

// Encodings
ZRFL_INTERPOSE_MAKER(EVP_PKEY*, PEM_read_bio_PUBKEY, (BIO* bio, EVP_PKEY** key, pem_password_cb* callback, void* user), (bio, key, callback, user), EVP_PKEY_free)
ZRFL_INTERPOSE_MAKER(EVP_PKEY*, PEM_read_bio_PrivateKey, (BIO* bio, EVP_PKEY** key, pem_password_cb* callback, void* user), (bio, key, callback, user), EVP_PKEY_free)
ZRFL_INTERPOSE(int, PEM_write_bio_PUBKEY, (BIO* bio, EVP_PKEY const* key), (bio, key), 0)
ZRFL_INTERPOSE(int, PEM_write_bio_PrivateKey, (BIO* bio, EVP_PKEY const* key, EVP_CIPHER const* cipher, unsigned char const* password, int size, pem_password_cb* callback, void* user), (bio, key, cipher, password, size, callback, user), 0)
ZRFL_INTERPOSE(int, PEM_write_bio_PKCS8PrivateKey, (BIO* bio, EVP_PKEY const* key, EVP_CIPHER const* cipher, char const* password, int size, pem_password_cb* callback, void* user), (bio, key, cipher, password, size, callback, user), 0)
ZRFL_INTERPOSE_MAKER(EVP_PKEY*, d2i_PKCS8PrivateKey_bio, (BIO* bio, EVP_PKEY** key, pem_password_cb* callback, void* user), (bio, key, callback, user), EVP_PKEY_free)
ZRFL_INTERPOSE_MAKER(EVP_PKEY*, d2i_PrivateKey_bio, (BIO* bio, EVP_PKEY** key), (bio, key), EVP_PKEY_free)
ZRFL_INTERPOSE_MAKER(EVP_PKEY*, d2i_PUBKEY_bio, (BIO* bio, EVP_PKEY** key), (bio, key), EVP_PKEY_free)
ZRFL_INTERPOSE(int, i2d_PKCS8PrivateKey_bio, (BIO* bio, EVP_PKEY const* key, EVP_CIPHER const* cipher, char const* password, int size, pem_password_cb* callback, void* user), (bio, key, cipher, password, size, callback, user), 0)
ZRFL_INTERPOSE(int, i2d_PUBKEY_bio, (BIO* bio, EVP_PKEY const* key), (bio, key), 0)

// Public-key encryption and signatures
ZRFL_INTERPOSE(int, EVP_PKEY_encrypt_init, (EVP_PKEY_CTX* context), (context), 0)
ZRFL_INTERPOSE(int, EVP_PKEY_decrypt_init, (EVP_PKEY_CTX* context), (context), 0)
ZRFL_INTERPOSE(int, EVP_PKEY_encrypt, (EVP_PKEY_CTX* context, unsigned char* out, size_t* written, unsigned char const* in, size_t size), (context, out, written, in, size), 0)
ZRFL_INTERPOSE(int, EVP_PKEY_decrypt, (EVP_PKEY_CTX* context, unsigned char* out, size_t* written, unsigned char const* in, size_t size), (context, out, written, in, size), 0)
ZRFL_INTERPOSE(int, EVP_PKEY_CTX_set_rsa_padding, (EVP_PKEY_CTX* context, int padding), (context, padding), 0)
ZRFL_INTERPOSE(int, EVP_PKEY_CTX_set_rsa_oaep_md, (EVP_PKEY_CTX* context, EVP_MD const* digest), (context, digest), 0)
ZRFL_INTERPOSE(int, EVP_PKEY_CTX_set_rsa_pss_saltlen, (EVP_PKEY_CTX* context, int size), (context, size), 0)
ZRFL_INTERPOSE(int, EVP_DigestSignInit_ex, (EVP_MD_CTX* context, EVP_PKEY_CTX** keyContext, char const* digest, OSSL_LIB_CTX* library, char const* properties, EVP_PKEY* key, OSSL_PARAM const* parameters), (context, keyContext, digest, library, properties, key, parameters), 0)
ZRFL_INTERPOSE(int, EVP_DigestVerifyInit_ex, (EVP_MD_CTX* context, EVP_PKEY_CTX** keyContext, char const* digest, OSSL_LIB_CTX* library, char const* properties, EVP_PKEY* key, OSSL_PARAM const* parameters), (context, keyContext, digest, library, properties, key, parameters), 0)
ZRFL_INTERPOSE(EVP_PKEY_CTX*, EVP_MD_CTX_get_pkey_ctx, (EVP_MD_CTX const* context), (context), 0)
ZRFL_INTERPOSE(int, EVP_DigestSign, (EVP_MD_CTX* context, unsigned char* signature, size_t* size, unsigned char const* data, size_t dataSize), (context, signature, size, data, dataSize), 0)
ZRFL_INTERPOSE(int, EVP_DigestVerify, (EVP_MD_CTX* context, unsigned char const* signature, size_t size, unsigned char const* data, size_t dataSize), (context, signature, size, data, dataSize), 0)

// Providers and stores
ZRFL_INTERPOSE_MAKER(OSSL_LIB_CTX*, OSSL_LIB_CTX_new, (), (), OSSL_LIB_CTX_free)
ZRFL_INTERPOSE(int, OSSL_PROVIDER_set_default_search_path, (OSSL_LIB_CTX* library, char const* path), (library, path), 0)
ZRFL_INTERPOSE_MAKER(OSSL_PROVIDER*, OSSL_PROVIDER_load, (OSSL_LIB_CTX* library, char const* name), (library, name), OSSL_PROVIDER_unload)
ZRFL_INTERPOSE(int, OSSL_PROVIDER_add_conf_parameter, (OSSL_PROVIDER* provider, char const* name, char const* value), (provider, name, value), 0)
ZRFL_INTERPOSE(int, OSSL_PROVIDER_unload, (OSSL_PROVIDER* provider), (provider), 0)
ZRFL_INTERPOSE_MAKER(OSSL_STORE_CTX*, OSSL_STORE_open_ex, (char const* uri, OSSL_LIB_CTX* library, char const* properties, UI_METHOD const* ui, void* uiData, OSSL_PARAM const* parameters, OSSL_STORE_post_process_info_fn postProcess, void* postProcessData), (uri, library, properties, ui, uiData, parameters, postProcess, postProcessData), OSSL_STORE_close)
ZRFL_INTERPOSE_MAKER(OSSL_STORE_INFO*, OSSL_STORE_load, (OSSL_STORE_CTX* store), (store), OSSL_STORE_INFO_free)
ZRFL_INTERPOSE(int, OSSL_STORE_INFO_get_type, (OSSL_STORE_INFO const* info), (info), 0)
ZRFL_INTERPOSE_MAKER(EVP_PKEY*, OSSL_STORE_INFO_get1_PKEY, (OSSL_STORE_INFO const* info), (info), EVP_PKEY_free)
ZRFL_INTERPOSE(int, OSSL_STORE_close, (OSSL_STORE_CTX* store), (store), 0)
ZRFL_OBSERVE(OSSL_STORE_INFO_free, OSSL_STORE_INFO)
ZRFL_OBSERVE(OSSL_LIB_CTX_free, OSSL_LIB_CTX)
// clang-format on
