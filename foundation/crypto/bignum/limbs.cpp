// SPDX-License-Identifier: MIT
#include "foundation/crypto/bignum/limbs.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace vantrel::crypto {

namespace {

static_assert(sizeof(Limb) == 8);

// One limb, big-endian.
Limb loadLimb(const std::uint8_t* from) noexcept {
    Limb limb = 0;
    std::memcpy(&limb, from, sizeof limb);
    return std::endian::native == std::endian::big ? limb : __builtin_bswap64(limb);
}

void storeLimb(std::uint8_t* to, Limb limb) noexcept {
    limb = std::endian::native == std::endian::big ? limb : __builtin_bswap64(limb);
    std::memcpy(to, &limb, sizeof limb);
}

} // namespace

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
        if (left >= sizeof(Limb)) {
            left -= sizeof(Limb);
            limb = loadLimb(bytes.data() + left);
            continue;
        }
        limb = 0;
        for (std::size_t i = 0; i < left; ++i) {
            limb = limb << 8 | bytes[i];
        }
        left = 0;
    }
    return true;
}

void storeBigEndian(std::span<std::uint8_t> out, std::span<const Limb> x) noexcept {
    std::size_t left = out.size();
    for (std::size_t i = 0; left > 0; ++i) {
        Limb limb = i < x.size() ? x[i] : 0;
        if (left >= sizeof(Limb)) {
            left -= sizeof(Limb);
            storeLimb(out.data() + left, limb);
            continue;
        }
        for (; left > 0; limb >>= 8) {
            out[--left] = static_cast<std::uint8_t>(limb);
        }
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
