// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/inheritance.h"

#include <algorithm>
#include <numeric>
#include <unordered_map>

namespace vantrel::xml {

namespace {

constexpr std::string_view kXmlPrefixText = "xml";

std::vector<std::string_view> prefixesOf(const XmlDocument& document) {
    std::vector<std::string_view> prefixes;
    for (std::uint32_t id = 0; id < document.prefixCount(); ++id) {
        prefixes.push_back(document.prefixText(id));
    }
    return prefixes;
}

InheritanceTable tableOf(const XmlDocument& document, const RankedNames& prefixes) {
    std::vector<HandedDown> items;
    items.reserve(document.namespaceDecls().size());
    for (const NamespaceDecl& declaration : document.namespaceDecls()) {
        items.push_back({declaration.element, prefixes.ranks[declaration.prefixId]});
    }
    return InheritanceTable(document.elements(), items, document.prefixCount());
}

InheritanceTable tableOf(const XmlDocument& document, const std::vector<TypedAttribute>& attributes,
                         const std::vector<ElementId>& elements) {
    std::unordered_map<std::string_view, std::uint32_t, StringHash, std::equal_to<>> numbers;
    std::vector<std::string_view> names;
    std::vector<HandedDown> items;
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        const std::string_view name = attributes[i].source.name;
        const auto [known, added] =
            numbers.try_emplace(name, static_cast<std::uint32_t>(names.size()));
        if (added) {
            names.push_back(name);
        }
        items.push_back({elements[i], known->second});
    }
    const RankedNames ranked(std::move(names));
    for (HandedDown& item : items) {
        item.name = ranked.ranks[item.name];
    }
    return InheritanceTable(document.elements(), items,
                            static_cast<std::uint32_t>(ranked.names.size()));
}

// The defaults of the prefix xml that the element takes on; `present` are the names in its tag.
void addDefaults(const DocumentType& types, std::string_view element,
                 std::vector<std::string_view>& present, std::vector<TypedAttribute>& attributes) {
    std::sort(present.begin(), present.end());
    for (const DeclaredAttribute& declared : types.declaredAttributes(element)) {
        const std::string_view name = declared.name;
        if (!declared.hasDefault || !name.starts_with("xml:") ||
            std::binary_search(present.begin(), present.end(), name)) {
            continue;
        }
        TypedAttribute added;
        added.source.name = name;
        added.source.prefixLength = static_cast<std::uint32_t>(kXmlPrefixText.size());
        added.source.raw = declared.value;
        added.isNormalised = true;
        attributes.push_back(added);
    }
}

} // namespace

RankedNames::RankedNames(std::vector<std::string_view> numbered)
    : names(std::move(numbered)), ranks(names.size()) {
    std::vector<std::uint32_t> order(names.size());
    std::iota(order.begin(), order.end(), 0U);
    std::sort(order.begin(), order.end(),
              [this](std::uint32_t a, std::uint32_t b) { return names[a] < names[b]; });
    std::vector<std::string_view> sorted;
    sorted.reserve(names.size());
    for (const std::uint32_t number : order) {
        ranks[number] = static_cast<std::uint32_t>(sorted.size());
        sorted.push_back(names[number]);
    }
    names.swap(sorted);
}

InheritedNamespaces::InheritedNamespaces(const XmlDocument& document)
    : m_declarations(document.namespaceDecls()), m_prefixes(prefixesOf(document)),
      m_table(tableOf(document, m_prefixes)) {}

const NamespaceDecl* InheritedNamespaces::nearest(std::uint32_t rank,
                                                  ElementId element) const noexcept {
    const std::uint32_t found = m_table.nearest(rank, element);
    return found == InheritanceTable::kNone ? nullptr : &m_declarations[found];
}

InheritedXmlAttributes::InheritedXmlAttributes(const XmlDocument& document)
    : InheritedXmlAttributes(document, collect(document)) {}

InheritedXmlAttributes::InheritedXmlAttributes(const XmlDocument& document, Collected collected)
    : m_attributes(std::move(collected.attributes)),
      m_table(tableOf(document, m_attributes, collected.elements)) {}

InheritedXmlAttributes::Collected InheritedXmlAttributes::collect(const XmlDocument& document) {
    const DocumentType* const types =
        document.hasAttributeTypes() ? document.documentType() : nullptr;
    Collected found;
    std::vector<std::string_view> present;
    for (const ElementId element : document.elementsWithXmlAttributes()) {
        StartTagReader tag(document.text(), document.element(element).start);
        present.clear();
        for (Attribute attribute; tag.next(attribute);) {
            if (attribute.prefix() != kXmlPrefixText) {
                continue;
            }
            const AttributeType type = types != nullptr
                                           ? types->attributeType(tag.name(), attribute.name)
                                           : AttributeType::Cdata;
            found.attributes.push_back({attribute, type, false});
            present.push_back(attribute.name);
        }
        if (types != nullptr) {
            addDefaults(*types, tag.name(), present, found.attributes);
        }
        found.elements.resize(found.attributes.size(), element);
    }
    return found;
}

} // namespace vantrel::xml
