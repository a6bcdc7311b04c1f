// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_BLOCK_MASKS_H
#define FOUNDATION_XML_SCAN_BLOCK_MASKS_H

#include "foundation/cpu/kernel_list.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

namespace vantrel::xml {

// The first stage of reading: text is classified 64 bytes at a time into bit masks, one bit a byte,
// and its characters are checked on the way. The second stage asks the masks where things end.

inline constexpr std::uint32_t kBlockSize = 64;
inline constexpr std::uint32_t kWindowBlocks = 256;

enum StopClass : unsigned {
    kMarkupStops,      // '<', '&', '>': what character data must be searched for
    kNameStops,        // every byte that is no ASCII name character
    kDoubleQuoteStops, // '"', '<', '&'
    kSingleQuoteStops, // '\'', '<', '&'
    kColons,
    kStopClasses
};

// One word a block; two words more, which stay zero, so that the last block may be read on from any
// bit, and a byte a little behind it looked up.
using MaskRow = std::uint64_t[kWindowBlocks + 2];

// One row a class.
struct BlockMasks {
    MaskRow rows[kStopClasses];
};

// At least so many bits are the text's in what bitsFrom returns; the others may be zero.
inline constexpr std::uint32_t kBitsAtOnce = 57;

// The bits of a row from bit `distance` on. The byte that holds it is where the word is loaded, so
// that one load and one shift do.
[[nodiscard]] inline std::uint64_t bitsFrom(const MaskRow& row, std::uint32_t distance) noexcept {
    std::uint64_t bits = 0;
    if constexpr (std::endian::native == std::endian::little) {
        const void* const bytes = row;
        std::memcpy(&bits, static_cast<const char*>(bytes) + distance / 8, sizeof bits);
        return bits >> (distance % 8);
    }
    const std::uint32_t shift = distance % kBlockSize;
    const std::uint64_t* const word = row + distance / kBlockSize;
    return (word[0] >> shift) | ((word[1] << 1) << (63 - shift));
}

// What was met on the way. Flags are set, never cleared.
struct TextFacts {
    bool bad = false; // not UTF-8, or a character that XML does not allow
    bool carriageReturn = false;
};

// Classifies `count` blocks from `text` on. Where `hasBefore`, the 64 bytes before `text` are
// readable and belong to the text; a character that begins there is checked with the block it ends
// in. One that the last block leaves unfinished need not be reported before it is.
using ClassifyBlocks = void (*)(const char* text, std::size_t count, bool hasBefore,
                                BlockMasks& masks, TextFacts& facts) noexcept;

using ClassifyKernel = cpu::Kernel<ClassifyBlocks>;

[[nodiscard]] std::span<const ClassifyKernel> classifyKernels() noexcept;
// The first of them that may run here.
[[nodiscard]] const ClassifyKernel& chosenClassifyKernel() noexcept;

// The character check of a kernel in portable form: false when a character that ends in these
// blocks is not allowed.
[[nodiscard]] bool checkBlocks(const char* text, std::size_t count, bool hasBefore) noexcept;

// Offset of the first character that is not allowed in XML or not UTF-8; the size when there is
// none.
[[nodiscard]] std::size_t findBadCharacter(std::string_view text) noexcept;

} // namespace vantrel::xml

#endif
