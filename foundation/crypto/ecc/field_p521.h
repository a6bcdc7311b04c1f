// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_ECC_FIELD_P521_H
#define FOUNDATION_CRYPTO_ECC_FIELD_P521_H

#include "foundation/crypto/bignum/inverse.h"
#include "foundation/crypto/bignum/limbs.h"

#include <array>
#include <cstddef>
#include <span>

namespace vantrel::crypto {

// The field of P-521, p = 2^521 - 1, in nine digits of 58 bits: products of digits are summed in
// 128 bits without carries, and since 9 * 58 = 522, what stands above the ninth digit comes down
// doubled. Digits are loosely reduced (at most 2^58 + 2^6), so that an element has several forms;
// `equal` and `isZero` compare values. Portable.
class FieldP521 {
public:
    static constexpr std::size_t kLimbs = 9;
    using Element = std::array<Limb, kLimbs>;

    explicit FieldP521(std::span<const Limb> /*p*/) noexcept {}

    [[nodiscard]] static const Element& one() noexcept { return kOne; }

    static void multiply(Element& z, const Element& x, const Element& y) noexcept {
        Element twice;
        for (std::size_t i = 0; i < kLimbs; ++i) {
            twice[i] = 2 * y[i];
        }
        std::array<DoubleLimb, kLimbs> sums; // each below 9 * 2^(59 + 60)
#pragma GCC unroll 9
        for (std::size_t k = 0; k < kLimbs; ++k) {
            DoubleLimb sum = static_cast<DoubleLimb>(x[0]) * y[k];
#pragma GCC unroll 9
            for (std::size_t i = 1; i < kLimbs; ++i) {
                sum += static_cast<DoubleLimb>(x[i]) * (i <= k ? y[k - i] : twice[k + kLimbs - i]);
            }
            sums[k] = sum;
        }
        carrySums(z, sums);
    }

    static void square(Element& z, const Element& x) noexcept {
        Element twice;
        for (std::size_t i = 0; i < kLimbs; ++i) {
            twice[i] = 2 * x[i];
        }
        std::array<DoubleLimb, kLimbs> sums;
#pragma GCC unroll 9
        for (std::size_t k = 0; k < kLimbs; ++k) {
            // Pairs i < j with i + j = k, and the same with i + j = k + 9, doubled once more.
            DoubleLimb sum = 0;
            DoubleLimb above = 0;
#pragma GCC unroll 9
            for (std::size_t i = 0; i < kLimbs; ++i) {
                if (2 * i < k) {
                    sum += static_cast<DoubleLimb>(twice[i]) * x[k - i];
                } else if (2 * i == k) {
                    sum += static_cast<DoubleLimb>(x[i]) * x[i];
                }
                if (i > k && 2 * i < k + kLimbs) {
                    above += static_cast<DoubleLimb>(twice[i]) * x[k + kLimbs - i];
                } else if (i > k && 2 * i == k + kLimbs) {
                    above += static_cast<DoubleLimb>(x[i]) * x[i];
                }
            }
            sums[k] = sum + 2 * above;
        }
        carrySums(z, sums);
    }

    static void add(Element& z, const Element& x, const Element& y) noexcept {
        combine(z, [&](std::size_t i) { return digit(x, i) + digit(y, i); });
    }
    static void subtract(Element& z, const Element& x, const Element& y) noexcept {
        combine(z, [&](std::size_t i) { return digit(x, i) + kFourP[i] - digit(y, i); });
    }
    // z := 3 x, z := x / 2 and z := x - 2 y
    static void triple(Element& z, const Element& x) noexcept {
        combine(z, [&](std::size_t i) { return 3 * digit(x, i); });
    }
    static void subtractTwice(Element& z, const Element& x, const Element& y) noexcept {
        combine(z, [&](std::size_t i) { return digit(x, i) + 2 * (kFourP[i] - digit(y, i)); });
    }
    static void halve(Element& z, const Element& x) noexcept {
        // 2^521 = 1, so that the lowest bit goes to the top: 2^520 is bit 56 of the ninth digit.
        const Limb low = digit(x, 0) & 1;
        Element t;
#pragma GCC unroll 9
        for (std::size_t i = 0; i + 1 < kLimbs; ++i) {
            t[i] = (digit(x, i) >> 1) + ((digit(x, i + 1) & 1) << (kDigitBits - 1));
        }
        t[kLimbs - 1] = (digit(x, kLimbs - 1) >> 1) + (low << (kDigitBits - 2));
        z = t;
    }

    [[nodiscard]] static bool isZero(const Element& x) noexcept {
        return canonical(x) == Element{};
    }
    [[nodiscard]] static bool equal(const Element& x, const Element& y) noexcept {
        return canonical(x) == canonical(y);
    }

    // Between plain numbers below p, nine limbs of 64 bits, and elements.
    static void enter(Element& z, const Element& plain) noexcept {
        Element digits;
        for (std::size_t i = 0; i < kLimbs; ++i) {
            const std::size_t limb = i * kDigitBits / kLimbBits;
            const std::size_t offset = i * kDigitBits % kLimbBits;
            Limb digit = plain[limb] >> offset;
            if (offset > kLimbBits - kDigitBits && limb + 1 < kLimbs) {
                digit |= plain[limb + 1] << (kLimbBits - offset);
            }
            digits[i] = digit & kMask;
        }
        z = digits;
    }
    static void leave(Element& plain, const Element& x) noexcept {
        const Element digits = canonical(x);
        Element limbs{};
        for (std::size_t i = 0; i < kLimbs; ++i) {
            const std::size_t limb = i * kDigitBits / kLimbBits;
            const std::size_t offset = i * kDigitBits % kLimbBits;
            limbs[limb] |= digits[i] << offset;
            if (offset > kLimbBits - kDigitBits && limb + 1 < kLimbs) {
                limbs[limb + 1] |= digits[i] >> (kLimbBits - offset);
            }
        }
        plain = limbs;
    }
    static void invert(Element& z, const Element& x) noexcept {
        Element plain;
        leave(plain, x);
        if (!invertModulo(plain, plain, kP)) {
            plain = {}; // x = 0 only
        }
        enter(z, plain);
    }

private:
    static constexpr std::size_t kDigitBits = 58;
    static constexpr Limb kMask = (Limb{1} << kDigitBits) - 1;
    static constexpr Limb kTopMask = kMask >> 1; // 521 = 8 * 58 + 57
    static constexpr Element kOne = {1};
    static constexpr Element kP = {~Limb{0}, ~Limb{0}, ~Limb{0}, ~Limb{0}, ~Limb{0},
                                   ~Limb{0}, ~Limb{0}, ~Limb{0}, 0x1ff};

    // 4p in digits that none of an element's exceeds, so that differences stay non-negative.
    static constexpr Element kFourP = {4 * kMask, 4 * kMask, 4 * kMask, 4 * kMask,   4 * kMask,
                                       4 * kMask, 4 * kMask, 4 * kMask, 4 * kTopMask};

    // x[i]. Digits were stored one by one; the compiler must not load them in pairs (which it does
    // when it may), for such a load waits until the stores have reached the cache.
    static Limb digit(const Element& x, std::size_t i) noexcept {
        Limb value = x[i];
#if defined(__GNUC__)
        __asm__("" : "+r"(value));
#endif
        return value;
    }

    // z := the digits that `sum` gives, each below 2^62; all carries move one place at once, which
    // leaves at most 2^58 + 2^5.
    template <class Sum> static void combine(Element& z, const Sum& sum) noexcept {
        Limb first = 0;
        Limb carry = 0;
        Element t;
#pragma GCC unroll 9
        for (std::size_t i = 0; i < kLimbs; ++i) {
            const Limb value = sum(i);
            if (i == 0) {
                first = value & kMask;
            } else {
                t[i] = (value & kMask) + carry;
            }
            carry = value >> kDigitBits;
        }
        t[0] = first + 2 * carry;
        z = t;
    }

    static void carrySums(Element& z, std::array<DoubleLimb, kLimbs>& sums) noexcept {
        Element t;
#pragma GCC unroll 9
        for (std::size_t i = 0; i + 1 < kLimbs; ++i) {
            t[i] = static_cast<Limb>(sums[i]) & kMask;
            sums[i + 1] += static_cast<Limb>(sums[i] >> kDigitBits);
        }
        t[kLimbs - 1] = static_cast<Limb>(sums[kLimbs - 1]) & kMask;
        const DoubleLimb top = (sums[kLimbs - 1] >> kDigitBits << 1) + t[0];
        t[0] = static_cast<Limb>(top) & kMask;
        t[1] += static_cast<Limb>(top >> kDigitBits);
        t[2] += t[1] >> kDigitBits;
        t[1] &= kMask;
        z = t;
    }

    // The one form with digits below 2^58, the top one below 2^57, that is not p.
    [[nodiscard]] static Element canonical(const Element& x) noexcept {
        Element t = x;
        for (int round = 0; round < 2; ++round) {
            for (std::size_t i = 0; i + 1 < kLimbs; ++i) {
                t[i + 1] += t[i] >> kDigitBits;
                t[i] &= kMask;
            }
            t[0] += t[kLimbs - 1] >> (kDigitBits - 1);
            t[kLimbs - 1] &= kTopMask;
        }
        Element prime;
        prime.fill(kMask);
        prime[kLimbs - 1] = kTopMask;
        return t == prime ? Element{} : t;
    }
};

} // namespace vantrel::crypto

#endif
