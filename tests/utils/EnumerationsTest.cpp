#include "foundation/crypto/interfaces/ICryptoProvider.h"
#include "foundation/crypto/utils/AESMode.h"
#include "foundation/crypto/utils/EllipticCurve.h"
#include "foundation/crypto/utils/RSAPaddingMode.h"

#include <type_traits>

#include <gtest/gtest.h>

namespace foundation::crypto::utils {
namespace {

/// True for an enumeration that is scoped and kept in an int.
template <class Enumeration>
constexpr bool isScopedInt = std::is_enum_v<Enumeration> && !std::is_convertible_v<Enumeration, int> &&
                             std::is_same_v<std::underlying_type_t<Enumeration>, int>;

static_assert(isScopedInt<AESMode>);
static_assert(isScopedInt<AESPaddingMode>);
static_assert(isScopedInt<RSAPaddingMode>);
static_assert(isScopedInt<EllipticCurve>);
static_assert(isScopedInt<interfaces::KeySignatureMethod>);

struct EnumerationValue {
    char const* name;
    int actual;
    int expected;
};

/// The values are shared with clients that were compiled earlier, so they never change.
TEST(Enumerations, HaveTheirFixedValues) {
    using interfaces::KeySignatureMethod;
    EnumerationValue const values[] = {
        {"AESMode::CBC", static_cast<int>(AESMode::CBC), 0},
        {"AESMode::CFB", static_cast<int>(AESMode::CFB), 1},
        {"AESMode::OFB", static_cast<int>(AESMode::OFB), 2},
        {"AESMode::GCM", static_cast<int>(AESMode::GCM), 3},
        {"AESMode::CTR", static_cast<int>(AESMode::CTR), 4},
        {"AESPaddingMode::PKCS7", static_cast<int>(AESPaddingMode::PKCS7), 0},
        {"AESPaddingMode::NoPadding", static_cast<int>(AESPaddingMode::NoPadding), 1},
        {"RSAPaddingMode::OAEP_SHA1", static_cast<int>(RSAPaddingMode::OAEP_SHA1), 0},
        {"RSAPaddingMode::OAEP_SHA256", static_cast<int>(RSAPaddingMode::OAEP_SHA256), 1},
        {"RSAPaddingMode::OAEP_SHA512", static_cast<int>(RSAPaddingMode::OAEP_SHA512), 2},
        {"RSAPaddingMode::PKCS1_V1_5", static_cast<int>(RSAPaddingMode::PKCS1_V1_5), 3},
        {"RSAPaddingMode::PSS", static_cast<int>(RSAPaddingMode::PSS), 4},
        {"EllipticCurve::P256", static_cast<int>(EllipticCurve::P256), 0},
        {"EllipticCurve::Curve25519", static_cast<int>(EllipticCurve::Curve25519), 1},
        {"KeySignatureMethod::RSA1024", static_cast<int>(KeySignatureMethod::RSA1024), 0},
        {"KeySignatureMethod::RSA2048", static_cast<int>(KeySignatureMethod::RSA2048), 1},
        {"KeySignatureMethod::RSA4096", static_cast<int>(KeySignatureMethod::RSA4096), 2},
    };
    for (auto const& value : values) {
        EXPECT_EQ(value.actual, value.expected) << value.name;
    }
}

TEST(CurveNames, AreThoseOfTheEnumeration) {
    EXPECT_EQ(getName(EllipticCurve::P256), "P256");
    EXPECT_EQ(getName(EllipticCurve::Curve25519), "Curve25519");
}

TEST(CurveNames, AreNeutralOutsideTheEnumeration) {
    EXPECT_EQ(getName(static_cast<EllipticCurve>(2)), "unknown curve");
    EXPECT_EQ(getName(static_cast<EllipticCurve>(-1)), "unknown curve");
}

} // namespace
} // namespace foundation::crypto::utils
