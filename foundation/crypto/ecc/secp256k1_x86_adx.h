// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_ECC_SECP256K1_X86_ADX_H
#define FOUNDATION_CRYPTO_ECC_SECP256K1_X86_ADX_H

#include "foundation/crypto/ecc/products_x86_adx.h"

#if defined(__x86_64__)

namespace vantrel::crypto {

// The field of secp256k1, plain numbers below p = 2^256 - c with c = 2^32 + 977.
class FieldSecp256k1Adx {
public:
    static constexpr std::size_t kLimbs = 4;
    using Element = FieldElement<4>;

    explicit FieldSecp256k1Adx(std::span<const Limb> /*p*/) noexcept {}

    [[nodiscard]] static const Element& one() noexcept { return kOne; }

    static void multiply(Element& z, const Element& x, const Element& y) noexcept {
        adx::Eight t;
        adx::multiply(t, x, y);
        reduce(z, t);
    }
    static void square(Element& z, const Element& x) noexcept {
        adx::Eight t;
        adx::square(t, x);
        reduce(z, t);
    }
    static void add(Element& z, const Element& x, const Element& y) noexcept {
        adx::add(z, x, y, kP);
    }
    static void subtract(Element& z, const Element& x, const Element& y) noexcept {
        adx::subtract(z, x, y, kP);
    }
    // z := 3 x, z := x / 2 and z := x - 2 y
    static void triple(Element& z, const Element& x) noexcept {
        Element twice;
        add(twice, x, x);
        add(z, twice, x);
    }
    static void halve(Element& z, const Element& x) noexcept { halveModulo(z, x, kP); }
    static void subtractTwice(Element& z, const Element& x, const Element& y) noexcept {
        subtract(z, x, y);
        subtract(z, z, y);
    }
    [[nodiscard]] static bool isZero(const Element& x) noexcept {
        return (x[0] | x[1] | x[2] | x[3]) == 0;
    }
    [[nodiscard]] static bool equal(const Element& x, const Element& y) noexcept { return x == y; }
    static void enter(Element& z, const Element& plain) noexcept { z = plain; }
    static void leave(Element& plain, const Element& x) noexcept { plain = x; }
    static void invert(Element& z, const Element& x) noexcept {
        if (!invertModulo(z, x, kP)) {
            z = {}; // x = 0 only
        }
    }

private:
    static constexpr Limb kC = 0x1000003d1;
    static constexpr Element kP = {0xfffffffefffffc2f, 0xffffffffffffffff, 0xffffffffffffffff,
                                   0xffffffffffffffff};
    static constexpr Element kOne = {1, 0, 0, 0};

    // z := t mod p: what stands above 2^256 comes down multiplied by c, twice; then the sum is
    // below 2^256 + c, and adding c once more tells whether it is below p.
    [[gnu::always_inline]] static void reduce(Element& z, adx::Eight& t) noexcept {
        Limb low;
        Limb high;
        Limb carry;
        // clang-format off
        __asm__(
            "movabsq %[constant], %%rdx\n\t"
            "xorl %k[c], %k[c]\n\t"
            "mulxq %[r4], %[lo], %[hi]\n\t"
            "adcxq %[lo], %[r0]\n\t"
            "adoxq %[hi], %[r1]\n\t"
            "mulxq %[r5], %[lo], %[hi]\n\t"
            "adcxq %[lo], %[r1]\n\t"
            "adoxq %[hi], %[r2]\n\t"
            "mulxq %[r6], %[lo], %[hi]\n\t"
            "adcxq %[lo], %[r2]\n\t"
            "adoxq %[hi], %[r3]\n\t"
            "mulxq %[r7], %[lo], %[hi]\n\t"
            "adcxq %[lo], %[r3]\n\t"
            "adoxq %[c], %[hi]\n\t"
            "adcxq %[c], %[hi]\n\t"

            "mulxq %[hi], %[lo], %[hi]\n\t"
            "addq %[lo], %[r0]\n\t"
            "adcq %[hi], %[r1]\n\t"
            "adcq $0, %[r2]\n\t"
            "adcq $0, %[r3]\n\t"
            "adcq $0, %[c]\n\t"

            "movq %[r0], %[r4]\n\t"
            "movq %[r1], %[r5]\n\t"
            "movq %[r2], %[r6]\n\t"
            "movq %[r3], %[r7]\n\t"
            "addq %%rdx, %[r4]\n\t"
            "adcq $0, %[r5]\n\t"
            "adcq $0, %[r6]\n\t"
            "adcq $0, %[r7]\n\t"
            "adcq $0, %[c]\n\t"
            "cmovneq %[r4], %[r0]\n\t"
            "cmovneq %[r5], %[r1]\n\t"
            "cmovneq %[r6], %[r2]\n\t"
            "cmovneq %[r7], %[r3]\n\t"
            : [r0] "+&r"(t.r0), [r1] "+&r"(t.r1), [r2] "+&r"(t.r2), [r3] "+&r"(t.r3),
              [r4] "+&r"(t.r4), [r5] "+&r"(t.r5), [r6] "+&r"(t.r6), [r7] "+&r"(t.r7),
              [lo] "=&r"(low), [hi] "=&r"(high), [c] "=&r"(carry)
            : [constant] "i"(kC)
            : "rdx", "cc");
        // clang-format on
        z = {t.r0, t.r1, t.r2, t.r3};
    }
};

} // namespace vantrel::crypto

#endif
#endif
