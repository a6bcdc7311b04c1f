// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_ECC_PRODUCTS_X86_ADX_H
#define FOUNDATION_CRYPTO_ECC_PRODUCTS_X86_ADX_H

#include "foundation/crypto/ecc/field.h"

#if defined(__x86_64__)

// Building blocks for fields of four limbs, with the BMI2 and ADX instructions: two carry chains
// at once (adcx and adox), which compilers do not make of portable code. Only for processors that
// have cpu::Feature::Bmi2 and cpu::Feature::Adx.
namespace vantrel::crypto::adx {

using Four = FieldElement<4>;

// Eight limbs in registers: a product of two four-limb numbers.
struct Eight {
    Limb r0, r1, r2, r3, r4, r5, r6, r7;
};

// t := x * y
[[gnu::always_inline]] inline void multiply(Eight& t, const Four& x, const Four& y) noexcept {
    Limb low;
    Limb high;
    const Limb* const xs = x.data();
    const Limb* const ys = y.data();
    // clang-format off
    __asm__(
        "movq 0(%[x]), %%rdx\n\t"
        "mulxq 0(%[y]), %[r0], %[r1]\n\t"
        "mulxq 8(%[y]), %[lo], %[r2]\n\t"
        "addq %[lo], %[r1]\n\t"
        "mulxq 16(%[y]), %[lo], %[r3]\n\t"
        "adcq %[lo], %[r2]\n\t"
        "mulxq 24(%[y]), %[lo], %[r4]\n\t"
        "adcq %[lo], %[r3]\n\t"
        "adcq $0, %[r4]\n\t"

        "movq 8(%[x]), %%rdx\n\t"
        "xorl %k[r5], %k[r5]\n\t"
        "mulxq 0(%[y]), %[lo], %[hi]\n\t"
        "adcxq %[lo], %[r1]\n\t"
        "adoxq %[hi], %[r2]\n\t"
        "mulxq 8(%[y]), %[lo], %[hi]\n\t"
        "adcxq %[lo], %[r2]\n\t"
        "adoxq %[hi], %[r3]\n\t"
        "mulxq 16(%[y]), %[lo], %[hi]\n\t"
        "adcxq %[lo], %[r3]\n\t"
        "adoxq %[hi], %[r4]\n\t"
        "mulxq 24(%[y]), %[lo], %[hi]\n\t"
        "adcxq %[lo], %[r4]\n\t"
        "adoxq %[r5], %[hi]\n\t"
        "adcq %[hi], %[r5]\n\t"

        "movq 16(%[x]), %%rdx\n\t"
        "xorl %k[r6], %k[r6]\n\t"
        "mulxq 0(%[y]), %[lo], %[hi]\n\t"
        "adcxq %[lo], %[r2]\n\t"
        "adoxq %[hi], %[r3]\n\t"
        "mulxq 8(%[y]), %[lo], %[hi]\n\t"
        "adcxq %[lo], %[r3]\n\t"
        "adoxq %[hi], %[r4]\n\t"
        "mulxq 16(%[y]), %[lo], %[hi]\n\t"
        "adcxq %[lo], %[r4]\n\t"
        "adoxq %[hi], %[r5]\n\t"
        "mulxq 24(%[y]), %[lo], %[hi]\n\t"
        "adcxq %[lo], %[r5]\n\t"
        "adoxq %[r6], %[hi]\n\t"
        "adcq %[hi], %[r6]\n\t"

        "movq 24(%[x]), %%rdx\n\t"
        "xorl %k[r7], %k[r7]\n\t"
        "mulxq 0(%[y]), %[lo], %[hi]\n\t"
        "adcxq %[lo], %[r3]\n\t"
        "adoxq %[hi], %[r4]\n\t"
        "mulxq 8(%[y]), %[lo], %[hi]\n\t"
        "adcxq %[lo], %[r4]\n\t"
        "adoxq %[hi], %[r5]\n\t"
        "mulxq 16(%[y]), %[lo], %[hi]\n\t"
        "adcxq %[lo], %[r5]\n\t"
        "adoxq %[hi], %[r6]\n\t"
        "mulxq 24(%[y]), %[lo], %[hi]\n\t"
        "adcxq %[lo], %[r6]\n\t"
        "adoxq %[r7], %[hi]\n\t"
        "adcq %[hi], %[r7]\n\t"
        : [r0] "=&r"(t.r0), [r1] "=&r"(t.r1), [r2] "=&r"(t.r2), [r3] "=&r"(t.r3),
          [r4] "=&r"(t.r4), [r5] "=&r"(t.r5), [r6] "=&r"(t.r6), [r7] "=&r"(t.r7),
          [lo] "=&r"(low), [hi] "=&r"(high)
        : [x] "r"(xs), [y] "r"(ys)
        : "rdx", "cc", "memory");
    // clang-format on
}

// t := x * x
[[gnu::always_inline]] inline void square(Eight& t, const Four& x) noexcept {
    Limb low;
    Limb high;
    const Limb* const xs = x.data();
    // clang-format off
    __asm__(
        // the six products of two different limbs
        "movq 0(%[x]), %%rdx\n\t"
        "mulxq 8(%[x]), %[r1], %[r2]\n\t"
        "mulxq 16(%[x]), %[lo], %[r3]\n\t"
        "addq %[lo], %[r2]\n\t"
        "mulxq 24(%[x]), %[lo], %[r4]\n\t"
        "adcq %[lo], %[r3]\n\t"
        "adcq $0, %[r4]\n\t"
        "movq 8(%[x]), %%rdx\n\t"
        "xorl %k[r5], %k[r5]\n\t"
        "mulxq 16(%[x]), %[lo], %[hi]\n\t"
        "adcxq %[lo], %[r3]\n\t"
        "adoxq %[hi], %[r4]\n\t"
        "mulxq 24(%[x]), %[lo], %[hi]\n\t"
        "adcxq %[lo], %[r4]\n\t"
        "adoxq %[r5], %[hi]\n\t"
        "adcq %[hi], %[r5]\n\t"
        "movq 16(%[x]), %%rdx\n\t"
        "mulxq 24(%[x]), %[lo], %[r6]\n\t"
        "addq %[lo], %[r5]\n\t"
        "adcq $0, %[r6]\n\t"
        // twice that, and the four squares
        "xorl %k[r7], %k[r7]\n\t"
        "movq 0(%[x]), %%rdx\n\t"
        "mulxq %%rdx, %[r0], %[hi]\n\t"
        "adcxq %[r1], %[r1]\n\t"
        "adoxq %[hi], %[r1]\n\t"
        "movq 8(%[x]), %%rdx\n\t"
        "mulxq %%rdx, %[lo], %[hi]\n\t"
        "adcxq %[r2], %[r2]\n\t"
        "adoxq %[lo], %[r2]\n\t"
        "adcxq %[r3], %[r3]\n\t"
        "adoxq %[hi], %[r3]\n\t"
        "movq 16(%[x]), %%rdx\n\t"
        "mulxq %%rdx, %[lo], %[hi]\n\t"
        "adcxq %[r4], %[r4]\n\t"
        "adoxq %[lo], %[r4]\n\t"
        "adcxq %[r5], %[r5]\n\t"
        "adoxq %[hi], %[r5]\n\t"
        "movq 24(%[x]), %%rdx\n\t"
        "mulxq %%rdx, %[lo], %[hi]\n\t"
        "adcxq %[r6], %[r6]\n\t"
        "adoxq %[lo], %[r6]\n\t"
        "adcxq %[r7], %[r7]\n\t"
        "adoxq %[hi], %[r7]\n\t"
        : [r0] "=&r"(t.r0), [r1] "=&r"(t.r1), [r2] "=&r"(t.r2), [r3] "=&r"(t.r3),
          [r4] "=&r"(t.r4), [r5] "=&r"(t.r5), [r6] "=&r"(t.r6), [r7] "=&r"(t.r7),
          [lo] "=&r"(low), [hi] "=&r"(high)
        : [x] "r"(xs)
        : "rdx", "cc", "memory");
    // clang-format on
}

// z := x + y mod p. p and its limbs are constants of the caller.
[[gnu::always_inline]] inline void add(Four& z, const Four& x, const Four& y,
                                       const Four& p) noexcept {
    Limb a0 = x[0];
    Limb a1 = x[1];
    Limb a2 = x[2];
    Limb a3 = x[3];
    Limb carry;
    Limb b0;
    Limb b1;
    Limb b2;
    Limb b3;
    // clang-format off
    __asm__(
        "xorl %k[c], %k[c]\n\t"
        "addq 0(%[y]), %[a0]\n\t"
        "adcq 8(%[y]), %[a1]\n\t"
        "adcq 16(%[y]), %[a2]\n\t"
        "adcq 24(%[y]), %[a3]\n\t"
        "adcq $0, %[c]\n\t"
        "movq %[a0], %[b0]\n\t"
        "movq %[a1], %[b1]\n\t"
        "movq %[a2], %[b2]\n\t"
        "movq %[a3], %[b3]\n\t"
        "subq 0(%[p]), %[b0]\n\t"
        "sbbq 8(%[p]), %[b1]\n\t"
        "sbbq 16(%[p]), %[b2]\n\t"
        "sbbq 24(%[p]), %[b3]\n\t"
        "sbbq $0, %[c]\n\t"
        "cmovncq %[b0], %[a0]\n\t"
        "cmovncq %[b1], %[a1]\n\t"
        "cmovncq %[b2], %[a2]\n\t"
        "cmovncq %[b3], %[a3]\n\t"
        : [a0] "+&r"(a0), [a1] "+&r"(a1), [a2] "+&r"(a2), [a3] "+&r"(a3), [c] "=&r"(carry),
          [b0] "=&r"(b0), [b1] "=&r"(b1), [b2] "=&r"(b2), [b3] "=&r"(b3)
        : [y] "r"(y.data()), [p] "r"(p.data())
        : "cc", "memory");
    // clang-format on
    z = {a0, a1, a2, a3};
}

// z := x - y mod p
[[gnu::always_inline]] inline void subtract(Four& z, const Four& x, const Four& y,
                                            const Four& p) noexcept {
    Limb a0 = x[0];
    Limb a1 = x[1];
    Limb a2 = x[2];
    Limb a3 = x[3];
    Limb zero;
    Limb b0;
    Limb b1;
    Limb b2;
    Limb b3;
    // clang-format off
    __asm__(
        "xorl %k[c], %k[c]\n\t"
        "movq 0(%[p]), %[b0]\n\t"
        "movq 8(%[p]), %[b1]\n\t"
        "movq 16(%[p]), %[b2]\n\t"
        "movq 24(%[p]), %[b3]\n\t"
        "subq 0(%[y]), %[a0]\n\t"
        "sbbq 8(%[y]), %[a1]\n\t"
        "sbbq 16(%[y]), %[a2]\n\t"
        "sbbq 24(%[y]), %[a3]\n\t"
        "cmovncq %[c], %[b0]\n\t"
        "cmovncq %[c], %[b1]\n\t"
        "cmovncq %[c], %[b2]\n\t"
        "cmovncq %[c], %[b3]\n\t"
        "addq %[b0], %[a0]\n\t"
        "adcq %[b1], %[a1]\n\t"
        "adcq %[b2], %[a2]\n\t"
        "adcq %[b3], %[a3]\n\t"
        : [a0] "+&r"(a0), [a1] "+&r"(a1), [a2] "+&r"(a2), [a3] "+&r"(a3), [c] "=&r"(zero),
          [b0] "=&r"(b0), [b1] "=&r"(b1), [b2] "=&r"(b2), [b3] "=&r"(b3)
        : [y] "r"(y.data()), [p] "r"(p.data())
        : "cc", "memory");
    // clang-format on
    z = {a0, a1, a2, a3};
}

} // namespace vantrel::crypto::adx

#endif
#endif
