// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_CANON_START_TAG_WRITER_H
#define FOUNDATION_XML_CANON_START_TAG_WRITER_H

#include "foundation/xml/canon/canon_output.h"
#include "foundation/xml/canon/canon_window.h"
#include "foundation/xml/canon/canonicalizer.h"
#include "foundation/xml/canon/namespace_state.h"
#include "foundation/xml/scan/inheritance.h"
#include "foundation/xml/scan/name_scan.h"
#include "foundation/xml/scan/start_tag.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::xml {

// What was found of a start tag.
struct PassedTag {
    std::uint32_t end = 0;        // offset behind the tag
    std::uint32_t nameLength = 0; // of the qualified name
    bool selfClosing = false;     // the end tag is to be written as well
};

// Writes start tags canonically: the namespace declarations that are due, then the attributes in
// order. A tag that is already canonical is left to the stretch of text that it stands in. Four
// readings are tried, the cheapest first; each takes what the one before refused, and all that take
// a tag agree about it:
//
//     passPlain      tags without attributes
//     passAtAGlance  by the masks alone, tags of up to 64 bytes
//     passOver       name by name, tags of any length whose attributes stand in order
//     rewrite        attribute by attribute (StartTagReader), everything else
class StartTagWriter final {
public:
    StartTagWriter(const XmlDocument& document, const CanonRequest& request, CanonWindow& window,
                   CanonOutput& out);
    StartTagWriter(const StartTagWriter&) = delete;
    StartTagWriter& operator=(const StartTagWriter&) = delete;

    // Takes over what the apex inherits from its ancestors. To be called before its tag is written,
    // unless the apex is the root.
    void inherit(ElementId apex);
    // Writes the start tag at `start`, and the end tag of an empty element. Returns the offset
    // behind it. Tags come in document order, that of the apex by writeApex; one that findStop
    // leaves out need not come.
    [[nodiscard]] std::uint32_t write(std::uint32_t start) {
        m_namespaces.leave(start);
        PassedTag tag;
        if (start == m_nextDeclaring || m_hasDeclaredAttributes ||
            !(passPlain(start, tag) || passAtAGlance(start, tag) || passOver(start, tag))) {
            return rewrite(start, kNoElement);
        }
        return tag.end;
    }
    [[nodiscard]] std::uint32_t writeApex(ElementId apex, std::uint32_t start) {
        return rewrite(start, apex);
    }
    // At a stop with a name's end: writes the declaration if it is due. The rest of the tag stays.
    // False, with nothing done, where that is better left to write().
    [[nodiscard]] bool declareInName(const CanonStop& stop);
    // What a walk must stop at for this writer, and the next offset where it must stop and call
    // goOnAt(): what is asked for changes there. Both change with every call.
    [[nodiscard]] StopRules stopRules() const noexcept {
        return {m_hasDeclaredAttributes, m_exclusive ? &m_namespaces.clear() : nullptr};
    }
    [[nodiscard]] std::uint32_t nextEvent() const noexcept {
        return m_exclusive ? std::min(m_nextDeclaring, m_namespaces.nextUndo()) : m_nextDeclaring;
    }
    // The walk has reached `offset`. Declarations before it, of tags that were left out, do not
    // count.
    void goOnAt(std::uint32_t offset);

private:
    using PrefixId = NamespaceState::PrefixId;

    // Bytes from which on the end of an element that declares or renders is worth a stop.
    static constexpr std::uint32_t kLongElement = 1024;
    // Elements that are gone over for the one at hand before it is searched for.
    static constexpr std::uint32_t kNear = 16;

    struct TagAttribute : TypedAttribute {
        std::uint32_t namespaceName = 0; // its number in m_namespaces
    };

    [[nodiscard]] bool passPlain(std::uint32_t start, PassedTag& tag);
    [[nodiscard]] bool passAtAGlance(std::uint32_t start, PassedTag& tag);
    [[nodiscard]] bool passOver(std::uint32_t start, PassedTag& tag);
    [[nodiscard]] bool passAttributes(std::uint32_t& at);
    [[nodiscard]] bool areOrdered(std::uint32_t start, const TagShape& shape) const noexcept;
    void finishPassed(std::uint32_t start, std::uint32_t contentEnd, const PassedTag& tag);
    [[nodiscard, gnu::always_inline]] PrefixId prefixAt(std::uint32_t start, std::uint32_t length) {
        return m_text.size() - start >= 8 ? m_namespaces.recentId(m_text.data() + start, length)
                                          : m_namespaces.id(m_text.substr(start, length));
    }
    // `apex`: kNoElement for any other element.
    [[nodiscard]] std::uint32_t rewrite(std::uint32_t start, ElementId apex);
    StartTagReader readAttributes(std::uint32_t start);
    void declareNamespaces(std::uint32_t start);
    void findNextDeclaring() noexcept;
    [[nodiscard]] NamespaceExtent extentOf(std::uint32_t start);
    [[nodiscard]] bool inheritByWalk(ElementId apex, bool hidden);
    void inheritXmlAttributes(ElementId apex);
    [[nodiscard]] bool inheritXmlAttributesByWalk(ElementId apex);
    void inheritXmlAttributesByTable(ElementId apex);
    void addDeclared(std::string_view elementName, std::size_t first);
    void addDefault(const DeclaredAttribute& declared);
    void startList() {
        m_due.clear();
        ++m_tagSerial;
    }
    // Lists a prefix that the tag uses, when its binding is to be written.
    void take(PrefixId prefix) {
        PrefixBinding& binding = m_namespaces[prefix];
        if (!binding.pending) {
            m_namespaces.noteClear(prefix);
        } else if (binding.takenBy != m_tagSerial) {
            binding.takenBy = m_tagSerial;
            m_due.push_back(prefix);
        }
    }
    void chooseNamespaces(std::string_view elementPrefix, bool isApex);
    void sortAttributes();
    template <class Less> void sortAttributesBy(Less less);
    void putNamespaces(std::uint32_t start);
    void sortDue() {
        if (m_due.size() > 1) {
            sortSeveralDue();
        }
    }
    void sortSeveralDue();
    void putNamespacesOfApex(std::uint32_t start);
    [[nodiscard]] std::vector<std::uint32_t> knownRanks(const InheritedNamespaces& inherited) const;
    void putInherited(const InheritedNamespaces& inherited, std::uint32_t rank);
    void putAttribute(const TagAttribute& attribute);

    const XmlDocument& m_document;
    const CanonRequest& m_request;
    CanonWindow& m_window;
    CanonOutput& m_out;
    const std::string_view m_text;
    const std::span<const ElementRecord> m_elements;
    const std::span<const NamespaceDecl> m_declarations;
    const bool m_exclusive;
    const bool m_hasDeclaredAttributes; // by the DTD
    // Attributes of one prefix may stand behind unqualified ones in every order but LocalName.
    const bool m_localNameOrder;
    NamespaceState m_namespaces;
    std::uint32_t m_nextDeclaration = 0;
    std::uint32_t m_nextDeclaring = 0; // where the element of that declaration begins
    ElementId m_reached = 0;           // the last one whose extent was asked for
    std::uint32_t m_tagSerial = 0;
    // Set when the inherited declarations are not all in m_namespaces: there are many, or they are
    // far above. They are then looked up for this element, the parent of the apex.
    ElementId m_outer = kNoElement;

    // Of the tag at hand; kept to reuse their memory.
    std::vector<TagAttribute> m_attributes;
    std::size_t m_ownAttributes = 0; // those behind are inherited, and in order
    std::vector<PrefixId> m_declared;
    std::vector<PrefixId> m_due; // whose declarations it must write
    std::string m_value;
    // Of the apex.
    std::vector<std::uint32_t> m_ranks;
};

// Of the element that begins at `start`; they are asked for in document order.
inline NamespaceExtent StartTagWriter::extentOf(std::uint32_t start) {
    const ElementRecord* element = &m_elements[m_reached];
    if (element->start != start) {
        const std::size_t left = m_elements.size() - m_reached - 1;
        const ElementRecord* const last = element + std::min<std::size_t>(left, kNear);
        while (element != last && element->start < start) {
            ++element;
        }
        if (element->start != start) {
            element = &m_elements[m_document.elementAt(start)];
        }
        m_reached = static_cast<ElementId>(element - m_elements.data());
    }
    const bool isLeaf = m_document.firstChild(m_reached) == kNoElement;
    return {element->end, element->end - start >= kLongElement, isLeaf};
}

// At a stop with a name's end: what findStop promised of the tag holds, so that only the
// declaration is left. Where a long element begins, what is clear changes up to its end.
inline bool StartTagWriter::declareInName(const CanonStop& stop) {
    m_namespaces.leave(stop.at);
    const PrefixId prefix = prefixAt(stop.at + 1, stop.prefixLength);
    if (!m_namespaces[prefix].pending) {
        m_namespaces.noteClear(prefix);
        return true;
    }
    const NamespaceExtent extent = extentOf(stop.at);
    if (extent.isLong && !extent.isLeaf) {
        return false;
    }
    m_out.copyUpTo(stop.nameEnd);
    m_out.put(m_namespaces.render(prefix, extent));
    return true;
}

// Passes over a tag that is a name only.
inline bool StartTagWriter::passPlain(std::uint32_t start, PassedTag& tag) {
    const ScannedName name =
        scanName(m_text.data(), start + 1, static_cast<std::uint32_t>(m_text.size()));
    const std::uint32_t nameEnd = start + 1 + name.length;
    tag.selfClosing = m_text[nameEnd] == '/';
    if (m_text[nameEnd] != '>' && !tag.selfClosing) {
        return false;
    }
    tag.nameLength = name.length;
    tag.end = nameEnd + (tag.selfClosing ? 2 : 1);
    startList();
    if (m_exclusive) {
        take(prefixAt(start + 1, name.prefixLength));
    }
    finishPassed(start, nameEnd, tag);
    return true;
}

// Passes over a tag that is canonical as it stands, or would be with some declarations added.
// False, with nothing done, for any other; passOver finds some of those canonical, too.
inline bool StartTagWriter::passAtAGlance(std::uint32_t start, PassedTag& tag) {
    const TagShape shape = m_window.tagAt(start);
    if (!shape.tidy) {
        return false;
    }
    const std::uint64_t several = shape.blanks & (shape.blanks - 1);
    if ((several | shape.colons) != 0 && !areOrdered(start, shape)) {
        return false;
    }
    tag.nameLength = shape.nameEnd - 1;
    m_due.clear();
    if (m_exclusive) {
        ++m_tagSerial;
        take(prefixAt(start + 1, shape.prefixLength));
        if (shape.colons != 0) { // all of one prefix
            const auto colon = static_cast<unsigned>(__builtin_ctzll(shape.colons));
            const std::uint64_t before = shape.blanks & ((std::uint64_t{1} << colon) - 1);
            const unsigned blank = 63 - static_cast<unsigned>(__builtin_clzll(before));
            take(prefixAt(start + blank + 1, colon - blank - 1));
        }
    }
    tag.selfClosing = shape.selfClosing;
    tag.end = start + shape.close + 1;
    if (shape.selfClosing || !m_due.empty()) {
        finishPassed(start, start + shape.contentEnd, tag);
    }
    return true;
}

} // namespace vantrel::xml

#endif
