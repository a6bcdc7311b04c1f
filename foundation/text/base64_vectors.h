// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_BASE64_VECTORS_H
#define FOUNDATION_TEXT_BASE64_VECTORS_H

// Internal: the base64 kernels with vectors.

#include <cstddef>
#include <cstdint>

namespace vantrel::text {

#if defined(__x86_64__)
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
#elif defined(__aarch64__)
// For Feature::Neon.
[[nodiscard]] std::size_t base64DecodeBlocksNeon(const char* text, std::size_t length,
                                                 std::uint8_t* out) noexcept;
[[nodiscard]] std::size_t base64SqueezeNeon(const char* text, std::size_t length,
                                            char* out) noexcept;
#endif

} // namespace vantrel::text

#endif
