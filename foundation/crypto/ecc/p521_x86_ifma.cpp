// SPDX-License-Identifier: MIT
#include "foundation/crypto/ecc/ifma_fields.h"
#include "foundation/crypto/ecc/ifma_formulas.h"

#if defined(__x86_64__)

namespace vantrel::crypto {

using namespace ifma;

// Numbers modulo p = 2^521 - 1 in eleven digits of 48 bits, so that short sums are factors as they
// are: "reduced" digits are below 2^48 + 2^23.
struct P521Lanes::Steps {
    using Number = Quad<kDigits>;

    // x * y. Digits of x and y are below 2^52, and of each pair of lanes the products of two below
    // 2^99, so that no sum of a column exceeds 64 bits: 11 * (2^52 + 2^4 * 2^47) * (2^7 + 1).
    VANTREL_IFMA __attribute__((noinline)) static Number multiply(const Number& x,
                                                                  const Number& y) noexcept {
        const __m256i zero = _mm256_setzero_si256();
        Number sum;
        // The high halves of the last column, and of that eleven above; they belong one column up.
        __m256i highBefore = zero;
        __m256i highBeforeAbove = zero;
#pragma GCC unroll 16
        for (std::size_t k = 0; k < kDigits; ++k) {
            __m256i low = zero;
            __m256i high = zero;
            __m256i lowAbove = zero;
            __m256i highAbove = zero;
#pragma GCC unroll 16
            for (std::size_t i = 0; i < kDigits; ++i) {
                if (i <= k) {
                    low = _mm256_madd52lo_epu64(low, x.digit[i], y.digit[k - i]);
                    high = _mm256_madd52hi_epu64(high, x.digit[i], y.digit[k - i]);
                } else {
                    const std::size_t j = k + kDigits - i;
                    lowAbove = _mm256_madd52lo_epu64(lowAbove, x.digit[i], y.digit[j]);
                    highAbove = _mm256_madd52hi_epu64(highAbove, x.digit[i], y.digit[j]);
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

    // Carries move one place at once. Digits may have any 64 bits; they become reduced.
    VANTREL_IFMA_STEP Number reduced(const Number& x) noexcept {
        const __m256i mask = all((Limb{1} << kDigitBits) - 1);
        Number z;
        __m256i carry = _mm256_srli_epi64(x.digit[kDigits - 1], kDigitBits);
        carry = _mm256_slli_epi64(carry, kFoldBits);
#pragma GCC unroll 16
        for (std::size_t i = 0; i < kDigits; ++i) {
            z.digit[i] = _mm256_add_epi64(_mm256_and_si256(x.digit[i], mask), carry);
            carry = _mm256_srli_epi64(x.digit[i], kDigitBits);
        }
        return z;
    }
    VANTREL_IFMA_STEP Number carried(const Number& x) noexcept { return reduced(x); }
    VANTREL_IFMA_STEP Number factor(const Number& x) noexcept { return x; }
    VANTREL_IFMA_STEP Number settled(const Number& x) noexcept { return reduced(x); }
    VANTREL_IFMA_STEP Number stored(const Number& x) noexcept { return x; }

    // 2 k * 2^7 p is added: its digits are above the k * (2^48 + 2^23) that those of y can reach,
    // and those of the result are at most 2 k * 2^48 larger than those of x.
    template <int k>
    VANTREL_IFMA_STEP Number difference(const Number& x, const Number& y) noexcept {
        return differenceOf(sumOf(x, multipleOfPrime<2 * k>()), y);
    }
    VANTREL_IFMA_STEP Number negated(const Number& x, __m256i sign) noexcept {
        const Number prime = multipleOfPrime<2>();
        Number z = withSign(x, sign);
#pragma GCC unroll 16
        for (std::size_t i = 0; i < kDigits; ++i) {
            z.digit[i] = _mm256_add_epi64(z.digit[i], _mm256_and_si256(prime.digit[i], sign));
        }
        return z;
    }
    VANTREL_IFMA_STEP Number one() noexcept {
        Number z = zeros<kDigits>();
        z.digit[0] = all(1);
        return z;
    }

private:
    // 11 * 48 = 521 + 7: what stands above the eleventh digit comes down times 2^7.
    static constexpr int kFoldBits = 7;

    template <int times> VANTREL_IFMA_STEP Number multipleOfPrime() noexcept {
        constexpr Limb kHighest = Limb{times} << kDigitBits;
        Number z;
#pragma GCC unroll 16
        for (std::size_t i = 0; i < kDigits; ++i) {
            z.digit[i] = all(kHighest - (Limb{times} << (i == 0 ? kFoldBits : 0)));
#if defined(__clang__)
            // clang 14 would keep lanes that are unused in one sum, and lose those of another.
            __asm__("" : "+v"(z.digit[i]));
#endif
        }
        return z;
    }
};

template class IfmaSum<P521Lanes>;

} // namespace vantrel::crypto

#endif
