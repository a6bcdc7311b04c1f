// SPDX-License-Identifier: MIT
#include "foundation/io/huge_pages.h"

#include "foundation/text/block_memory.h"

#include <cstddef>

#include <sys/mman.h>

namespace vantrel::io {

namespace {

void advise(void* start, std::size_t size) noexcept {
#ifdef MADV_HUGEPAGE
    // Only advice: where it is refused, small pages serve.
    static_cast<void>(::madvise(start, size, MADV_HUGEPAGE));
#else
    static_cast<void>(start);
    static_cast<void>(size);
#endif
}

} // namespace

void useHugePages() noexcept { text::setHugePageAdvice(advise); }

} // namespace vantrel::io
