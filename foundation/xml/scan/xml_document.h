// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_XML_DOCUMENT_H
#define FOUNDATION_XML_SCAN_XML_DOCUMENT_H

#include "foundation/text/StringBuffer.h"
#include "foundation/text/once.h"
#include "foundation/xml/scan/document_type.h"
#include "foundation/xml/scan/element_tree.h"
#include "foundation/xml/scan/grow_array.h"
#include "foundation/xml/scan/id_table.h"
#include "foundation/xml/scan/limits.h"
#include "foundation/xml/scan/prefix_table.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantrel::xml {

inline constexpr std::string_view kXmlDsigNamespace = "http://www.w3.org/2000/09/xmldsig#";
inline constexpr std::string_view kXmlNamespace = "http://www.w3.org/XML/1998/namespace";
inline constexpr std::string_view kXmlnsNamespace = "http://www.w3.org/2000/xmlns/";

class ParseFollower;

struct TextRange {
    std::uint32_t start = 0;
    std::uint32_t length = 0;
    [[nodiscard]] std::uint32_t end() const noexcept { return start + length; }
    [[nodiscard]] bool empty() const noexcept { return length == 0; }
};

[[nodiscard]] constexpr TextRange rangeOf(std::size_t start, std::size_t end) noexcept {
    return {static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(end - start)};
}

// One namespace declaration, from the text or from an attribute default; in document order, those
// of one element together.
struct NamespaceDecl {
    ElementId element;
    std::uint32_t prefixId;    // see XmlDocument::prefixText
    std::uint32_t valueStart;  // raw value in text(), or normalised value in side storage
    std::uint32_t valueLength; // top bit set: side storage
};

// What an element called `Signature` or `AuthSignature` is.
enum class SignatureKind : std::uint8_t {
    XmlDsig,          // Signature in the XML-DSig namespace
    NoNamespace,      // Signature in no namespace
    OtherNamespace,   // Signature in another namespace, with a SignedInfo child
    UndeclaredPrefix, // the same in a text cut out of its document, its prefix undeclared
    AuthSignature     // AuthSignature with a SignedInfo child of the XML-DSig namespace
};

struct SignatureElement {
    ElementId element;
    SignatureKind kind;
    std::uint8_t signedInfoCount; // SignedInfo children: 0, 1, or 2 for more than one
    ElementId signedInfo;         // the first of them, or kNoElement
};

// See XmlDocument::untidyPlaces().
class UntidyPlace final {
public:
    UntidyPlace(std::uint32_t offset, bool isEmptyTag) noexcept
        : m_packed(offset << 1 | (isEmptyTag ? 1U : 0U)) {}

    [[nodiscard]] std::uint32_t offset() const noexcept { return m_packed >> 1; }
    // The tag of an empty element, which needs an end tag in place of its '/', and no more.
    [[nodiscard]] bool isEmptyTag() const noexcept { return (m_packed & 1U) != 0; }

private:
    static_assert(kMaxDocumentSize <= std::numeric_limits<std::uint32_t>::max() / 2);
    std::uint32_t m_packed;
};

struct ParseOptions {
    // The text was cut out of a document: undeclared prefixes are tolerated.
    bool fragment = false;
    // Told how far the document has been read (parse_follower.h); null for nobody.
    ParseFollower* follower = nullptr;
};

// Where and why a text was refused. Line and column count from 1, columns in characters; the offset
// counts bytes from 0. All refer to the text as given.
struct ParseFailure {
    std::uint32_t line = 0;
    std::uint32_t column = 0;
    std::uint32_t offset = 0;
    std::string message;
};

// A stretch of an expanded text that was copied from the source.
struct CopiedStretch {
    std::uint32_t start;
    std::uint32_t sourceStart;
    std::uint32_t length;
};

class InheritedNamespaces;
class InheritedXmlAttributes;

// A well-formed XML 1.0 document with its structure: XML 1.0 fifth edition and Namespaces in
// XML 1.0, fully checked, the internal DTD subset included; external entities are never fetched,
// and a reference to one is an error, as is a reference to an entity whose declaration is not read.
// Immutable, so any number of threads may read it.
//
// The text is not copied: names and values are ranges of it. Character references and the five
// predefined entities stay in it and are resolved when a value is asked for (values.h). References
// to entities of the internal subset never occur: where a document contains one, the text is
// expanded once, text() is the expanded text, and sourceOffset() and elementAtSourceOffset()
// translate. In the expanded text a carriage return that came from an entity stands as "&#13;".
// Attribute defaults do not occur in the text; see documentType().
class XmlDocument final {
public:
    // Null, with the reason in `why`, when the text is not a well-formed document or passes a limit
    // (limits.h). std::bad_alloc is passed on.
    [[nodiscard]] static std::shared_ptr<const XmlDocument> parse(const StringBuffer& text,
                                                                  const ParseOptions& options,
                                                                  ParseFailure& why);

    XmlDocument(const XmlDocument&) = delete;
    XmlDocument& operator=(const XmlDocument&) = delete;
    ~XmlDocument();

    // The text as given to parse(), and the text that all ranges refer to (the same unless
    // expanded).
    [[nodiscard]] const StringBuffer& sourceText() const noexcept { return m_source; }
    [[nodiscard]] const StringBuffer& textBuffer() const noexcept { return m_text; }
    [[nodiscard]] std::string_view text() const noexcept { return m_text.view(); }
    [[nodiscard]] std::string_view text(TextRange range) const noexcept {
        return text().substr(range.start, range.length);
    }
    [[nodiscard]] bool isExpanded() const noexcept { return !m_segments.empty(); }
    [[nodiscard]] bool isFragment() const noexcept { return m_fragment; }
    // Facts that let a reader take a short way.
    [[nodiscard]] bool hasCarriageReturn() const noexcept { return m_hasCarriageReturn; }
    // What a canonical form may write otherwise than it stands, though no carriage return and no
    // attribute type is the reason: the offsets, ascending, of start tags, end tags, other markup,
    // references and single characters in the root. Not for what namespaces ask for, so tags with
    // declarations need not be among them, but all with other prefixed attributes are. They are
    // known up to tidyKnownUpTo(), which is outside of tags; where there are many that is before
    // the end.
    [[nodiscard]] std::span<const UntidyPlace> untidyPlaces() const noexcept {
        return m_untidy.span();
    }
    [[nodiscard]] std::uint32_t tidyKnownUpTo() const noexcept { return m_tidyKnownUpTo; }

    // Elements. There is always at least one: the root, element 0. Records stand in document order,
    // so the subtree of an element is [id, subtreeEnd(id)), and its first child is the one behind
    // it when that begins before it ends.
    [[nodiscard]] std::span<const ElementRecord> elements() const noexcept {
        return m_elements.span();
    }
    [[nodiscard]] std::uint32_t elementCount() const noexcept {
        return static_cast<std::uint32_t>(m_elements.size());
    }
    [[nodiscard]] const ElementRecord& element(ElementId id) const noexcept {
        return m_elements[id];
    }
    // The first element behind the subtree; may be the number of elements.
    [[nodiscard]] ElementId subtreeEnd(ElementId id) const noexcept {
        const bool isLeaf = firstChild(id) == kNoElement;
        return isLeaf ? id + 1 : xml::subtreeEnd(m_elements.span(), id);
    }
    // kNoElement when there is none.
    [[nodiscard]] ElementId parent(ElementId id) const noexcept {
        return m_parents.parent(m_elements.span(), id);
    }
    [[nodiscard]] ElementId firstChild(ElementId id) const noexcept { return childAt(id, id + 1); }
    // The child behind `child`, for a walk over the children of a known parent.
    [[nodiscard]] ElementId nextChild(ElementId parent, ElementId child) const noexcept {
        return childAt(parent, subtreeEnd(child));
    }
    // The same where the parent is not known, which has to be looked for.
    [[nodiscard]] ElementId nextSibling(ElementId id) const noexcept {
        return id == 0 ? kNoElement : nextChild(parent(id), id);
    }
    // The first child with this local name, in any namespace; kNoElement when there is none.
    [[nodiscard]] ElementId firstChildNamed(ElementId parent,
                                            std::string_view localName) const noexcept;
    // Qualified name, its part before the colon (empty without one), its part after.
    [[nodiscard]] std::string_view qualifiedName(ElementId id) const noexcept;
    [[nodiscard]] std::string_view prefix(ElementId id) const noexcept;
    [[nodiscard]] std::string_view localName(ElementId id) const noexcept;
    // The element whose start tag begins at this offset of text(), or kNoElement.
    [[nodiscard]] ElementId elementAt(std::uint32_t offset) const noexcept;
    // The same for an offset of sourceText().
    [[nodiscard]] ElementId elementAtSourceOffset(std::uint32_t offset) const noexcept;
    // The extent in sourceText(); false for an element whose start or end came from an entity.
    [[nodiscard]] bool sourceRange(ElementId id, TextRange& range) const noexcept;

    // Namespaces.
    [[nodiscard]] std::span<const NamespaceDecl> namespaceDecls() const noexcept {
        return m_namespaces.span();
    }
    // Those of one element; by binary search, and at once for a document without any on the way.
    [[nodiscard]] std::span<const NamespaceDecl> namespaceDecls(ElementId id) const noexcept;
    // The same where those of later elements begin at index `behind`, or those of some of them: for
    // a walk over ancestors, whose declarations stand shortly before.
    [[nodiscard]] std::span<const NamespaceDecl> namespaceDeclsBefore(
        ElementId id, std::uint32_t behind) const noexcept;
    // Index in namespaceDecls() of the first declaration of element `id` or of a later element.
    [[nodiscard]] std::uint32_t firstNamespaceDecl(ElementId id) const noexcept;
    // Distinct declared prefixes have ids 0, 1, ...: 0 is the default namespace (empty prefix), 1
    // is "xml", which is never in namespaceDecls() unless the document declares it.
    [[nodiscard]] std::uint32_t prefixCount() const noexcept { return m_prefixes.size(); }
    [[nodiscard]] std::size_t longestPrefix() const noexcept { return m_prefixes.longest(); }
    [[nodiscard]] std::string_view prefixText(std::uint32_t prefixId) const noexcept {
        return m_prefixes.text(prefixId);
    }
    // kNoPrefix for a prefix that is declared nowhere.
    [[nodiscard]] std::uint32_t findPrefix(std::string_view prefix) const noexcept {
        return m_prefixes.find(prefix);
    }
    // The namespace name, normalised: references resolved, as written otherwise. Empty for
    // xmlns="".
    [[nodiscard]] std::string_view namespaceName(const NamespaceDecl& decl) const noexcept;
    // The declaration as a canonical form has it, with one space before it, where it stands so in
    // text(); else empty.
    [[nodiscard]] std::string_view canonicalDeclaration(const NamespaceDecl& decl) const noexcept;
    // The namespace name bound to `prefix` at an element; empty for no namespace. False when the
    // prefix is undeclared (which only a fragment can contain).
    [[nodiscard]] bool lookUpNamespace(ElementId id, std::string_view prefix,
                                       std::string_view& name) const;
    [[nodiscard]] std::string_view namespaceUri(ElementId id) const;

    // The elements that have an attribute of the prefix xml, defaults included, in document order.
    [[nodiscard]] std::span<const ElementId> elementsWithXmlAttributes() const noexcept {
        return m_xmlAttributes.span();
    }

    // What elements inherit, for those with many ancestors or much on them: worked out for the
    // whole document when first asked for, by any thread. Elements with few ancestors are better
    // served by a walk over them.
    [[nodiscard]] const InheritedNamespaces& inheritedNamespaces() const;
    [[nodiscard]] const InheritedXmlAttributes& inheritedXmlAttributes() const;

    // Ids: attributes with the local name Id, ID or id under any prefix, with the name AssertionID,
    // RequestID or ResponseID, and those declared of type ID. Values are compared normalised.
    [[nodiscard]] IdMatch findById(std::string_view value, ElementId& element) const;

    // Every signature element in document order, nested ones included: local name Signature and in
    // the XML-DSig namespace, in no namespace, or with a SignedInfo child; AuthSignature with a
    // SignedInfo child of the XML-DSig namespace.
    [[nodiscard]] std::span<const SignatureElement> signatures() const noexcept {
        return m_signatures;
    }

    // The document type declaration: its extent from "<!DOCTYPE" to ">" (empty when absent), and
    // what it declares (null when absent).
    [[nodiscard]] TextRange doctypeRange() const noexcept { return m_doctypeRange; }
    [[nodiscard]] const DocumentType* documentType() const noexcept { return m_documentType.get(); }
    [[nodiscard]] bool hasAttributeDefaults() const noexcept {
        return m_documentType != nullptr && m_documentType->hasAttributeDefaults();
    }
    // An external subset or parameter entity is named and was not read: for a reader that reads it
    // the document may have other attribute defaults and types.
    [[nodiscard]] bool hasUnreadDeclarations() const noexcept {
        return m_documentType != nullptr && m_documentType->hasUnreadDeclarations();
    }
    [[nodiscard]] bool hasAttributeTypes() const noexcept {
        return m_documentType != nullptr && m_documentType->hasAttributeTypes();
    }
    // The XML declaration, from "<?xml" to "?>"; empty when absent. A byte-order mark stands before
    // it.
    [[nodiscard]] TextRange xmlDeclRange() const noexcept { return m_xmlDeclRange; }

private:
    friend class DocumentScanner;

    XmlDocument();
    // Where another child of `parent` would be: `id` when it is one.
    [[nodiscard]] ElementId childAt(ElementId parent, ElementId id) const noexcept {
        return id < m_elements.size() && m_elements[id].start < m_elements[parent].end ? id
                                                                                       : kNoElement;
    }
    void noteXmlAttribute(ElementId element) {
        if (m_xmlAttributes.empty() || m_xmlAttributes.back() != element) {
            m_xmlAttributes.push_back(element);
        }
    }
    // Places come in their order. Where many stand together, a search finds them as fast.
    void noteUntidy(std::uint32_t place, bool isEmptyTag = false) {
        if (place >= m_tidyKnownUpTo) {
            return;
        }
        if (m_untidy.size() > kUntidyAtOnce + place / kOctetsPerUntidy) {
            m_tidyKnownUpTo = place;
        } else {
            m_untidy.push_back(UntidyPlace(place, isEmptyTag));
        }
    }
    [[nodiscard]] const NamespaceDecl* nearestDeclaration(ElementId id,
                                                          std::uint32_t prefixId) const;
    [[nodiscard]] bool toSource(std::uint32_t offset, std::uint32_t& source) const noexcept;

    static constexpr std::size_t kUntidyAtOnce = 32;
    static constexpr std::uint32_t kOctetsPerUntidy = 128;

    StringBuffer m_source;
    StringBuffer m_text;
    GrowArray<ElementRecord> m_elements;
    ParentFinder m_parents;
    GrowArray<NamespaceDecl> m_namespaces;
    PrefixTable m_prefixes;
    IdTable m_ids;
    GrowArray<ElementId> m_xmlAttributes;
    GrowArray<UntidyPlace> m_untidy;
    std::uint32_t m_tidyKnownUpTo = 0xFFFFFFFF;
    std::vector<SignatureElement> m_signatures;
    std::string m_side; // normalised values that do not stand in the text as they are
    std::unique_ptr<const DocumentType> m_documentType;
    std::vector<CopiedStretch> m_segments;
    TextRange m_doctypeRange;
    TextRange m_xmlDeclRange;
    bool m_fragment = false;
    bool m_hasCarriageReturn = false;
    mutable Once m_namespacesInherited;
    mutable Once m_xmlAttributesInherited;
    mutable std::unique_ptr<const InheritedNamespaces> m_inheritedNamespaces;
    mutable std::unique_ptr<const InheritedXmlAttributes> m_inheritedXmlAttributes;
};

// Finds the parents of elements that mostly stand one behind the other in the same one.
class ChildFinder final {
public:
    [[nodiscard]] ElementId parentOf(const XmlDocument& document, ElementId element) noexcept {
        const bool isNext = m_parent != kNoElement && document.subtreeEnd(m_last) == element &&
                            document.element(element).start < document.element(m_parent).end;
        if (!isNext) {
            m_parent = document.parent(element);
        }
        m_last = element;
        return m_parent;
    }

private:
    ElementId m_last = 0;
    ElementId m_parent = kNoElement; // of that; none before the first and for the root
};

} // namespace vantrel::xml

#endif
