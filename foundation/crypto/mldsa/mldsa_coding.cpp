// SPDX-License-Identifier: MIT
#include "foundation/crypto/mldsa/mldsa_coding.h"

namespace vantrel::crypto::mldsa {

void unpackBits(Polynomial& a, ByteView bytes, std::size_t bits) noexcept {
    const std::uint32_t mask = (std::uint32_t{1} << bits) - 1;
    std::uint32_t held = 0;
    std::size_t heldBits = 0;
    std::size_t at = 0;
    for (std::uint32_t& coefficient : a) {
        while (heldBits < bits) {
            held |= std::uint32_t{bytes[at]} << heldBits;
            heldBits += 8;
            ++at;
        }
        coefficient = held & mask;
        held >>= bits;
        heldBits -= bits;
    }
}

void packBits(std::span<std::uint8_t> bytes, const Polynomial& a, std::size_t bits) noexcept {
    std::uint32_t held = 0;
    std::size_t heldBits = 0;
    std::size_t at = 0;
    for (const std::uint32_t coefficient : a) {
        held |= coefficient << heldBits;
        heldBits += bits;
        while (heldBits >= 8) {
            bytes[at] = static_cast<std::uint8_t>(held);
            held >>= 8;
            heldBits -= 8;
            ++at;
        }
    }
}

bool unpackHints(std::span<Hints> rows, ByteView bytes, std::size_t most) noexcept {
    const ByteView places = bytes.first(most);
    const ByteView ends = bytes.subspan(most);
    std::size_t at = 0;
    for (std::size_t row = 0; row < rows.size(); ++row) {
        if (ends[row] < at || ends[row] > most) {
            return false;
        }
        rows[row].reset();
        for (const std::size_t first = at; at < ends[row]; ++at) {
            if (at > first && places[at - 1] >= places[at]) {
                return false;
            }
            rows[row].set(places[at]);
        }
    }
    // What no row uses is zero, or one signature would have many forms.
    for (; at < most; ++at) {
        if (places[at] != 0) {
            return false;
        }
    }
    return true;
}

std::uint32_t useHint(bool hint, std::uint32_t coefficient, std::uint32_t range) noexcept {
    // Algorithm 36: coefficient = high * range + low, with low from 1 - range / 2 to range / 2. The
    // highest multiple is q - 1 and counts as the lowest, with one less in the low part.
    const std::uint32_t count = (kQ - 1) / range;
    const std::uint32_t rest = coefficient % range;
    const bool roundsUp = rest > range / 2;
    const std::uint32_t multiple = coefficient / range + (roundsUp ? 1 : 0);
    const std::uint32_t high = multiple == count ? 0 : multiple;
    if (!hint) {
        return high;
    }
    const bool isLowPositive = !roundsUp && rest != 0;
    return isLowPositive ? (high + 1) % count : (high + count - 1) % count;
}

} // namespace vantrel::crypto::mldsa
