// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_ECC_IFMA_LANES_H
#define FOUNDATION_CRYPTO_ECC_IFMA_LANES_H

#include "foundation/cpu/avx512_intrinsics.h"
#include "foundation/crypto/ecc/ifma_sum.h"

#if defined(__x86_64__)

// Only for files whose whole name ends in _x86_ifma.cpp.
// Nothing in them depends on data but numbers; checks of each digit's address would make clang work
// for many minutes.
#if defined(__clang__)
#define VANTREL_IFMA_UNCHECKED no_sanitize("address", "undefined", "memory", "thread"),
#else
#define VANTREL_IFMA_UNCHECKED
#endif
#define VANTREL_IFMA                                                                               \
    __attribute__((VANTREL_IFMA_UNCHECKED target("avx2,avx512f,avx512vl,avx512ifma")))
// The small steps are compiled into the formulas, lest all digits go through memory between them.
#define VANTREL_IFMA_STEP VANTREL_IFMA __attribute__((always_inline)) static inline

// Four numbers side by side, one in each lane of a vector.
namespace vantrel::crypto::ifma {

constexpr int kWordBits = 52; // of the factors and of each half of a product
constexpr Limb kWordMask = (Limb{1} << kWordBits) - 1;

template <std::size_t kDigits> struct Quad { __m256i digit[kDigits]; };

VANTREL_IFMA_STEP __m256i all(Limb value) noexcept {
    return _mm256_set1_epi64x(static_cast<long long>(value));
}

template <std::size_t N> VANTREL_IFMA_STEP Quad<N> zeros() noexcept {
    Quad<N> z;
#pragma GCC unroll 16
    for (std::size_t i = 0; i < N; ++i) {
        z.digit[i] = _mm256_setzero_si256();
    }
    return z;
}

// z[i] := x[l_i], lane by lane.
template <int l0, int l1, int l2, int l3, std::size_t N>
VANTREL_IFMA_STEP Quad<N> lanes(const Quad<N>& x) noexcept {
    Quad<N> z;
#pragma GCC unroll 16
    for (std::size_t i = 0; i < N; ++i) {
        z.digit[i] = _mm256_permute4x64_epi64(x.digit[i], l0 | l1 << 2 | l2 << 4 | l3 << 6);
    }
    return z;
}
template <int lane, std::size_t N> VANTREL_IFMA_STEP Quad<N> everywhere(const Quad<N>& x) noexcept {
    return lanes<lane, lane, lane, lane>(x);
}

// (x0, x0, x2, x2) and (x1, x1, x3, x3): moves within the halves of a vector take one cycle, those
// between them several.
template <std::size_t N> VANTREL_IFMA_STEP Quad<N> evens(const Quad<N>& x) noexcept {
    Quad<N> z;
#pragma GCC unroll 16
    for (std::size_t i = 0; i < N; ++i) {
        z.digit[i] = _mm256_unpacklo_epi64(x.digit[i], x.digit[i]);
    }
    return z;
}
template <std::size_t N> VANTREL_IFMA_STEP Quad<N> odds(const Quad<N>& x) noexcept {
    Quad<N> z;
#pragma GCC unroll 16
    for (std::size_t i = 0; i < N; ++i) {
        z.digit[i] = _mm256_unpackhi_epi64(x.digit[i], x.digit[i]);
    }
    return z;
}

// x with some lanes of y.
template <int... lane, std::size_t N>
VANTREL_IFMA_STEP Quad<N> with(const Quad<N>& x, const Quad<N>& y) noexcept {
    Quad<N> z;
#pragma GCC unroll 16
    for (std::size_t i = 0; i < N; ++i) {
        z.digit[i] = _mm256_blend_epi32(x.digit[i], y.digit[i], (0 | ... | (3 << 2 * lane)));
    }
    return z;
}

template <std::size_t N>
VANTREL_IFMA_STEP Quad<N> sumOf(const Quad<N>& x, const Quad<N>& y) noexcept {
    Quad<N> z;
#pragma GCC unroll 16
    for (std::size_t i = 0; i < N; ++i) {
        z.digit[i] = _mm256_add_epi64(x.digit[i], y.digit[i]);
    }
    return z;
}

// Digit by digit, which may become negative.
template <std::size_t N>
VANTREL_IFMA_STEP Quad<N> differenceOf(const Quad<N>& x, const Quad<N>& y) noexcept {
    Quad<N> z;
#pragma GCC unroll 16
    for (std::size_t i = 0; i < N; ++i) {
        z.digit[i] = _mm256_sub_epi64(x.digit[i], y.digit[i]);
    }
    return z;
}

// x * 2^shift
template <int shift, std::size_t N> VANTREL_IFMA_STEP Quad<N> scaled(const Quad<N>& x) noexcept {
    Quad<N> z;
#pragma GCC unroll 16
    for (std::size_t i = 0; i < N; ++i) {
        z.digit[i] = _mm256_slli_epi64(x.digit[i], shift);
    }
    return z;
}

// 3 x
template <std::size_t N> VANTREL_IFMA_STEP Quad<N> tripled(const Quad<N>& x) noexcept {
    return sumOf(x, scaled<1>(x));
}

// The digits of x in the lanes where `sign` is zero, and the negated ones where it is all ones.
template <std::size_t N>
VANTREL_IFMA_STEP Quad<N> withSign(const Quad<N>& x, __m256i sign) noexcept {
    Quad<N> z;
#pragma GCC unroll 16
    for (std::size_t i = 0; i < N; ++i) {
        z.digit[i] = _mm256_sub_epi64(_mm256_xor_si256(x.digit[i], sign), sign);
    }
    return z;
}

template <std::size_t N> VANTREL_IFMA_STEP Quad<N> load(const IfmaNumbers<N>& x) noexcept {
    Quad<N> z;
#pragma GCC unroll 16
    for (std::size_t i = 0; i < N; ++i) {
        z.digit[i] = _mm256_load_si256(reinterpret_cast<const __m256i*>(x.rows[i].data()));
    }
    return z;
}
template <std::size_t N>
VANTREL_IFMA_STEP void store(IfmaNumbers<N>& z, const Quad<N>& x) noexcept {
#pragma GCC unroll 16
    for (std::size_t i = 0; i < N; ++i) {
        _mm256_store_si256(reinterpret_cast<__m256i*>(z.rows[i].data()), x.digit[i]);
    }
}

// (x, y, x, y)
template <std::size_t N> VANTREL_IFMA_STEP Quad<N> load(const IfmaPoint<N>& q) noexcept {
    Quad<N> z;
#pragma GCC unroll 16
    for (std::size_t i = 0; i < N; ++i) {
        z.digit[i] = _mm256_broadcastsi128_si256(
            _mm_load_si128(reinterpret_cast<const __m128i*>(q.rows[i].data())));
    }
    return z;
}

// The steps that fields in Montgomery form have in common: digits of 52 bits, whose carries run
// through.
template <std::size_t kDigits> struct MontgomerySteps {
    using Number = Quad<kDigits>;
    using Columns = Quad<2 * kDigits>;

    // x is not negative.
    VANTREL_IFMA_STEP Number carried(const Number& x) noexcept {
        Number z = x;
#pragma GCC unroll 16
        for (std::size_t i = 1; i < kDigits; ++i) {
            const __m256i carry = _mm256_srai_epi64(z.digit[i - 1], kWordBits);
            z.digit[i] = _mm256_add_epi64(z.digit[i], carry);
        }
        return z;
    }
    VANTREL_IFMA_STEP Number settled(const Number& x) noexcept { return x; }
    VANTREL_IFMA_STEP Number stored(const Number& x) noexcept {
        Number z;
#pragma GCC unroll 16
        for (std::size_t i = 0; i < kDigits; ++i) {
            z.digit[i] = _mm256_and_si256(x.digit[i], all(kWordMask));
        }
        return z;
    }
    template <int> VANTREL_IFMA_STEP Number difference(const Number& x, const Number& y) noexcept {
        return differenceOf(x, y);
    }

protected:
    // What a row of a product adds to the columns of its low and high halves.
    VANTREL_IFMA_STEP void addRow(Columns& low, Columns& high, const Number& x, const Number& y,
                                  std::size_t row) noexcept {
#pragma GCC unroll 16
        for (std::size_t j = 0; j < kDigits; ++j) {
            const std::size_t at = row + j;
            low.digit[at] = _mm256_madd52lo_epu64(low.digit[at], x.digit[row], y.digit[j]);
            high.digit[at + 1] =
                _mm256_madd52hi_epu64(high.digit[at + 1], x.digit[row], y.digit[j]);
        }
    }
    // The columns that are left when the lower ones have been made zero.
    VANTREL_IFMA_STEP Number upperHalf(const Columns& low, const Columns& high) noexcept {
        Number z;
#pragma GCC unroll 16
        for (std::size_t i = 0; i < kDigits; ++i) {
            z.digit[i] = _mm256_add_epi64(low.digit[kDigits + i], high.digit[kDigits + i]);
        }
        return z;
    }
};

} // namespace vantrel::crypto::ifma

#endif
#endif
