// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_TREE_CLSXML_H
#define FOUNDATION_XML_TREE_CLSXML_H

#include "foundation/text/LogBase.h"
#include "foundation/text/RefCountedObject.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/XString.h"
#include "foundation/text/arrays.h"
#include "foundation/xml/scan/element_id.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantrel {

namespace xml {
struct ParseOptions;
class XmlDocument;
} // namespace xml

// A handle on one element of a parsed document. Handles share the document, which lives as long as
// the last of them; the document cannot be changed. Every operation that returns a ClsXml* returns
// a new handle with one reference, which is the caller's; null stands for "no such element", and
// for nothing else: where there is no memory for a handle they throw std::bad_alloc, since an
// element that seems not to be there could be one that a verdict rests on; so do those that read
// contents and attributes. A handle made by
// createNewCls has no document yet: it has no tag, no content and no children.
//
// Tags and paths. "*:Name" matches the local name under any prefix or none; any other tag matches
// the qualified name. A path joins tags by '|', each step leading to the first such child; a step
// that ends in "[i]" leads to the child whose zero-based position among those that match is this
// handle's register I. Attribute names may have the "*:" form, too.
//
// "out" texts are replaced on success and unchanged otherwise.
class ClsXml final : public RefCountedObject {
public:
    [[nodiscard]] static ClsXml* createNewCls() noexcept;
    // A handle on an element of a known document; never null.
    [[nodiscard]] static ClsXml* onElement(std::shared_ptr<const xml::XmlDocument> document,
                                           xml::ElementId element);

    // Parses a document and moves this handle to its root. `fragment`: the text was cut out of a
    // document, so undeclared prefixes are tolerated. A failure is one error line with line, column
    // and reason; the handle is unchanged then.
    bool loadXml(const StringBuffer& text, bool fragment, LogBase& log);
    bool loadXml(const StringBuffer& text, const xml::ParseOptions& options, LogBase& log);

    // The element with its subtree as XML, as it stands in the text, with entities of the document
    // type declaration expanded and attribute defaults added. `unused` has no meaning.
    bool getXml(bool unused, StringBuffer& out, LogBase& log) const;
    bool GetXml(XString& out) const;

    [[nodiscard]] ClsXml* getChildWithTagUtf8(const char* tag) const;
    [[nodiscard]] ClsXml* getNthChildWithTagUtf8(const char* tag, int n, LogBase& log) const;
    [[nodiscard]] int numChildrenHavingTagUtf8(const char* tag, LogBase& log) const;
    [[nodiscard]] ClsXml* findChild(const char* path) const;
    [[nodiscard]] int get_NumChildren() const;
    // Calls with rising indexes on one handle cost no search from the first child.
    [[nodiscard]] ClsXml* getChild(int index) const;
    [[nodiscard]] ClsXml* GetChild(int index) const { return getChild(index); }
    // Moves this handle to its child; false, and unmoved, when there is none.
    bool getChild2(int index);

    // Content of the element at the path; `unused` has no meaning.
    bool getChildContentUtf8(const char* path, StringBuffer& out, bool unused) const;
    bool getAttrValue(const char* name, StringBuffer& out) const;
    bool getChildAttrValue(const char* tag, const char* name, StringBuffer& out) const;
    [[nodiscard]] bool HasAttribute(const XString& name) const;
    // The element's own character data, CDATA sections included, references resolved and line ends
    // normalised; nothing of its children.
    void get_Content(XString& out) const;
    void getContentSb(StringBuffer& out) const;
    // The prefix of the tag; empty without one.
    void getTagNamespace(StringBuffer& out) const;
    // The qualified name.
    void get_Tag(XString& out) const;

    // The first element with the tag in document order among this element and its subtree, strictly
    // behind `after` (a handle on the same document) when that is not null.
    [[nodiscard]] ClsXml* searchForTag(const ClsXml* after, const char* tag) const;
    // The same, with an attribute whose value matches; '*' in `value` stands for any run of bytes.
    [[nodiscard]] ClsXml* searchForAttribute(const ClsXml* after, const char* tag, const char* name,
                                             bool ignoreCase, const char* value) const;
    // Appends a handle on every Signature element of the whole document, in document order: local
    // name Signature in the XML-DSig namespace, in no namespace or with a SignedInfo child, and
    // AuthSignature with a SignedInfo child of the XML-DSig namespace.
    bool findSignatures(ExtPtrArrayRc& out, LogBase& log) const;

    void put_I(int index) noexcept { m_index = index; }
    [[nodiscard]] int get_I() const noexcept { return m_index; }

    // For callers inside the library. document() is null for a handle without one; then the other
    // calls below may not be made.
    [[nodiscard]] const std::shared_ptr<const xml::XmlDocument>& document() const noexcept {
        return m_document;
    }
    [[nodiscard]] xml::ElementId elementId() const noexcept { return m_element; }
    // Views into the document's text.
    [[nodiscard]] std::string_view getTag() const noexcept;
    [[nodiscard]] std::string_view localName() const noexcept;
    [[nodiscard]] std::string_view prefix() const noexcept;
    // The namespace name of the element; empty for none.
    [[nodiscard]] std::string_view namespaceUri() const;
    // The element's extent in the text as it was loaded; false when it came out of an entity.
    [[nodiscard]] bool sourceRange(std::uint32_t& start, std::uint32_t& end) const noexcept;
    // All children with the tag, in one pass: for callers that visit many.
    [[nodiscard]] std::vector<xml::ElementId> childrenWithTag(std::string_view tag) const;
    // "/Batch/Item[3]"; for many paths of one document use xml::ElementPaths.
    [[nodiscard]] std::string pathFromRoot() const;
    // Every attribute in document order, defaults last, values normalised.
    [[nodiscard]] std::vector<std::pair<std::string, std::string>> attributes() const;

private:
    ClsXml() noexcept = default;
    ~ClsXml() override = default;

    [[nodiscard]] ClsXml* handleOn(xml::ElementId element) const;
    [[nodiscard]] xml::ElementId childAt(int index) const noexcept;
    [[nodiscard]] bool contentOf(xml::ElementId element, StringBuffer& out) const;
    // First element that may be searched, behind `after`.
    [[nodiscard]] xml::ElementId searchStart(const ClsXml* after) const noexcept;

    std::shared_ptr<const xml::XmlDocument> m_document;
    xml::ElementId m_element = 0;
    int m_index = 0;
    // The child that was asked for last.
    mutable int m_lastChildIndex = -1;
    mutable xml::ElementId m_lastChild = xml::kNoElement;
};

} // namespace vantrel

#endif
