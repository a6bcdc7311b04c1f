// SPDX-License-Identifier: MIT
#include "foundation/crypto/bignum/limbs.h"

#include <algorithm>
#include <bit>

namespace vantrel::crypto {

ByteView withoutLeadingZeros(ByteView bytes) noexcept {
    while (!bytes.empty() && bytes.front() == 0) {
        bytes = bytes.subspan(1);
    }
    return bytes;
}

bool loadBigEndian(std::span<Limb> z, ByteView bytes) noexcept {
    bytes = withoutLeadingZeros(bytes);
    if (bytes.size() > z.size() * sizeof(Limb)) {
        return false;
    }
    std::size_t left = bytes.size();
    for (Limb& limb : z) {
        const std::size_t count = std::min(left, sizeof(Limb));
        limb = 0;
        for (std::size_t i = left - count; i < left; ++i) {
            limb = limb << 8 | bytes[i];
        }
        left -= count;
    }
    return true;
}

void storeBigEndian(std::span<std::uint8_t> out, std::span<const Limb> x) noexcept {
    const std::size_t size = out.size();
    for (std::size_t i = 0; i < size; ++i) {
        const std::size_t limb = i / sizeof(Limb);
        const Limb value = limb < x.size() ? x[limb] : 0;
        out[size - 1 - i] = static_cast<std::uint8_t>(value >> (8 * (i % sizeof(Limb))));
    }
}

std::size_t bitLength(std::span<const Limb> x) noexcept {
    for (std::size_t i = x.size(); i-- > 0;) {
        if (x[i] != 0) {
            return i * kLimbBits + static_cast<std::size_t>(std::bit_width(x[i]));
        }
    }
    return 0;
}

bool isZero(std::span<const Limb> x) noexcept {
    return std::all_of(x.begin(), x.end(), [](Limb limb) { return limb == 0; });
}

bool lessThan(std::span<const Limb> x, std::span<const Limb> y) noexcept {
    for (std::size_t i = x.size(); i-- > 0;) {
        if (x[i] != y[i]) {
            return x[i] < y[i];
        }
    }
    return false;
}

bool equal(std::span<const Limb> x, std::span<const Limb> y) noexcept {
    return std::equal(x.begin(), x.end(), y.begin(), y.end());
}

Limb add(std::span<Limb> x, std::span<const Limb> y) noexcept {
    DoubleLimb sum = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        sum += static_cast<DoubleLimb>(x[i]) + y[i];
        x[i] = static_cast<Limb>(sum);
        sum >>= kLimbBits;
    }
    return static_cast<Limb>(sum);
}

Limb subtract(std::span<Limb> x, std::span<const Limb> y) noexcept {
    Limb borrow = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const DoubleLimb difference = static_cast<DoubleLimb>(x[i]) - y[i] - borrow;
        x[i] = static_cast<Limb>(difference);
        borrow = static_cast<Limb>(difference >> kLimbBits) & 1;
    }
    return borrow;
}

Limb shiftLeftOne(std::span<Limb> x) noexcept {
    Limb carry = 0;
    for (Limb& limb : x) {
        const Limb next = limb >> (kLimbBits - 1);
        limb = limb << 1 | carry;
        carry = next;
    }
    return carry;
}

Limb addScaled(std::span<Limb> x, Limb factor, std::span<const Limb> y) noexcept {
    DoubleLimb sum = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        sum += static_cast<DoubleLimb>(factor) * y[i] + x[i];
        x[i] = static_cast<Limb>(sum);
        sum >>= kLimbBits;
    }
    return static_cast<Limb>(sum);
}

} // namespace vantrel::crypto
