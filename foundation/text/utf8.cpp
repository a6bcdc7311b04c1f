// SPDX-License-Identifier: MIT
#include "foundation/text/utf8.h"

#include "foundation/text/utf8_kernels.h"

#include <cstdint>
#include <cstring>

namespace vantrel::text {

namespace {

constexpr std::size_t kAsciiBlock = 64;
constexpr std::size_t kWorthVectors = 256;

// The compiler makes one vector OR of this loop.
bool isAsciiBlock(const char* block) noexcept {
    unsigned char seen = 0;
    for (std::size_t i = 0; i < kAsciiBlock; ++i) {
        seen |= static_cast<unsigned char>(block[i]);
    }
    return seen < 0x80;
}

// By the byte that leads it.
std::size_t lengthOf(unsigned char lead) noexcept {
    return lead >= 0xF0 ? 4 : (lead >= 0xE0 ? 3 : 2);
}

// The same as validUtf8Prefix, where the first `at` bytes are known to be whole characters.
std::size_t validPrefixFrom(std::string_view text, std::size_t at) noexcept {
    at += asciiPrefix(text.substr(at));
    while (at < text.size()) {
        char32_t character = 0;
        const std::size_t length = decodeUtf8(text.substr(at), character);
        if (length == 0) {
            break;
        }
        at += length;
        if (length == 1) {
            at += asciiPrefix(text.substr(at));
        }
    }
    return at;
}

std::size_t validPrefixPortable(std::string_view text) noexcept { return validPrefixFrom(text, 0); }

// Goes on behind whole blocks whose first `at` bytes hold no fault.
[[maybe_unused]] std::size_t validPrefixBehind(std::string_view text, std::size_t at) noexcept {
    // The last character may be cut off there: back to where it begins.
    for (std::size_t back = 1; back <= 3 && back <= at; ++back) {
        const auto byte = static_cast<unsigned char>(text[at - back]);
        if (byte >= 0xC0) {
            return validPrefixFrom(text, lengthOf(byte) > back ? at - back : at);
        }
    }
    return validPrefixFrom(text, at);
}

#if defined(__x86_64__)
std::size_t validPrefixAvx2(std::string_view text) noexcept {
    return validPrefixBehind(text, utf8BlocksAvx2(text));
}
#elif defined(__aarch64__)
std::size_t validPrefixNeon(std::string_view text) noexcept {
    return validPrefixBehind(text, utf8BlocksNeon(text));
}
#endif

constexpr Utf8Kernel kUtf8Kernels[] = {
#if defined(__x86_64__)
    {"avx2", cpu::Feature::Avx2, validPrefixAvx2},
#elif defined(__aarch64__)
    {"neon", cpu::Feature::Neon, validPrefixNeon},
#endif
    {"portable", cpu::Feature::None, validPrefixPortable},
};
static_assert(cpu::isKernelList(kUtf8Kernels));

} // namespace

std::size_t asciiPrefix(std::string_view text) noexcept {
    std::size_t at = 0;
    while (text.size() - at >= kAsciiBlock && isAsciiBlock(text.data() + at)) {
        at += kAsciiBlock;
    }
    for (; text.size() - at >= 8; at += 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, text.data() + at, 8);
        if ((word & 0x8080808080808080U) != 0) {
            break;
        }
    }
    while (at < text.size() && static_cast<unsigned char>(text[at]) < 0x80) {
        ++at;
    }
    return at;
}

std::size_t decodeUtf8(std::string_view text, char32_t& character) noexcept {
    if (text.empty()) {
        return 0;
    }
    const auto lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80) {
        character = lead;
        return 1;
    }
    const std::size_t length = lengthOf(lead);
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length) {
        return 0;
    }
    char32_t value = lead & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(text[i]);
        if ((next & 0xC0) != 0x80) {
            return 0;
        }
        value = value << 6 | (next & 0x3FU);
    }
    constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (value < kSmallest[length] || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) {
        return 0;
    }
    character = value;
    return length;
}

std::span<const Utf8Kernel> utf8Kernels() noexcept { return kUtf8Kernels; }

std::size_t validUtf8Prefix(std::string_view text) noexcept {
    return text.size() < kWorthVectors ? validPrefixFrom(text, 0)
                                       : cpu::chosenKernel(kUtf8Kernels).run(text);
}

bool isValidUtf8(std::string_view text) noexcept { return validUtf8Prefix(text) == text.size(); }

std::size_t encodeUtf8(char32_t character, char (&out)[4]) noexcept {
    const auto tail = [&](unsigned shift) {
        return static_cast<char>(0x80 | (character >> shift & 0x3F));
    };
    if (character < 0x80) {
        out[0] = static_cast<char>(character);
        return 1;
    }
    if (character < 0x800) {
        out[0] = static_cast<char>(0xC0 | character >> 6);
        out[1] = tail(0);
        return 2;
    }
    if (character < 0x10000) {
        out[0] = static_cast<char>(0xE0 | character >> 12);
        out[1] = tail(6);
        out[2] = tail(0);
        return 3;
    }
    out[0] = static_cast<char>(0xF0 | character >> 18);
    out[1] = tail(12);
    out[2] = tail(6);
    out[3] = tail(0);
    return 4;
}

} // namespace vantrel::text
