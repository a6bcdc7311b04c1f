// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_ECC_MONTGOMERY_X86_ADX_H
#define FOUNDATION_CRYPTO_ECC_MONTGOMERY_X86_ADX_H

#include "foundation/crypto/ecc/field.h"

#if defined(__x86_64__)

namespace vantrel::crypto {

// Montgomery products of any prime of four or six limbs with the BMI2 and ADX instructions, for
// MontgomeryField. The rows of the product and of the reduction alternate; the sum stands in N + 2
// registers, whose roles move by one from row to row.
struct AdxProducts {
    template <std::size_t N>
    static void multiply(FieldElement<N>& z, const FieldElement<N>& x, const FieldElement<N>& y,
                         const MontgomeryPrime<N>& prime) noexcept;
    template <std::size_t N>
    static void square(FieldElement<N>& z, const FieldElement<N>& x,
                       const MontgomeryPrime<N>& prime) noexcept {
        multiply(z, x, x, prime);
    }
};

// a, b := a + low, b + high of the next product rdx * source[offset]
#define VANTREL_STEP(offset, source, a, b)                                                         \
    "mulxq " #offset "(%[" #source "]), %[lo], %[hi]\n\t"                                          \
    "adcxq %[lo], %[" #a "]\n\t"                                                                   \
    "adoxq %[hi], %[" #b "]\n\t"

// Both carries into the two registers above.
#define VANTREL_CARRIES(a, b)                                                                      \
    "movl $0, %k[lo]\n\t"                                                                          \
    "adcxq %[lo], %[" #a "]\n\t"                                                                   \
    "adoxq %[lo], %[" #b "]\n\t"                                                                   \
    "adcxq %[lo], %[" #b "]\n\t"

#define VANTREL_ROW4(offset, a0, a1, a2, a3, a4, a5)                                               \
    "movq " #offset "(%[x]), %%rdx\n\t"                                                            \
    "xorl %k[lo], %k[lo]\n\t" VANTREL_STEP(0, y, a0, a1) VANTREL_STEP(8, y, a1, a2)                \
        VANTREL_STEP(16, y, a2, a3) VANTREL_STEP(24, y, a3, a4)                                    \
            VANTREL_CARRIES(a4, a5) "movq 32(%[p]), %%rdx\n\t"                                     \
                                    "imulq %[" #a0 "], %%rdx\n\t"                                  \
                                    "xorl %k[lo], %k[lo]\n\t" VANTREL_STEP(0, p, a0, a1)           \
                                        VANTREL_STEP(8, p, a1, a2) VANTREL_STEP(16, p, a2, a3)     \
                                            VANTREL_STEP(24, p, a3, a4) VANTREL_CARRIES(a4, a5)

#define VANTREL_ROW6(offset, a0, a1, a2, a3, a4, a5, a6, a7)                                       \
    "movq " #offset "(%[x]), %%rdx\n\t"                                                            \
    "xorl %k[lo], %k[lo]\n\t" VANTREL_STEP(0, y, a0, a1) VANTREL_STEP(8, y, a1, a2)                \
        VANTREL_STEP(16, y, a2, a3) VANTREL_STEP(24, y, a3, a4) VANTREL_STEP(32, y, a4, a5)        \
            VANTREL_STEP(40, y, a5, a6)                                                            \
                VANTREL_CARRIES(a6, a7) "movq 48(%[p]), %%rdx\n\t"                                 \
                                        "imulq %[" #a0 "], %%rdx\n\t"                              \
                                        "xorl %k[lo], %k[lo]\n\t" VANTREL_STEP(0, p, a0, a1)       \
                                            VANTREL_STEP(8, p, a1, a2) VANTREL_STEP(16, p, a2, a3) \
                                                VANTREL_STEP(24, p, a3, a4)                        \
                                                    VANTREL_STEP(32, p, a4, a5)                    \
                                                        VANTREL_STEP(40, p, a5, a6)                \
                                                            VANTREL_CARRIES(a6, a7)

template <>
inline void AdxProducts::multiply<4>(FieldElement<4>& z, const FieldElement<4>& x,
                                     const FieldElement<4>& y,
                                     const MontgomeryPrime<4>& prime) noexcept {
    Limb r0;
    Limb r1;
    Limb r2;
    Limb r3;
    Limb r4;
    Limb r5;
    Limb low;
    Limb high;
    const Limb* const xs = x.data();
    const Limb* const ys = y.data();
    // After each row its lowest register is zero and becomes the highest of the next.
    // clang-format off
    __asm__(
        "xorl %k[r0], %k[r0]\n\t"
        "xorl %k[r1], %k[r1]\n\t"
        "xorl %k[r2], %k[r2]\n\t"
        "xorl %k[r3], %k[r3]\n\t"
        "xorl %k[r4], %k[r4]\n\t"
        "xorl %k[r5], %k[r5]\n\t"
        VANTREL_ROW4(0, r0, r1, r2, r3, r4, r5)
        VANTREL_ROW4(8, r1, r2, r3, r4, r5, r0)
        VANTREL_ROW4(16, r2, r3, r4, r5, r0, r1)
        VANTREL_ROW4(24, r3, r4, r5, r0, r1, r2)
        : [r0] "=&r"(r0), [r1] "=&r"(r1), [r2] "=&r"(r2), [r3] "=&r"(r3), [r4] "=&r"(r4),
          [r5] "=&r"(r5), [lo] "=&r"(low), [hi] "=&r"(high)
        : [x] "r"(xs), [y] "r"(ys), [p] "r"(&prime)
        : "rdx", "cc", "memory");
    // clang-format on
    z = {r4, r5, r0, r1};
    reduceOnce(z, r2, prime.p);
}

// Not inlined: it takes every register but one, which the code around it must not need.
template <>
[[gnu::noinline]] inline void AdxProducts::multiply<6>(FieldElement<6>& z, const FieldElement<6>& x,
                                                       const FieldElement<6>& y,
                                                       const MontgomeryPrime<6>& prime) noexcept {
    Limb r0;
    Limb r1;
    Limb r2;
    Limb r3;
    Limb r4;
    Limb r5;
    Limb r6;
    Limb r7;
    Limb low;
    Limb high;
    const Limb* const xs = x.data();
    const Limb* const ys = y.data();
    // clang-format off
    __asm__(
        "xorl %k[r0], %k[r0]\n\t"
        "xorl %k[r1], %k[r1]\n\t"
        "xorl %k[r2], %k[r2]\n\t"
        "xorl %k[r3], %k[r3]\n\t"
        "xorl %k[r4], %k[r4]\n\t"
        "xorl %k[r5], %k[r5]\n\t"
        "xorl %k[r6], %k[r6]\n\t"
        "xorl %k[r7], %k[r7]\n\t"
        VANTREL_ROW6(0, r0, r1, r2, r3, r4, r5, r6, r7)
        VANTREL_ROW6(8, r1, r2, r3, r4, r5, r6, r7, r0)
        VANTREL_ROW6(16, r2, r3, r4, r5, r6, r7, r0, r1)
        VANTREL_ROW6(24, r3, r4, r5, r6, r7, r0, r1, r2)
        VANTREL_ROW6(32, r4, r5, r6, r7, r0, r1, r2, r3)
        VANTREL_ROW6(40, r5, r6, r7, r0, r1, r2, r3, r4)
        : [r0] "=&r"(r0), [r1] "=&r"(r1), [r2] "=&r"(r2), [r3] "=&r"(r3), [r4] "=&r"(r4),
          [r5] "=&r"(r5), [r6] "=&r"(r6), [r7] "=&r"(r7), [lo] "=&r"(low), [hi] "=&r"(high)
        : [x] "r"(xs), [y] "r"(ys), [p] "r"(&prime)
        : "rdx", "cc", "memory");
    // clang-format on
    z = {r6, r7, r0, r1, r2, r3};
    reduceOnce(z, r4, prime.p);
}

#undef VANTREL_ROW6
#undef VANTREL_ROW4
#undef VANTREL_CARRIES
#undef VANTREL_STEP

} // namespace vantrel::crypto

#endif
#endif
