// SPDX-License-Identifier: MIT
#include "foundation/crypto/bignum/inverse.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <cstdint>

// Bernstein and Yang, "Fast constant-time gcd computation and modular inversion" (2019), in its
// variable-time form: 62 division steps at a time are computed on the lowest words of f and g,
// collected in a 2x2 matrix, and then applied to the whole numbers.
namespace vantrel::crypto {
namespace {

__extension__ using Wide = __int128;

constexpr int kStep = 62;
constexpr std::uint64_t kStepMask = ~std::uint64_t{0} >> (64 - kStep);
constexpr std::size_t kWords = (kMaxInverseLimbs * kLimbBits + 2 + kStep - 1) / kStep;

// A signed number: words of 62 bits, the top one signed.
using Signed = std::array<std::int64_t, kWords>;

struct Matrix {
    std::int64_t u, v, q, r; // f' = (u f + v g) / 2^62, g' = (q f + r g) / 2^62
};

Signed toSigned(std::span<const Limb> x, std::size_t words) noexcept {
    Signed z{};
    for (std::size_t i = 0; i < words; ++i) {
        const std::size_t limb = i * kStep / kLimbBits;
        const std::size_t offset = i * kStep % kLimbBits;
        Limb value = limb < x.size() ? x[limb] >> offset : 0;
        if (offset > kLimbBits - kStep && limb + 1 < x.size()) {
            value |= x[limb + 1] << (kLimbBits - offset);
        }
        z[i] = static_cast<std::int64_t>(value & kStepMask);
    }
    return z;
}

// z must be non-negative, its words in 0..2^62-1.
void fromSigned(std::span<Limb> x, const Signed& z, std::size_t words) noexcept {
    std::fill(x.begin(), x.end(), 0);
    for (std::size_t i = 0; i < words; ++i) {
        const std::size_t limb = i * kStep / kLimbBits;
        const std::size_t offset = i * kStep % kLimbBits;
        const Limb value = static_cast<Limb>(z[i]);
        if (limb < x.size()) {
            x[limb] |= value << offset;
        }
        if (offset > kLimbBits - kStep && limb + 1 < x.size()) {
            x[limb + 1] |= value >> (kLimbBits - offset);
        }
    }
}

// Up to 62 division steps on the low words of f (odd) and g. `delta` is the step counter of the
// paper, negated. Several zero or one bits of g are treated at once: a multiple w of f is added
// that clears as many low bits of g as the sign of delta allows to do without a swap.
std::int64_t divisionSteps(std::int64_t delta, std::uint64_t f, std::uint64_t g,
                           Matrix& t) noexcept {
    std::uint64_t u = 1;
    std::uint64_t v = 0;
    std::uint64_t q = 0;
    std::uint64_t r = 1;
    int left = kStep;
    for (;;) {
        const int zeros = std::countr_zero(g | ~std::uint64_t{0} << left);
        g >>= zeros;
        u <<= zeros;
        v <<= zeros;
        delta -= zeros;
        left -= zeros;
        if (left == 0) {
            break;
        }
        if (delta < 0) {
            delta = -delta;
            const std::uint64_t oldF = f;
            const std::uint64_t oldU = u;
            const std::uint64_t oldV = v;
            f = g;
            u = q;
            v = r;
            g = 0 - oldF;
            q = 0 - oldU;
            r = 0 - oldV;
        }
        // f * (2 - f * f) is 1/f modulo 64, so w = -g/f modulo the bits that may be cleared.
        const int bits =
            std::min({static_cast<int>(std::min<std::int64_t>(delta, 63)) + 1, left, 6});
        const std::uint64_t mask = (std::uint64_t{1} << bits) - 1;
        const std::uint64_t w = (g * f * (f * f - 2)) & mask;
        g += f * w;
        q += u * w;
        r += v * w;
    }
    t = {static_cast<std::int64_t>(u), static_cast<std::int64_t>(v), static_cast<std::int64_t>(q),
         static_cast<std::int64_t>(r)};
    return delta;
}

// f, g := t * (f, g) / 2^62, exact.
void updateFG(Signed& f, Signed& g, std::size_t words, const Matrix& t) noexcept {
    Wide cf = static_cast<Wide>(t.u) * f[0] + static_cast<Wide>(t.v) * g[0];
    Wide cg = static_cast<Wide>(t.q) * f[0] + static_cast<Wide>(t.r) * g[0];
    cf >>= kStep;
    cg >>= kStep;
    for (std::size_t i = 1; i < words; ++i) {
        cf += static_cast<Wide>(t.u) * f[i] + static_cast<Wide>(t.v) * g[i];
        cg += static_cast<Wide>(t.q) * f[i] + static_cast<Wide>(t.r) * g[i];
        f[i - 1] = static_cast<std::int64_t>(static_cast<std::uint64_t>(cf) & kStepMask);
        g[i - 1] = static_cast<std::int64_t>(static_cast<std::uint64_t>(cg) & kStepMask);
        cf >>= kStep;
        cg >>= kStep;
    }
    f[words - 1] = static_cast<std::int64_t>(cf);
    g[words - 1] = static_cast<std::int64_t>(cg);
}

// d, e := t * (d, e) / 2^62 mod n, both kept in -2n..n by adding multiples of n that make the
// division exact. `inverse` is 1/n mod 2^62.
void updateDE(Signed& d, Signed& e, const Signed& n, std::uint64_t inverse, std::size_t words,
              const Matrix& t) noexcept {
    const std::int64_t signD = d[words - 1] >> 63;
    const std::int64_t signE = e[words - 1] >> 63;
    std::int64_t md = (t.u & signD) + (t.v & signE);
    std::int64_t me = (t.q & signD) + (t.r & signE);
    Wide cd = static_cast<Wide>(t.u) * d[0] + static_cast<Wide>(t.v) * e[0];
    Wide ce = static_cast<Wide>(t.q) * d[0] + static_cast<Wide>(t.r) * e[0];
    const auto correction = [inverse](Wide low, std::int64_t m) {
        const std::uint64_t sum =
            inverse * static_cast<std::uint64_t>(low) + static_cast<std::uint64_t>(m);
        return static_cast<std::int64_t>(sum & kStepMask);
    };
    md -= correction(cd, md);
    me -= correction(ce, me);
    cd += static_cast<Wide>(n[0]) * md;
    ce += static_cast<Wide>(n[0]) * me;
    cd >>= kStep;
    ce >>= kStep;
    for (std::size_t i = 1; i < words; ++i) {
        cd += static_cast<Wide>(t.u) * d[i] + static_cast<Wide>(t.v) * e[i];
        ce += static_cast<Wide>(t.q) * d[i] + static_cast<Wide>(t.r) * e[i];
        cd += static_cast<Wide>(n[i]) * md;
        ce += static_cast<Wide>(n[i]) * me;
        d[i - 1] = static_cast<std::int64_t>(static_cast<std::uint64_t>(cd) & kStepMask);
        e[i - 1] = static_cast<std::int64_t>(static_cast<std::uint64_t>(ce) & kStepMask);
        cd >>= kStep;
        ce >>= kStep;
    }
    d[words - 1] = static_cast<std::int64_t>(cd);
    e[words - 1] = static_cast<std::int64_t>(ce);
}

// x := x + factor * n with all words but the top one brought into 0..2^62-1.
void addMultiple(Signed& x, std::int64_t factor, const Signed& n, std::size_t words) noexcept {
    Wide carry = 0;
    for (std::size_t i = 0; i + 1 < words; ++i) {
        carry += static_cast<Wide>(factor) * n[i] + x[i];
        x[i] = static_cast<std::int64_t>(static_cast<std::uint64_t>(carry) & kStepMask);
        carry >>= kStep;
    }
    carry += static_cast<Wide>(factor) * n[words - 1] + x[words - 1];
    x[words - 1] = static_cast<std::int64_t>(carry);
}

// Drops top words that only repeat the sign, so that the work shrinks with the numbers.
std::size_t shrink(Signed& f, Signed& g, std::size_t words) noexcept {
    while (words > 1) {
        const std::int64_t topF = f[words - 1];
        const std::int64_t topG = g[words - 1];
        if ((topF != 0 && topF != -1) || (topG != 0 && topG != -1)) {
            break;
        }
        // The sign moves into the word below, which is then the signed top word.
        f[words - 2] |= static_cast<std::int64_t>(static_cast<std::uint64_t>(topF) << kStep);
        g[words - 2] |= static_cast<std::int64_t>(static_cast<std::uint64_t>(topG) << kStep);
        --words;
    }
    return words;
}

} // namespace

bool invertModulo(std::span<Limb> z, std::span<const Limb> x, std::span<const Limb> n) noexcept {
    assert(n.size() <= kMaxInverseLimbs && x.size() == n.size() && z.size() == n.size());
    const std::size_t words = (bitLength(n) + 2 + kStep - 1) / kStep;
    const Signed modulus = toSigned(n, words);
    const std::uint64_t inverse = (0 - negInverse(n[0])) & kStepMask;
    Signed f = modulus;
    Signed g = toSigned(x, words);
    Signed d{};
    Signed e{};
    e[0] = 1;
    std::int64_t delta = -1;
    std::size_t length = words;
    for (;;) {
        Matrix t;
        delta = divisionSteps(delta,
                              static_cast<std::uint64_t>(f[0]) |
                                  (length > 1 ? static_cast<std::uint64_t>(f[1]) << kStep : 0),
                              static_cast<std::uint64_t>(g[0]) |
                                  (length > 1 ? static_cast<std::uint64_t>(g[1]) << kStep : 0),
                              t);
        updateDE(d, e, modulus, inverse, words, t);
        updateFG(f, g, length, t);
        if (std::all_of(g.begin(), g.begin() + static_cast<std::ptrdiff_t>(length),
                        [](std::int64_t word) { return word == 0; })) {
            break;
        }
        length = shrink(f, g, length);
    }
    // f is now the greatest common divisor up to its sign, and d = 1/x times that sign.
    const bool negative = f[length - 1] < 0;
    const std::int64_t unit = negative ? -1 : 1;
    std::int64_t expected = unit;
    for (std::size_t i = 0; i < length; ++i) {
        const bool top = i + 1 == length;
        const std::int64_t word =
            top ? expected
                : static_cast<std::int64_t>(static_cast<std::uint64_t>(expected) & kStepMask);
        if (f[i] != word) {
            return false;
        }
        expected >>= kStep;
    }
    if (negative) {
        for (std::size_t i = 0; i < words; ++i) {
            d[i] = -d[i];
        }
        addMultiple(d, 0, modulus, words);
    }
    // Reduced while it is signed: above n it may not fit into z.
    while (d[words - 1] < 0) {
        addMultiple(d, 1, modulus, words);
    }
    for (Signed less = d;; d = less) {
        addMultiple(less, -1, modulus, words);
        if (less[words - 1] < 0) {
            break;
        }
    }
    fromSigned(z, d, words);
    return true;
}

} // namespace vantrel::crypto
