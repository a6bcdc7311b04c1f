// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_MLDSA_MLDSA_KEY_H
#define FOUNDATION_CRYPTO_MLDSA_MLDSA_KEY_H

#include "foundation/text/byte_view.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace vantrel::crypto {

// One of the parameter sets of ML-DSA (FIPS 204, 4). The records are static: compare sets by
// address.
struct MlDsaSet {
    std::string_view name; // "ML-DSA-44", "ML-DSA-65", "ML-DSA-87"
    std::string_view oid;  // dotted (RFC 9881, 2)
    std::size_t rows;      // k
    std::size_t columns;   // l
    std::size_t challengeBytes;
    std::size_t ones;           // tau: the coefficients of the challenge that are not zero
    std::size_t responseBits;   // of a coefficient of z; gamma1 is 2^(responseBits - 1)
    std::uint32_t highRange;    // 2 * gamma2
    std::uint32_t margin;       // beta
    std::size_t mostHints;      // omega
    std::size_t highBits;       // of a coefficient of w1
    std::size_t keyBytes;       // of a public key
    std::size_t signatureBytes; // of a signature
};

// Null when none answers.
[[nodiscard]] const MlDsaSet* findMlDsaSet(std::string_view name) noexcept;
[[nodiscard]] const MlDsaSet* findMlDsaSetByOid(std::string_view oid) noexcept;

// A public key of ML-DSA. Immutable; threads may share it. Variable time: public data only.
class MlDsaKey final {
public:
    // Takes an encoded key (FIPS 204, algorithm 23), of which only the length can be wrong. Null
    // then; `whyNot` is a short text of static lifetime. May throw std::bad_alloc.
    [[nodiscard]] static std::unique_ptr<MlDsaKey> load(const MlDsaSet& set, ByteView encoded,
                                                        std::string_view& whyNot);

    [[nodiscard]] const MlDsaSet& set() const noexcept { return m_set; }
    // As it was loaded, which is the only encoding of the key.
    [[nodiscard]] ByteView encoded() const noexcept { return m_encoded; }

    // Whether `signature` is one of `message` under `context`, which is usually empty: without a
    // hash before (algorithm 3). A context above 255 bytes verifies nothing.
    [[nodiscard]] bool verify(ByteView message, ByteView context,
                              ByteView signature) const noexcept;

private:
    MlDsaKey(const MlDsaSet& set, ByteView encoded);

    const MlDsaSet& m_set;
    std::vector<std::uint8_t> m_encoded;
    std::array<std::uint8_t, 64> m_hash; // of the key: tr
};

} // namespace vantrel::crypto

#endif
