// SPDX-License-Identifier: MIT
#include "foundation/crypto/ecc/p521_x86_ifma.h"

#if defined(__x86_64__)

#include <algorithm>
#include <optional>

// The compiler's own header reads an undefined vector where the value does not matter, and gcc 12
// warns of it wherever the intrinsics are inlined.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif
#include <immintrin.h>

#define VANTREL_P521_IFMA __attribute__((target("avx2,avx512f,avx512vl,avx512ifma")))
// The small steps are compiled into the formulas, lest all digits go through memory between them.
#define VANTREL_P521_STEP VANTREL_P521_IFMA __attribute__((always_inline)) static inline

namespace vantrel::crypto {
namespace {

constexpr std::size_t kDigits = 11;
constexpr int kRadixBits = 48;
constexpr Limb kDigitMask = (Limb{1} << kRadixBits) - 1;
// 11 * 48 = 521 + 7: what stands above the eleventh digit comes down times 2^7.
constexpr int kFoldBits = 7;

// Four numbers, one a lane. "Reduced" digits are below 2^48 + 2^23.
struct Quad {
    __m256i digit[kDigits];
};

VANTREL_P521_STEP __m256i all(Limb value) noexcept {
    return _mm256_set1_epi64x(static_cast<long long>(value));
}

// Carries move one place at once. Digits may have any 64 bits; they become reduced.
VANTREL_P521_STEP Quad reduced(const Quad& x) noexcept {
    const __m256i mask = all(kDigitMask);
    Quad z;
    __m256i carry = _mm256_srli_epi64(x.digit[kDigits - 1], kRadixBits);
    carry = _mm256_slli_epi64(carry, kFoldBits);
#pragma GCC unroll 11
    for (std::size_t i = 0; i < kDigits; ++i) {
        z.digit[i] = _mm256_add_epi64(_mm256_and_si256(x.digit[i], mask), carry);
        carry = _mm256_srli_epi64(x.digit[i], kRadixBits);
    }
    return z;
}

// x * y. Digits of x and y are below 2^52, and of each pair of lanes the products of two below
// 2^99, so that no sum of a column exceeds 64 bits: 11 * (2^52 + 2^4 * 2^47) * (2^7 + 1).
VANTREL_P521_IFMA __attribute__((noinline)) Quad multiply(const Quad& x, const Quad& y) noexcept {
    const __m256i zero = _mm256_setzero_si256();
    Quad sum;
    // The high halves of the last column, and of that eleven above; they belong one column up.
    __m256i highBefore = zero;
    __m256i highBeforeAbove = zero;
#pragma GCC unroll 11
    for (std::size_t k = 0; k < kDigits; ++k) {
        __m256i low = zero;
        __m256i high = zero;
        __m256i lowAbove = zero;
        __m256i highAbove = zero;
#pragma GCC unroll 11
        for (std::size_t i = 0; i < kDigits; ++i) {
            if (i <= k) {
                low = _mm256_madd52lo_epu64(low, x.digit[i], y.digit[k - i]);
                high = _mm256_madd52hi_epu64(high, x.digit[i], y.digit[k - i]);
            } else {
                lowAbove = _mm256_madd52lo_epu64(lowAbove, x.digit[i], y.digit[k + kDigits - i]);
                highAbove = _mm256_madd52hi_epu64(highAbove, x.digit[i], y.digit[k + kDigits - i]);
            }
        }
        // A high half counts 2^52, that is 2^4 of the next column.
        const __m256i own = _mm256_add_epi64(low, _mm256_slli_epi64(highBefore, 4));
        const __m256i above = _mm256_add_epi64(lowAbove, _mm256_slli_epi64(highBeforeAbove, 4));
        sum.digit[k] = _mm256_add_epi64(own, _mm256_slli_epi64(above, kFoldBits));
        highBefore = high;
        highBeforeAbove = highAbove;
    }
    // The tenth column's high half is the first above; column 21 has no products of its own.
    const __m256i first = _mm256_slli_epi64(highBefore, 4 + kFoldBits);
    sum.digit[0] = _mm256_add_epi64(sum.digit[0], first);
    return reduced(sum);
}

// z[i] := x[l_i], lane by lane.
template <int l0, int l1, int l2, int l3> VANTREL_P521_STEP Quad lanes(const Quad& x) noexcept {
    Quad z;
#pragma GCC unroll 11
    for (std::size_t i = 0; i < kDigits; ++i) {
        z.digit[i] = _mm256_permute4x64_epi64(x.digit[i], l0 | l1 << 2 | l2 << 4 | l3 << 6);
    }
    return z;
}
template <int lane> VANTREL_P521_STEP Quad everywhere(const Quad& x) noexcept {
    return lanes<lane, lane, lane, lane>(x);
}

// x with one lane of y.
template <int lane> VANTREL_P521_STEP Quad withLane(const Quad& x, const Quad& y) noexcept {
    Quad z;
#pragma GCC unroll 11
    for (std::size_t i = 0; i < kDigits; ++i) {
        z.digit[i] = _mm256_blend_epi32(x.digit[i], y.digit[i], 3 << 2 * lane);
    }
    return z;
}

VANTREL_P521_STEP Quad sumOf(const Quad& x, const Quad& y) noexcept {
    Quad z;
#pragma GCC unroll 11
    for (std::size_t i = 0; i < kDigits; ++i) {
        z.digit[i] = _mm256_add_epi64(x.digit[i], y.digit[i]);
    }
    return z;
}

// x * 2^shift
template <int shift> VANTREL_P521_STEP Quad scaled(const Quad& x) noexcept {
    Quad z;
#pragma GCC unroll 11
    for (std::size_t i = 0; i < kDigits; ++i) {
        z.digit[i] = _mm256_slli_epi64(x.digit[i], shift);
    }
    return z;
}

// `times` * 2^7 p - x, for digits of x that are below `times` * (2^48 - 2^7); those of the result
// are at most `times` * 2^48.
template <int times> VANTREL_P521_STEP Quad negated(const Quad& x) noexcept {
    const Limb highest = Limb{times} << kRadixBits;
    Quad z;
#pragma GCC unroll 11
    for (std::size_t i = 0; i < kDigits; ++i) {
        const Limb less = Limb{times} << (i == 0 ? kFoldBits : 0);
        z.digit[i] = _mm256_sub_epi64(all(highest - less), x.digit[i]);
    }
    return z;
}

VANTREL_P521_STEP Quad zeros() noexcept {
    Quad z;
    for (__m256i& digit : z.digit) {
        digit = _mm256_setzero_si256();
    }
    return z;
}
VANTREL_P521_STEP Quad one() noexcept {
    Quad z = zeros();
    z.digit[0] = all(1);
    return z;
}

VANTREL_P521_STEP Quad load(const P521Lanes& x) noexcept {
    Quad z;
#pragma GCC unroll 11
    for (std::size_t i = 0; i < kDigits; ++i) {
        z.digit[i] = _mm256_load_si256(reinterpret_cast<const __m256i*>(x.rows[i].data()));
    }
    return z;
}
VANTREL_P521_STEP void store(P521Lanes& z, const Quad& x) noexcept {
#pragma GCC unroll 11
    for (std::size_t i = 0; i < kDigits; ++i) {
        _mm256_store_si256(reinterpret_cast<__m256i*>(z.rows[i].data()), x.digit[i]);
    }
}

// (x, y, 0, 0), or (x, -y, 0, 0). The field's digits of 58 bits are cut where ours begin; they may
// be a little too large, and so may these.
VANTREL_P521_STEP Quad loadPoint(const P521IfmaSum::Affine& q, bool negate) noexcept {
    constexpr int kFieldBits = 58;
    const __m256i mask = all(kDigitMask);
    Quad point = zeros();
#pragma GCC unroll 9
    for (std::size_t i = 0; i < FieldP521::kLimbs; ++i) {
        const __m256i digits = _mm256_zextsi128_si256(
            _mm_set_epi64x(static_cast<long long>(q.y[i]), static_cast<long long>(q.x[i])));
        const int offset = static_cast<int>(i * kFieldBits % kRadixBits);
        __m256i* const to = point.digit + i * kFieldBits / kRadixBits;
        to[0] = _mm256_add_epi64(to[0], _mm256_and_si256(_mm256_slli_epi64(digits, offset), mask));
        to[1] = _mm256_and_si256(_mm256_srli_epi64(digits, kRadixBits - offset), mask);
        if (offset + kFieldBits >= 2 * kRadixBits) {
            to[2] = _mm256_srli_epi64(digits, 2 * kRadixBits - offset);
        }
    }
    return negate ? withLane<1>(point, negated<2>(point)) : point;
}

// The last steps of both formulas: (x, a, z, m) becomes (x, a + minusB, z, 3 m).
VANTREL_P521_STEP Quad finished(const Quad& x, const Quad& minusB) noexcept {
    return reduced(withLane<3>(withLane<1>(x, sumOf(x, minusB)), sumOf(x, scaled<1>(x))));
}

VANTREL_P521_IFMA void startAt(P521Lanes& point, P521Lanes& zz, const P521IfmaSum::Affine& q,
                               bool negate) noexcept {
    const Quad own = loadPoint(q, negate);
    const Quad x = everywhere<0>(own);
    const Quad m = multiply(sumOf(x, negated<2>(one())), sumOf(x, one()));
    store(point, reduced(withLane<3>(withLane<2>(own, one()), sumOf(m, scaled<1>(m)))));
    store(zz, one());
}

// dbl-2001-b: X3 = alpha^2 - 8 beta, Y3 = alpha (4 beta - X3) - 8 gamma^2, Z3 = 2 Y Z with
// gamma = Y^2, beta = X gamma. Three steps, since the alpha of the result is computed in its last.
VANTREL_P521_IFMA void twicePoint(P521Lanes& point, P521Lanes& zz) noexcept {
    const Quad p = load(point);
    // gamma, Y Z, alpha^2
    const Quad first = multiply(lanes<1, 1, 3, 3>(p), lanes<1, 2, 3, 3>(p));
    // beta, gamma^2, and twice Z3^2
    const Quad gammas = lanes<0, 0, 1, 1>(first);
    const Quad z3 = sumOf(gammas, gammas);
    const Quad factor = withLane<3>(withLane<2>(gammas, z3), z3);
    const Quad second = multiply(withLane<0>(factor, p), factor);
    const Quad x3 =
        reduced(sumOf(everywhere<2>(first), negated<16>(scaled<3>(everywhere<0>(second)))));
    // alpha (4 beta - X3) and (X3 - Z3^2) (X3 + Z3^2)
    const Quad spread = lanes<0, 2, 2, 2>(second);
    const Quad left = withLane<0>(sumOf(x3, negated<2>(spread)), everywhere<3>(p));
    const Quad right = withLane<0>(sumOf(x3, spread), sumOf(scaled<2>(spread), negated<2>(x3)));
    const Quad third = multiply(left, right);
    const Quad result = withLane<2>(withLane<0>(lanes<0, 0, 0, 1>(third), x3), z3);
    store(point, finished(result, negated<16>(scaled<3>(second))));
    store(zz, second);
}

// madd with H not doubled: H = X2 Z^2 - X, R = Y2 Z^3 - Y, V = X H^2, X3 = R^2 - H^3 - 2 V,
// Y3 = R (V - X3) - Y H^3, Z3 = Z H.
VANTREL_P521_IFMA void addPoint(P521Lanes& point, P521Lanes& zz, const P521IfmaSum::Affine& q,
                                bool negate) noexcept {
    const Quad p = load(point);
    const Quad own = loadPoint(q, negate);
    // X2 Z^2 and Z^3
    const Quad first = multiply(withLane<1>(own, everywhere<2>(p)), everywhere<3>(load(zz)));
    const Quad h = reduced(sumOf(everywhere<0>(first), negated<2>(everywhere<0>(p))));
    // Y2 Z^3, H^2 and Z H
    const Quad second = multiply(withLane<2>(withLane<0>(h, everywhere<1>(own)), p),
                                 withLane<0>(h, everywhere<1>(first)));
    const Quad r = reduced(sumOf(everywhere<0>(second), negated<2>(everywhere<1>(p))));
    // V, H^3, R^2 and Z3^2
    const Quad factor = withLane<2>(lanes<1, 1, 2, 2>(second), r);
    const Quad third = multiply(withLane<1>(withLane<0>(factor, p), h), factor);
    const Quad twoVAndCube = sumOf(scaled<1>(everywhere<0>(third)), everywhere<1>(third));
    const Quad x3 = reduced(sumOf(everywhere<2>(third), negated<16>(twoVAndCube)));
    // R (V - X3), Y H^3 and (X3 - Z3^2) (X3 + Z3^2)
    const Quad spread = lanes<0, 1, 3, 3>(third);
    const Quad left = withLane<1>(withLane<0>(sumOf(x3, negated<2>(spread)), r), p);
    const Quad right =
        withLane<1>(withLane<0>(sumOf(x3, spread), sumOf(spread, negated<2>(x3))), spread);
    const Quad fourth = multiply(left, right);
    const Quad result = withLane<2>(withLane<0>(lanes<0, 0, 0, 2>(fourth), x3), second);
    store(point, finished(result, negated<2>(fourth)));
    store(zz, third);
}

// One of the numbers, as an element of the field.
FieldP521::Element elementOf(const P521Lanes& x, std::size_t lane) noexcept {
    FieldP521::Element plain{};
    DoubleLimb pending = 0; // what stands from bit 64 * limb on
    std::size_t limb = 0;
    for (std::size_t i = 0; i < kDigits; ++i) {
        const std::size_t offset = i * kRadixBits - limb * kLimbBits;
        pending += static_cast<DoubleLimb>(x.rows[i][lane]) << offset;
        if (offset + kRadixBits >= kLimbBits) {
            plain[limb++] = static_cast<Limb>(pending);
            pending >>= kLimbBits;
        }
    }
    plain[limb] = static_cast<Limb>(pending);
    // 2^521 = 1
    constexpr unsigned kTopBits = 521 % kLimbBits;
    Limb carry = plain.back() >> kTopBits;
    plain.back() &= (Limb{1} << kTopBits) - 1;
    for (Limb& value : plain) {
        value += carry;
        carry = value < carry ? 1 : 0;
    }
    FieldP521::Element z;
    FieldP521::enter(z, plain);
    return z;
}

} // namespace

P521IfmaSum::P521IfmaSum(const Affine& q, bool negate) noexcept {
    startAt(m_point, m_zz, q, negate);
}

void P521IfmaSum::twice() noexcept { twicePoint(m_point, m_zz); }

void P521IfmaSum::add(const Affine& q, bool negate) noexcept { addPoint(m_point, m_zz, q, negate); }

P521IfmaSum::Jacobian P521IfmaSum::value() const noexcept {
    return {elementOf(m_point, 0), elementOf(m_point, 1), elementOf(m_point, 2)};
}

P521IfmaEngine::Jacobian P521IfmaEngine::sum(std::span<const Term> terms) const noexcept {
    std::optional<P521IfmaSum> running;
    walk(
        terms, [&] { running->twice(); },
        [&](const Affine& q, bool negate) {
            if (running) {
                running->add(q, negate);
            } else {
                running.emplace(q, negate);
            }
        });
    if (running) {
        const Jacobian result = running->value();
        if (!FieldP521::isZero(result.z)) {
            return result;
        }
    }
    return WeierstrassEngine::sum(terms);
}

} // namespace vantrel::crypto

#endif
