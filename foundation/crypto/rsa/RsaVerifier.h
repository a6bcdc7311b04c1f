// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_RSA_RSAVERIFIER_H
#define FOUNDATION_CRYPTO_RSA_RSAVERIFIER_H

#include "foundation/crypto/rsa/padding.h"
#include "foundation/text/byte_view.h"

#include <cstdint>

namespace vantrel {

class LogBase;
class RsaKeyData;

inline constexpr int kPaddingPkcs1 = 1; // RSASSA-PKCS1-v1_5
inline constexpr int kPaddingPss = 3;   // RSASSA-PSS

// RSA signatures over a hash that was computed before (RFC 8017, 8.1.2 and 8.2.2).
class RsaVerifier final {
public:
    RsaVerifier() = delete;

    // Checks `signature` over `hash`, which the algorithm `hashId` (hash_ids.h) made.
    //
    // Returns true when the check could be carried out; then `verified` tells its outcome. Returns
    // false with `wrongKey` set when the signature cannot come from this key: its length differs
    // from the modulus, its value is not below it, or the recovered block has no form of the
    // padding at all. Returns false without `wrongKey` when there is nothing to check: no key, an
    // unknown hash identifier or padding, or a hash that is empty or of another size than its
    // algorithm's. A hash of no bytes never verifies.
    //
    // PKCS #1: the whole expected block is compared, with and without the NULL parameter. PSS: a
    // salt of `saltLength` bytes, or of any length; `mgfHashId` is the hash of MGF1. `reserved` and
    // `strict` are kept for the contract: `reserved` has no meaning, and `strict` false changes
    // nothing, for there is no lenient mode. `recovered`: the block that the key recovers from the
    // signature, where that is known; it is worked out otherwise.
    static bool verifyHashExt(const std::uint8_t* signature, std::uint32_t signatureLength,
                              const std::uint8_t* hash, std::uint32_t hashLength, int hashId,
                              int padding, int mgfHashId, bool& verified, RsaKeyData& key,
                              int reserved, bool strict, bool& wrongKey, LogBase& log,
                              int saltLength = crypto::kAnySalt, ByteView recovered = {});
};

} // namespace vantrel

#endif
