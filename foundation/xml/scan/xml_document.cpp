// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/xml_document.h"

#include "foundation/xml/scan/document_scanner.h"
#include "foundation/xml/scan/inheritance.h"
#include "foundation/xml/scan/name_scan.h"

#include <algorithm>

namespace vantrel::xml {

namespace {

// Ancestors that a look-up goes over before it asks for the document's inheritance.
constexpr std::uint32_t kFewAncestors = 64;

// The name of the element whose start tag's name begins at `start`.
ScannedName scanned(std::string_view text, std::uint32_t start) noexcept {
    return scanName(text.data(), start, static_cast<std::uint32_t>(text.size()));
}

} // namespace

XmlDocument::XmlDocument() = default;
XmlDocument::~XmlDocument() = default;

std::shared_ptr<const XmlDocument> XmlDocument::parse(const StringBuffer& text,
                                                      const ParseOptions& options,
                                                      ParseFailure& why) {
    return DocumentScanner::parse(text, options, why);
}

std::string_view XmlDocument::qualifiedName(ElementId id) const noexcept {
    const std::string_view whole = text();
    const std::uint32_t start = m_elements[id].start + 1;
    return whole.substr(start, scanned(whole, start).length);
}

std::string_view XmlDocument::prefix(ElementId id) const noexcept {
    const std::string_view whole = text();
    const std::uint32_t start = m_elements[id].start + 1;
    return whole.substr(start, scanned(whole, start).prefixLength);
}

std::string_view XmlDocument::localName(ElementId id) const noexcept {
    const std::string_view whole = text();
    const std::uint32_t start = m_elements[id].start + 1;
    const ScannedName name = scanned(whole, start);
    const std::uint32_t behindPrefix = name.prefixLength == 0 ? 0 : name.prefixLength + 1;
    return {whole.data() + start + behindPrefix, name.length - behindPrefix};
}

ElementId XmlDocument::firstChildNamed(ElementId parent,
                                       std::string_view localName) const noexcept {
    ElementId child = firstChild(parent);
    while (child != kNoElement && this->localName(child) != localName) {
        child = nextChild(parent, child);
    }
    return child;
}

ElementId XmlDocument::elementAt(std::uint32_t offset) const noexcept {
    const auto* const found = std::lower_bound(
        m_elements.begin(), m_elements.end(), offset,
        [](const ElementRecord& record, std::uint32_t start) { return record.start < start; });
    return found != m_elements.end() && found->start == offset
               ? static_cast<ElementId>(found - m_elements.begin())
               : kNoElement;
}

ElementId XmlDocument::elementAtSourceOffset(std::uint32_t offset) const noexcept {
    if (!isExpanded()) {
        return elementAt(offset);
    }
    for (auto segment = std::upper_bound(m_segments.begin(), m_segments.end(), offset,
                                         [](std::uint32_t source, const CopiedStretch&candidate) {
                                             return source < candidate.sourceStart;
                                         });
         segment != m_segments.begin();) {
        --segment;
        const std::uint32_t distance = offset - segment->sourceStart;
        return distance < segment->length ? elementAt(segment->start + distance) : kNoElement;
    }
    return kNoElement;
}

// Offset in the source of a byte of the expanded text; false for a byte from an entity.
bool XmlDocument::toSource(std::uint32_t offset, std::uint32_t& source) const noexcept {
    if (!isExpanded()) {
        source = offset;
        return true;
    }
    auto segment = std::upper_bound(
        m_segments.begin(), m_segments.end(), offset,
        [](std::uint32_t at, const CopiedStretch& candidate) { return at < candidate.start; });
    if (segment == m_segments.begin()) {
        return false;
    }
    --segment;
    const std::uint32_t distance = offset - segment->start;
    source = segment->sourceStart + std::min(distance, segment->length);
    return distance < segment->length;
}

bool XmlDocument::sourceRange(ElementId id, TextRange& range) const noexcept {
    std::uint32_t first = 0;
    std::uint32_t last = 0;
    if (!toSource(m_elements[id].start, first) || !toSource(m_elements[id].end - 1, last)) {
        return false;
    }
    range = {first, last + 1 - first};
    return true;
}

std::uint32_t XmlDocument::firstNamespaceDecl(ElementId id) const noexcept {
    if (id == 0) {
        return 0;
    }
    const auto* const found = std::lower_bound(
        m_namespaces.begin(), m_namespaces.end(), id,
        [](const NamespaceDecl& decl, ElementId element) { return decl.element < element; });
    return static_cast<std::uint32_t>(found - m_namespaces.begin());
}

std::span<const NamespaceDecl> XmlDocument::namespaceDecls(ElementId id) const noexcept {
    const std::uint32_t first = firstNamespaceDecl(id);
    if (first == m_namespaces.size() || m_namespaces[first].element != id) {
        return {};
    }
    return m_namespaces.span().subspan(first, firstNamespaceDecl(id + 1) - first);
}

std::span<const NamespaceDecl> XmlDocument::namespaceDeclsBefore(
    ElementId id, std::uint32_t behind) const noexcept {
    if (behind == 0 || m_namespaces[behind - 1].element < id) {
        return {};
    }
    // Often it is the last one, or the first of all.
    const bool isLast = m_namespaces[behind - 1].element == id;
    const bool isOnly = isLast && (behind == 1 || m_namespaces[behind - 2].element != id);
    const std::uint32_t first = isOnly ? behind - 1 : firstNamespaceDecl(id);
    std::uint32_t end = behind;
    if (!isLast) {
        end = m_namespaces[first].element == id ? firstNamespaceDecl(id + 1) : first;
    }
    return m_namespaces.span().subspan(first, end - first);
}

std::string_view XmlDocument::namespaceName(const NamespaceDecl& decl) const noexcept {
    const std::uint32_t length = decl.valueLength & ~kSideStorage;
    return (decl.valueLength & kSideStorage) != 0
               ? std::string_view(m_side).substr(decl.valueStart, length)
               : text().substr(decl.valueStart, length);
}

// The value has nothing to escape in it, but perhaps the other quote around it.
std::string_view XmlDocument::canonicalDeclaration(const NamespaceDecl& decl) const noexcept {
    constexpr std::string_view kEnd = "=\"";
    const std::size_t prefix = prefixText(decl.prefixId).size();
    const std::size_t before = (prefix == 0 ? 6 : 7 + prefix) + kEnd.size();
    if ((decl.valueLength & kSideStorage) != 0 || decl.valueStart < before) {
        return {};
    }
    const std::string_view declaration =
        text().substr(decl.valueStart - before, before + decl.valueLength + 1);
    // White space before the sign would stand where the name begins.
    const bool isUsual = declaration[0] == ' ' && declaration[1] == 'x' &&
                         declaration.substr(before - kEnd.size(), kEnd.size()) == kEnd;
    return isUsual ? declaration : std::string_view();
}

bool XmlDocument::lookUpNamespace(ElementId id, std::string_view prefix,
                                  std::string_view& name) const {
    const std::uint32_t wanted = m_prefixes.find(prefix);
    if (wanted != kNoPrefix) {
        if (const NamespaceDecl* const found = nearestDeclaration(id, wanted); found != nullptr) {
            name = namespaceName(*found);
            return true;
        }
    }
    name = wanted == kXmlPrefix ? kXmlNamespace : std::string_view();
    return wanted == kXmlPrefix || wanted == kDefaultPrefix;
}

const NamespaceDecl* XmlDocument::nearestDeclaration(ElementId id, std::uint32_t prefixId) const {
    std::uint32_t steps = 0;
    for (ElementId at = id; at != kNoElement; at = parent(at)) {
        const std::span<const NamespaceDecl> own = namespaceDecls(at);
        steps += 1 + static_cast<std::uint32_t>(own.size());
        if (steps > kFewAncestors) {
            const InheritedNamespaces& inherited = inheritedNamespaces();
            return inherited.nearest(inherited.rankOf(prefixId), at);
        }
        for (const NamespaceDecl& decl : own) {
            if (decl.prefixId == prefixId) {
                return &decl;
            }
        }
    }
    return nullptr;
}

std::string_view XmlDocument::namespaceUri(ElementId id) const {
    std::string_view name;
    (void)lookUpNamespace(id, prefix(id), name);
    return name;
}

const InheritedNamespaces& XmlDocument::inheritedNamespaces() const {
    m_namespacesInherited.run(
        [this] { m_inheritedNamespaces = std::make_unique<const InheritedNamespaces>(*this); });
    return *m_inheritedNamespaces;
}

const InheritedXmlAttributes& XmlDocument::inheritedXmlAttributes() const {
    m_xmlAttributesInherited.run([this] {
        m_inheritedXmlAttributes = std::make_unique<const InheritedXmlAttributes>(*this);
    });
    return *m_inheritedXmlAttributes;
}

IdMatch XmlDocument::findById(std::string_view value, ElementId& element) const {
    return m_ids.find(value, text(), m_side, element);
}

} // namespace vantrel::xml
