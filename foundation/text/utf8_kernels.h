// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_UTF8_KERNELS_H
#define FOUNDATION_TEXT_UTF8_KERNELS_H

// Internal: the validation of UTF-8 and its choice.

#include "foundation/cpu/kernel_list.h"

#include <cstddef>
#include <span>
#include <string_view>

namespace vantrel::text {

// Number of bytes at the front that are well-formed UTF-8.
using ValidUtf8Prefix = std::size_t (*)(std::string_view text) noexcept;
using Utf8Kernel = cpu::Kernel<ValidUtf8Prefix>;

[[nodiscard]] std::span<const Utf8Kernel> utf8Kernels() noexcept;

// Check whole blocks of 64 bytes and return how many bytes from the front hold no fault; a
// character may be cut off at that place.
#if defined(__x86_64__)
[[nodiscard]] std::size_t utf8BlocksAvx2(std::string_view text) noexcept; // for Feature::Avx2
#elif defined(__aarch64__)
[[nodiscard]] std::size_t utf8BlocksNeon(std::string_view text) noexcept; // for Feature::Neon
#endif

} // namespace vantrel::text

#endif
