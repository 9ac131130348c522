#ifndef ZRFL_FUZZ_ENCODEDKEY_H
#define ZRFL_FUZZ_ENCODEDKEY_H

#include "Bare.h"

#include <openssl/asn1.h>

#include <cstddef>

namespace fuzz {

/// An encoded key as an input has it: the label, the password, the encoding.
struct EncodedKey {
    std::string password;
    ByteArray text;

    /// Most labels stand for DER that is put into a PEM block of that name, so that libFuzzer alters what is inside.
    explicit EncodedKey(Input input) {
        constexpr char const* labels[]{"",
                                       "PRIVATE KEY",
                                       "ENCRYPTED PRIVATE KEY",
                                       "RSA PRIVATE KEY",
                                       "EC PRIVATE KEY",
                                       "PUBLIC KEY",
                                       "RSA PUBLIC KEY",
                                       "CERTIFICATE"};
        std::string const label = input.oneOf(labels);
        password = asString(input.field());
        text = input.rest();
        if (!label.empty()) {
            auto const block = bare::written([&](BIO* bio) {
                return PEM_write_bio(bio, label.c_str(), "", text.data(), static_cast<long>(text.size())) > 0 ? 1 : 0;
            });
            text = block.value_or(ByteArray()); // of nothing libcrypto makes no block
        }
    }
};

/// The product of all numbers in BER, those inside of others included; more than `limit` counts as that.
inline std::size_t productOfNumbers(unsigned char const* data, std::size_t size, std::size_t limit) {
    std::size_t product = 1;
    for (unsigned char const* const end = data + size; data < end;) {
        long length = 0;
        int tag = 0;
        int kind = 0;
        int const result = ASN1_get_object(&data, &length, &tag, &kind, end - data);
        if ((result & 0x80) != 0) {
            break;
        }
        std::size_t factor = 1;
        if ((result & V_ASN1_CONSTRUCTED) != 0) {
            factor = productOfNumbers(data, static_cast<std::size_t>(length), limit);
        } else if (tag == V_ASN1_INTEGER) {
            factor = 0;
            for (long index = 0; index < length && factor < limit; ++index) {
                factor = 256 * factor + data[index];
            }
        }
        product = std::min(product * std::max<std::size_t>(factor, 1), limit);
        data += length;
    }
    return product;
}

/// Whether the encoding is an encrypted key that asks for so much work (iterations of PBKDF2, memory of scrypt) that a
/// fuzzer would do nothing else. What such a key costs is the host's to know, and no finding.
inline bool isCostlyDER(unsigned char const* data, std::size_t size) {
    constexpr std::size_t limit = 1U << 18U;
    std::unique_ptr<X509_SIG, bare::Release<X509_SIG_free>> const encrypted(
        d2i_X509_SIG(nullptr, &data, static_cast<long>(size)));
    if (encrypted == nullptr) {
        return false;
    }
    X509_ALGOR const* scheme = nullptr;
    X509_SIG_get0(encrypted.get(), &scheme, nullptr);
    int type = 0;
    void const* parameters = nullptr;
    X509_ALGOR_get0(nullptr, &type, &parameters, scheme);
    if (type != V_ASN1_SEQUENCE) {
        return false;
    }
    auto const* const sequence = static_cast<ASN1_STRING const*>(parameters);
    return productOfNumbers(ASN1_STRING_get0_data(sequence), static_cast<std::size_t>(ASN1_STRING_length(sequence)),
                            limit) == limit;
}

/// The same of a key text: DER, or any of its PEM blocks.
inline bool isCostly(ByteArray const& text) {
    bool found = isCostlyDER(text.data(), text.size());
    for (bare::Bio const bio = bare::reader(text); !found && BIO_pending(bio.get()) != 0;) {
        char* name = nullptr;
        char* header = nullptr;
        unsigned char* data = nullptr;
        long size = 0;
        if (PEM_read_bio(bio.get(), &name, &header, &data, &size) == 1) {
            found = isCostlyDER(data, static_cast<std::size_t>(size));
            OPENSSL_free(name);
            OPENSSL_free(header);
            OPENSSL_free(data);
        }
    }
    ERR_clear_error();
    return found;
}

} // namespace fuzz

#endif
