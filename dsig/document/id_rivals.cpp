// SPDX-License-Identifier: MIT
#include "dsig/document/id_rivals.h"

#include "foundation/text/strings.h"
#include "foundation/xml/tree/element_text.h"

#include <algorithm>
#include <functional>

namespace vantrel::dsig {

namespace {

// IDREF, RefId, href, NameRef; SAML's InResponseTo and SessionIndex, which many issuers fill with
// the Id of the assertion.
bool refersElsewhere(std::string_view name) {
    const std::string_view local = name.substr(name.find(':') + 1); // npos + 1 is 0
    return text::findTextNoCase(local, "ref") != std::string_view::npos ||
           local == "InResponseTo" || local == "SessionIndex" || name.starts_with("xmlns");
}

std::uint64_t hashOf(std::string_view value) { return std::hash<std::string_view>{}(value); }

} // namespace

IdRivals::IdRivals(const xml::XmlDocument& document) {
    std::vector<std::pair<std::uint64_t, xml::ElementId>> values;
    for (xml::ElementId element = 0; element < document.elementCount(); ++element) {
        const auto take = [&](std::string_view name, std::string_view value) {
            // Readers with a schema trim Ids (XML 1.0, 3.3.3).
            value = text::trimmed(value);
            if (!value.empty() && !refersElsewhere(name)) {
                values.emplace_back(hashOf(value), element);
            }
            return true;
        };
        xml::forEachAttribute(document, element, take);
    }
    std::ranges::sort(values);
    for (std::size_t i = 1; i < values.size(); ++i) {
        if (values[i].first == values[i - 1].first && values[i].second != values[i - 1].second) {
            m_shared.push_back(values[i].first);
        }
    }
    m_shared.erase(std::unique(m_shared.begin(), m_shared.end()), m_shared.end());
}

bool IdRivals::has(std::string_view value) const {
    return std::ranges::binary_search(m_shared, hashOf(value));
}

} // namespace vantrel::dsig
