// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_ECC_IFMA_SUM_H
#define FOUNDATION_CRYPTO_ECC_IFMA_SUM_H

#include "foundation/crypto/bignum/limbs.h"
#include "foundation/crypto/ecc/jacobian.h"
#include "foundation/crypto/ecc/wnaf.h"

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

// A point with any Z, and with what an addition needs of it.
template <std::size_t kDigits> struct IfmaMultiple {
    IfmaNumbers<kDigits> first;  // Z^2, X, Z, -
    IfmaNumbers<kDigits> second; // -, -, Z^3, Y
};

// A sum of points so far.
template <std::size_t kDigits> struct IfmaRunning {
    IfmaNumbers<kDigits> point; // Y, alpha, X, -; the next doubling needs
                                // alpha = 3 (X - Z^2) (X + Z^2)
    IfmaNumbers<kDigits> z;     // -, Z, -, -
    IfmaNumbers<kDigits> zz;    // -, Z^2, -, -
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
    using Point = IfmaPoint<kDigits>;
    using Multiple = IfmaMultiple<kDigits>;

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

    IfmaRunning<kDigits> m_sum;
};

} // namespace vantrel::crypto

#endif
#endif
