// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_HASH_VLHASH_H
#define FOUNDATION_CRYPTO_HASH_VLHASH_H

#include "foundation/crypto/hash/hash_ids.h"

#include <cstdint>

namespace vantrel {

class DataBuffer;
class LogBase;
class ProgressMonitor;
class StringBuffer;
class _vlDataSource;

// Hashes of bytes and of streams, by algorithm identifier (hash_ids.h).
class _vlHash final {
public:
    _vlHash() = delete;

    // Appends the digest of `count` bytes at `data` (which may be null when `count` is 0) to `out`.
    // An identifier that names no algorithm appends nothing.
    static void doHash(const void* data, std::uint32_t count, int hashId, DataBuffer& out);

    // Reads `source` to its end and appends the digest to `out`. When `content` is given, what was
    // read is appended to it as well. False on a read failure, an identifier that names no
    // algorithm, or a lack of memory; then nothing was appended to `out`. `progress` may be null.
    [[nodiscard]] static bool hashDataSource(_vlDataSource& source, int hashId, DataBuffer* content,
                                             DataBuffer& out, ProgressMonitor* progress,
                                             LogBase& log);

    // The identifier of the algorithm with this dotted object identifier; kHashNone when unknown.
    [[nodiscard]] static int oidToHashAlg(const StringBuffer& oid);
};

} // namespace vantrel

#endif
