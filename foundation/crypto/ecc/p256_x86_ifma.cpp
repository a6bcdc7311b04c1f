// SPDX-License-Identifier: MIT
#include "foundation/crypto/ecc/ifma_fields.h"
#include "foundation/crypto/ecc/ifma_formulas.h"

#if defined(__x86_64__)

namespace vantrel::crypto {

using namespace ifma;

// Numbers modulo p = 2^256 - 2^224 + 2^192 + 2^96 - 1 in five digits of 52 bits, in Montgomery form
// with R = 2^260. Sums have signed digits of at most 62 bits; a factor is below 2^257 + 2^250, and
// of its digits the low 52 bits count.
struct P256Lanes::Steps : MontgomerySteps<P256Lanes::kDigits> {
    // x * y / R below 1.3 p, in digits below 2^57: a column sums up to 9 halves of products and
    // what up to 5 rows of the reduction add.
    VANTREL_IFMA_STEP Number multiply(const Number& x, const Number& y) noexcept {
        const __m256i mask = all(kWordMask);
        Columns low = zeros<2 * kDigits>();
        Columns high = zeros<2 * kDigits>();
#pragma GCC unroll 16
        for (std::size_t i = 0; i < kDigits; ++i) {
            addRow(low, high, x, y, i);
            // -1/p is 1 modulo 2^52, so that the multiple of p to be added is t itself; its 2^96
            // goes to the next two digits.
            const __m256i t = _mm256_add_epi64(low.digit[i], high.digit[i]);
            const __m256i carry = _mm256_srli_epi64(t, kWordBits);
            const __m256i shifted = _mm256_and_si256(_mm256_slli_epi64(t, 44), mask);
            high.digit[i + 1] =
                _mm256_add_epi64(_mm256_add_epi64(high.digit[i + 1], carry), shifted);
            high.digit[i + 2] = _mm256_madd52hi_epu64(high.digit[i + 2], t, all(Limb{1} << 44));
            low.digit[i + 3] = _mm256_madd52lo_epu64(low.digit[i + 3], t, all(kThirdDigit));
            high.digit[i + 4] = _mm256_madd52hi_epu64(high.digit[i + 4], t, all(kThirdDigit));
            low.digit[i + 4] = _mm256_madd52lo_epu64(low.digit[i + 4], t, all(kFourthDigit));
            high.digit[i + 5] = _mm256_madd52hi_epu64(high.digit[i + 5], t, all(kFourthDigit));
        }
        return upperHalf(low, high);
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
