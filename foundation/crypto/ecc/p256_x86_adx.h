// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_ECC_P256_X86_ADX_H
#define FOUNDATION_CRYPTO_ECC_P256_X86_ADX_H

#include "foundation/crypto/ecc/products_x86_adx.h"

#if defined(__x86_64__)

namespace vantrel::crypto {

// The field of P-256 in Montgomery form (R = 2^256), p = 2^256 - 2^224 + 2^192 + 2^96 - 1.
class FieldP256Adx {
public:
    static constexpr std::size_t kLimbs = 4;
    using Element = FieldElement<4>;

    explicit FieldP256Adx(std::span<const Limb> /*p*/) noexcept {}

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
    static void enter(Element& z, const Element& plain) noexcept { multiply(z, plain, kRSquared); }
    static void leave(Element& plain, const Element& x) noexcept { multiply(plain, x, {1}); }
    static void invert(Element& z, const Element& x) noexcept {
        Element plain;
        leave(plain, x);
        if (!invertModulo(plain, plain, kP)) {
            plain = {};
        }
        enter(z, plain);
    }

private:
    static constexpr Element kP = {0xffffffffffffffff, 0x00000000ffffffff, 0x0000000000000000,
                                   0xffffffff00000001};
    static constexpr Element kOne = {0x0000000000000001, 0xffffffff00000000, 0xffffffffffffffff,
                                     0x00000000fffffffe};
    static constexpr Element kRSquared = {0x0000000000000003, 0xfffffffbffffffff,
                                          0xfffffffffffffffe, 0x00000004fffffffd};

    // z := t / R mod p. -1/p is 1 modulo 2^64, so each q is the lowest limb itself; q * p is
    // q * (2^256 - 2^224 + 2^192) by one multiplication, and q * (2^96 - 1) by shifts.
    [[gnu::always_inline]] static void reduce(Element& z, adx::Eight& t) noexcept {
        Limb low;
        Limb high;
        Limb carry;
        // clang-format off
        __asm__(
            "movq %[p3], %%rdx\n\t"

            "movq %[r0], %[lo]\n\t"
            "shlq $32, %[lo]\n\t"
            "movq %[r0], %[hi]\n\t"
            "shrq $32, %[hi]\n\t"
            "addq %[lo], %[r1]\n\t"
            "adcq %[hi], %[r2]\n\t"
            "mulxq %[r0], %[lo], %[hi]\n\t"
            "adcq %[lo], %[r3]\n\t"
            "adcq $0, %[hi]\n\t"
            "movq %[hi], %[r0]\n\t" // to be added at r4

            "movq %[r1], %[lo]\n\t"
            "shlq $32, %[lo]\n\t"
            "movq %[r1], %[hi]\n\t"
            "shrq $32, %[hi]\n\t"
            "addq %[lo], %[r2]\n\t"
            "adcq %[hi], %[r3]\n\t"
            "mulxq %[r1], %[lo], %[hi]\n\t"
            "adcq %[lo], %[r0]\n\t"
            "adcq $0, %[hi]\n\t"
            "movq %[hi], %[r1]\n\t" // at r5

            "movq %[r2], %[lo]\n\t"
            "shlq $32, %[lo]\n\t"
            "movq %[r2], %[hi]\n\t"
            "shrq $32, %[hi]\n\t"
            "addq %[lo], %[r3]\n\t"
            "adcq %[hi], %[r0]\n\t"
            "mulxq %[r2], %[lo], %[hi]\n\t"
            "adcq %[lo], %[r1]\n\t"
            "adcq $0, %[hi]\n\t"
            "movq %[hi], %[r2]\n\t" // at r6

            "movq %[r3], %[lo]\n\t"
            "shlq $32, %[lo]\n\t"
            "movq %[r3], %[hi]\n\t"
            "shrq $32, %[hi]\n\t"
            "addq %[lo], %[r0]\n\t"
            "adcq %[hi], %[r1]\n\t"
            "mulxq %[r3], %[lo], %[hi]\n\t"
            "adcq %[lo], %[r2]\n\t"
            "adcq $0, %[hi]\n\t"

            "xorl %k[c], %k[c]\n\t"
            "addq %[r0], %[r4]\n\t"
            "adcq %[r1], %[r5]\n\t"
            "adcq %[r2], %[r6]\n\t"
            "adcq %[hi], %[r7]\n\t"
            "adcq $0, %[c]\n\t"

            "movq %[r4], %[r0]\n\t"
            "movq %[r5], %[r1]\n\t"
            "movq %[r6], %[r2]\n\t"
            "movq %[r7], %[r3]\n\t"
            "movl $0xffffffff, %k[lo]\n\t"
            "subq $-1, %[r0]\n\t"
            "sbbq %[lo], %[r1]\n\t"
            "sbbq $0, %[r2]\n\t"
            "sbbq %%rdx, %[r3]\n\t"
            "sbbq $0, %[c]\n\t"
            "cmovcq %[r4], %[r0]\n\t"
            "cmovcq %[r5], %[r1]\n\t"
            "cmovcq %[r6], %[r2]\n\t"
            "cmovcq %[r7], %[r3]\n\t"
            : [r0] "+&r"(t.r0), [r1] "+&r"(t.r1), [r2] "+&r"(t.r2), [r3] "+&r"(t.r3),
              [r4] "+&r"(t.r4), [r5] "+&r"(t.r5), [r6] "+&r"(t.r6), [r7] "+&r"(t.r7),
              [lo] "=&r"(low), [hi] "=&r"(high), [c] "=&r"(carry)
            : [p3] "m"(kP[3])
            : "rdx", "cc");
        // clang-format on
        z = {t.r0, t.r1, t.r2, t.r3};
    }
};

} // namespace vantrel::crypto

#endif
#endif
