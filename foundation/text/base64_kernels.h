// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_BASE64_KERNELS_H
#define FOUNDATION_TEXT_BASE64_KERNELS_H

// Internal: the inner loops of base64 decoding and their choice.

#include "foundation/cpu/kernel_list.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace vantrel {

class DataBuffer;

namespace text {

// A kernel may write this much beyond what it reports.
inline constexpr std::size_t kBase64Slack = 64;

// Decodes whole groups of four characters of the standard alphabet and returns the number of
// characters taken. It stops before the block that holds any other character, or before the group,
// and where less than a block is left, or than a group; blocks are at most 64 characters.
using Base64DecodeBlocks = std::size_t (*)(const char* text, std::size_t length,
                                           std::uint8_t* out) noexcept;
// Copies the text without white space (space, TAB, CR, LF); returns the number of characters left.
// Source and target do not overlap.
using Base64Squeeze = std::size_t (*)(const char* text, std::size_t length, char* out) noexcept;

struct Base64Functions {
    Base64DecodeBlocks decodeBlocks;
    Base64Squeeze squeeze;
};
using Base64Kernel = cpu::Kernel<Base64Functions>;
[[nodiscard]] std::span<const Base64Kernel> base64Kernels() noexcept;

// text::decodeBase64 with a given kernel.
[[nodiscard]] bool decodeBase64With(const Base64Kernel& kernel, std::string_view text,
                                    DataBuffer& out);

[[nodiscard]] std::size_t base64DecodeBlocksPortable(const char* text, std::size_t length,
                                                     std::uint8_t* out) noexcept;
[[nodiscard]] std::size_t base64SqueezePortable(const char* text, std::size_t length,
                                                char* out) noexcept;

inline constexpr std::string_view kBase64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
// What an ASCII character stands for; 0x80 where it is foreign.
inline constexpr std::array<std::uint8_t, 128> kBase64Values = [] {
    std::array<std::uint8_t, 128> table{};
    table.fill(0x80);
    for (std::uint8_t value = 0; value < 64; ++value) {
        table[static_cast<unsigned char>(kBase64Alphabet[value])] = value;
    }
    return table;
}();
inline constexpr std::string_view kBase64UrlAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

} // namespace text
} // namespace vantrel

#endif
