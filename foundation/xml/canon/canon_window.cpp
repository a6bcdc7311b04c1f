// SPDX-License-Identifier: MIT
#include "foundation/xml/canon/canon_window.h"

#include <algorithm>
#include <cstring>

namespace vantrel::xml {

// Blocks are counted from the beginning of the text, so that a block is classified alike each time.
void CanonWindow::slideTo(std::uint32_t at) noexcept {
    m_begin = at / kMaskedBytes * kMaskedBytes;
    const std::uint32_t end = std::max(m_limit, at + 1);
    const std::uint32_t wanted =
        std::min((end - m_begin + kMaskedBytes - 1) / kMaskedBytes, kBlocks);
    const std::uint32_t whole = std::min(wanted, (m_size - m_begin) / kMaskedBytes);
    m_make(m_text + m_begin, whole, m_masks);
    std::uint32_t blocks = whole;
    if (whole < wanted) { // the last block of the text is filled up
        char tail[kMaskedBytes] = {};
        const std::uint32_t start = m_begin + whole * kMaskedBytes;
        std::memcpy(tail, m_text + start, m_size - start);
        m_make(tail, 1, m_masks + blocks);
        ++blocks;
    }
    m_masks[blocks] = CanonMasks{};
    const bool reachesEnd = m_begin + blocks * kMaskedBytes >= end;
    m_safe = m_begin + (reachesEnd ? blocks : blocks - 1) * kMaskedBytes;
}

} // namespace vantrel::xml
