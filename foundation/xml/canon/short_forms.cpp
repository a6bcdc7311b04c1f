// SPDX-License-Identifier: MIT
#include "foundation/xml/canon/short_forms.h"

namespace vantrel::xml {

std::string_view ShortForms::of(ElementId apex) {
    const ElementRecord& record = m_document.element(apex);
    if (record.end - record.start > kMost) {
        return {};
    }
    const ElementId parent = m_last.parentOf(m_document, apex);
    const bool goesOn = m_canGoOn && m_parent == parent;
    m_canGoOn = false; // should memory run out in the middle
    bool mayGoOn = true;
    if (goesOn) {
        m_walker->walkNext(apex);
    } else {
        m_walker.emplace(m_document, m_request, m_sink);
        mayGoOn = m_walker->walkFirst(apex);
    }
    const std::string_view form = m_walker->form();
    m_parent = parent;
    m_canGoOn = mayGoOn && !form.empty();
    return form;
}

} // namespace vantrel::xml
