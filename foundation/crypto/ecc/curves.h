// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_ECC_CURVES_H
#define FOUNDATION_CRYPTO_ECC_CURVES_H

#include "foundation/crypto/bignum/limbs.h"
#include "foundation/text/byte_view.h"

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

namespace vantrel::crypto {

inline constexpr std::size_t kMaxCurveLimbs = 9; // P-521
inline constexpr std::size_t kMaxCurveBytes = 66;

using CurveNumber = std::array<Limb, kMaxCurveLimbs>;

enum class CurveId {
    P192,
    P224,
    P256,
    P384,
    P521,
    Secp256k1,
    BrainpoolP256r1,
    BrainpoolP384r1,
    BrainpoolP512r1,
    BrainpoolP160r1,
    BrainpoolP192r1,
    BrainpoolP224r1,
    BrainpoolP320r1,
};

// A curve y^2 = x^3 + a*x + b over the integers modulo the prime p, with the generator (gx, gy) of
// prime order n and cofactor one. The records are static: compare curves by address.
struct Curve {
    CurveId id;
    std::string_view name;     // "P-256", "secp256k1", "brainpoolP256r1"
    std::string_view secName;  // as SEC 2 or RFC 5639 writes it: "secp256r1"
    std::string_view ansiName; // as X9.62 writes it ("prime256v1"), or empty
    std::string_view oid;      // dotted
    std::size_t fieldBits;
    std::size_t orderBits;
    CurveNumber p, a, b, gx, gy, n;

    [[nodiscard]] constexpr std::size_t fieldBytes() const noexcept { return (fieldBits + 7) / 8; }
    [[nodiscard]] constexpr std::size_t orderBytes() const noexcept { return (orderBits + 7) / 8; }
    [[nodiscard]] constexpr std::size_t limbs() const noexcept { return limbsForBits(fieldBits); }
};

[[nodiscard]] std::span<const Curve> allCurves() noexcept;

// Each returns null when no known curve answers.
[[nodiscard]] const Curve* findCurve(CurveId id) noexcept;
// A dotted object identifier, without "urn:oid:".
[[nodiscard]] const Curve* findCurveByOid(std::string_view oid) noexcept;
// Any of the three names of a curve, in any letter case.
[[nodiscard]] const Curve* findCurveByName(std::string_view name) noexcept;
// Explicit parameters, big-endian, leading zero bytes allowed; `g` is an encoded point, compressed
// or not. All must equal those of one known curve: parameters of one's own making are never used.
[[nodiscard]] const Curve* findCurveByParameters(ByteView p, ByteView a, ByteView b, ByteView g,
                                                 ByteView n) noexcept;

} // namespace vantrel::crypto

#endif
