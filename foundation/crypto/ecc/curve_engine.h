// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_ECC_CURVE_ENGINE_H
#define FOUNDATION_CRYPTO_ECC_CURVE_ENGINE_H

#include "foundation/cpu/kernel_list.h"
#include "foundation/crypto/ecc/curves.h"

#include <memory>
#include <span>

namespace vantrel::crypto {

// Tables of multiples of one public key, for many verifications with it. Belongs to the engine
// that made it, and is immutable.
class PreparedKey {
public:
    PreparedKey() noexcept = default;
    PreparedKey(const PreparedKey&) = delete;
    PreparedKey& operator=(const PreparedKey&) = delete;
    virtual ~PreparedKey() = default;
};

// The arithmetic of one curve. Engines are made once and hold the curve's tables of the generator;
// nothing else of them changes. Numbers are plain, of the curve's limbs. Variable time: public
// data only.
class CurveEngine {
public:
    CurveEngine() noexcept = default;
    CurveEngine(const CurveEngine&) = delete;
    CurveEngine& operator=(const CurveEngine&) = delete;
    virtual ~CurveEngine() = default;

    // True when (x, y), both below p, is a point of the curve.
    [[nodiscard]] virtual bool isOnCurve(const CurveNumber& x,
                                         const CurveNumber& y) const noexcept = 0;

    // True when u1 * G + u2 * Q is a finite point whose x coordinate is r modulo n. Q = (x, y) is
    // on the curve; u1, u2 and r are below n.
    [[nodiscard]] virtual bool satisfies(const CurveNumber& u1, const CurveNumber& u2,
                                         const CurveNumber& x, const CurveNumber& y,
                                         const CurveNumber& r) const noexcept = 0;
    // The same, about twice as fast, with the tables of Q that this engine made.
    [[nodiscard]] virtual bool satisfies(const CurveNumber& u1, const CurveNumber& u2,
                                         const PreparedKey& key,
                                         const CurveNumber& r) const noexcept = 0;

    // The tables of Q = (x, y), which cost one verification and up to a half; null when there is no
    // memory for them.
    [[nodiscard]] virtual std::unique_ptr<PreparedKey> prepare(
        const CurveNumber& x, const CurveNumber& y) const noexcept = 0;
};

// One way to compute on a curve: a function that hands out its engine.
using CurveKernel = cpu::Kernel<const CurveEngine& (*)() noexcept>;

// The kernels of a curve. Between those for extensions and the portable one there may be others
// that need nothing: arithmetic of this curve alone, in plain C++.
[[nodiscard]] std::span<const CurveKernel> curveKernels(CurveId id) noexcept;

// The engine of the first of them that may run here.
[[nodiscard]] const CurveEngine& chosenCurveEngine(CurveId id) noexcept;

} // namespace vantrel::crypto

#endif
