// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_BASE64_X86_H
#define FOUNDATION_TEXT_BASE64_X86_H

// Internal: the base64 kernels for x86-64.

#include <cstddef>
#include <cstdint>

#if defined(__x86_64__)

namespace vantrel::text {

// For Feature::Avx2.
[[nodiscard]] std::size_t base64DecodeBlocksAvx2(const char* text, std::size_t length,
                                                 std::uint8_t* out) noexcept;
[[nodiscard]] std::size_t base64SqueezeAvx2(const char* text, std::size_t length,
                                            char* out) noexcept;
// For Feature::Avx512 with Avx512Vbmi: its permutations and compression of bytes.
[[nodiscard]] std::size_t base64DecodeBlocksAvx512(const char* text, std::size_t length,
                                                   std::uint8_t* out) noexcept;
[[nodiscard]] std::size_t base64SqueezeAvx512(const char* text, std::size_t length,
                                              char* out) noexcept;

} // namespace vantrel::text

#endif
#endif
