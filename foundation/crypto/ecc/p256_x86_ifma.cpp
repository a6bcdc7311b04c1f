// SPDX-License-Identifier: MIT
#include "foundation/crypto/ecc/ifma_fields.h"
#include "foundation/crypto/ecc/ifma_formulas.h"

#if defined(__x86_64__)

namespace vantrel::crypto {

using namespace ifma;

// Numbers modulo p = 2^256 - 2^224 + 2^192 + 2^96 - 1 in five digits of 52 bits, in Montgomery form
// with R = 2^260. Sums have signed digits of at most 62 bits; a factor is below 2^257 + 2^250, and
// of its digits the low 52 bits count.
struct P256Lanes::Steps {
    using Number = Quad<kDigits>;

    // x * y / R below 1.3 p, in digits below 2^57: a column sums up to 9 halves of products and
    // what up to 5 rows of the reduction add.
    VANTREL_IFMA_STEP Number multiply(const Number& x, const Number& y) noexcept {
        const __m256i mask = all(kWordMask);
        __m256i low[2 * kDigits];
        __m256i high[2 * kDigits];
#pragma GCC unroll 16
        for (std::size_t i = 0; i < 2 * kDigits; ++i) {
            low[i] = _mm256_setzero_si256();
            high[i] = _mm256_setzero_si256();
        }
#pragma GCC unroll 16
        for (std::size_t i = 0; i < kDigits; ++i) {
#pragma GCC unroll 16
            for (std::size_t j = 0; j < kDigits; ++j) {
                low[i + j] = _mm256_madd52lo_epu64(low[i + j], x.digit[i], y.digit[j]);
                high[i + j + 1] = _mm256_madd52hi_epu64(high[i + j + 1], x.digit[i], y.digit[j]);
            }
            // -1/p is 1 modulo 2^52, so that the multiple of p to be added is t itself; its 2^96
            // goes to the next two digits.
            const __m256i t = _mm256_add_epi64(low[i], high[i]);
            const __m256i carry = _mm256_srli_epi64(t, kWordBits);
            const __m256i shifted = _mm256_and_si256(_mm256_slli_epi64(t, 44), mask);
            high[i + 1] = _mm256_add_epi64(_mm256_add_epi64(high[i + 1], carry), shifted);
            high[i + 2] = _mm256_madd52hi_epu64(high[i + 2], t, all(Limb{1} << 44));
            low[i + 3] = _mm256_madd52lo_epu64(low[i + 3], t, all(kThirdDigit));
            high[i + 4] = _mm256_madd52hi_epu64(high[i + 4], t, all(kThirdDigit));
            low[i + 4] = _mm256_madd52lo_epu64(low[i + 4], t, all(kFourthDigit));
            high[i + 5] = _mm256_madd52hi_epu64(high[i + 5], t, all(kFourthDigit));
        }
        Number z;
#pragma GCC unroll 16
        for (std::size_t i = 0; i < kDigits; ++i) {
            z.digit[i] = _mm256_add_epi64(low[kDigits + i], high[kDigits + i]);
        }
        return z;
    }

    // Carries run through; x is not negative.
    VANTREL_IFMA_STEP Number carried(const Number& x) noexcept {
        Number z = x;
#pragma GCC unroll 16
        for (std::size_t i = 1; i < kDigits; ++i) {
            const __m256i carry = _mm256_srai_epi64(z.digit[i - 1], kWordBits);
            z.digit[i] = _mm256_add_epi64(z.digit[i], carry);
        }
        return z;
    }

    // What exceeds 2^256 comes down as 2^224 - 2^192 - 2^96 + 1, less one p, lest what the lower
    // digits borrow make the number negative; then carries run through.
    VANTREL_IFMA_STEP Number reduced(const Number& x) noexcept {
        constexpr int kTopBits = 48;
        const __m256i top = _mm256_sub_epi64(_mm256_srai_epi64(x.digit[4], kTopBits), all(1));
        Number z;
        z.digit[0] = _mm256_add_epi64(x.digit[0], top);
        z.digit[1] = _mm256_sub_epi64(x.digit[1], _mm256_slli_epi64(top, 44));
        z.digit[2] = x.digit[2];
        z.digit[3] = _mm256_sub_epi64(x.digit[3], _mm256_slli_epi64(top, 36));
        const __m256i rest = _mm256_sub_epi64(x.digit[4], _mm256_slli_epi64(top, kTopBits));
        z.digit[4] = _mm256_add_epi64(rest, _mm256_slli_epi64(top, 16));
        return carried(z);
    }
    VANTREL_IFMA_STEP Number factor(const Number& x) noexcept { return reduced(x); }
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
    VANTREL_IFMA_STEP Number negated(const Number& x, __m256i sign) noexcept {
        return reduced(withSign(x, sign));
    }
    VANTREL_IFMA_STEP Number one() noexcept {
        return {all(0x10), all(0xf000000000000), all(0xfffffffffffff), all(0xffeffffffffff),
                all(0xfffff)};
    }

private:
    // p has these digits behind its 2^96 - 1.
    static constexpr Limb kThirdDigit = Limb{1} << 36;
    static constexpr Limb kFourthDigit = (Limb{1} << 48) - (Limb{1} << 16);
};

template class IfmaSum<P256Lanes>;

} // namespace vantrel::crypto

#endif
