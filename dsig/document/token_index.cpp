// SPDX-License-Identifier: MIT
#include "dsig/document/token_index.h"

#include "foundation/xml/tree/element_text.h"
#include "foundation/xml/tree/tag_pattern.h"

#include <algorithm>

namespace vantrel::dsig {

TokenIndex::TokenIndex(const xml::XmlDocument& document) {
    for (xml::ElementId at = 0; at < document.elementCount(); ++at) {
        if (document.localName(at) == "BinarySecurityToken") {
            add(document, at);
        }
    }
}

void TokenIndex::add(const xml::XmlDocument& document, xml::ElementId token) {
    if (m_first == xml::kNoElement) {
        m_first = token;
    }
    const xml::NamePattern id("*:Id");
    const xml::NamePattern valueType("*:ValueType");
    xml::forEachAttribute(document, token, [&](std::string_view name, std::string_view value) {
        // Of several tokens with one Id the first stays, in whatever order they are asked for.
        // Another choice would gain nobody anything: the key of a token still has to verify the
        // value.
        if (id.matches(name)) {
            m_byId.emplace(value, token);
        } else if (m_firstX509 == xml::kNoElement && valueType.matches(name) &&
                   // WS-Security X.509 Token Profile, 3.1; by the fragment, since signers write
                   // several base URIs.
                   value.ends_with("#X509v3")) {
            m_firstX509 = token;
        }
        return true;
    });
}

xml::ElementId TokenIndex::withId(std::string_view id) const {
    const auto place = m_byId.find(id);
    return place == m_byId.end() ? xml::kNoElement : place->second;
}

void ElementSearch::search(const xml::XmlDocument& document, xml::ElementId element) {
    if (m_isAbsent) {
        return;
    }
    // Elements are numbered in document order, so a subtree is a stretch of ids.
    const xml::ElementId end = document.subtreeEnd(element);
    // Nested signatures lie in the stretch of the outermost, which is asked about first; siblings
    // each have their own. Either way an element is looked at once when signatures are taken in
    // document order.
    if (element >= m_from && end <= m_to) {
        return;
    }
    m_found.clear();
    for (xml::ElementId at = element; at < end; ++at) {
        if (document.localName(at) == m_name) {
            m_found.push_back(at);
        }
    }
    m_visited += end - element;
    m_from = element;
    m_to = end;
}

bool ElementSearch::within(const xml::XmlDocument& document, xml::ElementId element) {
    search(document, element);
    const auto place = std::lower_bound(m_found.begin(), m_found.end(), element);
    return place != m_found.end() && *place < document.subtreeEnd(element);
}

std::size_t ElementSearch::count(const xml::XmlDocument& document, xml::ElementId element) {
    search(document, element);
    const auto first = std::lower_bound(m_found.begin(), m_found.end(), element);
    const auto last = std::lower_bound(first, m_found.end(), document.subtreeEnd(element));
    return static_cast<std::size_t>(last - first);
}

} // namespace vantrel::dsig
