// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/block_masks_vectors.h"

#if defined(__aarch64__)

#include "foundation/text/neon.h"

namespace vantrel::xml {
namespace {

using text::equalsNeon;
using text::loadNeon;

// Faults among the 16 bytes at `bytes`, which has three bytes before it.
uint8x16_t faults16(const char* bytes, const text::Utf8FaultsNeon& tables) noexcept {
    const uint8x16_t now = loadNeon(bytes);
    const uint8x16_t before1 = loadNeon(bytes - 1);
    const uint8x16_t before2 = loadNeon(bytes - 2);
    const uint8x16_t faults = tables.find(now, before1, before2, loadNeon(bytes - 3));
    // U+FFFE and U+FFFF: EF BF BE, EF BF BF.
    const uint8x16_t beyond = vandq_u8(vcgeq_u8(now, vdupq_n_u8(0xBE)),
                                       vandq_u8(equalsNeon(before1, static_cast<char>(0xBF)),
                                                equalsNeon(before2, static_cast<char>(0xEF))));
    return vorrq_u8(faults, beyond);
}

bool checkBlockNeon(const char* block) noexcept {
    const text::Utf8FaultsNeon tables;
    const uint8x16_t low = vorrq_u8(faults16(block, tables), faults16(block + 16, tables));
    const uint8x16_t high = vorrq_u8(faults16(block + 32, tables), faults16(block + 48, tables));
    return !text::anyNeon(vorrq_u8(low, high));
}

} // namespace

void classifyNeon(const char* text, std::size_t count, bool hasBefore, BlockMasks& masks,
                  TextFacts& facts) noexcept {
    const uint8x16_t lowTable = vld1q_u8(kLowNibble);
    const uint8x16_t highTable = vld1q_u8(kHighNibble);
    uint8x16_t met = vdupq_n_u8(0); // of all kinds
    const auto isUnnamed = [&](uint8x16_t part) {
        const uint8x16_t low = vqtbl1q_u8(lowTable, vandq_u8(part, vdupq_n_u8(0x0F)));
        const uint8x16_t kinds = vandq_u8(low, vqtbl1q_u8(highTable, vshrq_n_u8(part, 4)));
        met = vorrq_u8(met, kinds);
        return vmvnq_u8(vtstq_u8(kinds, vdupq_n_u8(kNamed)));
    };
    bool highBefore = hasBefore; // an unfinished character may stand before the first block
    for (std::size_t block = 0; block < count; ++block, text += kBlockSize) {
        const text::NeonBlock bytes(text);
        const std::uint64_t opening = bytes.maskOf(
            [](uint8x16_t part) { return vorrq_u8(equalsNeon(part, '<'), equalsNeon(part, '&')); });
        masks.rows[kMarkupStops][block] = opening | bytes.equals('>');
        masks.rows[kNameStops][block] = bytes.maskOf(isUnnamed);
        masks.rows[kDoubleQuoteStops][block] = opening | bytes.equals('"');
        masks.rows[kSingleQuoteStops][block] = opening | bytes.equals('\'');
        masks.rows[kColons][block] = bytes.equals(':');
        uint8x16_t all = vdupq_n_u8(0);
        for (const uint8x16_t part : bytes.bytes.val) {
            all = vorrq_u8(all, part);
        }
        const bool anyHigh = vmaxvq_u8(all) >= 0x80;
        if (anyHigh || highBefore) {
            facts.bad |= !withBefore(text, hasBefore || block != 0, checkBlockNeon);
        }
        highBefore = anyHigh;
    }
    facts.bad |= text::anyNeon(vandq_u8(met, vdupq_n_u8(kControl)));
    facts.carriageReturn |= text::anyNeon(vandq_u8(met, vdupq_n_u8(kReturn)));
}

} // namespace vantrel::xml

#endif
