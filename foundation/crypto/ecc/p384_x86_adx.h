// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_ECC_P384_X86_ADX_H
#define FOUNDATION_CRYPTO_ECC_P384_X86_ADX_H

#include "foundation/crypto/ecc/field.h"

#if defined(__x86_64__)

namespace vantrel::crypto {

// Elements in registers a0 to a5; t1 to t3 are scratch. p is known by its limbs, which are
// ffffffff, ffffffff00000000, fffffffffffffffe and three of all ones.

// a := a + (p & t1), for a mask t1 of zeros or ones; the carry stays in the flag.
#define VANTREL_P384_ADD_MASKED                                                                    \
    "movl %k[t1], %k[t2]\n\t"                                                                      \
    "movq %[t1], %[t3]\n\t"                                                                        \
    "shlq $32, %[t3]\n\t"                                                                          \
    "addq %[t2], %[a0]\n\t"                                                                        \
    "adcq %[t3], %[a1]\n\t"                                                                        \
    "leaq (%[t1], %[t1]), %[t2]\n\t"                                                               \
    "adcq %[t2], %[a2]\n\t"                                                                        \
    "adcq %[t1], %[a3]\n\t"                                                                        \
    "adcq %[t1], %[a4]\n\t"                                                                        \
    "adcq %[t1], %[a5]\n\t"

// a := a mod p, for a below 2p with its carry in the flag.
#define VANTREL_P384_REDUCE_ONCE                                                                   \
    "movl $0, %k[t1]\n\t"                                                                          \
    "adcq $0, %[t1]\n\t"                                                                           \
    "movl $-1, %k[t2]\n\t"                                                                         \
    "subq %[t2], %[a0]\n\t"                                                                        \
    "movabsq $0xffffffff00000000, %[t2]\n\t"                                                       \
    "sbbq %[t2], %[a1]\n\t"                                                                        \
    "sbbq $-2, %[a2]\n\t"                                                                          \
    "sbbq $-1, %[a3]\n\t"                                                                          \
    "sbbq $-1, %[a4]\n\t"                                                                          \
    "sbbq $-1, %[a5]\n\t"                                                                          \
    "sbbq $0, %[t1]\n\t" VANTREL_P384_ADD_MASKED

// Six limbs at `source` to or from the registers, by one instruction each.
#define VANTREL_P384_EACH(first, others, source, offset)                                           \
    first " " #offset "+0(%[" #source "]), %[a0]\n\t" others " " #offset "+8(%[" #source           \
          "]), %[a1]\n\t" others " " #offset "+16(%[" #source "]), %[a2]\n\t" others " " #offset   \
          "+24(%[" #source "]), %[a3]\n\t" others " " #offset "+32(%[" #source                     \
          "]), %[a4]\n\t" others " " #offset "+40(%[" #source "]), %[a5]\n\t"

// a, b := a + low, b + high of the next product rdx * y[offset]
#define VANTREL_P384_STEP(offset, a, b)                                                            \
    "mulxq " #offset "(%[y]), %[lo], %[hi]\n\t"                                                    \
    "adcxq %[lo], %[" #a "]\n\t"                                                                   \
    "adoxq %[hi], %[" #b "]\n\t"

// The same of a product rdx * x[offset].
#define VANTREL_P384_CROSS(offset, a, b)                                                           \
    "mulxq " #offset "(%[x]), %[lo], %[hi]\n\t"                                                    \
    "adcxq %[lo], %[" #a "]\n\t"                                                                   \
    "adoxq %[hi], %[" #b "]\n\t"

// The sum in r0 to r5 gains x[row] * y; its lowest limb is complete then and goes to t[row].
#define VANTREL_P384_ROW(offset, r0, r1, r2, r3, r4, r5, r6)                                       \
    "movq " #offset "(%[x]), %%rdx\n\t"                                                            \
    "xorl %k[" #r6 "], %k[" #r6 "]\n\t" VANTREL_P384_STEP(0, r0, r1) VANTREL_P384_STEP(8, r1, r2)  \
        VANTREL_P384_STEP(16, r2, r3) VANTREL_P384_STEP(24, r3, r4) VANTREL_P384_STEP(32, r4, r5)  \
            VANTREL_P384_STEP(40, r5, r6) "movl $0, %k[lo]\n\t"                                    \
                                          "adcxq %[lo], %[" #r6 "]\n\t"                            \
                                          "movq %[" #r0 "], " #offset "(%[t])\n\t"

// a0 to a5 := (a0 to a5 + q * p) / 2^64, with the highest limb in the register a0. -1/p is
// 2^32 + 1 modulo 2^64, and so is q by a0; what q * p has besides q * 2^384 is subtracted.
#define VANTREL_P384_FOLD(a0, a1, a2, a3, a4, a5)                                                  \
    "movq %[" #a0 "], %[t1]\n\t"                                                                   \
    "shlq $32, %[t1]\n\t"                                                                          \
    "addq %[t1], %[" #a0 "]\n\t"                                                                   \
    "movq %[" #a0 "], %[t2]\n\t"                                                                   \
    "shlq $32, %[t2]\n\t"                                                                          \
    "movq %[" #a0 "], %[t3]\n\t"                                                                   \
    "shrq $32, %[t3]\n\t"                                                                          \
    "movq %[" #a0 "], %[t1]\n\t"                                                                   \
    "cmpq %[t2], %[" #a0 "]\n\t"                                                                   \
    "sbbq %[t3], %[t2]\n\t"                                                                        \
    "sbbq $0, %[t1]\n\t"                                                                           \
    "addq %[t3], %[t1]\n\t"                                                                        \
    "movl $0, %k[t3]\n\t"                                                                          \
    "adcq $0, %[t3]\n\t"                                                                           \
    "subq %[t2], %[" #a1 "]\n\t"                                                                   \
    "sbbq %[t1], %[" #a2 "]\n\t"                                                                   \
    "sbbq %[t3], %[" #a3 "]\n\t"                                                                   \
    "sbbq $0, %[" #a4 "]\n\t"                                                                      \
    "sbbq $0, %[" #a5 "]\n\t"                                                                      \
    "sbbq $0, %[" #a0 "]\n\t"

// a := 2a + b, with both carries.
#define VANTREL_P384_TWICE_AND(a, b)                                                               \
    "adcxq %[" #a "], %[" #a "]\n\t"                                                               \
    "adoxq %[" #b "], %[" #a "]\n\t"

// Two limbs of t, which gain the square of one of x.
#define VANTREL_P384_TWO_LIMBS(offset, first, second)                                              \
    "movq " #offset "(%[x]), %%rdx\n\t"                                                            \
    "mulxq %%rdx, %[lo], %[hi]\n\t"                                                                \
    "movq " #first "(%[t]), %[r5]\n\t" VANTREL_P384_TWICE_AND(                                     \
        r5, lo) "movq %[r5], " #first "(%[t])\n\tmovq " #second                                    \
                "(%[t]), %[r6]\n\t" VANTREL_P384_TWICE_AND(r6, hi) "movq %[r6], " #second          \
                                                                   "(%[t])\n\t"

// The field of P-384 in Montgomery form (R = 2^384), p = 2^384 - 2^128 - 2^96 + 2^32 - 1, with the
// BMI2 and ADX instructions.
class FieldP384Adx {
public:
    static constexpr std::size_t kLimbs = 6;
    using Element = FieldElement<6>;

    explicit FieldP384Adx(std::span<const Limb> /*p*/) noexcept {}

    [[nodiscard]] static const Element& one() noexcept { return kOne; }

    // Not inlined: each of its two halves takes nearly every register.
    [[gnu::noinline]] static void multiply(Element& z, const Element& x,
                                           const Element& y) noexcept {
        std::array<Limb, 12> t;
        product(t, x, y);
        reduce(z, t);
    }
    [[gnu::noinline]] static void square(Element& z, const Element& x) noexcept {
        std::array<Limb, 12> t;
        square(t, x);
        reduce(z, t);
    }

    static void add(Element& z, const Element& x, const Element& y) noexcept {
        Limb a0, a1, a2, a3, a4, a5, t1, t2, t3;
        // clang-format off
        __asm__(
            VANTREL_P384_EACH("movq", "movq", x, 0)
            VANTREL_P384_EACH("addq", "adcq", y, 0)
            VANTREL_P384_REDUCE_ONCE
            : [a0] "=&r"(a0), [a1] "=&r"(a1), [a2] "=&r"(a2), [a3] "=&r"(a3), [a4] "=&r"(a4),
              [a5] "=&r"(a5), [t1] "=&r"(t1), [t2] "=&r"(t2), [t3] "=&r"(t3)
            : [x] "r"(x.data()), [y] "r"(y.data())
            : "cc", "memory");
        // clang-format on
        z = {a0, a1, a2, a3, a4, a5};
    }
    static void subtract(Element& z, const Element& x, const Element& y) noexcept {
        Limb a0, a1, a2, a3, a4, a5, t1, t2, t3;
        // clang-format off
        __asm__(
            VANTREL_P384_EACH("movq", "movq", x, 0)
            VANTREL_P384_EACH("subq", "sbbq", y, 0)
            "sbbq %[t1], %[t1]\n\t"
            VANTREL_P384_ADD_MASKED
            : [a0] "=&r"(a0), [a1] "=&r"(a1), [a2] "=&r"(a2), [a3] "=&r"(a3), [a4] "=&r"(a4),
              [a5] "=&r"(a5), [t1] "=&r"(t1), [t2] "=&r"(t2), [t3] "=&r"(t3)
            : [x] "r"(x.data()), [y] "r"(y.data())
            : "cc", "memory");
        // clang-format on
        z = {a0, a1, a2, a3, a4, a5};
    }
    // z := 3 x, z := x / 2 and z := x - 2 y
    static void triple(Element& z, const Element& x) noexcept {
        Element twice;
        add(twice, x, x);
        add(z, twice, x);
    }
    static void halve(Element& z, const Element& x) noexcept {
        Limb a0, a1, a2, a3, a4, a5, t1, t2, t3;
        // Odd ones become even by adding p.
        // clang-format off
        __asm__(
            VANTREL_P384_EACH("movq", "movq", x, 0)
            "movl %k[a0], %k[t1]\n\t"
            "andl $1, %k[t1]\n\t"
            "negq %[t1]\n\t"
            VANTREL_P384_ADD_MASKED
            "rcrq $1, %[a5]\n\t"
            "rcrq $1, %[a4]\n\t"
            "rcrq $1, %[a3]\n\t"
            "rcrq $1, %[a2]\n\t"
            "rcrq $1, %[a1]\n\t"
            "rcrq $1, %[a0]\n\t"
            : [a0] "=&r"(a0), [a1] "=&r"(a1), [a2] "=&r"(a2), [a3] "=&r"(a3), [a4] "=&r"(a4),
              [a5] "=&r"(a5), [t1] "=&r"(t1), [t2] "=&r"(t2), [t3] "=&r"(t3)
            : [x] "r"(x.data())
            : "cc", "memory");
        // clang-format on
        z = {a0, a1, a2, a3, a4, a5};
    }
    static void subtractTwice(Element& z, const Element& x, const Element& y) noexcept {
        subtract(z, x, y);
        subtract(z, z, y);
    }
    [[nodiscard]] static bool isZero(const Element& x) noexcept {
        return (x[0] | x[1] | x[2] | x[3] | x[4] | x[5]) == 0;
    }
    [[nodiscard]] static bool equal(const Element& x, const Element& y) noexcept { return x == y; }
    static void enter(Element& z, const Element& plain) noexcept { multiply(z, plain, kRSquared); }
    static void leave(Element& plain, const Element& x) noexcept { multiply(plain, x, {1}); }
    static void invert(Element& z, const Element& x) noexcept {
        Element plain;
        leave(plain, x);
        if (!invertModulo(plain, plain, kP)) {
            plain = {}; // x = 0 only
        }
        enter(z, plain);
    }

private:
    static constexpr Element kP = {0x00000000ffffffff, 0xffffffff00000000, 0xfffffffffffffffe,
                                   0xffffffffffffffff, 0xffffffffffffffff, 0xffffffffffffffff};
    static constexpr Element kOne = {0xffffffff00000001, 0x00000000ffffffff, 0x0000000000000001};
    static constexpr Element kRSquared = {0xfffffffe00000001, 0x0000000200000000,
                                          0xfffffffe00000000, 0x0000000200000000,
                                          0x0000000000000001};

    // t := x * y
    [[gnu::always_inline]] static void product(std::array<Limb, 12>& t, const Element& x,
                                               const Element& y) noexcept {
        Limb r0, r1, r2, r3, r4, r5, r6, low, high;
        // Its result goes to memory, of which the compiler knows nothing.
        // clang-format off
        __asm__ volatile(
            "xorl %k[r0], %k[r0]\n\t"
            "xorl %k[r1], %k[r1]\n\t"
            "xorl %k[r2], %k[r2]\n\t"
            "xorl %k[r3], %k[r3]\n\t"
            "xorl %k[r4], %k[r4]\n\t"
            "xorl %k[r5], %k[r5]\n\t"
            VANTREL_P384_ROW(0, r0, r1, r2, r3, r4, r5, r6)
            VANTREL_P384_ROW(8, r1, r2, r3, r4, r5, r6, r0)
            VANTREL_P384_ROW(16, r2, r3, r4, r5, r6, r0, r1)
            VANTREL_P384_ROW(24, r3, r4, r5, r6, r0, r1, r2)
            VANTREL_P384_ROW(32, r4, r5, r6, r0, r1, r2, r3)
            VANTREL_P384_ROW(40, r5, r6, r0, r1, r2, r3, r4)
            "movq %[r6], 48(%[t])\n\t"
            "movq %[r0], 56(%[t])\n\t"
            "movq %[r1], 64(%[t])\n\t"
            "movq %[r2], 72(%[t])\n\t"
            "movq %[r3], 80(%[t])\n\t"
            "movq %[r4], 88(%[t])\n\t"
            : [r0] "=&r"(r0), [r1] "=&r"(r1), [r2] "=&r"(r2), [r3] "=&r"(r3), [r4] "=&r"(r4),
              [r5] "=&r"(r5), [r6] "=&r"(r6), [lo] "=&r"(low), [hi] "=&r"(high)
            : [x] "r"(x.data()), [y] "r"(y.data()), [t] "r"(t.data())
            : "rdx", "cc", "memory");
        // clang-format on
    }

    // t := x * x: the products of two different limbs, and then twice that with the six squares.
    [[gnu::always_inline]] static void square(std::array<Limb, 12>& t, const Element& x) noexcept {
        Limb r1, r2, r3, r4, r5, r6, r7, low, high;
        // clang-format off
        __asm__ volatile(
            "movq 0(%[x]), %%rdx\n\t"
            "mulxq 8(%[x]), %[r1], %[r2]\n\t"
            "mulxq 16(%[x]), %[lo], %[r3]\n\t"
            "addq %[lo], %[r2]\n\t"
            "mulxq 24(%[x]), %[lo], %[r4]\n\t"
            "adcq %[lo], %[r3]\n\t"
            "mulxq 32(%[x]), %[lo], %[r5]\n\t"
            "adcq %[lo], %[r4]\n\t"
            "mulxq 40(%[x]), %[lo], %[r6]\n\t"
            "adcq %[lo], %[r5]\n\t"
            "adcq $0, %[r6]\n\t"
            "movq %[r1], 8(%[t])\n\t"
            "movq %[r2], 16(%[t])\n\t"

            "movq 8(%[x]), %%rdx\n\t"
            "xorl %k[r7], %k[r7]\n\t"
            VANTREL_P384_CROSS(16, r3, r4)
            VANTREL_P384_CROSS(24, r4, r5)
            VANTREL_P384_CROSS(32, r5, r6)
            VANTREL_P384_CROSS(40, r6, r7)
            "movl $0, %k[lo]\n\t"
            "adcxq %[lo], %[r7]\n\t"
            "movq %[r3], 24(%[t])\n\t"
            "movq %[r4], 32(%[t])\n\t"

            "movq 16(%[x]), %%rdx\n\t"
            "xorl %k[r1], %k[r1]\n\t"
            VANTREL_P384_CROSS(24, r5, r6)
            VANTREL_P384_CROSS(32, r6, r7)
            VANTREL_P384_CROSS(40, r7, r1)
            "movl $0, %k[lo]\n\t"
            "adcxq %[lo], %[r1]\n\t"
            "movq %[r5], 40(%[t])\n\t"
            "movq %[r6], 48(%[t])\n\t"

            "movq 24(%[x]), %%rdx\n\t"
            "xorl %k[r2], %k[r2]\n\t"
            VANTREL_P384_CROSS(32, r7, r1)
            VANTREL_P384_CROSS(40, r1, r2)
            "movl $0, %k[lo]\n\t"
            "adcxq %[lo], %[r2]\n\t"
            "movq 32(%[x]), %%rdx\n\t"
            "mulxq 40(%[x]), %[lo], %[r3]\n\t"
            "addq %[lo], %[r2]\n\t"
            "adcq $0, %[r3]\n\t"

            // the limbs 7 to 10 are in r7, r1, r2 and r3
            "movq 0(%[x]), %%rdx\n\t"
            "xorl %k[r4], %k[r4]\n\t"
            "mulxq %%rdx, %[lo], %[hi]\n\t"
            "movq %[lo], 0(%[t])\n\t"
            "movq 8(%[t]), %[r5]\n\t"
            VANTREL_P384_TWICE_AND(r5, hi)
            "movq %[r5], 8(%[t])\n\t"
            VANTREL_P384_TWO_LIMBS(8, 16, 24)
            VANTREL_P384_TWO_LIMBS(16, 32, 40)
            "movq 24(%[x]), %%rdx\n\t"
            "mulxq %%rdx, %[lo], %[hi]\n\t"
            "movq 48(%[t]), %[r5]\n\t"
            VANTREL_P384_TWICE_AND(r5, lo)
            VANTREL_P384_TWICE_AND(r7, hi)
            "movq 32(%[x]), %%rdx\n\t"
            "mulxq %%rdx, %[lo], %[hi]\n\t"
            VANTREL_P384_TWICE_AND(r1, lo)
            VANTREL_P384_TWICE_AND(r2, hi)
            "movq 40(%[x]), %%rdx\n\t"
            "mulxq %%rdx, %[lo], %[hi]\n\t"
            VANTREL_P384_TWICE_AND(r3, lo)
            "adcxq %[r4], %[hi]\n\t"
            "adoxq %[r4], %[hi]\n\t"
            "movq %[r5], 48(%[t])\n\t"
            "movq %[r7], 56(%[t])\n\t"
            "movq %[r1], 64(%[t])\n\t"
            "movq %[r2], 72(%[t])\n\t"
            "movq %[r3], 80(%[t])\n\t"
            "movq %[hi], 88(%[t])\n\t"
            : [r1] "=&r"(r1), [r2] "=&r"(r2), [r3] "=&r"(r3), [r4] "=&r"(r4),
              [r5] "=&r"(r5), [r6] "=&r"(r6), [r7] "=&r"(r7), [lo] "=&r"(low), [hi] "=&r"(high)
            : [x] "r"(x.data()), [t] "r"(t.data())
            : "rdx", "cc", "memory");
        // clang-format on
    }

    // z := t / R mod p: the lower half is folded limb by limb and added to the upper one.
    [[gnu::always_inline]] static void reduce(Element& z, const std::array<Limb, 12>& t) noexcept {
        Limb a0, a1, a2, a3, a4, a5, t1, t2, t3;
        // clang-format off
        __asm__(
            VANTREL_P384_EACH("movq", "movq", t, 0)
            VANTREL_P384_FOLD(a0, a1, a2, a3, a4, a5)
            VANTREL_P384_FOLD(a1, a2, a3, a4, a5, a0)
            VANTREL_P384_FOLD(a2, a3, a4, a5, a0, a1)
            VANTREL_P384_FOLD(a3, a4, a5, a0, a1, a2)
            VANTREL_P384_FOLD(a4, a5, a0, a1, a2, a3)
            VANTREL_P384_FOLD(a5, a0, a1, a2, a3, a4)
            VANTREL_P384_EACH("addq", "adcq", t, 48)
            VANTREL_P384_REDUCE_ONCE
            : [a0] "=&r"(a0), [a1] "=&r"(a1), [a2] "=&r"(a2), [a3] "=&r"(a3), [a4] "=&r"(a4),
                  [a5] "=&r"(a5), [t1] "=&r"(t1), [t2] "=&r"(t2), [t3] "=&r"(t3)
            : [t] "r"(t.data())
            : "cc", "memory");
        // clang-format on
        z = {a0, a1, a2, a3, a4, a5};
    }
};

#undef VANTREL_P384_TWO_LIMBS
#undef VANTREL_P384_TWICE_AND
#undef VANTREL_P384_CROSS
#undef VANTREL_P384_FOLD
#undef VANTREL_P384_ROW
#undef VANTREL_P384_STEP
#undef VANTREL_P384_EACH
#undef VANTREL_P384_REDUCE_ONCE
#undef VANTREL_P384_ADD_MASKED

} // namespace vantrel::crypto

#endif
#endif
