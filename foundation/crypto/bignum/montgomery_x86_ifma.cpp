// SPDX-License-Identifier: MIT
#include "foundation/cpu/avx512_intrinsics.h"
#include "foundation/crypto/bignum/montgomery_kernels_list.h"

#if defined(__x86_64__)

#include <cassert>
#include <cstdint>

// Almost-Montgomery multiplication in radix 2^52 with the AVX-512 IFMA instructions (Gueron and
// Krasnov, "Accelerating big integer arithmetic using Intel IFMA extensions", 2016).
//
// One digit y[i] a step, over vectors of eight digits: R := (R + x * y[i] + q[i] * n) / 2^52. What
// takes time is the chain from one q to the next, so the vectors lag behind: q[i] reaches them in
// step i + 2 only, and its shares of the two digits that q[i + 1] and q[i + 2] depend on are
// computed apart with scalar instructions.

#define VANTREL_IFMA __attribute__((target("avx512f,avx512dq,avx512ifma,bmi2")))

namespace vantrel::crypto {
namespace {

constexpr Limb kMask52 = (Limb{1} << 52) - 1;
constexpr std::size_t kLanes = 8;

// The digits one lane down: z = (low : high) >> 64.
VANTREL_IFMA inline __m512i nextLane(__m512i high, __m512i low) noexcept {
    return _mm512_alignr_epi64(high, low, 1);
}

VANTREL_IFMA inline Limb lowLane(__m512i x) noexcept {
    return static_cast<Limb>(_mm_cvtsi128_si64(_mm512_castsi512_si128(x)));
}

// z := r with every lane brought below 2^52, carries moving upwards.
template <std::size_t V>
VANTREL_IFMA inline void storeNormalized(Limb* z, __m512i (&r)[V]) noexcept {
    __extension__ using LaneMask = unsigned __int128;
    const __m512i mask = _mm512_set1_epi64(static_cast<long long>(kMask52));
    const __m512i zero = _mm512_setzero_si512();
    // Once with the carries as they are; then a lane can only overflow by one.
    __m512i below = zero;
    LaneMask generate = 0;
    LaneMask propagate = 0;
#pragma GCC unroll 10
    for (std::size_t v = 0; v < V; ++v) {
        const __m512i carry = _mm512_srli_epi64(r[v], 52);
        const __m512i moved = _mm512_alignr_epi64(carry, below, 7);
        below = carry;
        r[v] = _mm512_add_epi64(_mm512_and_si512(r[v], mask), moved);
        generate |= static_cast<LaneMask>(_mm512_cmpgt_epu64_mask(r[v], mask)) << (kLanes * v);
        propagate |= static_cast<LaneMask>(_mm512_cmpeq_epu64_mask(r[v], mask)) << (kLanes * v);
    }
    // The lanes that receive a carry, found by letting an addition propagate them.
    const LaneMask receives = ((generate << 1) + propagate) ^ propagate;
#pragma GCC unroll 10
    for (std::size_t v = 0; v < V; ++v) {
        const __mmask8 lanes = static_cast<__mmask8>(receives >> (kLanes * v));
        r[v] = _mm512_mask_add_epi64(r[v], lanes, r[v], _mm512_set1_epi64(1));
        _mm512_storeu_si512(z + kLanes * v, _mm512_and_si512(r[v], mask));
    }
}

inline Limb highOf(Limb digit, Limb shifted) noexcept {
    return static_cast<Limb>((static_cast<DoubleLimb>(digit) * shifted) >> kLimbBits);
}

template <std::size_t V>
VANTREL_IFMA void multiplyVectors(Limb* z, const Limb* x, const Limb* y, const Limb* n,
                                  Limb negInverse, std::size_t steps) noexcept {
    const __m512i zero = _mm512_setzero_si512();
    __m512i xs[V];
    __m512i nextNs[V];  // n, one digit down
    __m512i laterNs[V]; // n, two digits down
    __m512i r[V];
#pragma GCC unroll 10
    for (std::size_t v = 0; v < V; ++v) {
        xs[v] = _mm512_loadu_si512(x + kLanes * v);
        const __m512i here = _mm512_loadu_si512(n + kLanes * v);
        const __m512i above =
            v + 1 < V ? _mm512_loadu_si512(n + kLanes * (v + 1 < V ? v + 1 : v)) : zero;
        nextNs[v] = _mm512_alignr_epi64(above, here, 1);
        laterNs[v] = _mm512_alignr_epi64(above, here, 2);
        r[v] = zero;
    }
    const Limb n0Shifted = n[0] << 12; // so that the high half of a product is its bits from 52 on
    const Limb n1 = n[1];
    const Limb n1Shifted = n[1] << 12;
    const Limb n2 = n[2];
    Limb q = 0;
    Limb lastQ = 0;
    Limb later = 0; // share of the last q but one
    Limb carry = 0;
    __m512i lastDigit = zero;
    for (std::size_t i = 0; i < steps; ++i) {
        // Invariant: lane 0 of r is digit i of the sum, without the shares of x * y[i], of the last
        // two q and of the carry; r[0] also lacks the high halves of x * y[i - 1]. What can be
        // summed apart is, lest the chain through r become too long.
        const __m512i digit = _mm512_set1_epi64(static_cast<long long>(y[i]));
        const __m512i factor = _mm512_set1_epi64(static_cast<long long>(lastQ));
        const __m512i high0 = _mm512_madd52hi_epu64(zero, xs[0], lastDigit);
        r[0] = _mm512_add_epi64(r[0], _mm512_madd52lo_epu64(high0, xs[0], digit));
#pragma GCC unroll 10
        for (std::size_t v = 1; v < V; ++v) {
            r[v] = _mm512_madd52lo_epu64(r[v], xs[v], digit);
        }
        const Limb high = highOf(q, n0Shifted);
        const Limb sum = (lowLane(r[0]) + later + carry) + (((q * n1) & kMask52) + high);
        later = ((q * n2) & kMask52) + highOf(q, n1Shifted);
        lastQ = q;
        q = (sum * negInverse) & kMask52;
        carry = (sum + kMask52) >> 52; // q[i] * n[0] fills the low 52 bits up to a carry, or zero
#pragma GCC unroll 10
        for (std::size_t v = 0; v < V; ++v) {
            __m512i share = _mm512_madd52lo_epu64(zero, laterNs[v], factor);
            share = _mm512_madd52hi_epu64(share, nextNs[v], factor);
            r[v] = _mm512_add_epi64(r[v], share);
        }
#pragma GCC unroll 10
        for (std::size_t v = 0; v < V; ++v) {
            r[v] = nextLane(v + 1 < V ? r[v + 1 < V ? v + 1 : v] : zero, r[v]);
            if (v > 0) {
                r[v] = _mm512_madd52hi_epu64(r[v], xs[v], digit);
            }
        }
        lastDigit = digit;
    }
    r[0] = _mm512_madd52hi_epu64(r[0], xs[0], lastDigit);
    const __m512i lastFactor = _mm512_set1_epi64(static_cast<long long>(lastQ));
    const __m512i factor = _mm512_set1_epi64(static_cast<long long>(q));
#pragma GCC unroll 10
    for (std::size_t v = 0; v < V; ++v) {
        r[v] = _mm512_madd52lo_epu64(r[v], laterNs[v], lastFactor);
        r[v] = _mm512_madd52hi_epu64(r[v], nextNs[v], lastFactor);
        r[v] = _mm512_madd52lo_epu64(r[v], nextNs[v], factor);
        r[v] = _mm512_madd52hi_epu64(r[v], _mm512_loadu_si512(n + kLanes * v), factor);
    }
    r[0] = _mm512_mask_add_epi64(r[0], 1, r[0], _mm512_set1_epi64(static_cast<long long>(carry)));
    storeNormalized<V>(z, r);
}

} // namespace

void montgomeryMultiplyIfma(Limb* z, const Limb* x, const Limb* y, const Limb* n, Limb negInverse,
                            std::size_t size) noexcept {
    switch ((size + kLanes - 1) / kLanes) {
    case 3: return multiplyVectors<3>(z, x, y, n, negInverse, size);
    case 4: return multiplyVectors<4>(z, x, y, n, negInverse, size);
    case 5: return multiplyVectors<5>(z, x, y, n, negInverse, size);
    case 6: return multiplyVectors<6>(z, x, y, n, negInverse, size);
    case 7: return multiplyVectors<7>(z, x, y, n, negInverse, size);
    case 8: return multiplyVectors<8>(z, x, y, n, negInverse, size);
    case 9: return multiplyVectors<9>(z, x, y, n, negInverse, size);
    case 10: return multiplyVectors<10>(z, x, y, n, negInverse, size);
    default: assert(false);
    }
}

void montgomerySquareIfma(Limb* z, const Limb* x, const Limb* n, Limb negInverse,
                          std::size_t size) noexcept {
    montgomeryMultiplyIfma(z, x, x, n, negInverse, size);
}

} // namespace vantrel::crypto

#endif
