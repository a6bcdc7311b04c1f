// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_DSA_DSAVERIFIER_H
#define FOUNDATION_CRYPTO_DSA_DSAVERIFIER_H

#include <cstdint>

namespace vantrel {

class DsaKeyData;
class LogBase;

// DSA signatures over a hash that was computed before (FIPS 186-4, 4.7).
class DsaVerifier final {
public:
    DsaVerifier() = delete;

    // Checks `signature` over `hash`. Two forms are accepted: r and s one after the other, each of
    // exactly the width of q (what XML Signature writes), and a strict DER SEQUENCE of the two
    // INTEGERs. With `rawFirst` a signature that could be either is read as the former first.
    // A hash longer than q is cut to q's width. Returns false when there is no key or the hash is
    // empty; otherwise true, and `verified` is the outcome (false for a value in neither form).
    static bool verifyHash(DsaKeyData& key, const std::uint8_t* signature,
                           std::uint32_t signatureLength, bool rawFirst, const std::uint8_t* hash,
                           std::uint32_t hashLength, bool& verified, LogBase& log);
};

} // namespace vantrel

#endif
