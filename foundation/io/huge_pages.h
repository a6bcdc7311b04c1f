// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_IO_HUGE_PAGES_H
#define FOUNDATION_IO_HUGE_PAGES_H

namespace vantrel::io {

// From here on, large blocks of memory (foundation/text/block_memory.h) are asked for in huge
// pages. A program that uses the file functions of this folder gets this without a call.
void useHugePages() noexcept;

} // namespace vantrel::io

#endif
