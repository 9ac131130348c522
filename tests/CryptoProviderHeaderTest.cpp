// The one include that a host needs, which is the only one of the library's here: each public header has its name.
#include <foundation/crypto/openssl/CryptoProvider.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace foundation::crypto;

template <class...> struct Names {};

using Interfaces =
    Names<interfaces::IAESKey<utils::AESKeySize<128>>, interfaces::IAESEncryptor, interfaces::ICryptoPRNG,
          interfaces::ICryptoProvider, interfaces::IDigestEngine, interfaces::IECCKeyPair<utils::EllipticCurve::P256>,
          interfaces::IECCSigner, interfaces::IHSMSigner, interfaces::IRSAEncryptor,
          interfaces::IRSAKeyPair<utils::RSAKeySize<2048>>, interfaces::IRSASigner>;
using Vocabulary = Names<utils::AESMode, utils::ByteArray, utils::DefaultPRNGAlgorithm, utils::SHA256DigestAlgorithm,
                         utils::EllipticCurve, utils::InternalException, utils::HSMObject, utils::AESKeySize<128>,
                         utils::RSAPaddingMode, utils::SignatureVerificationStatus>;

TEST(ProviderHeader, BringsTheWholeLibrary) {
    static_cast<void>(Interfaces());
    static_cast<void>(Vocabulary());
    EXPECT_EQ(utils::SHA256DigestAlgorithm::getDigestSize(), 32U);
    EXPECT_FALSE(utils::DefaultPRNGAlgorithm::getPRNGName().empty());
    EXPECT_TRUE(utils::makeValidSignatureVerificationStatus().isValid());
}

} // namespace
