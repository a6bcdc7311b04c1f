// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_ZIP_INFLATE_TABLE_H
#define FOUNDATION_ZIP_INFLATE_TABLE_H

// Internal: the tables by which prefix codes are decoded.

#include <cstddef>
#include <cstdint>
#include <span>

namespace vantrel::zip {

inline constexpr unsigned kMaxCodeLength = 15;

// An entry of a decoding table, found by the next bits of the input:
//
//     bits 0 to 7     how many bits to take; 0 in none
//     bits 8 to 12    how many bits of extra follow, or that index a second table
//     bits 13 to 15   what it is; none of them: a length or a distance
//     bits 16 to 31   the literal, the base of a length or distance, or where the second table
//                     begins
using CodeEntry = std::uint32_t;

inline constexpr CodeEntry kLiteralEntry = 1U << 15;
inline constexpr CodeEntry kSecondTable = 1U << 14;
inline constexpr CodeEntry kSpecialEntry = 1U << 13; // the end of the block, or no code at all
inline constexpr CodeEntry kEndOfBlock = kSpecialEntry | (1U << 16);

[[nodiscard]] constexpr unsigned bitsOf(CodeEntry entry) noexcept { return entry & 0xFF; }
[[nodiscard]] constexpr unsigned extraOf(CodeEntry entry) noexcept { return (entry >> 8) & 0x1F; }
[[nodiscard]] constexpr unsigned valueOf(CodeEntry entry) noexcept { return entry >> 16; }

// Fills `table` for the canonical code with these lengths (RFC 1951, 3.2.2; 0: the symbol has no
// code): the first 2^mainBits entries for the next mainBits bits, second tables behind them for
// longer codes. `symbols` has the entry of each symbol, without its bits. False when the lengths
// are no prefix code: more codes than there is room for, or fewer, apart from a single code of one
// bit, which is usual where there is one distance.
[[nodiscard]] bool buildCodeTable(std::span<const std::uint8_t> lengths,
                                  std::span<const CodeEntry> symbols, unsigned mainBits,
                                  std::span<CodeEntry> table) noexcept;

// The entries of the symbols of the three alphabets (RFC 1951, 3.2.5 and 3.2.7).
[[nodiscard]] std::span<const CodeEntry> literalSymbols() noexcept;  // 288 of them
[[nodiscard]] std::span<const CodeEntry> distanceSymbols() noexcept; // 32
[[nodiscard]] std::span<const CodeEntry> lengthSymbols() noexcept;   // 19, of code lengths

} // namespace vantrel::zip

#endif
