// SPDX-License-Identifier: MIT
#include "foundation/crypto/ecc/ifma_fields.h"
#include "foundation/crypto/ecc/ifma_formulas.h"

#if defined(__x86_64__)

namespace vantrel::crypto {

using namespace ifma;

// Numbers modulo p = 2^384 - 2^128 - 2^96 + 2^32 - 1 in eight digits of 52 bits, in Montgomery form
// with R = 2^416. Sums have signed digits of at most 62 bits and stay between -32 p and 32 p; a
// factor is below 128 p, and of its digits the low 52 bits count.
struct P384Lanes::Steps : MontgomerySteps<P384Lanes::kDigits> {
    // x * y / R below 1.01 p, in digits below 2^57: a column sums up to 15 halves of products and
    // what the rows of the reduction add, which may be negative. A function of its own: in seven
    // copies it would take more than the caches of instructions hold.
    VANTREL_IFMA __attribute__((noinline)) static Number multiply(const Number& x,
                                                                  const Number& y) noexcept {
        const __m256i mask = all(kWordMask);
        Columns low = zeros<2 * kDigits>();
        Columns high = zeros<2 * kDigits>();
#pragma GCC unroll 16
        for (std::size_t i = 0; i < kDigits; ++i) {
            addRow(low, high, x, y, i);
            // -1/p is 2^32 + 1 modulo 2^52. The lowest digit of q * p fills t up to a multiple of
            // 2^52; its 2^96 and 2^128 are subtracted from the next three digits.
            const __m256i t = _mm256_add_epi64(low.digit[i], high.digit[i]);
            const __m256i q = _mm256_add_epi64(t, _mm256_slli_epi64(t, 32));
            const __m256i low52 = _mm256_and_si256(q, mask);
            const __m256i carry = _mm256_srai_epi64(_mm256_add_epi64(t, mask), kWordBits);
            const __m256i less1 = _mm256_and_si256(_mm256_slli_epi64(t, 44), mask);
            const __m256i less2 = _mm256_add_epi64(
                _mm256_srli_epi64(low52, 8), _mm256_and_si256(_mm256_slli_epi64(q, 24), mask));
            const __m256i less3 = _mm256_srli_epi64(low52, 28);
            low.digit[i + 1] = _mm256_add_epi64(low.digit[i + 1], _mm256_sub_epi64(carry, less1));
            high.digit[i + 1] =
                _mm256_madd52hi_epu64(high.digit[i + 1], q, all((Limb{1} << 32) - 1));
            high.digit[i + 2] = _mm256_sub_epi64(high.digit[i + 2], less2);
            high.digit[i + 3] = _mm256_sub_epi64(high.digit[i + 3], less3);
            low.digit[i + 7] = _mm256_madd52lo_epu64(low.digit[i + 7], q, all(Limb{1} << 20));
            high.digit[i + 8] = _mm256_madd52hi_epu64(high.digit[i + 8], q, all(Limb{1} << 20));
        }
        return upperHalf(low, high);
    }

    VANTREL_IFMA_STEP Number reduced(const Number& x) noexcept {
        return plusPrimes<32>(x, all(~Limb{0}));
    }
    VANTREL_IFMA_STEP Number factor(const Number& x) noexcept { return reduced(x); }
    VANTREL_IFMA_STEP Number negated(const Number& x, __m256i sign) noexcept {
        return plusPrimes<64>(withSign(x, sign), sign);
    }
    VANTREL_IFMA_STEP Number one() noexcept {
        Number z = zeros<kDigits>();
        z.digit[0] = all(Limb{1} << 32);
        z.digit[1] = all((Limb{1} << 52) - (Limb{1} << 12));
        z.digit[2] = all((Limb{1} << 24) - 1);
        z.digit[3] = all(Limb{1} << 4);
        return z;
    }

private:
    // x + kTimes * p in the lanes where `mask` is all ones, with carries.
    template <int kTimes>
    VANTREL_IFMA_STEP Number plusPrimes(const Number& x, __m256i mask) noexcept {
        constexpr Limb kP = kTimes;
        Number z = x;
        z.digit[0] = _mm256_add_epi64(z.digit[0], _mm256_and_si256(mask, all((kP << 32) - kP)));
        z.digit[1] = _mm256_sub_epi64(z.digit[1], _mm256_and_si256(mask, all(kP << 44)));
        z.digit[2] = _mm256_sub_epi64(z.digit[2], _mm256_and_si256(mask, all(kP << 24)));
        z.digit[7] = _mm256_add_epi64(z.digit[7], _mm256_and_si256(mask, all(kP << 20)));
        return carried(z);
    }
};

template class IfmaSum<P384Lanes>;

} // namespace vantrel::crypto

#endif
