// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_TREE_ELEMENT_TEXT_H
#define FOUNDATION_XML_TREE_ELEMENT_TEXT_H

#include "foundation/text/StringBuffer.h"
#include "foundation/xml/scan/start_tag.h"
#include "foundation/xml/scan/xml_document.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vantrel::xml {

// Appends the element's own character data: its direct text and CDATA sections, references
// resolved, line ends normalised; nothing of its children, comments or processing instructions.
void appendElementContent(const XmlDocument& document, ElementId element, std::string& out);

// The same as a view of the document's text, where it stands there as it is: no child, no other
// markup, no reference and no carriage return in it. False for every other content.
[[nodiscard]] bool plainElementContent(const XmlDocument& document, ElementId element,
                                       std::string_view& content) noexcept;

// The content in either case, as a view of the document's text or of `storage`.
[[nodiscard]] std::string_view elementContent(const XmlDocument& document, ElementId element,
                                              std::string& storage);

// Calls visit(name, value) for each attribute of an element in document order, defaults last, until
// it returns false. Values are normalised; views hold until the visit returns. Namespace
// declarations are attributes, too.
template <class Visit>
void forEachAttribute(const XmlDocument& document, ElementId element, const Visit& visit);

// The value of the first attribute whose name satisfies `pattern`; false when there is none.
// May throw std::bad_alloc.
class NamePattern;
[[nodiscard]] bool attributeValue(const XmlDocument& document, ElementId element,
                                  const NamePattern& pattern, StringBuffer& value);

// Appends the element with its subtree as XML: as it stands in the text, with attribute defaults
// added.
void appendElementXml(const XmlDocument& document, ElementId element, std::string& out);

// The same as a view of the document's text, or else of `storage`.
[[nodiscard]] std::string_view elementXml(const XmlDocument& document, ElementId element,
                                          std::string& storage);

// Paths and names are shown up to this many bytes, and end in "..." where they were longer, so that
// many of them stay in proportion to the document. What goes beyond kShortPath is shown as long as
// all of it together stays within kLongPaths.
inline constexpr std::size_t kMaxShownPath = 4096;
inline constexpr std::size_t kShortPath = 256;
inline constexpr std::size_t kLongPaths = std::size_t{16} << 20;

// Paths from the root, "/Batch/Item[3]": qualified names, with the one-based position where
// siblings share the name. After a few that are searched for, positions are worked out once for all
// children of a parent, so paths to all children of one element cost few passes over them; and the
// way up from an element is gone only once where it is longer than what is shown. A path that was
// cut ends in "/...". The document must outlive the object.
class ElementPaths final {
public:
    explicit ElementPaths(const XmlDocument& document) noexcept : m_document(document) {}

    void append(ElementId element, std::string& out);
    // The element's qualified name, cut likewise.
    void appendName(ElementId element, std::string& out);
    // Elements gone over so far, to be compared with what was asked for.
    [[nodiscard]] std::uint64_t work() const noexcept { return m_work; }

private:
    // Elements whose paths are longer than a limit, each with the last element that its path shows.
    using CutPaths = std::unordered_map<ElementId, ElementId>;

    [[nodiscard]] bool isShort() const noexcept { return m_longBytes >= kLongPaths; }
    void countLong(std::size_t bytes) noexcept {
        m_longBytes += bytes > kShortPath ? bytes - kShortPath : 0;
    }
    // Position among like-named siblings, from 1; 0 for an only one.
    [[nodiscard]] std::uint32_t position(ElementId element);
    [[nodiscard]] std::uint32_t positionBySearch(ElementId parent, ElementId element);
    void numberChildren(ElementId parent);
    [[nodiscard]] bool climb(ElementId element, CutPaths& cutPaths);
    void rememberCut(std::size_t count, ElementId last, CutPaths& cutPaths);
    [[nodiscard]] std::string_view nameUpTo(ElementId element, std::size_t most) const noexcept;

    const XmlDocument& m_document;
    // Of the children of numbered parents, and of those that were searched for.
    std::unordered_map<ElementId, std::uint32_t> m_positions;
    std::unordered_map<ElementId, std::uint32_t> m_searches; // among the children of a parent
    CutPaths m_cutLong;
    CutPaths m_cutShort;
    std::vector<ElementId> m_steps; // from an element up to the root
    std::size_t m_longBytes = 0;
    std::uint64_t m_work = 0;
};

namespace detail {
// Normalised value of an attribute in the text; a view of the text or of `storage`.
[[nodiscard]] std::string_view normalisedValue(const XmlDocument& document, ElementId element,
                                               const Attribute& attribute, std::string& storage);
} // namespace detail

template <class Visit>
void forEachAttribute(const XmlDocument& document, ElementId element, const Visit& visit) {
    StartTagReader tag(document.text(), document.element(element).start);
    std::string storage;
    std::vector<std::string_view> names;
    const bool defaults = document.hasAttributeDefaults();
    for (Attribute attribute; tag.next(attribute);) {
        if (defaults) {
            names.push_back(attribute.name);
        }
        if (!visit(attribute.name,
                   detail::normalisedValue(document, element, attribute, storage))) {
            return;
        }
    }
    if (!defaults) {
        return;
    }
    std::sort(names.begin(), names.end());
    for (const DeclaredAttribute& declared :
         document.documentType()->declaredAttributes(tag.name())) {
        const bool absent =
            declared.hasDefault && !std::binary_search(names.begin(), names.end(), declared.name);
        if (absent && !visit(std::string_view(declared.name), std::string_view(declared.value))) {
            return;
        }
    }
}

} // namespace vantrel::xml

#endif
