// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_MAC_HMAC_H
#define FOUNDATION_CRYPTO_MAC_HMAC_H

namespace vantrel {

class DataBuffer;
class LogBase;

// HMAC (RFC 2104) over the hash algorithms of hash_ids.h.
class Hmac final {
public:
    Hmac() = delete;

    // Appends the code of `dataLength` bytes under the key to `out`. Null pointers stand for empty
    // data and an empty key. False, with `out` unchanged, for a negative length, for a hash
    // identifier that names no algorithm, or when out of memory. What was derived from the key is
    // wiped before it returns.
    [[nodiscard]] static bool doHMAC(const void* data, int dataLength, const void* key,
                                     int keyLength, int hashId, DataBuffer& out, LogBase& log);
};

} // namespace vantrel

#endif
