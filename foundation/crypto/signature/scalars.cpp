// SPDX-License-Identifier: MIT
#include "foundation/crypto/signature/scalars.h"

#include "foundation/crypto/bignum/inverse.h"

#include <algorithm>
#include <array>

namespace vantrel::crypto {
namespace {

using Number = std::array<Limb, kMaxInverseLimbs>;

// z := x * y / R mod n with R = 2^(64 k)
void montgomeryProduct(std::span<Limb> z, std::span<const Limb> x, std::span<const Limb> y,
                       std::span<const Limb> n, Limb inverse) noexcept {
    const std::size_t k = n.size();
    std::array<Limb, kMaxInverseLimbs + 2> buffer{};
    const std::span<Limb> t(buffer.data(), k + 2);
    const std::span<Limb> body = t.first(k);
    const auto addTop = [&t, k](Limb value) {
        t[k] += value;
        t[k + 1] += static_cast<Limb>(t[k] < value);
    };
    for (std::size_t i = 0; i < k; ++i) {
        addTop(addScaled(body, x[i], y));
        addTop(addScaled(body, t[0] * inverse, n));
        std::move(t.begin() + 1, t.end(), t.begin());
        t[k + 1] = 0;
    }
    if (t[k] != 0 || !lessThan(body, n)) {
        subtract(body, n);
    }
    std::copy(body.begin(), body.end(), z.begin());
}

// The leftmost bits of the hash, as many as n has, modulo n.
void reduceHash(std::span<Limb> z, ByteView hash, std::span<const Limb> n) noexcept {
    const std::size_t bits = bitLength(n);
    const std::size_t bytes = (bits + 7) / 8;
    const ByteView used = hash.first(std::min(hash.size(), bytes));
    std::fill(z.begin(), z.end(), 0);
    // The bytes fit: there are no more than n has.
    static_cast<void>(loadBigEndian(z, used));
    const std::size_t excess = used.size() == bytes ? bytes * 8 - bits : 0;
    if (excess != 0) {
        for (std::size_t i = 0; i < z.size(); ++i) {
            const Limb above = i + 1 < z.size() ? z[i + 1] : 0;
            z[i] = z[i] >> excess | above << (kLimbBits - excess);
        }
    }
    if (!lessThan(z, n)) {
        subtract(z, n);
    }
}

bool inRange(std::span<const Limb> x, std::span<const Limb> n) noexcept {
    return !isZero(x) && lessThan(x, n);
}

} // namespace

bool signatureScalars(std::span<const Limb> n, ByteView rBytes, ByteView sBytes, ByteView hash,
                      std::span<Limb> r, std::span<Limb> u1, std::span<Limb> u2) noexcept {
    Number sBuffer;
    Number eBuffer;
    const std::span<Limb> s = std::span(sBuffer).first(n.size());
    const std::span<Limb> e = std::span(eBuffer).first(n.size());
    if (hash.empty() || !loadBigEndian(r, rBytes) || !loadBigEndian(s, sBytes) || !inRange(r, n) ||
        !inRange(s, n)) {
        return false;
    }
    // s / R has the inverse R / s, which is what the Montgomery products below need.
    const Limb inverse = negInverse(n[0]);
    std::fill(e.begin(), e.end(), 0);
    e[0] = 1;
    montgomeryProduct(s, s, e, n, inverse);
    if (!invertModulo(s, s, n)) {
        return false;
    }
    reduceHash(e, hash, n);
    montgomeryProduct(u1, e, s, n, inverse);
    montgomeryProduct(u2, r, s, n, inverse);
    return true;
}

} // namespace vantrel::crypto
