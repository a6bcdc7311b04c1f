// SPDX-License-Identifier: MIT
#include "foundation/crypto/hash/_vlHash.h"

#include "foundation/crypto/hash/hasher.h"
#include "foundation/io/_vlDataSource.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"

#include <cstddef>

namespace vantrel {

void _vlHash::doHash(const void* data, std::uint32_t count, int hashId, DataBuffer& out) {
    ByteView bytes;
    if (data != nullptr) {
        bytes = {static_cast<const std::uint8_t*>(data), count};
    }
    std::uint8_t digest[crypto::kMaxDigestSize];
    out.append(ByteView(crypto::hashBytes(hashId, bytes, digest)));
}

bool _vlHash::hashDataSource(_vlDataSource& source, int hashId, DataBuffer* content,
                             DataBuffer& out, ProgressMonitor* /*progress*/, LogBase& log) {
    constexpr std::size_t kPieceSize = std::size_t{64} * 1024; // stays in the second-level cache
    std::uint8_t piece[kPieceSize];

    crypto::Hasher hasher(hashId);
    if (!hasher.valid()) {
        log.LogError("Cannot hash a stream with an unknown hash algorithm.");
        log.LogDataLong("hashAlg", hashId);
        return false;
    }
    std::size_t count = 0;
    do {
        if (!source.readSource(piece, count, log)) {
            return false;
        }
        const ByteView read(piece, count);
        hasher.update(read);
        if (content != nullptr && !content->append(read)) {
            return false;
        }
    } while (count != 0);

    std::uint8_t digest[crypto::kMaxDigestSize];
    return out.append(ByteView(hasher.final(digest)));
}

int _vlHash::oidToHashAlg(const StringBuffer& oid) { return crypto::hashFromOid(oid.view()); }

} // namespace vantrel
