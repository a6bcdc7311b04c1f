// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_BLOCK_MEMORY_H
#define FOUNDATION_TEXT_BLOCK_MEMORY_H

#include <cstddef>

namespace vantrel::text {

// Blocks of this size and more start on a huge-page boundary, and the operating system is asked to
// back them with huge pages: the first touch of a small page costs over a microsecond.
inline constexpr std::size_t kLargeBlock = std::size_t{4} << 20;
inline constexpr std::size_t kHugePage = std::size_t{2} << 20;

// Memory for buffers and arenas; null when there is none. Its contents are undefined.
[[nodiscard]] void* allocateBlock(std::size_t size) noexcept;
void freeBlock(void* block) noexcept;
// The block with another size, moved where that is needed; its contents stay up to the smaller of
// the two. Null, and the block as it was, when there is no memory.
[[nodiscard]] void* growBlock(void* block, std::size_t size, std::size_t newSize) noexcept;

// The call that asks for huge pages. This folder makes no operating-system calls itself, so
// foundation/io brings the function in; without it large blocks are merely aligned.
using HugePageAdvice = void (*)(void* start, std::size_t size) noexcept;
void setHugePageAdvice(HugePageAdvice advice) noexcept;

// Overwrites memory with zeros; the compiler may not leave it out.
void secureWipe(void* start, std::size_t size) noexcept;

} // namespace vantrel::text

#endif
