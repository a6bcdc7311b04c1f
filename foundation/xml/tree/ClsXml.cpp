// SPDX-License-Identifier: MIT
#include "foundation/xml/tree/ClsXml.h"

#include "foundation/text/no_throw.h"
#include "foundation/text/strings.h"
#include "foundation/xml/scan/xml_document.h"
#include "foundation/xml/tree/element_text.h"
#include "foundation/xml/tree/tag_pattern.h"

#include <new>

namespace vantrel {
namespace {

using text::viewOf;
using xml::ElementId;
using xml::kNoElement;
using xml::NamePattern;

} // namespace

ClsXml* ClsXml::createNewCls() noexcept { return new (std::nothrow) ClsXml(); }

ClsXml* ClsXml::onElement(std::shared_ptr<const xml::XmlDocument> document, ElementId element) {
    ClsXml* const handle = new ClsXml();
    handle->m_document = std::move(document);
    handle->m_element = element;
    return handle;
}

ClsXml* ClsXml::handleOn(ElementId element) const {
    return element == kNoElement ? nullptr : onElement(m_document, element);
}

bool ClsXml::loadXml(const StringBuffer& text, bool fragment, LogBase& log) {
    return loadXml(text, xml::ParseOptions{.fragment = fragment}, log);
}

bool ClsXml::loadXml(const StringBuffer& text, const xml::ParseOptions& options, LogBase& log) {
    return text::noThrow(false, [&] {
        xml::ParseFailure why;
        auto document = xml::XmlDocument::parse(text, options, why);
        if (document == nullptr) {
            const std::string line = "The XML is not well-formed at line " +
                                     std::to_string(why.line) + ", column " +
                                     std::to_string(why.column) + ": " + why.message + ".";
            log.LogError(line.c_str());
            return false;
        }
        m_document = std::move(document);
        m_element = 0;
        m_lastChildIndex = -1;
        return true;
    });
}

bool ClsXml::getXml(bool /*unused*/, StringBuffer& out, LogBase& /*log*/) const {
    return m_document != nullptr && text::noThrow(false, [&] {
               std::string storage;
               return out.setView(xml::elementXml(*m_document, m_element, storage));
           });
}

bool ClsXml::GetXml(XString& out) const {
    LogNull log;
    return getXml(false, out.getUtf8Sb_rw(), log);
}

ClsXml* ClsXml::getChildWithTagUtf8(const char* tag) const {
    LogNull log;
    return getNthChildWithTagUtf8(tag, 0, log);
}

ClsXml* ClsXml::getNthChildWithTagUtf8(const char* tag, int n, LogBase& /*log*/) const {
    if (m_document == nullptr || n < 0) {
        return nullptr;
    }
    return handleOn(xml::findNthChild(*m_document, m_element, NamePattern(viewOf(tag)),
                                      static_cast<std::uint32_t>(n)));
}

int ClsXml::numChildrenHavingTagUtf8(const char* tag, LogBase& /*log*/) const {
    int count = 0;
    if (m_document != nullptr) {
        const NamePattern pattern(viewOf(tag));
        for (ElementId at = xml::findChildFrom(*m_document, m_element,
                                               m_document->firstChild(m_element), pattern);
             at != kNoElement; at = xml::findNextChild(*m_document, m_element, at, pattern)) {
            ++count;
        }
    }
    return count;
}

ClsXml* ClsXml::findChild(const char* path) const {
    if (m_document == nullptr || m_index < 0) {
        return nullptr;
    }
    return handleOn(
        xml::followPath(*m_document, m_element, viewOf(path), static_cast<std::uint32_t>(m_index)));
}

int ClsXml::get_NumChildren() const {
    int count = 0;
    if (m_document != nullptr) {
        for (ElementId at = m_document->firstChild(m_element); at != kNoElement;
             at = m_document->nextChild(m_element, at)) {
            ++count;
        }
    }
    return count;
}

ElementId ClsXml::childAt(int index) const noexcept {
    if (m_document == nullptr || index < 0) {
        return kNoElement;
    }
    const bool known = m_lastChildIndex >= 0 && m_lastChildIndex <= index;
    ElementId child = known ? m_lastChild : m_document->firstChild(m_element);
    for (int at = known ? m_lastChildIndex : 0; at < index && child != kNoElement; ++at) {
        child = m_document->nextChild(m_element, child);
    }
    if (child != kNoElement) {
        m_lastChildIndex = index;
        m_lastChild = child;
    }
    return child;
}

ClsXml* ClsXml::getChild(int index) const { return handleOn(childAt(index)); }

bool ClsXml::getChild2(int index) {
    const ElementId child = childAt(index);
    if (child == kNoElement) {
        return false;
    }
    m_element = child;
    m_lastChildIndex = -1;
    return true;
}

bool ClsXml::contentOf(ElementId element, StringBuffer& out) const {
    if (element == kNoElement) {
        return false;
    }
    std::string storage;
    if (!out.setView(xml::elementContent(*m_document, element, storage))) {
        throw std::bad_alloc();
    }
    return true;
}

bool ClsXml::getChildContentUtf8(const char* path, StringBuffer& out, bool /*unused*/) const {
    if (m_document == nullptr || m_index < 0) {
        return false;
    }
    return contentOf(
        xml::followPath(*m_document, m_element, viewOf(path), static_cast<std::uint32_t>(m_index)),
        out);
}

bool ClsXml::getAttrValue(const char* name, StringBuffer& out) const {
    return m_document != nullptr &&
           xml::attributeValue(*m_document, m_element, NamePattern(viewOf(name)), out);
}

bool ClsXml::getChildAttrValue(const char* tag, const char* name, StringBuffer& out) const {
    if (m_document == nullptr) {
        return false;
    }
    const ElementId child = xml::findNthChild(*m_document, m_element, NamePattern(viewOf(tag)), 0);
    return child != kNoElement &&
           xml::attributeValue(*m_document, child, NamePattern(viewOf(name)), out);
}

bool ClsXml::HasAttribute(const XString& name) const {
    StringBuffer value;
    return getAttrValue(name.getUtf8(), value);
}

void ClsXml::get_Content(XString& out) const { getContentSb(out.getUtf8Sb_rw()); }

void ClsXml::getContentSb(StringBuffer& out) const {
    if (m_document == nullptr || !contentOf(m_element, out)) {
        out.clear();
    }
}

void ClsXml::getTagNamespace(StringBuffer& out) const {
    out.setView(m_document == nullptr ? std::string_view() : prefix());
}

void ClsXml::get_Tag(XString& out) const {
    out.getUtf8Sb_rw().setView(m_document == nullptr ? std::string_view() : getTag());
}

ElementId ClsXml::searchStart(const ClsXml* after) const noexcept {
    if (after == nullptr || after->m_document != m_document) {
        return m_element;
    }
    return after->m_element < m_element ? m_element : after->m_element + 1;
}

ClsXml* ClsXml::searchForTag(const ClsXml* after, const char* tag) const {
    if (m_document == nullptr) {
        return nullptr;
    }
    const NamePattern pattern(viewOf(tag));
    const ElementId end = m_document->subtreeEnd(m_element);
    for (ElementId at = searchStart(after); at < end; ++at) {
        if (pattern.matches(m_document->qualifiedName(at))) {
            return handleOn(at);
        }
    }
    return nullptr;
}

ClsXml* ClsXml::searchForAttribute(const ClsXml* after, const char* tag, const char* name,
                                   bool ignoreCase, const char* value) const {
    if (m_document == nullptr) {
        return nullptr;
    }
    const NamePattern pattern(viewOf(tag));
    const NamePattern attribute(viewOf(name));
    const ElementId end = m_document->subtreeEnd(m_element);
    for (ElementId at = searchStart(after); at < end; ++at) {
        if (!pattern.matches(m_document->qualifiedName(at))) {
            continue;
        }
        bool matched = false;
        xml::forEachAttribute(*m_document, at, [&](std::string_view found, std::string_view text) {
            matched =
                attribute.matches(found) && xml::matchesWildcards(text, viewOf(value), ignoreCase);
            return !matched;
        });
        if (matched) {
            return handleOn(at);
        }
    }
    return nullptr;
}

bool ClsXml::findSignatures(ExtPtrArrayRc& out, LogBase& /*log*/) const {
    return m_document == nullptr || text::noThrow(false, [&] {
               for (const xml::SignatureElement& signature : m_document->signatures()) {
                   if (!out.appendRefCounted(handleOn(signature.element))) {
                       return false;
                   }
               }
               return true;
           });
}

std::string_view ClsXml::getTag() const noexcept { return m_document->qualifiedName(m_element); }

std::string_view ClsXml::localName() const noexcept { return m_document->localName(m_element); }

std::string_view ClsXml::prefix() const noexcept { return m_document->prefix(m_element); }

std::string_view ClsXml::namespaceUri() const { return m_document->namespaceUri(m_element); }

bool ClsXml::sourceRange(std::uint32_t& start, std::uint32_t& end) const noexcept {
    xml::TextRange range;
    if (!m_document->sourceRange(m_element, range)) {
        return false;
    }
    start = range.start;
    end = range.end();
    return true;
}

std::vector<ElementId> ClsXml::childrenWithTag(std::string_view tag) const {
    std::vector<ElementId> children;
    const NamePattern pattern(tag);
    for (ElementId at =
             xml::findChildFrom(*m_document, m_element, m_document->firstChild(m_element), pattern);
         at != kNoElement; at = xml::findNextChild(*m_document, m_element, at, pattern)) {
        children.push_back(at);
    }
    return children;
}

std::string ClsXml::pathFromRoot() const {
    std::string path;
    xml::ElementPaths(*m_document).append(m_element, path);
    return path;
}

std::vector<std::pair<std::string, std::string>> ClsXml::attributes() const {
    std::vector<std::pair<std::string, std::string>> all;
    xml::forEachAttribute(*m_document, m_element,
                          [&](std::string_view name, std::string_view value) {
                              all.emplace_back(name, value);
                              return true;
                          });
    return all;
}

} // namespace vantrel
