// What holds for every operation of the public interface alike.
#include "support/Operations.h"
#include "support/AES.h"
#include "support/Allocations.h"
#include "support/HostsMark.h"
#include "support/RSA.h"
#include "support/RSAKeys.h"
#include "support/Throws.h"
#include "support/VirtualSlots.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <gtest/gtest.h>

#include <openssl/err.h>

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace support;

// The list

/// The operations of an interface: all its slots but the two of the destructor.
template <class Interface> std::size_t numberOfOperations() {
    return support::numberOfSlots<Interface>().value() - 2;
}

/// One of each family stands for its siblings, which have the same operations.
std::map<std::string, std::size_t> const& numbersOfOperations() {
    using namespace foundation::crypto::interfaces;
    using namespace foundation::crypto::utils;
    static std::map<std::string, std::size_t> const all{
        {"ICryptoProvider", numberOfOperations<ICryptoProvider>()},
        {"IDigestEngine", numberOfOperations<IDigestEngine>()},
        {"ICryptoPRNG", numberOfOperations<ICryptoPRNG>()},
        {"IAESKey", numberOfOperations<IAESKey<AESKeySize<128>>>()},
        {"IAESEncryptor", numberOfOperations<IAESEncryptor>()},
        {"IAESDecryptor", numberOfOperations<IAESDecryptor>()},
        {"IRSAKeyPair", numberOfOperations<IRSAKeyPair<RSAKeySize<1024>>>()},
        {"IRSAPrivateKey", numberOfOperations<IRSAPrivateKey<RSAKeySize<1024>>>()},
        {"IRSAPublicKey", numberOfOperations<IRSAPublicKey<RSAKeySize<1024>>>()},
        {"IRSAEncryptor", numberOfOperations<IRSAEncryptor>()},
        {"IRSADecryptor", numberOfOperations<IRSADecryptor>()},
        {"IRSASigner", numberOfOperations<IRSASigner>()},
        {"IRSAVerifier", numberOfOperations<IRSAVerifier>()},
        {"IECCKeyPair", numberOfOperations<IECCKeyPair<EllipticCurve::P256>>()},
        {"IECCPrivateKey", numberOfOperations<IECCPrivateKey<EllipticCurve::P256>>()},
        {"IECCPublicKey", numberOfOperations<IECCPublicKey<EllipticCurve::P256>>()},
        {"IECCSigner", numberOfOperations<IECCSigner>()},
        {"IECCVerifier", numberOfOperations<IECCVerifier>()},
        {"IHSMSigner", numberOfOperations<IHSMSigner>()}};
    return all;
}

TEST(Operations, AreAllListed) {
    std::vector<Operation> all = hsmOperations({"", ""}, {}); // none of them is run here
    all.insert(all.end(), operations().begin(), operations().end());
    std::map<std::string, std::set<std::string>> names;
    std::map<std::string, std::set<std::string>> kinds;
    std::set<std::string> descriptions;
    for (Operation const& operation : all) {
        names[operation.interface].insert(operation.name);
        kinds[operation.interface].insert(operation.kind);
        EXPECT_TRUE(descriptions.insert(operation.description()).second) << operation.description();
    }
    EXPECT_EQ(names.size(), numbersOfOperations().size());
    for (auto const& [interface, number] : numbersOfOperations()) {
        EXPECT_EQ(names[interface].size(), number) << interface;
        if (interface != "ICryptoProvider") { // each kind has all the members
            auto const rows = std::count_if(all.begin(), all.end(),
                                            [&, of = interface](Operation const& row) { return row.interface == of; });
            EXPECT_EQ(static_cast<std::size_t>(rows), number * kinds[interface].size()) << interface;
        }
    }
}

ByteArray outcomeOf(Operation const& operation) {
    OperationRun const run = operation.prepare();
    run.call();
    return run.outcome();
}

TEST(Operations, GiveTheSameWithFreshObjects) {
    for (Operation const& operation : operations()) {
        if (operation.name == "generateRSA4096KeyPair") { // it takes a second
            continue;
        }
        ByteArray const outcome = outcomeOf(operation);
        EXPECT_EQ(outcome, outcomeOf(operation)) << operation.description();
        EXPECT_NE(outcome, bytes("0")) << operation.description(); // no signature is wrong, and no size is 0
    }
}

// Memory

TEST(Factories, MakeEachObjectInOneAllocationWithItsCount) {
    std::size_t objects = 0;
    for (Operation const& operation : operations()) {
        if (operation.interface != "ICryptoProvider") {
            continue;
        }
        OperationRun const run = operation.prepare();
        AllocationRecording recording;
        run.call();
        recording.stop();
        for (void const* const object : run.made()) {
            auto const* const address = static_cast<char const*>(object);
            auto const home =
                std::find_if(recording.blocks().begin(), recording.blocks().end(), [&](auto const& block) {
                    auto const* const begin = static_cast<char const*>(block.address);
                    return !block.released && begin <= address && address < begin + block.size;
                });
            ASSERT_NE(home, recording.blocks().end()) << operation.description();
            EXPECT_LT(home->address, object) << operation.description() << ": the count is elsewhere";
            ++objects;
        }
    }
    EXPECT_GE(objects, numbersOfOperations().at("ICryptoProvider") - 5); // the queries and a derivation make none
}

// What is left of messages

/// Whoever signs or checks a message from a stream holds it meanwhile.
TEST(MessagesFromStreams, AreWiped) {
    int found = 0;
    for (Operation const& operation : operations()) {
        if (operation.name != "sign(stream)" && operation.name != "verify(stream)") {
            continue;
        }
        ++found;
        OperationRun const run = operation.prepare();
        ReleaseWatch const watch(bytes("a message"));
        run.call();
        EXPECT_GT(watch.blocks(), 0U) << operation.description();
        EXPECT_EQ(watch.blocksWithSecret(), 0U) << operation.description();
    }
    EXPECT_GT(found, 0);
}

// The host's mark in the error queue

TEST(HostsErrorMark, SurvivesEveryOperation) {
    for (Operation const& operation : operations()) {
        OperationRun const run = operation.prepare();
        // Where no mark is left, all entries are counted.
        int const expected = operation.decryptsKey() && decryptingTakesMarks() ? 1 : 0;
        HostsMark const mark(operation.decryptsKey());
        run.call();
        EXPECT_EQ(ERR_count_to_mark(), expected) << operation.description(); // those that are struck out as well
        EXPECT_EQ(ERR_GET_REASON(ERR_peek_last_error()), HostsMark::reason) << operation.description();
        EXPECT_TRUE(mark.isThere()) << operation.description();
    }
}

/// Whether an exception's text carries libcrypto's. Collecting it empties the queue, the host's errors and mark as
/// well.
bool isExplained(std::string const& text) {
    return text.find("error:") != std::string::npos || text.find("No OpenSSL errors.") != std::string::npos;
}

struct Refusal {
    std::string name;
    std::function<void()> operation; ///< Throws, though libcrypto is well.
};

/// Inputs that libcrypto itself refuses, mostly deep inside.
std::vector<Refusal> const& refusals() {
    using Key = RSAKeys<2048>;
    static CryptoProvider const provider;
    static auto const prng = provider.createDefaultCryptoPRNG({});
    static auto const aesKey = provider.createAES256Key(ByteArray(32));
    static auto const decrypt = [](AESMode mode, std::size_t size) {
        return provider.createAES256Decryptor(aesKey, ByteArray(16), mode, AESPaddingMode::PKCS7, {})
            ->decrypt(ByteArray(size));
    };
    static std::vector<Refusal> const rows{
        {"wrong tag", [] { decrypt(AESMode::GCM, 20); }},
        {"wrong padding", [] { decrypt(AESMode::CBC, 16); }},
        {"no whole blocks", [] { decrypt(AESMode::CBC, 17); }},
        {"BLAKE2b key too long", [] { provider.createBlake2bDigestEngine(ByteArray(65), {}); }},
        {"key length 0", [] { provider.deriveKeyUsingPBKDF2("password", "salt", 0, 1); }},
        {"no DER", [] { Key::createPrivateKey(bytes("no key")); }},
        {"no PEM", [] { Key::createPublicKey(bytes("-----BEGIN PUBLIC KEY-----\nAAAA\n-----END PUBLIC KEY-----\n")); }},
        {"wrong password",
         [] {
             std::istringstream file(text(readRSAKey(2048, "encrypted.pem")));
             Key::createPrivateKey(file, "wrong");
         }},
        {"wrong password of DER",
         [] {
             std::istringstream file(text(readRSAKey(2048, "encrypted.der")));
             provider.getPrivateKeySignatureMethod(file, "wrong");
         }},
        {"another size", [] { Key::createPublicKey(readRSAKey(1024, "public.pem")); }},
        {"exponent too long", [] { Key::createPrivateKey(ByteArray(256, 255), ByteArray(300, 255), ByteArray{3}); }},
        {"another size of numbers", [] { Key::createPublicKey(ByteArray(), ByteArray()); }},
        {"no OAEP block",
         [] {
             auto const key = Key::createPrivateKey(readRSAKey(2048, "private.der"));
             Key::decryptor(key, RSAPaddingMode::OAEP_SHA1, prng)->decrypt(ByteArray(256, 1));
         }},
        {"no hash for RSA",
         [] {
             auto const key = Key::createPrivateKey(readRSAKey(2048, "private.der"));
             Key::signer(key, RSAPaddingMode::PSS, prng)->sign({}, provider.createBlake2bDigestEngine({}, {}));
         }},
        {"DER for PEM", [] { provider.createECCP256PrivateKey(readRSAKey(2048, "private.der")); }},
        {"another kind of key", [] { provider.createECCP256PublicKey(readRSAKey(2048, "public.pem")); }},
        {"another curve", [] { provider.createECCP256PrivateKey(readKey("ed25519-private.pem")); }},
        {"no point", [] { provider.createECCP256PublicKeyFromPoint(ByteArray(65, 4)); }},
        {"31 bytes", [] { provider.createECCCurve25519PrivateKeyFromInteger(ByteArray(31)); }},
        {"no key", [] { provider.createECCP256Signer(nullptr)->sign({}, provider.createSHA256DigestEngine()); }},
    };
    return rows;
}

TEST(HostsErrorMark, SurvivesInputsThatLibcryptoRefuses) {
    for (Refusal const& refusal : refusals()) {
        HostsMark const mark(refusal.name.rfind("wrong password", 0) == 0);
        Thrown const thrown = catchFrom(refusal.operation);
        EXPECT_NE(thrown.type, "nothing") << refusal.name;
        EXPECT_FALSE(isExplained(thrown.text)) << refusal.name;
        EXPECT_TRUE(mark.isThere()) << refusal.name << ": " << thrown.text;
    }
}

TEST(HostsErrorMark, GoesWithTheErrorsThatATextCollects) {
    HostsMark const mark;
    EXPECT_TRUE(isExplained(catchFrom([] { CryptoProvider().createHMACSHA256DigestEngine({}); }).text));
    EXPECT_EQ(ERR_peek_error(), 0U);
    EXPECT_EQ(ERR_pop_to_mark(), 0);
}

} // namespace
