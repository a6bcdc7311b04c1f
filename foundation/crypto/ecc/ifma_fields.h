// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_ECC_IFMA_FIELDS_H
#define FOUNDATION_CRYPTO_ECC_IFMA_FIELDS_H

#include "foundation/crypto/ecc/field_p521.h"
#include "foundation/crypto/ecc/ifma_sum.h"
#include "foundation/crypto/ecc/p256_x86_adx.h"
#include "foundation/crypto/ecc/p384_x86_adx.h"

#if defined(__x86_64__)

// The fields of IfmaSum, and how their elements become digits and come back.
namespace vantrel::crypto {

// The digits of `kBits` bits of the number in `limbs`.
template <unsigned kBits, std::size_t kDigits, std::size_t kLimbs>
std::array<Limb, kDigits> digitsOf(const std::array<Limb, kLimbs>& limbs) noexcept {
    std::array<Limb, kDigits> digits{};
    for (std::size_t i = 0; i < kDigits; ++i) {
        const std::size_t limb = i * kBits / kLimbBits;
        const std::size_t offset = i * kBits % kLimbBits;
        Limb digit = limb < kLimbs ? limbs[limb] >> offset : 0;
        if (offset > kLimbBits - kBits && limb + 1 < kLimbs) {
            digit |= limbs[limb + 1] << (kLimbBits - offset);
        }
        digits[i] = digit & ((Limb{1} << kBits) - 1);
    }
    return digits;
}

// Back; digits may exceed kBits as long as the number fits.
template <unsigned kBits, std::size_t kLimbs, std::size_t kDigits>
std::array<Limb, kLimbs> limbsOf(const std::array<Limb, kDigits>& digits) noexcept {
    std::array<Limb, kLimbs> limbs{};
    DoubleLimb pending = 0; // what stands from bit 64 * limb on
    std::size_t limb = 0;
    for (std::size_t i = 0; i < kDigits; ++i) {
        const std::size_t offset = i * kBits - limb * kLimbBits;
        pending += static_cast<DoubleLimb>(digits[i]) << offset;
        if (offset + kBits >= kLimbBits && limb < kLimbs) {
            limbs[limb++] = static_cast<Limb>(pending);
            pending >>= kLimbBits;
        }
    }
    if (limb < kLimbs) {
        limbs[limb] = static_cast<Limb>(pending);
    }
    return limbs;
}

// What the descriptions below have in common: the points of tables and the way back of a number.
template <class Own, class F, std::size_t kCount, unsigned kBits> struct IfmaField {
    using Field = F;
    using Element = typename Field::Element;
    using Affine = AffinePoint<Field>;
    using Entry = IfmaPoint<kCount>;
    using Digits = std::array<Limb, kCount>;

    static constexpr std::size_t kDigits = kCount;
    static constexpr unsigned kDigitBits = kBits;

    [[nodiscard]] static Entry entryOf(const Affine& p) noexcept {
        const Digits x = Own::digitsOfElement(p.x);
        const Digits y = Own::digitsOfElement(p.y);
        Entry entry;
        for (std::size_t i = 0; i < kDigits; ++i) {
            entry.rows[i] = {x[i], y[i]};
        }
        return entry;
    }
    [[nodiscard]] static Affine pointOf(const Entry& entry) noexcept {
        return {column(entry, 0), column(entry, 1)};
    }
    // One of the numbers; `x` is as value() leaves it.
    [[nodiscard]] static Element elementOf(const IfmaNumbers<kCount>& x,
                                           std::size_t lane) noexcept {
        return column(x, lane);
    }

private:
    template <class Numbers> static Element column(const Numbers& x, std::size_t lane) noexcept {
        Digits digits;
        for (std::size_t i = 0; i < kDigits; ++i) {
            digits[i] = x.rows[i][lane];
        }
        return Own::elementOfDigits(digits);
    }
};

// A field in Montgomery form: R is 2^(52 kCount) in lanes and 2^(64 kLimbs) in elements.
template <class Own, class F, std::size_t kCount>
struct IfmaMontgomeryField : IfmaField<Own, F, kCount, 52> {
    using typename IfmaField<Own, F, kCount, 52>::Element;
    using typename IfmaField<Own, F, kCount, 52>::Digits;

    static constexpr std::size_t kLimbs = F::kLimbs;
    static constexpr std::size_t kMoreBits = 52 * kCount - kLimbBits * kLimbs;

    [[nodiscard]] static Digits digitsOfElement(const Element& x) noexcept {
        Element scale;
        F::enter(scale, Element{Limb{1} << kMoreBits});
        F::multiply(scale, scale, x);
        return digitsOf<52, kCount>(scale);
    }
    // For numbers below 2^(64 kLimbs) + p.
    [[nodiscard]] static Element elementOfDigits(const Digits& digits) noexcept {
        std::array<Limb, kLimbs + 1> wide = limbsOf<52, kLimbs + 1>(digits);
        Element x;
        std::copy_n(wide.begin(), kLimbs, x.begin());
        // -p modulo 2^(64 kLimbs) is the element one.
        if (wide[kLimbs] != 0) {
            vantrel::crypto::add(x, F::one());
        }
        Element unscale{};
        unscale[kLimbs - 1] = Limb{1} << (kLimbBits - kMoreBits);
        F::multiply(x, x, unscale);
        return x;
    }
};

struct P256Lanes : IfmaMontgomeryField<P256Lanes, FieldP256Adx, 5> {
    struct Steps;
};
struct P384Lanes : IfmaMontgomeryField<P384Lanes, FieldP384Adx, 8> {
    struct Steps;
};

struct P521Lanes : IfmaField<P521Lanes, FieldP521, 11, 48> {
    struct Steps;

    [[nodiscard]] static Digits digitsOfElement(const Element& x) noexcept {
        Element plain;
        FieldP521::leave(plain, x);
        return digitsOf<48, kDigits>(plain);
    }
    [[nodiscard]] static Element elementOfDigits(const Digits& digits) noexcept {
        Element plain = limbsOf<48, FieldP521::kLimbs>(digits);
        // 2^521 = 1
        constexpr unsigned kTopBits = 521 % kLimbBits;
        Limb carry = plain.back() >> kTopBits;
        plain.back() &= (Limb{1} << kTopBits) - 1;
        for (Limb& value : plain) {
            value += carry;
            carry = value < carry ? 1 : 0;
        }
        Element z;
        FieldP521::enter(z, plain);
        return z;
    }
};

} // namespace vantrel::crypto

#endif
#endif
