// A host outside the project, as a user would write one.
#include <foundation/crypto/openssl/CryptoProvider.h>

#include <cstdio>

int main() {
    foundation::crypto::openssl::CryptoProvider const provider;
    auto const digest = provider.createSHA256DigestEngine()->computeDigest({'a', 'b', 'c'});
    bool const right = digest.size() == 32 && digest[0] == 0xba && digest[31] == 0xad;
    std::puts(right ? "SHA-256 of abc is right" : "SHA-256 of abc is WRONG");
    return right ? 0 : 1;
}
