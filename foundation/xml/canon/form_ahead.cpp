// SPDX-License-Identifier: MIT
#include "foundation/xml/canon/form_ahead.h"

#include "foundation/xml/canon/canon_walker.h"

#include <algorithm>

namespace vantrel::xml {

namespace {

constexpr std::uint32_t kMostPrefixes = 256;

} // namespace

FormAhead::FormAhead(CanonMethod method, bool whole, CanonSink& sink) noexcept : m_sink(sink) {
    m_request.method = method;
    m_request.apex = whole ? kNoElement : 0;
}

FormAhead::~FormAhead() = default;

void FormAhead::reached(const XmlDocument& document, std::uint32_t offset) {
    if (m_isOver) {
        return;
    }
    if (document.prefixCount() > kMostPrefixes) {
        m_isOver = true;
        m_walker.reset();
        return;
    }
    // A signature may be left out, and then with all that stands in it.
    if (!document.signatures().empty()) {
        const std::uint32_t start = document.element(document.signatures().front().element).start;
        m_isOver = start <= offset;
        offset = std::min(offset, start);
    }
    if (m_walker != nullptr) {
        m_walker->walkOnTo(offset);
    } else if (offset > document.element(0).start) {
        m_document = &document;
        m_walker = std::make_unique<CanonWalker>(document, m_request, m_sink);
        m_walker->walkFront(m_request.apex == kNoElement, offset);
    }
}

bool FormAhead::isFrontOf(const XmlDocument& document, const CanonRequest& request) const noexcept {
    return m_walker != nullptr && m_document == &document && request.method == m_request.method &&
           !request.withComments && request.prefixes.empty() && request.apex == m_request.apex &&
           request.inheritNamespaces && request.order == AttributeOrder::Canonical &&
           (request.omitted.empty() || request.omitted.front().start >= m_walker->reached());
}

bool FormAhead::finish(const CanonRequest& request) {
    m_request.omitted = request.omitted;
    m_walker->walkRest(m_request.apex == kNoElement);
    const bool isTaken = m_walker->finish();
    m_walker.reset();
    return isTaken;
}

} // namespace vantrel::xml
