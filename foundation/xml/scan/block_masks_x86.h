// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_BLOCK_MASKS_X86_H
#define FOUNDATION_XML_SCAN_BLOCK_MASKS_X86_H

#include "foundation/xml/scan/block_masks.h"

#if defined(__x86_64__)

namespace vantrel::xml {

// The kernels of the list in block_masks.cpp; what each needs stands there.
void classifySse2(const char* text, std::size_t count, bool hasBefore, BlockMasks& masks,
                  TextFacts& facts) noexcept;
void classifyAvx2(const char* text, std::size_t count, bool hasBefore, BlockMasks& masks,
                  TextFacts& facts) noexcept;
void classifyAvx512(const char* text, std::size_t count, bool hasBefore, BlockMasks& masks,
                    TextFacts& facts) noexcept;

} // namespace vantrel::xml

#endif

#endif
