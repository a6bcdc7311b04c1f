// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_TREE_TAG_PATTERN_H
#define FOUNDATION_XML_TREE_TAG_PATTERN_H

#include "foundation/xml/scan/xml_document.h"

#include <cstdint>
#include <string_view>

namespace vantrel::xml {

// A name as look-ups write it: "*:Local" is that local name under any prefix or none, anything else
// is the qualified name itself.
class NamePattern final {
public:
    explicit NamePattern(std::string_view pattern) noexcept
        : m_anyPrefix(pattern.starts_with("*:")),
          m_name(m_anyPrefix ? pattern.substr(2) : pattern) {}

    [[nodiscard]] bool matches(std::string_view qualifiedName) const noexcept {
        if (!m_anyPrefix) {
            return qualifiedName == m_name;
        }
        // The local name, and before it nothing or a prefix with its colon.
        return qualifiedName.ends_with(m_name) &&
               qualifiedName.find(':') + 1 == qualifiedName.size() - m_name.size();
    }
    // The same for the name that begins at `at` of a checked text.
    [[nodiscard]] bool matchesAt(std::string_view text, std::uint32_t at) const noexcept;

private:
    bool m_anyPrefix;
    std::string_view m_name;
};

// The first that matches among `from`, a child of `parent` or kNoElement, and the children behind
// it.
[[nodiscard]] ElementId findChildFrom(const XmlDocument& document, ElementId parent, ElementId from,
                                      const NamePattern& pattern) noexcept;
// The first that matches among the children behind `child`.
[[nodiscard]] inline ElementId findNextChild(const XmlDocument& document, ElementId parent,
                                             ElementId child, const NamePattern& pattern) noexcept {
    return findChildFrom(document, parent, document.nextChild(parent, child), pattern);
}
// The zero-based n-th child that matches, or kNoElement.
[[nodiscard]] ElementId findNthChild(const XmlDocument& document, ElementId parent,
                                     const NamePattern& pattern, std::uint32_t n) noexcept;
// The element that a path leads to: steps joined by '|', each a name pattern for the first such
// child; a step that ends in "[i]" takes the child number `index` among those that match.
// kNoElement for a path that leads nowhere; the empty path leads to `from` itself.
[[nodiscard]] ElementId followPath(const XmlDocument& document, ElementId from,
                                   std::string_view path, std::uint32_t index) noexcept;

// '*' in `pattern` stands for any run of bytes, also none. Linear in the text for each star.
[[nodiscard]] bool matchesWildcards(std::string_view text, std::string_view pattern,
                                    bool ignoreCase) noexcept;

} // namespace vantrel::xml

#endif
