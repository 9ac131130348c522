#ifndef ZRFL_TESTS_SUPPORT_OPERATIONS_SIGNERS_H
#define ZRFL_TESTS_SUPPORT_OPERATIONS_SIGNERS_H

#include "Runs.h"

#include <functional>
#include <string>
#include <utility>

namespace support::listing {

inline DigestEnginePtr sha256() {
    return provider.createSHA256DigestEngine();
}

inline DigestEnginePtr sha512() {
    return provider.createSHA512DigestEngine();
}

struct ToSign {
    explicit ToSign(DigestEnginePtr engine) : digest(std::move(engine)) {}

    ByteArray bytes = message;
    Input stream{message};
    DigestEnginePtr digest;
};

/// The members of a signer, of any family; `isRight(signature)` judges its signatures, those by hand included.
template <class SignerPtr>
void addSigner(List& list, std::string const& of, std::string const& kind, Maker<SignerPtr> const& create,
               std::function<bool(ByteArray const&)> const& isRight, DigestEnginePtr (*digest)(),
               std::function<OperationRun()> const& prepareBare = {}) {
    using Given = std::pair<SignerPtr, ToSign>;
    auto const prepare = [=] { return Given(create(), ToSign(digest())); };
    auto const judge = [=](auto const&, ByteArray const& signature) { return number(isRight(signature) ? 1 : 0); };
    add(
        list, of, "sign(bytes)", kind, prepare,
        [](Given const& with) { return with.first->sign(with.second.bytes, with.second.digest); }, judge)
        .prepareBare = prepareBare;
    add(
        list, of, "sign(stream)", kind, prepare,
        [](Given const& with) { return with.first->sign(*with.second.stream, with.second.digest); }, judge)
        .prepareBare = prepareBare;
    add(list, of, "getKeySize", kind, create, [](auto const& signer) { return signer->getKeySize(); }, asIs);
}

template <class VerifierPtr>
void addVerifier(List& list, std::string const& of, std::string const& kind, Maker<VerifierPtr> const& create,
                 Maker<ByteArray> const& sign, DigestEnginePtr (*digest)()) {
    struct Verification {
        VerifierPtr verifier;
        ByteArray signature;
    };

    auto const prepare = [=] { return std::make_pair(Verification{create(), sign()}, ToSign(digest())); };
    add(
        list, of, "verify(bytes)", kind, prepare,
        [](auto const& given) {
            auto const& [by, signed_] = given;
            return by.verifier->verify(signed_.bytes, by.signature, signed_.digest).isValid();
        },
        asIs)
        .negative = number(0);
    add(
        list, of, "verify(stream)", kind, prepare,
        [](auto const& given) {
            auto const& [by, signed_] = given;
            return by.verifier->verify(*signed_.stream, by.signature, signed_.digest).isValid();
        },
        asIs)
        .negative = number(0);
    add(list, of, "getKeySize", kind, create, [](auto const& verifier) { return verifier->getKeySize(); }, asIs);
}

} // namespace support::listing

#endif
