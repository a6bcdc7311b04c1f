// SPDX-License-Identifier: MIT
#include "foundation/text/base64_kernels.h"
#include "foundation/text/strings.h"

#include <array>

namespace vantrel::text {

namespace {

// Above the 24 bits of a group.
constexpr std::uint32_t kBad = 1U << 24;

// For each position of a group: the value of a character, shifted to its place.
constexpr std::array<std::array<std::uint32_t, 256>, 4> kShifted = [] {
    std::array<std::array<std::uint32_t, 256>, 4> table{};
    for (std::size_t position = 0; position < 4; ++position) {
        table[position].fill(kBad);
        for (std::uint32_t value = 0; value < 64; ++value) {
            table[position][static_cast<unsigned char>(kBase64Alphabet[value])] =
                value << (18 - 6 * position);
        }
    }
    return table;
}();

} // namespace

std::size_t base64DecodeBlocksPortable(const char* text, std::size_t length,
                                       std::uint8_t* out) noexcept {
    const auto* const in = reinterpret_cast<const unsigned char*>(text);
    std::size_t taken = 0;
    for (; length - taken >= 4; taken += 4) {
        const std::uint32_t group = kShifted[0][in[taken]] | kShifted[1][in[taken + 1]] |
                                    kShifted[2][in[taken + 2]] | kShifted[3][in[taken + 3]];
        if (group >= kBad) {
            break;
        }
        out[0] = static_cast<std::uint8_t>(group >> 16);
        out[1] = static_cast<std::uint8_t>(group >> 8);
        out[2] = static_cast<std::uint8_t>(group);
        out += 3;
    }
    return taken;
}

std::size_t base64SqueezePortable(const char* text, std::size_t length, char* out) noexcept {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < length; ++i) {
        out[kept] = text[i];
        kept += isSpaceAscii(text[i]) ? 0 : 1;
    }
    return kept;
}

} // namespace vantrel::text
