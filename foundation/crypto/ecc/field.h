// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CRYPTO_ECC_FIELD_H
#define FOUNDATION_CRYPTO_ECC_FIELD_H

#include "foundation/crypto/bignum/inverse.h"
#include "foundation/crypto/bignum/limbs.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

// Fields of integers modulo a prime of N limbs, known when the program runs. Elements are fully
// reduced, so that equal elements have equal limbs. Variable time: public data only.
namespace vantrel::crypto {

template <std::size_t N> using FieldElement = std::array<Limb, N>;

// z := z - m if carry or z >= m, without a branch: which one it is cannot be predicted.
template <std::size_t N>
inline void reduceOnce(FieldElement<N>& z, Limb carry, const FieldElement<N>& m) noexcept {
    FieldElement<N> reduced;
    Limb borrow = 0;
#pragma GCC unroll 9
    for (std::size_t i = 0; i < N; ++i) {
        const DoubleLimb difference = static_cast<DoubleLimb>(z[i]) - m[i] - borrow;
        reduced[i] = static_cast<Limb>(difference);
        borrow = static_cast<Limb>(difference >> kLimbBits) & 1;
    }
    const Limb keep = 0 - static_cast<Limb>(borrow > carry);
#pragma GCC unroll 9
    for (std::size_t i = 0; i < N; ++i) {
        z[i] = (z[i] & keep) | (reduced[i] & ~keep);
    }
}

// z := x + y mod m
template <std::size_t N>
inline void addModulo(FieldElement<N>& z, const FieldElement<N>& x, const FieldElement<N>& y,
                      const FieldElement<N>& m) noexcept {
    Limb carry = 0;
#pragma GCC unroll 9
    for (std::size_t i = 0; i < N; ++i) {
        const DoubleLimb sum = static_cast<DoubleLimb>(x[i]) + y[i] + carry;
        z[i] = static_cast<Limb>(sum);
        carry = static_cast<Limb>(sum >> kLimbBits);
    }
    reduceOnce(z, carry, m);
}

// z := x - y mod m
template <std::size_t N>
inline void subtractModulo(FieldElement<N>& z, const FieldElement<N>& x, const FieldElement<N>& y,
                           const FieldElement<N>& m) noexcept {
    Limb borrow = 0;
#pragma GCC unroll 9
    for (std::size_t i = 0; i < N; ++i) {
        const DoubleLimb difference = static_cast<DoubleLimb>(x[i]) - y[i] - borrow;
        z[i] = static_cast<Limb>(difference);
        borrow = static_cast<Limb>(difference >> kLimbBits) & 1;
    }
    const Limb mask = 0 - borrow;
    Limb carry = 0;
#pragma GCC unroll 9
    for (std::size_t i = 0; i < N; ++i) {
        const DoubleLimb sum = static_cast<DoubleLimb>(z[i]) + (m[i] & mask) + carry;
        z[i] = static_cast<Limb>(sum);
        carry = static_cast<Limb>(sum >> kLimbBits);
    }
}

// z := x / 2 mod m for odd m: an odd x becomes even by adding m.
template <std::size_t N>
inline void halveModulo(FieldElement<N>& z, const FieldElement<N>& x,
                        const FieldElement<N>& m) noexcept {
    const Limb mask = 0 - (x[0] & 1);
    FieldElement<N> t;
    Limb carry = 0;
#pragma GCC unroll 9
    for (std::size_t i = 0; i < N; ++i) {
        const DoubleLimb sum = static_cast<DoubleLimb>(x[i]) + (m[i] & mask) + carry;
        t[i] = static_cast<Limb>(sum);
        carry = static_cast<Limb>(sum >> kLimbBits);
    }
#pragma GCC unroll 9
    for (std::size_t i = 0; i + 1 < N; ++i) {
        z[i] = t[i] >> 1 | t[i + 1] << (kLimbBits - 1);
    }
    z[N - 1] = t[N - 1] >> 1 | carry << (kLimbBits - 1);
}

// A prime and -1/p modulo 2^64, which follows it in memory.
template <std::size_t N> struct MontgomeryPrime {
    FieldElement<N> p;
    Limb negInverse;
};

// z := x * y / R mod p with R = 2^(64 N), product and reduction interleaved row by row.
struct PortableProducts {
    template <std::size_t N>
    [[gnu::noinline]] static void multiply(FieldElement<N>& z, const FieldElement<N>& x,
                                           const FieldElement<N>& y,
                                           const MontgomeryPrime<N>& prime) noexcept {
        FieldElement<N> t{};
        Limb top = 0;
#pragma GCC unroll 9
        for (std::size_t i = 0; i < N; ++i) {
            // t := (t + x[i] * y + q * p) / 2^64
            DoubleLimb product = static_cast<DoubleLimb>(x[i]) * y[0] + t[0];
            const Limb q = static_cast<Limb>(product) * prime.negInverse;
            DoubleLimb reduced =
                static_cast<DoubleLimb>(q) * prime.p[0] + static_cast<Limb>(product);
#pragma GCC unroll 9
            for (std::size_t j = 1; j < N; ++j) {
                product = static_cast<DoubleLimb>(x[i]) * y[j] + t[j] +
                          static_cast<Limb>(product >> kLimbBits);
                reduced = static_cast<DoubleLimb>(q) * prime.p[j] + static_cast<Limb>(product) +
                          static_cast<Limb>(reduced >> kLimbBits);
                t[j - 1] = static_cast<Limb>(reduced);
            }
            const DoubleLimb last = (product >> kLimbBits) + (reduced >> kLimbBits) + top;
            t[N - 1] = static_cast<Limb>(last);
            top = static_cast<Limb>(last >> kLimbBits);
        }
        reduceOnce(t, top, prime.p);
        z = t;
    }
    template <std::size_t N>
    static void square(FieldElement<N>& z, const FieldElement<N>& x,
                       const MontgomeryPrime<N>& prime) noexcept {
        multiply(z, x, x, prime);
    }
};

// Montgomery arithmetic (R = 2^(64 N)) modulo any odd prime.
template <std::size_t N, class Products = PortableProducts> class MontgomeryField {
public:
    static constexpr std::size_t kLimbs = N;
    using Element = FieldElement<N>;

    explicit MontgomeryField(std::span<const Limb> p) noexcept {
        std::copy_n(p.begin(), N, m_prime.p.begin());
        m_prime.negInverse = negInverse(m_prime.p[0]);
        // 2^(128 N) mod p by doubling; done once for each curve.
        m_one = {};
        m_one[0] = 1;
        for (std::size_t i = 0; i < N * kLimbBits; ++i) {
            add(m_one, m_one, m_one);
        }
        m_rSquared = m_one;
        for (std::size_t i = 0; i < N * kLimbBits; ++i) {
            add(m_rSquared, m_rSquared, m_rSquared);
        }
    }

    [[nodiscard]] const Element& prime() const noexcept { return m_prime.p; }
    [[nodiscard]] const Element& one() const noexcept { return m_one; }

    void multiply(Element& z, const Element& x, const Element& y) const noexcept {
        Products::multiply(z, x, y, m_prime);
    }
    void square(Element& z, const Element& x) const noexcept { Products::square(z, x, m_prime); }
    void add(Element& z, const Element& x, const Element& y) const noexcept {
        addModulo(z, x, y, m_prime.p);
    }
    void subtract(Element& z, const Element& x, const Element& y) const noexcept {
        subtractModulo(z, x, y, m_prime.p);
    }
    // z := 3 x, z := x / 2 and z := x - 2 y
    void triple(Element& z, const Element& x) const noexcept {
        Element twice;
        add(twice, x, x);
        add(z, twice, x);
    }
    void halve(Element& z, const Element& x) const noexcept { halveModulo(z, x, m_prime.p); }
    void subtractTwice(Element& z, const Element& x, const Element& y) const noexcept {
        subtract(z, x, y);
        subtract(z, z, y);
    }
    [[nodiscard]] bool isZero(const Element& x) const noexcept { return x == Element{}; }
    [[nodiscard]] bool equal(const Element& x, const Element& y) const noexcept { return x == y; }

    // Between plain numbers below p and elements.
    void enter(Element& z, const Element& plain) const noexcept { multiply(z, plain, m_rSquared); }
    void leave(Element& plain, const Element& x) const noexcept {
        Element unit{};
        unit[0] = 1;
        multiply(plain, x, unit);
    }

    // z := 1/x for x other than zero.
    void invert(Element& z, const Element& x) const noexcept {
        Element plain;
        leave(plain, x);
        if (!invertModulo(plain, plain, m_prime.p)) {
            plain = {}; // x = 0 only, p being a prime
        }
        enter(z, plain);
    }

private:
    MontgomeryPrime<N> m_prime{};
    Element m_one{};
    Element m_rSquared{};
};

} // namespace vantrel::crypto

#endif
