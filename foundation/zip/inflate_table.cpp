// SPDX-License-Identifier: MIT
#include "foundation/zip/inflate_table.h"

#include <algorithm>
#include <array>
#include <cassert>

// Tables of the alphabets are made when the code is compiled; those of the codes for each block.
namespace vantrel::zip {

namespace {

constexpr std::size_t kMostSymbols = 288;

constexpr CodeEntry based(unsigned base, unsigned extra) { return (base << 16) | (extra << 8); }

constexpr std::array<CodeEntry, 288> makeLiteralSymbols() {
    std::array<CodeEntry, 288> symbols{};
    for (unsigned literal = 0; literal < 256; ++literal) {
        symbols[literal] = kLiteralEntry | (literal << 16);
    }
    symbols[256] = kEndOfBlock;
    // RFC 1951, 3.2.5: eight lengths without extra bits, then four each with one more; 258 has a
    // symbol of its own. The last two symbols have codes and no meaning.
    unsigned base = 3;
    for (unsigned symbol = 257; symbol < 285; ++symbol) {
        const unsigned extra = symbol < 265 ? 0 : (symbol - 261) / 4;
        symbols[symbol] = based(base, extra);
        base += 1U << extra;
    }
    symbols[285] = based(258, 0);
    symbols[286] = kSpecialEntry;
    symbols[287] = kSpecialEntry;
    return symbols;
}

constexpr std::array<CodeEntry, 32> makeDistanceSymbols() {
    std::array<CodeEntry, 32> symbols{};
    unsigned base = 1;
    for (unsigned symbol = 0; symbol < 30; ++symbol) {
        const unsigned extra = symbol < 4 ? 0 : (symbol - 2) / 2;
        symbols[symbol] = based(base, extra);
        base += 1U << extra;
    }
    symbols[30] = kSpecialEntry;
    symbols[31] = kSpecialEntry;
    return symbols;
}

// The symbol itself; what the repeating ones do is for their reader.
constexpr std::array<CodeEntry, 19> makeLengthSymbols() {
    std::array<CodeEntry, 19> symbols{};
    for (unsigned symbol = 0; symbol < 19; ++symbol) {
        symbols[symbol] = symbol << 16;
    }
    return symbols;
}

constexpr auto kLiteralSymbols = makeLiteralSymbols();
constexpr auto kDistanceSymbols = makeDistanceSymbols();
constexpr auto kLengthSymbols = makeLengthSymbols();

// Codes are packed from their first bit on, the lowest of the word: the next code in order is the
// increment of the reversed word.
unsigned nextReversed(unsigned code, unsigned length) noexcept {
    unsigned bit = 1U << (length - 1);
    while ((code & bit) != 0) {
        bit >>= 1;
    }
    return bit == 0 ? 0 : (code & (bit - 1)) + bit;
}

using Counts = std::array<unsigned, kMaxCodeLength + 1>;

// Whether the lengths make a prefix code that leaves nothing open.
bool isCode(const Counts& counts) noexcept {
    int left = 1;
    unsigned codes = 0;
    for (unsigned length = 1; length <= kMaxCodeLength; ++length) {
        left = 2 * left - static_cast<int>(counts[length]);
        codes += counts[length];
        if (left < 0) {
            return false;
        }
    }
    return left == 0 || codes == 0 || (codes == 1 && counts[1] == 1);
}

// How many bits the second table needs that begins with a code of this length. `left`: the codes
// that are still to be entered, by length.
unsigned secondBits(const Counts& left, unsigned length, unsigned mainBits) noexcept {
    unsigned bits = length - mainBits;
    unsigned room = 1U << bits;
    while (bits + mainBits < kMaxCodeLength && left[bits + mainBits] < room) {
        room = (room - left[bits + mainBits]) << 1;
        ++bits;
    }
    return bits;
}

} // namespace

std::span<const CodeEntry> literalSymbols() noexcept { return kLiteralSymbols; }
std::span<const CodeEntry> distanceSymbols() noexcept { return kDistanceSymbols; }
std::span<const CodeEntry> lengthSymbols() noexcept { return kLengthSymbols; }

bool buildCodeTable(std::span<const std::uint8_t> lengths, std::span<const CodeEntry> symbols,
                    unsigned mainBits, std::span<CodeEntry> table) noexcept {
    assert(lengths.size() <= symbols.size() && lengths.size() <= kMostSymbols);
    Counts left{};
    for (const std::uint8_t length : lengths) {
        ++left[length];
    }
    left[0] = 0;
    if (!isCode(left)) {
        return false;
    }
    // The symbols by length, and in their own order where that is equal.
    std::array<unsigned, kMaxCodeLength + 2> starts{};
    for (unsigned length = 1; length <= kMaxCodeLength; ++length) {
        starts[length + 1] = starts[length] + left[length];
    }
    const unsigned codes = starts[kMaxCodeLength + 1];
    std::array<std::uint16_t, kMostSymbols> sorted{};
    for (std::size_t symbol = 0; symbol < lengths.size(); ++symbol) {
        if (lengths[symbol] != 0) {
            sorted[starts[lengths[symbol]]++] = static_cast<std::uint16_t>(symbol);
        }
    }

    const std::size_t mainSize = std::size_t{1} << mainBits;
    // Bits that no code begins with; they are taken, so that a decoder always moves on.
    std::fill_n(table.begin(), mainSize, kSpecialEntry | 1);
    std::size_t end = mainSize; // of the tables so far
    std::size_t second = 0;     // where the current second table begins, and its size
    std::size_t secondSize = 0;
    std::size_t prefix = mainSize; // the main entry that leads to it
    unsigned code = 0;
    for (unsigned i = 0; i < codes; ++i) {
        const unsigned length = lengths[sorted[i]];
        const CodeEntry entry = symbols[sorted[i]];
        if (length <= mainBits) {
            for (std::size_t at = code; at < mainSize; at += std::size_t{1} << length) {
                table[at] = entry | length;
            }
        } else {
            if ((code & (mainSize - 1)) != prefix) {
                prefix = code & (mainSize - 1);
                const unsigned bits = secondBits(left, length, mainBits);
                second = end;
                secondSize = std::size_t{1} << bits;
                end += secondSize;
                // Cannot happen with tables of the sizes that are in use (inflate.h).
                if (end > table.size()) {
                    return false;
                }
                table[prefix] =
                    static_cast<CodeEntry>(second << 16) | kSecondTable | (bits << 8) | mainBits;
            }
            for (std::size_t at = code >> mainBits; at < secondSize;
                 at += std::size_t{1} << (length - mainBits)) {
                table[second + at] = entry | (length - mainBits);
            }
        }
        --left[length];
        code = nextReversed(code, length);
    }
    return true;
}

} // namespace vantrel::zip
