#ifndef FOUNDATION_XML_TREE_ELEMENT_TEXT_H
#define FOUNDATION_XML_TREE_ELEMENT_TEXT_H

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

// Calls visit(name, value) for each attribute of an element in document order, defaults last, until
// it returns false. Values are normalised; views hold until the visit returns. Namespace
// declarations are attributes, too.
template <class Visit>
void forEachAttribute(const XmlDocument& document, ElementId element, const Visit& visit);

// The value of the first attribute whose name satisfies `pattern`; false when there is none.
class NamePattern;
[[nodiscard]] bool attributeValue(const XmlDocument& document, ElementId element,
                                  const NamePattern& pattern, std::string& value);

// Appends the element with its subtree as XML: as it stands in the text, with attribute defaults
// added.
void appendElementXml(const XmlDocument& document, ElementId element, std::string& out);

// Paths from the root, "/Batch/Item[3]": qualified names, with the one-based position where
// siblings share the name. Positions are worked out once for all children of a parent, so paths to
// all children of one element cost no more than one pass over them. A path of more than
// kMaxShownPath bytes ends in "/...", so that many paths through long names stay in proportion. The
// document must outlive the object.
inline constexpr std::size_t kMaxShownPath = 4096;

class ElementPaths final {
public:
    explicit ElementPaths(const XmlDocument& document) noexcept : m_document(document) {}

    void append(ElementId element, std::string& out);

private:
    // Position among like-named siblings, from 1; 0 for an only one.
    [[nodiscard]] std::uint32_t position(ElementId element);
    void numberChildren(ElementId parent);

    const XmlDocument& m_document;
    std::unordered_map<ElementId, std::uint32_t> m_positions; // of the children of numbered parents
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
