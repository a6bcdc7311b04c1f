// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_ECC_IFMA_SUM_H
#define FOUNDATION_CRYPTO_ECC_IFMA_SUM_H

#include "foundation/crypto/ecc/jacobian.h"
#include "foundation/crypto/ecc/wnaf.h"
#include "foundation/crypto/bignum/limbs.h"

#include <array>
#include <cstddef>
#include <span>

#if defined(__x86_64__)

namespace vantrel::crypto {

// Four numbers: digit i of all of them stands in row i.
template <std::size_t kDigits> struct alignas(32) IfmaNumbers {
    std::array<std::array<Limb, 4>, kDigits> rows;
};

// A point (x, y): digit i of both stands in row i.
template <std::size_t kDigits> struct alignas(16) IfmaPoint {
    std::array<std::array<Limb, 2>, kDigits> rows;
};

// A running sum of points of a curve with a = -3, with the AVX-512 IFMA instructions, which must be
// there. The products of one step of a formula are computed side by side, one in each lane of a
// vector. Variable time: public data only.
//
// Where a formula does not hold (a point is added to itself or to its negative), Z becomes zero
// modulo p and stays so; the caller then computes the sum in another way.
//
// `Lanes` describes the numbers of a field: how many digits they have (kDigits), the scalar Field
// they come from, and the way between the two (entryOf, pointOf, elementOf).
template <class Lanes> class IfmaSum final {
public:
    static constexpr std::size_t kDigits = Lanes::kDigits;
    using Field = typename Lanes::Field;
    using Jacobian = JacobianPoint<Field>;
    using Numbers = IfmaNumbers<kDigits>;
    using Point = IfmaPoint<kDigits>;

    // A point with any Z, and with what an addition needs of it.
    struct Multiple {
        Numbers first;  // Z^2, X, -, Z
        Numbers second; // Z^3, Y, -, -
    };

    IfmaSum() noexcept = default; // nothing may be done with it before `start`

    // Starts with q, or with -q.
    void start(const Point& q, bool negate) noexcept;
    void start(const Multiple& q, bool negate) noexcept;

    // Doubles it so many times, at least once.
    void twice(std::size_t times = 1) noexcept;
    void add(const Point& q, bool negate) noexcept;
    void add(const Multiple& q, bool negate) noexcept;
    [[nodiscard]] Jacobian value() const noexcept;

    // table[i] := (2i + 1) q
    static void oddMultiples(std::span<Multiple> table, const Point& q) noexcept;

private:
    [[nodiscard]] Multiple multiple() const noexcept;

    Numbers m_point; // X, Y, Z and alpha = 3 (X - Z^2) (X + Z^2), which the next doubling needs
    Numbers m_zz;    // Z^2 in the last lane
    Numbers m_zzz;   // Z^3 in the last lane
};

} // namespace vantrel::crypto

#endif
#endif
