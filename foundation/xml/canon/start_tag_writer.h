// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_CANON_START_TAG_WRITER_H
#define FOUNDATION_XML_CANON_START_TAG_WRITER_H

#include "foundation/xml/canon/canon_output.h"
#include "foundation/xml/canon/canon_window.h"
#include "foundation/xml/canon/canonicalizer.h"
#include "foundation/xml/canon/namespace_state.h"
#include "foundation/xml/scan/inheritance.h"
#include "foundation/xml/scan/start_tag.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::xml {

// Where a start tag ends and what its element needs at its end.
struct WrittenTag {
    std::uint32_t end = 0;        // offset behind the tag
    std::uint32_t nameLength = 0; // of the qualified name
    bool selfClosing = false;     // the end tag was written as well
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
    // Writes the start tag of `element`, which begins at `start`. `depth` counts from the apex,
    // whose tag is written by writeApex. Elements come in document order.
    [[nodiscard]] WrittenTag write(ElementId element, std::uint32_t start, std::uint32_t depth) {
        WrittenTag tag;
        if (element == m_nextDeclaring || m_hasDeclaredAttributes ||
            !(passAtAGlance(start, depth, tag) || passOver(start, depth, tag))) {
            tag = rewrite(element, start, depth);
        }
        return tag;
    }
    [[nodiscard]] WrittenTag writeApex(ElementId apex, std::uint32_t start) {
        return rewrite(apex, start, 0);
    }
    // Forgets what the element at `depth` declared.
    void leave(std::uint32_t depth) { m_namespaces.leave(depth); }
    // The next tag is that of `element`: some were passed over.
    void goOnAt(ElementId element) noexcept;

private:
    using PrefixId = NamespaceState::PrefixId;

    struct TagAttribute : TypedAttribute {
        std::uint32_t namespaceName = 0; // its number in m_namespaces
    };

    [[nodiscard]] bool passAtAGlance(std::uint32_t start, std::uint32_t depth, WrittenTag& tag);
    [[nodiscard]] bool passOver(std::uint32_t start, std::uint32_t depth, WrittenTag& tag);
    [[nodiscard]] bool passAttributes(std::uint32_t& at);
    [[nodiscard]] bool areOrdered(std::uint32_t start, const TagShape& shape) const noexcept;
    void finishPassed(std::uint32_t start, std::uint32_t contentEnd, std::uint32_t depth,
                      WrittenTag& tag);
    [[nodiscard, gnu::always_inline]] PrefixId prefixAt(std::uint32_t start, std::uint32_t length) {
        return m_text.size() - start >= 8 ? m_namespaces.recentId(m_text.data() + start, length)
                                          : m_namespaces.id(m_text.substr(start, length));
    }
    [[nodiscard]] WrittenTag rewrite(ElementId element, std::uint32_t start, std::uint32_t depth);
    StartTagReader readAttributes(std::uint32_t start);
    void declareNamespaces(ElementId element, std::uint32_t depth);
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
        if (binding.pending && binding.takenBy != m_tagSerial) {
            binding.takenBy = m_tagSerial;
            m_due.push_back(prefix);
        }
    }
    void chooseNamespaces(std::string_view elementPrefix, std::uint32_t depth);
    void sortAttributes();
    template <class Less> void sortAttributesBy(Less less);
    void putNamespaces(std::uint32_t depth);
    void sortDue() {
        if (m_due.size() > 1) {
            sortSeveralDue();
        }
    }
    void sortSeveralDue();
    void putNamespacesOfApex();
    [[nodiscard]] std::vector<std::uint32_t> knownRanks(const InheritedNamespaces& inherited) const;
    void putInherited(const InheritedNamespaces& inherited, std::uint32_t rank);
    void putAttribute(const TagAttribute& attribute);

    const XmlDocument& m_document;
    const CanonRequest& m_request;
    CanonWindow& m_window;
    CanonOutput& m_out;
    const std::string_view m_text;
    const std::span<const NamespaceDecl> m_declarations;
    const bool m_exclusive;
    const bool m_hasDeclaredAttributes; // by the DTD
    // Attributes of one prefix may stand behind unqualified ones in every order but LocalName.
    const bool m_localNameOrder;
    NamespaceState m_namespaces;
    std::uint32_t m_nextDeclaration = 0;
    ElementId m_nextDeclaring = kNoElement; // the element of that declaration
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

// Passes over a tag that is canonical as it stands, or would be with some declarations added.
// False, with nothing done, for any other; passOver finds some of those canonical, too.
inline bool StartTagWriter::passAtAGlance(std::uint32_t start, std::uint32_t depth,
                                          WrittenTag& tag) {
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
        finishPassed(start, start + shape.contentEnd, depth, tag);
    }
    return true;
}

} // namespace vantrel::xml

#endif
