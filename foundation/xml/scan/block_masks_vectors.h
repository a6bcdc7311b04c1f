// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_BLOCK_MASKS_VECTORS_H
#define FOUNDATION_XML_SCAN_BLOCK_MASKS_VECTORS_H

// Internal: the kernels of the list in block_masks.cpp that have vectors, and what they share. What
// each needs stands there.

#include "foundation/xml/scan/block_masks.h"

#include <cstring>

namespace vantrel::xml {

#if defined(__x86_64__)
void classifySse2(const char* text, std::size_t count, bool hasBefore, BlockMasks& masks,
                  TextFacts& facts) noexcept;
void classifyAvx2(const char* text, std::size_t count, bool hasBefore, BlockMasks& masks,
                  TextFacts& facts) noexcept;
void classifyAvx512(const char* text, std::size_t count, bool hasBefore, BlockMasks& masks,
                    TextFacts& facts) noexcept;
#elif defined(__aarch64__)
void classifyNeon(const char* text, std::size_t count, bool hasBefore, BlockMasks& masks,
                  TextFacts& facts) noexcept;
#endif

// ASCII by nibbles: what a byte is are the bits that the entries of its two halves share. Of the
// rows of the ASCII table 2 holds "-.", 3 digits and ':', 4 and 6 letters from position 1 on, 5
// letters and '_', 7 letters up to position 10; 0 holds TAB, LF and CR beside what XML does not
// allow, and 1 nothing else.
inline constexpr std::uint8_t kNamed = 0x1F;   // a name character
inline constexpr std::uint8_t kControl = 0x60; // no character of a document
inline constexpr std::uint8_t kReturn = 0x80;  // CR
alignas(16) inline constexpr std::uint8_t kLowNibble[16] = {
    0x7A, 0x7E, 0x7E, 0x7E, 0x7E, 0x7E, 0x7E, 0x7E, 0x7E, 0x5E, 0x5E, 0x64, 0x64, 0xC5, 0x65, 0x6C};
alignas(16) inline constexpr std::uint8_t kHighNibble[16] = {
    0xA0, 0x40, 0x01, 0x02, 0x04, 0x08, 0x04, 0x10, 0, 0, 0, 0, 0, 0, 0, 0};

// Calls check(block) for a block that has three readable bytes before it, copied where need be.
template <class Check>
bool withBefore(const char* block, bool hasBefore, const Check& check) noexcept {
    if (hasBefore) {
        return check(block);
    }
    char copy[3 + kBlockSize] = {};
    std::memcpy(copy + 3, block, kBlockSize);
    return check(copy + 3);
}

} // namespace vantrel::xml

#endif
