// SPDX-License-Identifier: MIT
#include "foundation/crypto/ecc/point_decoding.h"

#include "foundation/crypto/bignum/montgomery.h"
#include "foundation/crypto/bignum/montgomery_kernels.h"
#include "foundation/crypto/ecc/curve_engine.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace vantrel::crypto {
namespace {

constexpr std::uint8_t kUncompressed = 4;
constexpr std::uint8_t kCompressedEven = 2;
constexpr std::uint8_t kCompressedOdd = 3;

// Square roots modulo the prime of a curve. Numbers are in the Montgomery form of the modulus.
class SquareRoots {
public:
    explicit SquareRoots(std::span<const Limb> p) noexcept {
        m_modulus.set(p, montgomeryKernels().back());
    }

    [[nodiscard]] const MontgomeryModulus& modulus() const noexcept { return m_modulus; }

    void power(CurveNumber& z, const CurveNumber& x, const CurveNumber& exponent) const noexcept {
        CurveNumber result{};
        m_modulus.one(result);
        for (std::size_t i = bitLength(exponent); i-- > 0;) {
            m_modulus.square(result, result);
            if ((exponent[i / kLimbBits] >> (i % kLimbBits) & 1) != 0) {
                m_modulus.multiply(result, result, x);
            }
        }
        z = result;
    }

    // root := a square root of x, by the algorithm of Tonelli and Shanks with p - 1 = 2^s * q. For
    // p = 3 mod 4 (all curves but P-224) it ends after the first power. False when there is none.
    [[nodiscard]] bool root(CurveNumber& root, const CurveNumber& x) const noexcept {
        CurveNumber q{};
        std::copy(m_modulus.value().begin(), m_modulus.value().end(), q.begin());
        q[0] -= 1;
        std::size_t s = 0;
        while ((q[0] & 1) == 0) {
            halve(q);
            ++s;
        }
        CurveNumber one{};
        m_modulus.one(one);
        CurveNumber exponent = q; // (q + 1) / 2
        halve(exponent);
        for (std::size_t i = 0; i < exponent.size() && ++exponent[i] == 0; ++i) {
        } // q is odd; the lowest limb of (q - 1) / 2 may be all ones, as it is for P-256
        power(root, x, exponent);
        CurveNumber t{};
        power(t, x, q);
        CurveNumber c = nonResiduePower(q, s);
        for (std::size_t m = s; t != one;) {
            CurveNumber square = t;
            std::size_t i = 0;
            for (; square != one && i < m; ++i) {
                m_modulus.square(square, square);
            }
            if (i >= m || isZero(t)) {
                return false;
            }
            for (std::size_t j = 0; j + i + 1 < m; ++j) {
                m_modulus.square(c, c);
            }
            m = i;
            m_modulus.multiply(root, root, c);
            m_modulus.square(c, c);
            m_modulus.multiply(t, t, c);
        }
        return true;
    }

private:
    static void halve(CurveNumber& x) noexcept {
        for (std::size_t i = 0; i < x.size(); ++i) {
            const Limb above = i + 1 < x.size() ? x[i + 1] : 0;
            x[i] = x[i] >> 1 | above << (kLimbBits - 1);
        }
    }

    // z^q for the least z = 2, 3, .. that is no square.
    [[nodiscard]] CurveNumber nonResiduePower(const CurveNumber& q, std::size_t s) const noexcept {
        CurveNumber one{};
        m_modulus.one(one);
        for (Limb candidate = 2;; ++candidate) {
            CurveNumber z{};
            z[0] = candidate;
            m_modulus.enter(z, std::span<const Limb>(z).first(m_modulus.size()));
            power(z, z, q);
            CurveNumber test = z;
            for (std::size_t i = 0; i + 1 < s; ++i) {
                m_modulus.square(test, test);
            }
            if (test != one) {
                return z;
            }
        }
    }

    MontgomeryModulus m_modulus;
};

// y := the root of x^3 + a x + b that is odd or even as wanted.
bool solveForY(const Curve& curve, const CurveNumber& x, bool odd, CurveNumber& y) noexcept {
    const std::size_t k = curve.limbs();
    const SquareRoots roots(std::span<const Limb>(curve.p).first(k));
    const MontgomeryModulus& modulus = roots.modulus();
    const std::span<const Limb> p = modulus.value();
    const auto addTo = [&](CurveNumber& z, const CurveNumber& other) {
        const std::span<Limb> low = std::span<Limb>(z).first(k);
        if (add(low, std::span<const Limb>(other).first(k)) != 0 || !lessThan(low, p)) {
            subtract(low, p);
        }
    };
    CurveNumber form{};
    CurveNumber a{};
    CurveNumber b{};
    modulus.enter(form, std::span<const Limb>(x).first(k));
    modulus.enter(a, std::span<const Limb>(curve.a).first(k));
    modulus.enter(b, std::span<const Limb>(curve.b).first(k));
    CurveNumber right{};
    modulus.square(right, form);
    addTo(right, a);
    modulus.multiply(right, right, form);
    addTo(right, b);
    CurveNumber root{};
    if (!roots.root(root, right)) {
        return false;
    }
    y = {};
    modulus.leave(std::span<Limb>(y).first(k), root);
    if (((y[0] & 1) != 0) != odd) {
        CurveNumber other = curve.p;
        subtract(other, y);
        y = other;
    }
    return true;
}

} // namespace

bool decodePoint(const Curve& curve, ByteView encoded, CurveNumber& x, CurveNumber& y,
                 std::string_view& whyNot) noexcept {
    const std::size_t width = curve.fieldBytes();
    const std::uint8_t form = encoded.empty() ? std::uint8_t{0} : encoded[0];
    const bool compressed = form == kCompressedEven || form == kCompressedOdd;
    if ((!compressed && form != kUncompressed) ||
        encoded.size() != 1 + (compressed ? width : 2 * width)) {
        whyNot = "The encoding of the elliptic-curve point is not valid.";
        return false;
    }
    if (!loadBigEndian(x, encoded.subspan(1, width)) || !lessThan(x, curve.p)) {
        whyNot = "A coordinate of the elliptic-curve point is too large.";
        return false;
    }
    bool onCurve = false;
    if (compressed) {
        onCurve = solveForY(curve, x, form == kCompressedOdd, y);
    } else {
        onCurve = loadBigEndian(y, encoded.subspan(1 + width)) && lessThan(y, curve.p);
    }
    if (!onCurve || !chosenCurveEngine(curve.id).isOnCurve(x, y)) {
        whyNot = "The elliptic-curve point is not on the curve.";
        return false;
    }
    return true;
}

} // namespace vantrel::crypto
