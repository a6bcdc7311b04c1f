// SPDX-License-Identifier: MIT
#include "foundation/crypto/ecc/wnaf.h"

#include <algorithm>
#include <cassert>

namespace vantrel::crypto {
namespace {

// `count` < 64 bits of k from `position` on; bits beyond k are zero.
Limb bitsAt(std::span<const Limb> k, std::size_t position, std::size_t count) noexcept {
    const std::size_t limb = position / kLimbBits;
    const std::size_t offset = position % kLimbBits;
    if (limb >= k.size()) {
        return 0;
    }
    Limb value = k[limb] >> offset;
    if (offset + count > kLimbBits && limb + 1 < k.size()) {
        value |= k[limb + 1] << (kLimbBits - offset);
    }
    return value & ((Limb{1} << count) - 1);
}

} // namespace

std::size_t recodeWnaf(std::span<std::int16_t> digits, std::span<const Limb> k, std::size_t first,
                       std::size_t count, unsigned width) noexcept {
    assert(width >= 2 && width <= 15 && digits.size() > count);
    std::fill(digits.begin(), digits.end(), std::int16_t{0});
    std::size_t length = 0;
    Limb carry = 0;
    for (std::size_t i = 0; i <= count;) {
        const Limb bit = i < count ? bitsAt(k, first + i, 1) : 0;
        if (bit == carry) {
            ++i;
            continue;
        }
        // bit + carry is odd: a digit stands here, and the next width - 1 are zero.
        const std::size_t taken = std::min<std::size_t>(width, count - i);
        const Limb value = (taken > 0 ? bitsAt(k, first + i, taken) : 0) + carry;
        carry = value >> (width - 1) & 1;
        digits[i] = static_cast<std::int16_t>(static_cast<std::int32_t>(value) -
                                              static_cast<std::int32_t>(carry << width));
        length = i + 1;
        i += width;
    }
    return length;
}

} // namespace vantrel::crypto
