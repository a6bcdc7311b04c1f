#include "foundation/crypto/hash/_vlHash.h"

#include "foundation/crypto/hash/hasher.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/StringBuffer.h"

namespace vantrel {

void _vlHash::doHash(const void* data, std::uint32_t count, int hashId, DataBuffer& out) {
    ByteView bytes;
    if (data != nullptr) {
        bytes = {static_cast<const std::uint8_t*>(data), count};
    }
    std::uint8_t digest[crypto::kMaxDigestSize];
    out.append(ByteView(crypto::hashBytes(hashId, bytes, digest)));
}

int _vlHash::oidToHashAlg(const StringBuffer& oid) { return crypto::hashFromOid(oid.view()); }

} // namespace vantrel
