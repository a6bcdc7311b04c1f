// SPDX-License-Identifier: MIT
#include "foundation/xml/canon/canon_output.h"

#include <algorithm>

namespace vantrel::xml {

bool StringBufferSink::write(const char* data, std::size_t size) {
    m_passedLimit = m_passedLimit || size > m_limit || m_out.getSize() > m_limit - size;
    return !m_passedLimit && m_out.appendView(std::string_view(data, size));
}

void CanonOutput::flush() {
    if (m_used != 0 && !m_refused) {
        m_refused = !m_sink.write(m_buffer, m_used);
    }
    m_used = 0;
}

// The piece does not fit the rest of the buffer.
void CanonOutput::putLong(std::string_view piece) {
    flush();
    while (piece.size() > kBuffer) {
        const std::size_t portion = std::min<std::size_t>(piece.size(), kPortion);
        if (!m_refused) {
            m_refused = !m_sink.write(piece.data(), portion);
        }
        piece.remove_prefix(portion);
    }
    std::memcpy(m_buffer, piece.data(), piece.size());
    m_used = piece.size();
}

} // namespace vantrel::xml
