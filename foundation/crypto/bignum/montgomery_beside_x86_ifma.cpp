// SPDX-License-Identifier: MIT
#include "foundation/cpu/avx512_intrinsics.h"
#include "foundation/crypto/bignum/montgomery_kernels.h"
#include "foundation/crypto/bignum/montgomery_kernels_list.h"

#if defined(__x86_64__)

#include <algorithm>

// Almost-Montgomery products of eight numbers side by side, in radix 2^52 with the AVX-512 IFMA
// instructions: digit i of all eight in one vector. No digit ever changes its lane, and no number
// waits for its own quotients while there are seven others, so that a square takes half of the
// digits' products and each instruction does its full share.
//
// Column by column (Koc, Acar and Kaliski, "Analyzing and comparing Montgomery multiplication
// algorithms", 1996, product scanning), but by blocks of four digits: the eight columns that two
// blocks' products fall into stay in registers.

#define VANTREL_IFMA __attribute__((target("avx512f,avx512dq,avx512ifma,bmi2")))
#define VANTREL_IFMA_STEP VANTREL_IFMA __attribute__((always_inline)) inline

namespace vantrel::crypto {
namespace {

constexpr std::size_t kLanes = kNumbersBeside;
constexpr std::size_t kBlock = kDigitsBeside;
constexpr std::size_t kBlockWords = kBlock * kLanes;

// A column sums up the halves of two products for each digit of x and of n, and a carry.
static_assert(4 * kMaxDigitsBeside + 1 < Limb{1} << (kLimbBits - 52));
static_assert(kIfmaMaxLimbs <= kMaxLimbsBeside);
using Columns = __m512i[2 * kBlock];
using Digits = __m512i[kBlock];

VANTREL_IFMA_STEP __m512i all(Limb value) noexcept {
    return _mm512_set1_epi64(static_cast<long long>(value));
}

VANTREL_IFMA_STEP void load(Digits& digits, const Limb* words) noexcept {
#pragma GCC unroll 4
    for (std::size_t i = 0; i < kBlock; ++i) {
        digits[i] = _mm512_load_si512(words + kLanes * i);
    }
}

// Digits of the modulus, which all numbers share.
VANTREL_IFMA_STEP void spread(Digits& digits, const Limb* words) noexcept {
#pragma GCC unroll 4
    for (std::size_t i = 0; i < kBlock; ++i) {
        digits[i] = all(words[i]);
    }
}

VANTREL_IFMA_STEP void addProduct(Columns& sum, std::size_t column, __m512i x, __m512i y) noexcept {
    sum[column] = _mm512_madd52lo_epu64(sum[column], x, y);
    sum[column + 1] = _mm512_madd52hi_epu64(sum[column + 1], x, y);
}

VANTREL_IFMA_STEP void addProducts(Columns& sum, const Digits& x, const Digits& y) noexcept {
#pragma GCC unroll 4
    for (std::size_t i = 0; i < kBlock; ++i) {
#pragma GCC unroll 4
        for (std::size_t j = 0; j < kBlock; ++j) {
            addProduct(sum, i + j, x[i], y[j]);
        }
    }
}

// sum := sum + the products of two blocks of x, of number `first` and above, whose numbers add up
// to `k`. What occurs twice is worked out once.
VANTREL_IFMA_STEP void addSquareBlocks(Columns& sum, const Limb* x, std::size_t k,
                                       std::size_t first) noexcept {
    Columns twice;
#pragma GCC unroll 8
    for (__m512i& column : twice) {
        column = _mm512_setzero_si512();
    }
    for (std::size_t i = first; 2 * i < k; ++i) {
        Digits xs;
        Digits ys;
        load(xs, x + kBlockWords * i);
        load(ys, x + kBlockWords * (k - i));
        addProducts(twice, xs, ys);
    }
    if (k % 2 == 0) {
        Digits xs;
        load(xs, x + kBlockWords * (k / 2));
#pragma GCC unroll 4
        for (std::size_t i = 0; i < kBlock; ++i) {
            addProduct(sum, 2 * i, xs[i], xs[i]);
#pragma GCC unroll 4
            for (std::size_t j = i + 1; j < kBlock; ++j) {
                addProduct(twice, i + j, xs[i], xs[j]);
            }
        }
    }
#pragma GCC unroll 8
    for (std::size_t i = 0; i < 2 * kBlock; ++i) {
        sum[i] = _mm512_add_epi64(sum[i], _mm512_slli_epi64(twice[i], 1));
    }
}

// q[4]: what n is to be multiplied with so that the lowest four columns of sum + q * n become zero.
// The products with the lowest block of n are added.
VANTREL_IFMA_STEP void clearLowest(Columns& sum, Limb* q, const Limb* n, __m512i negInverse,
                                   __m512i mask) noexcept {
    Digits ns;
    spread(ns, n);
#pragma GCC unroll 4
    for (std::size_t i = 0; i < kBlock; ++i) {
        const __m512i factor = _mm512_madd52lo_epu64(_mm512_setzero_si512(), sum[i], negInverse);
        _mm512_store_si512(q + kLanes * i, factor);
        // The product with the lowest digit fills 52 bits up to a carry, or they are zero.
        const __m512i carry = _mm512_srli_epi64(_mm512_add_epi64(sum[i], mask), 52);
        sum[i + 1] = _mm512_add_epi64(sum[i + 1], carry);
        sum[i + 1] = _mm512_madd52hi_epu64(sum[i + 1], factor, ns[0]);
#pragma GCC unroll 4
        for (std::size_t j = 1; j < kBlock; ++j) {
            addProduct(sum, i + j, factor, ns[j]);
        }
    }
}

// z[4]: the lowest four columns, each brought below 2^52; the next one takes the carry.
VANTREL_IFMA_STEP void storeLowest(Limb* z, Columns& sum, __m512i mask) noexcept {
#pragma GCC unroll 4
    for (std::size_t i = 0; i < kBlock; ++i) {
        _mm512_store_si512(z + kLanes * i, _mm512_and_si512(sum[i], mask));
        sum[i + 1] = _mm512_add_epi64(sum[i + 1], _mm512_srli_epi64(sum[i], 52));
    }
}

template <bool kSquare>
VANTREL_IFMA void multiplyColumns(Limb* z, const Limb* x, const Limb* y, const Limb* n,
                                  Limb negInverse, std::size_t blocks) noexcept {
    alignas(64) Limb q[kMaxDigitsBeside * kLanes];
    const __m512i inverse = all(negInverse);
    const __m512i mask = all((Limb{1} << 52) - 1);
    Columns sum;
#pragma GCC unroll 8
    for (__m512i& column : sum) {
        column = _mm512_setzero_si512();
    }
    for (std::size_t k = 0; k < 2 * blocks; ++k) {
        // The blocks of x and q with a partner among those of y and n.
        const std::size_t first = k < blocks ? 0 : k - blocks + 1;
        const std::size_t end = std::min(k + 1, blocks);
        if constexpr (kSquare) {
            // At the end only the carry is left.
            if (first < end) {
                addSquareBlocks(sum, x, k, first);
            }
        } else {
            for (std::size_t i = first; i < end; ++i) {
                Digits xs;
                Digits ys;
                load(xs, x + kBlockWords * i);
                load(ys, y + kBlockWords * (k - i));
                addProducts(sum, xs, ys);
            }
        }
        for (std::size_t i = first; i < std::min(k, blocks); ++i) {
            Digits factors;
            Digits ns;
            load(factors, q + kBlockWords * i);
            spread(ns, n + kBlock * (k - i));
            addProducts(sum, factors, ns);
        }
        if (k < blocks) {
            clearLowest(sum, q + kBlockWords * k, n, inverse, mask);
        } else {
            // z may be x or y: what is needed of them yet lies above.
            storeLowest(z + kBlockWords * (k - blocks), sum, mask);
        }
#pragma GCC unroll 4
        for (std::size_t i = 0; i < kBlock; ++i) {
            sum[i] = sum[i + kBlock];
            sum[i + kBlock] = _mm512_setzero_si512();
        }
    }
}

} // namespace

void montgomeryMultiplyBesideIfma(Limb* z, const Limb* x, const Limb* y, const Limb* n,
                                  Limb negInverse, std::size_t size) noexcept {
    multiplyColumns<false>(z, x, y, n, negInverse, size / kBlock);
}

void montgomerySquareBesideIfma(Limb* z, const Limb* x, const Limb* n, Limb negInverse,
                                std::size_t size) noexcept {
    multiplyColumns<true>(z, x, x, n, negInverse, size / kBlock);
}

} // namespace vantrel::crypto

#endif
