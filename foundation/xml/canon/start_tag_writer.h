// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_CANON_START_TAG_WRITER_H
#define FOUNDATION_XML_CANON_START_TAG_WRITER_H

#include "foundation/xml/canon/canon_output.h"
#include "foundation/xml/canon/canon_window.h"
#include "foundation/xml/canon/canonicalizer.h"
#include "foundation/xml/canon/few_array.h"
#include "foundation/xml/canon/namespace_state.h"
#include "foundation/xml/scan/inheritance.h"
#include "foundation/xml/scan/start_tag.h"

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

// What a walk stops at, besides what no method leaves as it is.
struct StopRules {
    bool everyTag = false;    // every start tag
    bool byLocalName = false; // attributes are ordered by their local names alone
    bool byPrefix = false;    // names whose prefix must be declared
};

// Writes start tags canonically: the namespace declarations that are due, then the attributes in
// order. A tag that is already canonical is left to the stretch of text that it stands in. Three
// readings are tried, the cheapest first; each takes what the one before refused, and all that take
// a tag agree about it:
//
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
    // For several apexes that are children of one element, in any order: once inherit() was called
    // for the first, what is inherited may be kept for the others; false where it is not all at
    // hand. goOnWith() then stands in for inherit().
    [[nodiscard]] bool keepInherited() noexcept {
        m_namespaces.endAt(PrefixBinding::kNever);
        return m_outer == kNoElement;
    }
    void goOnWith(ElementId apex);
    // For a walk from the root of a document that is still being read, instead of inherit(); and to
    // be called whenever more of it was read.
    void followFromRoot() { startAt(0); }
    void learnMore();
    // Writes the start tag at `start`, and the end tag of an empty element. Returns the offset
    // behind it. Tags come in document order, that of the apex by writeApex; one that findStop
    // leaves out need not come.
    [[nodiscard]] std::uint32_t write(std::uint32_t start) {
        m_namespaces.leave(start);
        PassedTag tag;
        if (start == m_nextDeclaring || m_hasDeclaredAttributes ||
            !(passAtAGlance(start, tag) || passOver(start, tag))) {
            return rewrite(start, kNoElement);
        }
        m_openedName = tag.selfClosing ? 0 : tag.nameLength;
        return tag.end;
    }
    // The same for a tag that is not canonical as it stands.
    [[nodiscard]] std::uint32_t writeUntidy(std::uint32_t start) {
        m_namespaces.leave(start);
        PassedTag tag;
        return start == m_nextDeclaring || !passOver(start, tag) ? rewrite(start, kNoElement)
                                                                 : tag.end;
    }
    // The same for the tag of an empty element that is canonical but for the end tag.
    [[nodiscard]] std::uint32_t writeEmpty(std::uint32_t start);
    // From `at` to `limit` all tags are canonical as they stand, have no prefixed attributes and
    // declare nothing: writes the declarations that are due in those that begin there.
    void passTidy(std::uint32_t at, std::uint32_t limit) {
        if (m_exclusive) {
            passTidyByPrefix(at, limit);
        }
    }
    // How long the name in the last tag is; 0 for an element that has no end tag.
    [[nodiscard]] std::uint32_t openedName() const noexcept { return m_openedName; }
    // With the exclusive method and no list of prefixes an apex is a tag like any other.
    [[nodiscard]] bool isApexUsual() const noexcept {
        return m_exclusive && m_request.prefixes.empty();
    }
    [[nodiscard]] std::uint32_t writeApex(ElementId apex, std::uint32_t start) {
        return isApexUsual() ? write(start) : rewrite(start, apex);
    }
    // For a search that meets names on its way (stop_search.h), with the exclusive method: the
    // prefix in the `length` bytes at `start`, and whether the tag there, which uses it, has to
    // declare it. Not for the apex: something stands behind the element, so that eight bytes are
    // readable at any prefix.
    [[nodiscard, gnu::always_inline]] bool mustDeclare(std::uint32_t start, std::uint32_t length,
                                                       NamespaceState::PrefixId& prefix) {
        m_namespaces.leave(start);
        return m_namespaces.isPending(m_text.data() + start, length, prefix);
    }
    // Writes such a declaration behind the name in the start tag at `start`, where that ends at
    // `nameEnd`. The rest of the tag stays.
    [[gnu::always_inline]] void declareInName(std::uint32_t start, std::uint32_t nameEnd,
                                              NamespaceState::PrefixId prefix) {
        m_out.copyUpToAndPut(nameEnd, m_namespaces.render(prefix, extentOf(start)));
    }
    [[nodiscard]] bool isDefaultClearUpTo(std::uint32_t offset) const noexcept {
        return m_namespaces.isDefaultClearUpTo(offset);
    }
    // What a walk must stop at for this writer, and the next offset where it must stop and call
    // goOnAt().
    [[nodiscard]] StopRules stopRules() const noexcept {
        return {m_hasDeclaredAttributes, m_localNameOrder, m_exclusive};
    }
    [[nodiscard]] std::uint32_t nextEvent() const noexcept { return m_nextDeclaring; }
    // The walk has reached `offset`. Declarations before it, of tags that were left out, do not
    // count.
    void goOnAt(std::uint32_t offset);

private:
    using PrefixId = NamespaceState::PrefixId;

    // Elements that are gone over for the one at hand before it is searched for.
    static constexpr std::uint32_t kNear = 16;

    struct TagAttribute : TypedAttribute {
        std::uint32_t namespaceName = 0; // its number in m_namespaces
    };

    [[nodiscard]] bool passAtAGlance(std::uint32_t start, PassedTag& tag);
    [[nodiscard]] bool passOver(std::uint32_t start, PassedTag& tag);
    [[nodiscard]] bool passAttributes(std::uint32_t& at);
    struct LeafDeclaration;
    [[nodiscard]] bool isElementPending(std::uint32_t start, PrefixId& prefix);
    void passTidyByPrefix(std::uint32_t at, std::uint32_t limit);
    [[nodiscard]] const ElementRecord* firstElementFrom(std::uint32_t at) const noexcept;
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
    void startAt(ElementId apex);
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
            return;
        }
        if (binding.takenBy != m_tagSerial) {
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
    std::span<const ElementRecord> m_elements;
    std::span<const NamespaceDecl> m_declarations;
    const bool m_exclusive;
    const bool m_hasDeclaredAttributes; // by the DTD
    bool m_hasShortPrefixes;            // of up to seven bytes, with the colon in eight
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

    std::uint32_t m_openedName = 0;

    // Of the tag at hand; kept to reuse their memory.
    FewArray<TagAttribute, 4> m_attributes;
    std::size_t m_ownAttributes = 0; // those behind are inherited, and in order
    FewArray<PrefixId, 8> m_declared;
    FewArray<PrefixId, 8> m_due; // whose declarations it must write
    std::string m_value;
    // Of the apex.
    std::vector<std::uint32_t> m_ranks;
};

// Of the element that begins at `start`; they are asked for in document order.
inline NamespaceExtent StartTagWriter::extentOf(std::uint32_t start) {
    std::size_t reached = m_reached;
    // The element is there, so the search ends before the last.
    for (const std::size_t near = reached + kNear;
         m_elements[reached].start < start && reached != near;) {
        ++reached;
    }
    if (m_elements[reached].start != start) [[unlikely]] {
        reached = m_document.elementAt(start);
    }
    m_reached = static_cast<ElementId>(reached);
    const ElementRecord* const element = &m_elements[reached];
    const bool isLeaf = reached + 1 == m_elements.size() || element[1].start >= element->end;
    return {element->end, isLeaf};
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
