// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_UTF8_FAULTS_H
#define FOUNDATION_TEXT_UTF8_FAULTS_H

// Internal: the tables by which kernels with vectors find faults of UTF-8.

#include <array>
#include <cstddef>
#include <cstdint>

// Every fault of UTF-8 but one shows in two bytes in a row, and there in three halves of bytes:
// three table look-ups, one for each half, leave a bit only where all three agree on a kind of
// fault. The remaining one, a missing or surplus third or fourth byte, is found by looking two and
// three bytes back. After Keiser and Lemire, "Validating UTF-8 in less than one instruction per
// byte" (2021).

namespace vantrel::text {

using HalfByteTable = std::array<std::uint8_t, 16>;

namespace detail {

// Sets of half bytes, bit n for the value n.
inline constexpr std::uint16_t kAny = 0xFFFF;
inline constexpr std::uint16_t kContinuation = 0x0F00; // 8 to B
inline constexpr std::uint16_t kAscii = 0x00FF;
inline constexpr std::uint16_t kLead = 0xF000;

struct Utf8Fault {
    std::uint16_t firstUpper;
    std::uint16_t firstLower;
    std::uint16_t secondUpper;
};

// The bit of a fault is its place here. The last is none by itself: two continuation bytes in a row
// are wanted where a longer character stands.
inline constexpr Utf8Fault kUtf8Faults[8] = {
    {kLead, kAny, static_cast<std::uint16_t>(kAscii | kLead)}, // too short
    {kAscii, kAny, kContinuation},                             // too long
    {0x1000, 0x0003, kContinuation},                           // C0, C1: overlong
    {0x4000, 0x0001, 0x0300},                                  // E0 80 to E0 9F: overlong
    {0x4000, 0x2000, 0x0C00},                                  // ED A0 to ED BF: surrogate
    {0x8000, 0xFFF0, 0x0E00},                                  // F4 90 and above: too large
    {0x8000, 0xFFE1, 0x0100}, // F0 80: overlong; F5 80 and above: too large
    {kContinuation, kAny, kContinuation},
};

constexpr HalfByteTable faultTable(std::uint16_t Utf8Fault::*half) {
    HalfByteTable table{};
    for (std::size_t value = 0; value < 16; ++value) {
        for (std::size_t bit = 0; bit < 8; ++bit) {
            const bool has = (kUtf8Faults[bit].*half >> value & 1) != 0;
            table[value] = static_cast<std::uint8_t>(table[value] | (has ? 1U << bit : 0U));
        }
    }
    return table;
}

} // namespace detail

// By the upper half of the first byte, by its lower half, by the upper half of the second.
alignas(16) inline constexpr HalfByteTable kFirstUpper =
    detail::faultTable(&detail::Utf8Fault::firstUpper);
alignas(16) inline constexpr HalfByteTable kFirstLower =
    detail::faultTable(&detail::Utf8Fault::firstLower);
alignas(16) inline constexpr HalfByteTable kSecondUpper =
    detail::faultTable(&detail::Utf8Fault::secondUpper);

} // namespace vantrel::text

#endif
