#ifndef ZRFL_TESTS_RSA_RSAKEYOPERATIONS_H
#define ZRFL_TESTS_RSA_RSAKEYOPERATIONS_H

#include "rsa/RSAKey.h"

#include "support/Bytes.h"
#include "support/Provider.h"
#include "support/RSAKeys.h"
#include "support/Vectors.h"

#include <map>
#include <sstream>
#include <string>

/// The operations on a key of 1024 bits, for the tests with failing and with recorded libcrypto calls.
namespace support {

using PrivateKey = foundation::crypto::openssl::RSAPrivateKey<RSAKeySize<1024>>;
using PublicKey = foundation::crypto::openssl::RSAPublicKey<RSAKeySize<1024>>;
using KeyPair = foundation::crypto::openssl::RSAKeyPair<RSAKeySize<1024>>;

inline Vector const& numbers() {
    static Vector const vector = readVectors("keys/rsa_numbers.txt").at(0);
    return vector;
}

inline ByteArray const& key(std::string const& form) {
    static std::map<std::string, ByteArray> keys;
    auto const found = keys.find(form);
    return found == keys.end() ? keys[form] = readRSAKey(1024, form) : found->second;
}

inline void generate() {
    KeyPair const pair(provider.createDefaultCryptoPRNG({}));
}

inline void loadPrivatePEM() {
    PrivateKey const loaded(key("private.pem"));
}

inline void loadPrivateDER() {
    PrivateKey const loaded(key("private.der"));
}

inline void loadEncryptedDER() {
    std::istringstream stream(text(key("encrypted.der")));
    PrivateKey const loaded(stream, "password");
}

inline void readPrivatePEM() {
    std::istringstream stream(text(key("encrypted.pem")));
    PrivateKey const loaded(stream, "password");
}

inline void queryPrivatePEM() {
    provider.getPrivateKeySignatureMethod(key("private.pem"), "");
}

inline void queryPrivateStream() {
    std::istringstream stream(text(key("private.pem")));
    provider.getPrivateKeySignatureMethod(stream, "");
}

inline void loadPublicPEM() {
    PublicKey const loaded(key("public.pem"));
}

inline void loadPublicDER() {
    PublicKey const loaded(key("public.der"));
}

inline void readPublicPEM() {
    std::istringstream stream(text(key("public.pem")));
    PublicKey const loaded(stream);
}

inline void queryPublicDER() {
    provider.getPublicKeySignatureMethod(key("public.der"));
}

inline void queryPublicStream() {
    std::istringstream stream(text(key("public.pem")));
    provider.getPublicKeySignatureMethod(stream);
}

inline void buildPrivate() {
    PrivateKey const built(numbers().bytes("n"), numbers().bytes("d"), numbers().bytes("e"));
}

inline void buildPublic() {
    PublicKey const built(numbers().bytes("n"), numbers().bytes("e"));
}

inline PrivateKey const& privateKey() {
    static PrivateKey const loaded(key("private.pem"));
    return loaded;
}

inline PublicKey const& publicKey() {
    static PublicKey const loaded(key("public.pem"));
    return loaded;
}

inline void exportPrivate() {
    privateKey().getDER();
}

inline void exportPublic() {
    publicKey().getDER();
}

inline void exportPrivateModulus() {
    privateKey().getModulus();
}

inline void exportPrivateExponent() {
    privateKey().getPrivateExponent();
}

inline void exportPublicModulus() {
    publicKey().getModulus();
}

inline void exportPublicExponent() {
    publicKey().getPublicExponent();
}

} // namespace support

#endif
