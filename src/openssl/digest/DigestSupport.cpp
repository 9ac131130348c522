#include "digest/DigestSupport.h"

#include "common/Streams.h"

#include <cstddef>

namespace foundation::crypto::openssl {

ByteArray updateAndFinalize(interfaces::IDigestEngine& engine, ByteArray const& data) {
    engine.update(data);
    return engine.finalize();
}

ByteArray updateAndFinalize(interfaces::IDigestEngine& engine, std::istream& input) {
    forEachChunk(input, [&engine](unsigned char const* data, std::size_t size) { engine.update(data, size); });
    return engine.finalize();
}

} // namespace foundation::crypto::openssl
