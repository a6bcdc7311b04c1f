// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_ECC_P521_X86_IFMA_H
#define FOUNDATION_CRYPTO_ECC_P521_X86_IFMA_H

#include "foundation/crypto/ecc/field_p521.h"
#include "foundation/crypto/ecc/jacobian.h"
#include "foundation/crypto/ecc/weierstrass_engine.h"

#include <array>
#include <span>

#if defined(__x86_64__)

namespace vantrel::crypto {

// Four numbers: digit i of all of them stands in row i.
struct alignas(32) P521Lanes {
    std::array<std::array<Limb, 4>, 11> rows;
};

// A running sum of points of P-521 with the AVX-512 IFMA instructions, which must be there. The
// products of one step of a formula are computed side by side, one in each lane of a vector; a
// number is eleven digits of 48 bits. Variable time: public data only.
//
// Where a formula does not hold (a point is added to itself or to its negative), Z becomes zero
// modulo p and stays so; the caller then computes the sum in another way.
class P521IfmaSum final {
public:
    using Affine = AffinePoint<FieldP521>;
    using Jacobian = JacobianPoint<FieldP521>;

    // Starts with q, or with -q.
    P521IfmaSum(const Affine& q, bool negate) noexcept;

    void twice() noexcept;
    void add(const Affine& q, bool negate) noexcept;
    [[nodiscard]] Jacobian value() const noexcept;

private:
    P521Lanes m_point; // X, Y, Z and alpha = 3 (X - Z^2) (X + Z^2), which the next doubling needs
    P521Lanes m_zz;    // Z^2 in the last lane
};

// The engine of P-521 with it.
class P521IfmaEngine final : public WeierstrassEngine<FieldP521, CoefficientA::MinusThree> {
public:
    using WeierstrassEngine::WeierstrassEngine;

protected:
    [[nodiscard]] Jacobian sum(std::span<const Term> terms) const noexcept override;
};

} // namespace vantrel::crypto

#endif
#endif
