// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/block_masks.h"

#include "foundation/xml/scan/block_masks_vectors.h"
#include "foundation/xml/scan/char_class.h"

#include <algorithm>
#include <array>

namespace vantrel::xml {
namespace {

constexpr std::array<std::uint8_t, 256> makeStopTable() {
    std::array<std::uint8_t, 256> table{};
    for (unsigned c = 0; c < 256; ++c) {
        const bool named = c < 0x80 && (kByteClasses[c] & kNameByte) != 0;
        const bool opening = c == '<' || c == '&';
        const unsigned stops = (static_cast<unsigned>(opening || c == '>') << kMarkupStops) |
                               (static_cast<unsigned>(!named) << kNameStops) |
                               (static_cast<unsigned>(opening || c == '"') << kDoubleQuoteStops) |
                               (static_cast<unsigned>(opening || c == '\'') << kSingleQuoteStops) |
                               (static_cast<unsigned>(c == ':') << kColons);
        table[c] = static_cast<std::uint8_t>(stops);
    }
    return table;
}

constexpr std::array<std::uint8_t, 256> kStopTable = makeStopTable();

// Start of the character that reaches from `before` into the block behind it, or that block's
// start.
std::size_t unfinishedBefore(const char* text) noexcept {
    for (std::size_t back = 1; back <= 3; ++back) {
        const auto byte = static_cast<unsigned char>(*(text - back));
        if (byte < 0x80) {
            return 0;
        }
        if (byte >= 0xC0) {
            const std::size_t length = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : 2;
            return length > back ? back : 0;
        }
    }
    return 0;
}

// True when `rest` is a leading byte and fewer continuation bytes than it announces.
bool isUnfinished(std::string_view rest) noexcept {
    const auto lead = static_cast<unsigned char>(rest[0]);
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    return lead >= 0xC2 && lead <= 0xF4 && length > rest.size() &&
           std::all_of(rest.begin() + 1, rest.end(),
                       [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; });
}

// True when every character that ends within `text` is allowed; what its last bytes leave
// unfinished is checked with the next block.
bool checkCharacters(std::string_view text) noexcept {
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t start = at;
        if (!isXmlChar(decodeUtf8(text, at))) {
            return isUnfinished(text.substr(start));
        }
    }
    return true;
}

void classifyPortable(const char* text, std::size_t count, bool hasBefore, BlockMasks& masks,
                      TextFacts& facts) noexcept {
    for (std::size_t block = 0; block < count; ++block) {
        std::uint64_t words[kStopClasses] = {};
        bool carriageReturn = false;
        for (unsigned i = 0; i < kBlockSize; ++i) {
            const auto byte = static_cast<unsigned char>(text[block * kBlockSize + i]);
            const std::uint64_t stops = kStopTable[byte];
            for (unsigned stop = 0; stop < kStopClasses; ++stop) {
                words[stop] |= ((stops >> stop) & 1U) << i;
            }
            carriageReturn |= byte == '\r';
        }
        for (unsigned stop = 0; stop < kStopClasses; ++stop) {
            masks.rows[stop][block] = words[stop];
        }
        facts.carriageReturn |= carriageReturn;
    }
    facts.bad |= !checkBlocks(text, count, hasBefore);
}

constexpr ClassifyKernel kKernels[] = {
#if defined(__x86_64__)
    {"avx512", cpu::Feature::Avx512, classifyAvx512},
    {"avx2", cpu::Feature::Avx2, classifyAvx2},
    {"sse2", cpu::Feature::Sse2, classifySse2},
#elif defined(__aarch64__)
    {"neon", cpu::Feature::Neon, classifyNeon},
#endif
    {"portable", cpu::Feature::None, classifyPortable},
};
static_assert(cpu::isKernelList(kKernels));

} // namespace

bool checkBlocks(const char* text, std::size_t count, bool hasBefore) noexcept {
    const std::size_t back = hasBefore ? unfinishedBefore(text) : 0;
    return checkCharacters({text - back, count * kBlockSize + back});
}

std::span<const ClassifyKernel> classifyKernels() noexcept { return kKernels; }

const ClassifyKernel& chosenClassifyKernel() noexcept { return cpu::chosenKernel(kKernels); }

std::size_t findBadCharacter(std::string_view text) noexcept {
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t start = at;
        if (!isXmlChar(decodeUtf8(text, at))) {
            return start;
        }
    }
    return text.size();
}

} // namespace vantrel::xml
