#include "Families.h"
#include "Runs.h"

#include <string>
#include <utility>

namespace support::listing {

namespace {

/// The members of the engines that the factory `name` makes.
void addEngineMembers(List& list, std::string const& name, Maker<DigestEnginePtr> const& fresh) {
    std::string const of = "IDigestEngine";
    auto const fed = [=] {
        auto engine = fresh();
        engine->update(message);
        return engine;
    };
    // An engine in the middle of a message first comes to its end, if it can.
    auto const nextMessage = [](DigestEnginePtr const& engine) {
        try {
            engine->finalize();
        } catch (utils::Exception const&) {
        }
        return engine->computeDigest(message);
    };
    auto const addMember = [&](std::string const& member, auto given, auto call, auto describe) {
        add(list, of, member, name, given, call, describe, NothingToWrite(), nextMessage);
    };
    addMember(
        "computeDigest(bytes)", fresh, [](DigestEnginePtr const& engine) { return engine->computeDigest(message); },
        asIs);
    add(
        list, of, "computeDigest(stream)", name, [=] { return std::make_pair(fresh(), Input(message)); },
        [](auto const& given) { return given.first->computeDigest(*given.second); }, asIs, NothingToWrite(),
        [=](auto const& given) { return nextMessage(given.first); });
    auto const finish = [](DigestEnginePtr const& engine, Nothing) { return engine->finalize(); };
    addMember(
        "update(bytes)", fresh,
        [](DigestEnginePtr const& engine) {
            engine->update(message);
            return Nothing();
        },
        finish);
    addMember(
        "update(pointer)", fresh,
        [](DigestEnginePtr const& engine) {
            engine->update(message.data(), message.size());
            return Nothing();
        },
        finish);
    addMember(
        "finalize", fed, [](DigestEnginePtr const& engine) { return engine->finalize(); },
        [](DigestEnginePtr const& engine, ByteArray const& digest) { // it begins anew afterwards
            return joined(digest, engine->computeDigest(message));
        });
    addMember("getDigestName", fresh, [](DigestEnginePtr const& engine) { return engine->getDigestName(); }, asIs);
    addMember(
        "getDigestNameForEVP_MD", fresh, [](DigestEnginePtr const& engine) { return engine->getDigestNameForEVP_MD(); },
        asIs);
    addMember("getDigestSize", fresh, [](DigestEnginePtr const& engine) { return engine->getDigestSize(); }, asIs);
}

/// The factory `name`, which is `create(arguments)`, and the members of the engine that it makes.
template <class Prepare, class Create>
void addEngine(List& list, std::string const& name, Prepare prepare, Create create) {
    add(list, "ICryptoProvider", name, "", prepare, create,
        [](auto const&, DigestEnginePtr const& made) { return made->computeDigest(message); });
    addEngineMembers(list, name, [=] { return create(prepare()); });
}

#define ZRFL_PLAIN_DIGEST(name)                                                                                        \
    addEngine(list, "create" #name "DigestEngine", noArguments,                                                        \
              [](Nothing) { return provider.create##name##DigestEngine(); })
#define ZRFL_HMAC(name)                                                                                                \
    addEngine(                                                                                                         \
        list, "create" #name "DigestEngine", [] { return bytes("a key"); },                                            \
        [](ByteArray const& key) { return provider.create##name##DigestEngine(key); })

} // namespace

void addDigests(List& list) {
    ZRFL_PLAIN_DIGEST(MD5);
    ZRFL_PLAIN_DIGEST(SHA1);
    ZRFL_PLAIN_DIGEST(SHA224);
    ZRFL_PLAIN_DIGEST(SHA256);
    ZRFL_PLAIN_DIGEST(SHA384);
    ZRFL_PLAIN_DIGEST(SHA512);
    ZRFL_HMAC(HMACSHA1);
    ZRFL_HMAC(HMACSHA256);
    ZRFL_HMAC(HMACSHA512);

    struct Blake2b {
        ByteArray key = bytes("a key");
        ByteArray salt = bytes("a salt");
    };

    addEngine(
        list, "createBlake2bDigestEngine", [] { return Blake2b(); },
        [](Blake2b const& given) { return provider.createBlake2bDigestEngine(given.key, given.salt); });
    addEngine(
        list, "createBlake2bDigestEngineWithCustomSize", [] { return ByteArray(); },
        [](ByteArray const& none) { return provider.createBlake2bDigestEngineWithCustomSize(none, none, 20); });
}

#undef ZRFL_PLAIN_DIGEST
#undef ZRFL_HMAC

} // namespace support::listing
