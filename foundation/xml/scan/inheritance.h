// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_INHERITANCE_H
#define FOUNDATION_XML_SCAN_INHERITANCE_H

#include "foundation/xml/scan/inheritance_table.h"
#include "foundation/xml/scan/start_tag.h"
#include "foundation/xml/scan/xml_document.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace vantrel::xml {

// Names numbered by rank, in the order of their bytes.
struct RankedNames {
    // `numbered` in any order; a name's place in it is its number.
    explicit RankedNames(std::vector<std::string_view> numbered);

    std::vector<std::string_view> names; // by rank
    std::vector<std::uint32_t> ranks;    // by number
};

// The namespace declarations in force at the elements of a document. Made by
// XmlDocument::inheritedNamespaces at the first need; it refers to the document.
class InheritedNamespaces final {
public:
    explicit InheritedNamespaces(const XmlDocument& document);

    // Prefixes are ranked; `prefixId` is the document's number of one.
    [[nodiscard]] std::uint32_t rankOf(std::uint32_t prefixId) const noexcept {
        return m_prefixes.ranks[prefixId];
    }
    [[nodiscard]] std::string_view prefix(std::uint32_t rank) const noexcept {
        return m_prefixes.names[rank];
    }
    // The declaration in force at an element, its own included; null without one.
    [[nodiscard]] const NamespaceDecl* nearest(std::uint32_t rank,
                                               ElementId element) const noexcept;
    // The ranks of the prefixes declared at an element or above it, ascending. The default
    // namespace counts even where it is declared to be none.
    void prefixesAt(ElementId element, std::vector<std::uint32_t>& ranks) const {
        m_table.namesAt(element, ranks);
    }

private:
    std::span<const NamespaceDecl> m_declarations;
    RankedNames m_prefixes;
    InheritanceTable m_table;
};

// An attribute as it counts for an element: from its start tag, or a default.
struct TypedAttribute {
    Attribute source;
    AttributeType type = AttributeType::Cdata;
    bool isNormalised = false; // a default: its value is no raw text
};

// The same for the attributes of the prefix xml.
class InheritedXmlAttributes final {
public:
    explicit InheritedXmlAttributes(const XmlDocument& document);

    // The ranks of the names of which `element` has an attribute or inherits one, ascending.
    void namesAt(ElementId element, std::vector<std::uint32_t>& ranks) const {
        m_table.namesAt(element, ranks);
    }
    // The attribute in force; the rank must be one that namesAt lists.
    [[nodiscard]] const TypedAttribute& nearest(std::uint32_t rank,
                                                ElementId element) const noexcept {
        return m_attributes[m_table.nearest(rank, element)];
    }

private:
    struct Collected {
        std::vector<TypedAttribute> attributes; // in document order
        std::vector<ElementId> elements;        // that have them
    };

    InheritedXmlAttributes(const XmlDocument& document, Collected collected);
    [[nodiscard]] static Collected collect(const XmlDocument& document);

    std::vector<TypedAttribute> m_attributes;
    InheritanceTable m_table;
};

} // namespace vantrel::xml

#endif
