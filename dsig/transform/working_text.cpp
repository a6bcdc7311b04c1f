#include "dsig/transform/working_text.h"

namespace vantrel::dsig {

void WorkingText::omit(xml::TextRange range) {
    if (m_isLoadedText && m_omitted.empty() && m_structure && xml::isHole(*m_structure, range)) {
        m_omitted.push_back(range);
        return;
    }
    change().removeChunk(range.start, range.length);
}

void WorkingText::cutOmitted() {
    if (m_omitted.empty()) {
        return;
    }
    for (auto range = m_omitted.rbegin(); range != m_omitted.rend(); ++range) {
        m_text.removeChunk(range->start, range->length);
    }
    m_omitted.clear();
    forgetStructure();
}

} // namespace vantrel::dsig
