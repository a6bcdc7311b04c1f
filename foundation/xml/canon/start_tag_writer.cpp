// SPDX-License-Identifier: MIT
#include "foundation/xml/canon/start_tag_writer.h"

#include "foundation/xml/canon/escape.h"
#include "foundation/xml/scan/values.h"

#include <algorithm>
#include <array>
#include <limits>
#include <tuple>
#include <unordered_set>

namespace vantrel::xml {

namespace {

constexpr std::string_view kXmlPrefixText = "xml";
constexpr std::size_t kInsertionSortLimit = 8;
constexpr std::size_t kShortPrefix = 8;
// Ancestors and declarations on them that are gone over for what the apex inherits, and the bytes
// of their start tags or of the namespace names. Beyond, the document's tables are asked, so that
// many small elements below much stay cheap.
constexpr std::size_t kMostWalked = 64;
constexpr std::size_t kMostBytesWalked = 4096;

// Few items are the rule, and mostly in order already.
template <class Iterator, class Less> void sortFew(Iterator first, Iterator last, Less less) {
    if (static_cast<std::size_t>(last - first) > kInsertionSortLimit) {
        std::sort(first, last, less);
        return;
    }
    for (Iterator i = first; i != last; ++i) {
        for (Iterator k = i; k != first && less(*k, *(k - 1)); --k) {
            std::swap(*k, *(k - 1));
        }
    }
}

} // namespace

StartTagWriter::StartTagWriter(const XmlDocument& document, const CanonRequest& request,
                               CanonWindow& window, CanonOutput& out)
    : m_document(document), m_request(request), m_window(window), m_out(out),
      m_text(document.text()), m_elements(document.elements()),
      m_declarations(document.namespaceDecls()),
      m_exclusive(request.method == CanonMethod::Exclusive),
      m_hasDeclaredAttributes(document.hasAttributeTypes()),
      m_hasShortPrefixes(document.longestPrefix() < kShortPrefix && !document.isFragment()),
      m_localNameOrder(request.order == AttributeOrder::LocalName) {
    if (m_exclusive) {
        for (const std::string_view prefix : request.prefixes) {
            const PrefixId id = m_namespaces.id(prefix == "#default" ? std::string_view() : prefix);
            m_namespaces[id].listed = true;
        }
    }
    findNextDeclaring();
}

void StartTagWriter::findNextDeclaring() noexcept {
    m_nextDeclaring = m_nextDeclaration < m_declarations.size()
                          ? m_document.element(m_declarations[m_nextDeclaration].element).start
                          : std::numeric_limits<std::uint32_t>::max();
}

void StartTagWriter::goOnAt(std::uint32_t offset) {
    m_namespaces.leave(offset);
    while (m_nextDeclaring < offset) {
        ++m_nextDeclaration;
        findNextDeclaring();
    }
}

void StartTagWriter::startAt(ElementId apex) {
    m_reached = apex;
    m_nextDeclaration = apex == 0 ? 0 : m_document.firstNamespaceDecl(apex);
    findNextDeclaring();
}

void StartTagWriter::learnMore() {
    m_elements = m_document.elements();
    m_declarations = m_document.namespaceDecls();
    m_hasShortPrefixes = m_document.longestPrefix() < kShortPrefix && !m_document.isFragment();
    m_namespaces.learnEnds(m_elements);
    findNextDeclaring();
}

// Everything that the last apex and its subtree did is taken back.
void StartTagWriter::goOnWith(ElementId apex) {
    m_namespaces.leave(PrefixBinding::kNever);
    startAt(apex);
}

void StartTagWriter::inherit(ElementId apex) {
    startAt(apex);
    m_namespaces.endAt(m_elements[apex].end);
    const bool hidden = !m_request.inheritNamespaces;
    if (!inheritByWalk(apex, hidden)) {
        m_outer = m_document.parent(apex);
        m_namespaces.inheritFrom(m_document, m_outer, hidden);
    }
}

// False, with nothing done, when that is a long way.
bool StartTagWriter::inheritByWalk(ElementId apex, bool hidden) {
    std::size_t steps = 0;
    std::size_t bytes = 0;
    std::array<const NamespaceDecl*, kMostWalked> found; // the first `count` of them
    std::size_t count = 0;
    std::uint32_t behind = m_nextDeclaration;
    for (ElementId above = m_document.parent(apex); above != kNoElement && behind != 0;
         above = m_document.parent(above)) {
        const std::span<const NamespaceDecl> declarations =
            m_document.namespaceDeclsBefore(above, behind);
        if (!declarations.empty()) {
            behind = static_cast<std::uint32_t>(declarations.data() - m_declarations.data());
        }
        steps += 1 + declarations.size();
        if (steps > kMostWalked) {
            return false;
        }
        for (const NamespaceDecl& declaration : declarations) {
            bytes += m_document.namespaceName(declaration).size();
            found[count++] = &declaration; // no more of them than steps
        }
        if (bytes > kMostBytesWalked) {
            return false;
        }
    }
    for (const NamespaceDecl* const declaration : std::span(found.data(), count)) {
        if (declaration->prefixId != kXmlPrefix) {
            const PrefixId prefix = m_namespaces.id(m_document.prefixText(declaration->prefixId));
            m_namespaces.inherit(prefix, m_document.namespaceName(*declaration),
                                 m_document.canonicalDeclaration(*declaration), hidden);
        }
    }
    return true;
}

// Appends the attributes of the start tag at `start` but for declarations, with their types and
// defaults, to m_attributes.
StartTagReader StartTagWriter::readAttributes(std::uint32_t start) {
    StartTagReader tag(m_text, start);
    const std::size_t before = m_attributes.size();
    for (Attribute attribute; tag.next(attribute);) {
        if (!attribute.isNamespaceDecl()) {
            m_attributes.push_back({{attribute, AttributeType::Cdata, false}});
        }
    }
    if (m_hasDeclaredAttributes) {
        addDeclared(tag.name(), before);
    }
    return tag;
}

// The long way: the tag is taken apart and written anew, up to its '>'.
std::uint32_t StartTagWriter::rewrite(std::uint32_t start, ElementId apex) {
    const bool isApex = apex != kNoElement;
    m_attributes.clear();
    const StartTagReader tag = readAttributes(start);
    m_ownAttributes = m_attributes.size();
    if (isApex && !m_exclusive) {
        inheritXmlAttributes(apex);
    }
    m_out.copyUpTo(tag.nameEnd());
    declareNamespaces(start);
    chooseNamespaces(tag.prefix(), isApex);
    if (isApex) {
        putNamespacesOfApex(start);
    } else {
        putNamespaces(start);
    }
    sortAttributes();
    for (const TagAttribute& attribute : m_attributes) {
        putAttribute(attribute);
    }
    m_out.put('>');
    if (tag.selfClosing()) {
        m_out.put("</");
        m_out.put(tag.name());
        m_out.put('>');
    }
    m_openedName = tag.selfClosing() ? 0 : static_cast<std::uint32_t>(tag.name().size());
    m_out.skipTo(tag.end());
    return tag.end();
}

void StartTagWriter::declareNamespaces(std::uint32_t start) {
    m_declared.clear();
    while (m_nextDeclaring == start) {
        const NamespaceDecl& declaration = m_declarations[m_nextDeclaration];
        if (declaration.prefixId != kXmlPrefix) {
            const PrefixId prefix = m_namespaces.id(m_document.prefixText(declaration.prefixId));
            m_namespaces.declare(prefix, m_document.namespaceName(declaration),
                                 m_document.canonicalDeclaration(declaration), extentOf(start));
            m_declared.push_back(prefix);
        }
        ++m_nextDeclaration;
        findNextDeclaring();
    }
}

// Attribute types and defaults of the internal subset, for the attributes from `first` on.
void StartTagWriter::addDeclared(std::string_view elementName, std::size_t first) {
    const std::span<const DeclaredAttribute> declared =
        m_document.documentType()->declaredAttributes(elementName);
    if (declared.empty()) {
        return;
    }
    const std::size_t last = m_attributes.size();
    const auto at = [this](std::size_t index) { return m_attributes.begin() + index; };
    std::sort(at(first), at(last), [](const TagAttribute& a, const TagAttribute& b) {
        return a.source.name < b.source.name;
    });
    for (const DeclaredAttribute& attribute : declared) {
        auto* const found = std::lower_bound(
            at(first), at(last), std::string_view(attribute.name),
            [](const TagAttribute& a, std::string_view name) { return a.source.name < name; });
        if (found != at(last) && found->source.name == attribute.name) {
            found->type = attribute.type;
        } else if (attribute.hasDefault) {
            addDefault(attribute);
        }
    }
}

void StartTagWriter::addDefault(const DeclaredAttribute& declared) {
    TagAttribute added;
    added.source.name = declared.name;
    const std::size_t colon = added.source.name.find(':');
    added.source.prefixLength =
        colon == std::string_view::npos ? 0 : static_cast<std::uint32_t>(colon);
    added.source.raw = declared.value;
    added.isNormalised = true;
    if (!added.source.isNamespaceDecl()) { // those are in the table of declarations
        m_attributes.push_back(added);
    }
}

// Canonical XML 1.0, 2.4: the apex of a subtree also gets the nearest xml: attributes of its
// ancestors, unless it has its own.
void StartTagWriter::inheritXmlAttributes(ElementId apex) {
    const std::span<const ElementId> holders = m_document.elementsWithXmlAttributes();
    if (holders.empty() || holders.front() >= apex) {
        return;
    }
    if (!inheritXmlAttributesByWalk(apex)) {
        m_attributes.truncate(m_ownAttributes);
        inheritXmlAttributesByTable(apex);
    }
}

// False when that is a long way; m_attributes may then hold some of the ancestors'.
bool StartTagWriter::inheritXmlAttributesByWalk(ElementId apex) {
    const std::span<const ElementId> holders = m_document.elementsWithXmlAttributes();
    std::size_t steps = 0;
    std::size_t bytes = 0;
    for (ElementId above = m_document.parent(apex); above != kNoElement;
         above = m_document.parent(above)) {
        const std::uint32_t start = m_document.element(above).start;
        const bool holds = std::binary_search(holders.begin(), holders.end(), above);
        // The tag ends before the first element of its subtree.
        bytes += holds ? m_document.element(above + 1).start - start : 0;
        if (++steps > kMostWalked || bytes > kMostBytesWalked) {
            return false;
        }
        if (holds) {
            static_cast<void>(readAttributes(start));
        }
    }
    // The nearest came first.
    std::unordered_set<std::string_view, StringHash, std::equal_to<>> present;
    const auto isTaken = [&present](const TagAttribute& attribute) {
        return !present.insert(attribute.source.name).second;
    };
    const auto isNoXmlAttribute = [](const TagAttribute& attribute) {
        return attribute.source.prefix() != kXmlPrefixText;
    };
    TagAttribute* const inherited = m_attributes.begin() + m_ownAttributes;
    std::for_each(m_attributes.begin(), inherited, isTaken);
    TagAttribute* const kept = std::remove_if(inherited, m_attributes.end(), isNoXmlAttribute);
    const TagAttribute* const end = std::remove_if(inherited, kept, isTaken);
    m_attributes.truncate(static_cast<std::size_t>(end - m_attributes.begin()));
    sortFew(inherited, m_attributes.end(), [](const TagAttribute& a, const TagAttribute& b) {
        return a.source.name < b.source.name;
    });
    return true;
}

void StartTagWriter::inheritXmlAttributesByTable(ElementId apex) {
    std::vector<std::string_view> own;
    for (const TagAttribute& attribute : m_attributes) {
        if (attribute.source.prefix() == kXmlPrefixText) {
            own.push_back(attribute.source.name);
        }
    }
    std::sort(own.begin(), own.end());
    const InheritedXmlAttributes& inherited = m_document.inheritedXmlAttributes();
    const ElementId outer = m_document.parent(apex);
    inherited.namesAt(outer, m_ranks);
    for (const std::uint32_t rank : m_ranks) {
        const TypedAttribute& attribute = inherited.nearest(rank, outer);
        if (!std::binary_search(own.begin(), own.end(), attribute.source.name)) {
            m_attributes.push_back({attribute});
        }
    }
}

// Collects in m_due the declarations that the tag must write.
void StartTagWriter::chooseNamespaces(std::string_view elementPrefix, bool isApex) {
    startList();
    if (m_exclusive) { // the prefix xml is never bound here, so never due
        take(m_namespaces.id(elementPrefix));
        for (const TagAttribute& attribute : m_attributes) {
            if (attribute.source.prefixLength != 0) {
                take(m_namespaces.id(attribute.source.prefix()));
            }
        }
    }
    // What is in scope at the apex, and what an element declares, is written whether used or not:
    // always inclusive, for the prefixes of the list exclusive.
    const auto takeUnused = [this](PrefixId prefix) {
        if (!m_exclusive || m_namespaces[prefix].listed) {
            take(prefix);
        }
    };
    if (isApex) {
        for (PrefixId prefix = 0; prefix < m_namespaces.size(); ++prefix) {
            takeUnused(prefix);
        }
    } else {
        std::for_each(m_declared.begin(), m_declared.end(), takeUnused);
    }
}

void StartTagWriter::sortSeveralDue() {
    sortFew(m_due.begin(), m_due.end(), [this](PrefixId a, PrefixId b) {
        return m_namespaces.prefixText(a) < m_namespaces.prefixText(b);
    });
}

void StartTagWriter::putNamespaces(std::uint32_t start) {
    sortDue();
    for (const PrefixId prefix : m_due) {
        m_out.put(m_namespaces.render(prefix, extentOf(start)));
    }
}

// The inclusive method writes all that is in scope; what m_namespaces does not hold yet need not go
// there for that.
void StartTagWriter::putNamespacesOfApex(std::uint32_t start) {
    if (m_outer == kNoElement || m_exclusive || !m_request.inheritNamespaces) {
        putNamespaces(start);
        return;
    }
    const NamespaceExtent extent = extentOf(start);
    const InheritedNamespaces& inherited = m_document.inheritedNamespaces();
    inherited.prefixesAt(m_outer, m_ranks);
    std::vector<std::uint32_t> known = knownRanks(inherited);
    sortDue();
    const PrefixId* due = m_due.begin();
    auto nextKnown = known.begin();
    for (const std::uint32_t rank : m_ranks) {
        while (due != m_due.end() && m_namespaces.prefixText(*due) < inherited.prefix(rank)) {
            m_out.put(m_namespaces.render(*due++, extent));
        }
        while (nextKnown != known.end() && *nextKnown < rank) {
            ++nextKnown;
        }
        if (nextKnown == known.end() || *nextKnown != rank) {
            putInherited(inherited, rank);
        }
    }
    for (; due != m_due.end(); ++due) {
        m_out.put(m_namespaces.render(*due, extent));
    }
    m_namespaces.inheritedAreWritten();
}

// The ranks of the prefixes that m_namespaces has seen, ascending.
std::vector<std::uint32_t> StartTagWriter::knownRanks(const InheritedNamespaces& inherited) const {
    std::vector<std::uint32_t> known;
    for (PrefixId prefix = 0; prefix < m_namespaces.size(); ++prefix) {
        const std::uint32_t id = m_document.findPrefix(m_namespaces.prefixText(prefix));
        if (id != kNoPrefix) {
            known.push_back(inherited.rankOf(id));
        }
    }
    std::sort(known.begin(), known.end());
    return known;
}

void StartTagWriter::putInherited(const InheritedNamespaces& inherited, std::uint32_t rank) {
    const std::string_view prefix = inherited.prefix(rank);
    if (prefix == kXmlPrefixText) {
        return;
    }
    m_out.put(" xmlns:");
    m_out.put(prefix);
    m_out.put("=\"");
    putAttributeValue(m_document.namespaceName(*inherited.nearest(rank, m_outer)), m_out);
    m_out.put('"');
}

void StartTagWriter::sortAttributes() {
    if (m_attributes.size() < 2) {
        return;
    }
    for (TagAttribute& attribute : m_attributes) {
        const std::string_view prefix = attribute.source.prefix();
        if (prefix == kXmlPrefixText) {
            attribute.namespaceName = m_namespaces.xmlName();
        } else if (!prefix.empty()) {
            attribute.namespaceName = m_namespaces[m_namespaces.id(prefix)].inScope;
        }
    }
    // The qualified name decides among equals, which only undeclared prefixes can bring about.
    switch (m_request.order) {
    case AttributeOrder::Canonical:
        sortAttributesBy([this](const TagAttribute& a, const TagAttribute& b) {
            const int names = m_namespaces.compareNames(a.namespaceName, b.namespaceName);
            return std::tuple(names, a.source.localName(), a.source.name) <
                   std::tuple(0, b.source.localName(), b.source.name);
        });
        break;
    case AttributeOrder::PrefixThenLocal:
        sortAttributesBy([](const TagAttribute& a, const TagAttribute& b) {
            return std::tuple(a.source.prefix(), a.source.localName()) <
                   std::tuple(b.source.prefix(), b.source.localName());
        });
        break;
    case AttributeOrder::LocalName:
        sortAttributesBy([this](const TagAttribute& a, const TagAttribute& b) {
            const int names = m_namespaces.compareNames(a.namespaceName, b.namespaceName);
            return std::tuple(a.source.localName(), names, a.source.name) <
                   std::tuple(b.source.localName(), 0, b.source.name);
        });
        break;
    }
}

// Inherited attributes come sorted by local name, and so in any of the orders.
template <class Less> void StartTagWriter::sortAttributesBy(Less less) {
    TagAttribute* const inherited = m_attributes.begin() + m_ownAttributes;
    sortFew(m_attributes.begin(), inherited, less);
    if (inherited != m_attributes.end()) {
        std::inplace_merge(m_attributes.begin(), inherited, m_attributes.end(), less);
    }
}

void StartTagWriter::putAttribute(const TagAttribute& attribute) {
    m_out.put(' ');
    m_out.put(attribute.source.name);
    m_out.put("=\"");
    if (attribute.isNormalised) {
        putAttributeValue(attribute.source.raw, m_out);
    } else if (attribute.source.plain && attribute.type == AttributeType::Cdata) {
        // All that can need escaping is a double quote between single ones.
        const char* const quote = attribute.source.raw.data() + attribute.source.raw.size();
        if (*quote == '"') {
            m_out.put(attribute.source.raw);
        } else {
            putAttributeValue(attribute.source.raw, m_out);
        }
    } else {
        m_value.clear();
        appendAttributeValue(attribute.source.raw, attribute.type, m_value);
        putAttributeValue(m_value, m_out);
    }
    m_out.put('"');
}

} // namespace vantrel::xml
