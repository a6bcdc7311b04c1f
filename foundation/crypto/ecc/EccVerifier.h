// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_ECC_ECCVERIFIER_H
#define FOUNDATION_CRYPTO_ECC_ECCVERIFIER_H

#include "foundation/crypto/ecc/curves.h"
#include "foundation/text/byte_view.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace vantrel {

class LogBase;

namespace crypto {
class CurveEngine;
} // namespace crypto

// One elliptic-curve public key, and ECDSA verification with it (FIPS 186-4, 6.4). The third
// verification with one key prepares tables that make all later ones about twice as fast; copies
// share them. Several threads may use one key.
class EccVerifier final {
public:
    // Takes a public key: a point in uncompressed (04) or compressed (02, 03) encoding
    // (SEC 1, 2.3.4). Refused are: another length or first byte, coordinates not below p, a point
    // that is not on the curve, the point at infinity. On refusal `whyNot` is a short fixed text
    // and the key is empty.
    [[nodiscard]] bool loadPoint(const crypto::Curve& curve, ByteView point,
                                 std::string_view& whyNot) noexcept;

    [[nodiscard]] bool isLoaded() const noexcept { return m_curve != nullptr; }
    // Null when empty.
    [[nodiscard]] const crypto::Curve* curve() const noexcept { return m_curve; }
    [[nodiscard]] std::size_t bits() const noexcept { return m_curve ? m_curve->fieldBits : 0; }
    // The point in uncompressed encoding; empty without a key. A view into the key.
    [[nodiscard]] ByteView point() const noexcept;

    // Checks `signature` over `hash`. Two forms are accepted: r and s one after the other, each of
    // exactly the width of the group order (what XML Signature writes), and a strict DER SEQUENCE
    // of the two INTEGERs. With `derFirst` a signature that could be either is read as the latter
    // first. A hash longer than the order is cut to its width. Returns false when there is no key
    // or the hash is empty; otherwise true, and `verified` is the outcome (false for a value in
    // neither form). `reserved` has no meaning.
    bool eccVerifyHash(const std::uint8_t* signature, std::uint32_t signatureLength, bool derFirst,
                       const std::uint8_t* hash, std::uint32_t hashLength, bool& verified,
                       LogBase& log, unsigned reserved) const;

private:
    struct Usage;

    [[nodiscard]] bool check(ByteView r, ByteView s, ByteView hash) const noexcept;

    const crypto::Curve* m_curve = nullptr;
    const crypto::CurveEngine* m_engine = nullptr;
    std::array<std::uint8_t, 1 + 2 * crypto::kMaxCurveBytes> m_point{};
    crypto::CurveNumber m_x{};
    crypto::CurveNumber m_y{};
    std::shared_ptr<Usage> m_usage; // counts verifications; null when there was no memory
};

} // namespace vantrel

#endif
