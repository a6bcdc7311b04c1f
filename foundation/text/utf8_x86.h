#ifndef FOUNDATION_TEXT_UTF8_X86_H
#define FOUNDATION_TEXT_UTF8_X86_H

// Internal: validation of UTF-8 with AVX2.

#include <cstddef>
#include <string_view>

#if defined(__x86_64__)

namespace vantrel::text {

// Checks whole blocks of 64 bytes and returns how many bytes from the front hold no fault; a
// character may be cut off at that place. Needs hasAvx2() (base64_x86.h).
[[nodiscard]] std::size_t utf8BlocksAvx2(std::string_view text) noexcept;

} // namespace vantrel::text

#endif
#endif
