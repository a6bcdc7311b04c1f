// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_NEON_H
#define FOUNDATION_TEXT_NEON_H

// Internal: what kernels over text share where the processor has the vectors of ARM, which know no
// mask of a bit a byte. For little-endian, as cpu::Feature::Neon is.

#if defined(__aarch64__)

#include "foundation/text/utf8_faults.h"

#include <cstdint>

#include <arm_neon.h>

namespace vantrel::text {

inline uint8x16_t loadNeon(const char* from) noexcept {
    return vld1q_u8(reinterpret_cast<const std::uint8_t*>(from));
}

inline uint8x16_t equalsNeon(uint8x16_t bytes, char c) noexcept {
    return vceqq_u8(bytes, vdupq_n_u8(static_cast<std::uint8_t>(c)));
}

inline bool anyNeon(uint8x16_t bytes) noexcept { return vmaxvq_u8(bytes) != 0; }

// 64 bytes dealt out to four vectors: byte 4 * i + k of the text is at place i of the vector k. So
// the answers of all four become a word in five steps, without a table of bits.
struct NeonBlock {
    explicit NeonBlock(const char* text) noexcept
        : bytes(vld4q_u8(reinterpret_cast<const std::uint8_t*>(text))) {}

    // Bit i tells whether test(vector) has all bits set, and not none, for byte i.
    template <class Test> [[nodiscard]] std::uint64_t maskOf(const Test& test) const noexcept {
        const uint8x16_t low = vsriq_n_u8(test(bytes.val[1]), test(bytes.val[0]), 1);
        const uint8x16_t high = vsriq_n_u8(test(bytes.val[3]), test(bytes.val[2]), 1);
        const uint8x16_t upper = vsriq_n_u8(high, low, 2); // the four bits of a place, in its top
        const uint8x16_t both = vsriq_n_u8(upper, upper, 4);
        const uint8x8_t joined = vshrn_n_u16(vreinterpretq_u16_u8(both), 4);
        return vget_lane_u64(vreinterpret_u64_u8(joined), 0);
    }
    [[nodiscard]] std::uint64_t equals(char c) const noexcept {
        return maskOf([c](uint8x16_t part) { return equalsNeon(part, c); });
    }

    uint8x16x4_t bytes;
};

// The place of the first byte of `hits` that has bits, all of them; 16 without one.
inline unsigned firstNeon(uint8x16_t hits) noexcept {
    const uint8x8_t halves = vshrn_n_u16(vreinterpretq_u16_u8(hits), 4);
    const std::uint64_t nibbles = vget_lane_u64(vreinterpret_u64_u8(halves), 0);
    return nibbles == 0 ? 16 : static_cast<unsigned>(__builtin_ctzll(nibbles)) / 4;
}

// The tables of utf8_faults.h, loaded.
class Utf8FaultsNeon final {
public:
    Utf8FaultsNeon() noexcept
        : m_firstUpper(vld1q_u8(kFirstUpper.data())), m_firstLower(vld1q_u8(kFirstLower.data())),
          m_secondUpper(vld1q_u8(kSecondUpper.data())) {}

    // A bit where something is wrong. The others are the bytes one, two and three places before.
    [[nodiscard]] uint8x16_t find(uint8x16_t bytes, uint8x16_t one, uint8x16_t two,
                                  uint8x16_t three) const noexcept {
        const uint8x16_t firstUpper = vqtbl1q_u8(m_firstUpper, vshrq_n_u8(one, 4));
        const uint8x16_t firstLower = vqtbl1q_u8(m_firstLower, vandq_u8(one, vdupq_n_u8(0x0F)));
        const uint8x16_t secondUpper = vqtbl1q_u8(m_secondUpper, vshrq_n_u8(bytes, 4));
        const uint8x16_t pairs = vandq_u8(vandq_u8(firstUpper, firstLower), secondUpper);
        // 0x80 where the byte two back leads three or more, or the byte three back leads four.
        const uint8x16_t third = vqsubq_u8(two, vdupq_n_u8(0xE0 - 0x80));
        const uint8x16_t fourth = vqsubq_u8(three, vdupq_n_u8(0xF0 - 0x80));
        const uint8x16_t wanted = vandq_u8(vorrq_u8(third, fourth), vdupq_n_u8(0x80));
        return veorq_u8(pairs, wanted);
    }

private:
    uint8x16_t m_firstUpper;
    uint8x16_t m_firstLower;
    uint8x16_t m_secondUpper;
};

} // namespace vantrel::text

#endif
#endif
