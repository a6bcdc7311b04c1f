// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/text_window.h"

#include <algorithm>
#include <cstring>

namespace vantrel::xml {

TextWindow::TextWindow(std::string_view text) noexcept
    : m_text(text.data()), m_size(static_cast<std::uint32_t>(text.size())),
      m_classify(chosenClassifyKernel().run) {
    for (auto& row : m_masks.rows) {
        row[0] = 0;
    }
}

void TextWindow::advance() noexcept {
    m_begin = m_end;
    const std::uint32_t rest = m_size - m_begin;
    const std::uint32_t full = std::min(rest / kBlockSize, kWindowBlocks);
    if (full != 0) {
        m_classify(m_text + m_begin, full, m_begin != 0, m_masks, m_facts);
    }
    std::uint32_t blocks = full;
    m_end = m_begin + full * kBlockSize;
    if (full < kWindowBlocks) {
        // The tail is filled up with spaces; one block of them at least, so that a character which
        // the text leaves unfinished shows as a fault.
        char tail[2 * kBlockSize];
        std::memset(tail, ' ', sizeof tail);
        if (m_end != 0) {
            std::memcpy(tail, m_text + m_end - kBlockSize, kBlockSize);
        }
        std::memcpy(tail + kBlockSize, m_text + m_end, m_size - m_end);
        BlockMasks last;
        m_classify(tail + kBlockSize, 1, true, last, m_facts);
        for (unsigned stop = 0; stop < kStopClasses; ++stop) {
            m_masks.rows[stop][blocks] = last.rows[stop][0];
        }
        ++blocks;
        m_end = m_size;
        m_complete = true;
    }
    for (auto& row : m_masks.rows) {
        row[blocks] = 0;
        row[blocks + 1] = 0;
    }
}

std::uint32_t TextWindow::findFar(StopClass stop, std::uint32_t at) noexcept {
    while (at < m_size) {
        while (at >= m_end) {
            advance();
        }
        const std::uint32_t distance = at - m_begin;
        const std::uint32_t blocks = (m_end - m_begin + kBlockSize - 1) / kBlockSize;
        std::uint32_t block = distance / kBlockSize;
        std::uint64_t bits = m_masks.rows[stop][block] >> (distance % kBlockSize)
                                                              << (distance % kBlockSize);
        while (bits == 0 && ++block < blocks) {
            bits = m_masks.rows[stop][block];
        }
        if (bits != 0) {
            const std::uint32_t hit =
                m_begin + block * kBlockSize + static_cast<std::uint32_t>(__builtin_ctzll(bits));
            return std::min(hit, m_size); // a name stop may lie in the filling
        }
        at = m_end;
    }
    return m_size;
}

void TextWindow::checkUpTo(std::uint32_t offset) noexcept {
    while (!m_complete && m_end <= offset) {
        advance();
    }
}

} // namespace vantrel::xml
