// SPDX-License-Identifier: MIT
#include "foundation/xml/canon/XmlCanon.h"

#include "foundation/xml/canon/fragment_id.h"
#include "foundation/xml/scan/limits.h"
#include "foundation/xml/scan/log_failure.h"
#include "foundation/xml/scan/start_tag.h"
#include "foundation/xml/scan/values.h"

#include <algorithm>
#include <new>
#include <string>

namespace vantrel {

using xml::ElementId;
using xml::kNoElement;
using xml::TextRange;
using xml::XmlDocument;

namespace {

constexpr std::int32_t kExclusiveMethod = 2;

// True for an element with the unqualified attribute authenticate="true".
bool isAuthenticated(const XmlDocument& document, ElementId element) {
    constexpr std::string_view kName = "authenticate";
    constexpr std::string_view kValue = "true";
    xml::StartTagReader tag(document.text(), document.element(element).start);
    for (xml::Attribute attribute; tag.next(attribute);) {
        if (attribute.name == kName) {
            std::string value;
            const xml::DocumentType* const types = document.documentType();
            xml::appendAttributeValue(attribute.raw,
                                      types != nullptr ? types->attributeType(tag.name(), kName)
                                                       : xml::AttributeType::Cdata,
                                      value);
            return value == kValue;
        }
    }
    if (!document.hasAttributeDefaults()) {
        return false;
    }
    const auto declared = document.documentType()->declaredAttributes(tag.name());
    return std::any_of(declared.begin(), declared.end(), [&](const xml::DeclaredAttribute& one) {
        return one.hasDefault && one.name == kName && one.value == kValue;
    });
}

std::vector<ElementId> collectAuthenticated(const XmlDocument& document) {
    std::vector<ElementId> found;
    for (ElementId element = 0; element < document.elementCount(); ++element) {
        if (isAuthenticated(document, element)) {
            found.push_back(element);
        }
    }
    return found;
}

void logNoneAuthenticated(LogBase& log) {
    log.LogError("No element of the XML is marked to be authenticated.");
}

void logOutOfMemory(LogBase& log) { log.LogError("Out of memory in XML canonicalization."); }

} // namespace

// Which part of the text a call asks for.
struct XmlCanon::Selection {
    std::string_view fragment;
    std::uint32_t startOffset = 0;
};

bool XmlCanon::xmlCanonicalize(const StringBuffer& xml, const char* fragmentId,
                               unsigned int startOffset, StringBuffer& out, LogBase& log) {
    const std::uint32_t before = out.getSize();
    if (before == 0 && startOffset == 0 && (fragmentId == nullptr || *fragmentId == '\0')) {
        static_cast<void>(out.reserve(xml.getSize())); // only to spare growing step by step
    }
    xml::StringBufferSink sink(out, formLimit(xml));
    const bool ok = canonicalizeTo(xml, fragmentId, startOffset, sink, log);
    if (sink.passedLimit()) {
        logFormLimit(log);
    }
    if (!ok) {
        out.shorten(out.getSize() - before);
    }
    return ok;
}

std::uint64_t XmlCanon::formLimit(const StringBuffer& xml) noexcept {
    return std::max(xml::kMaxCanonicalForm, xml::kMaxCanonicalMultiple * xml.getSize());
}

void XmlCanon::logFormLimit(LogBase& log) {
    log.LogError("Limit passed: the size of the canonical form");
}

bool XmlCanon::canonicalizeTo(const StringBuffer& xml, const char* fragmentId,
                              unsigned int startOffset, xml::CanonSink& sink, LogBase& log) {
    try {
        Selection selection;
        selection.fragment = fragmentId != nullptr ? fragmentId : "";
        selection.startOffset = startOffset;
        return run(xml, selection, sink, log);
    } catch (const std::bad_alloc&) {
        logOutOfMemory(log);
        return false;
    }
}

std::shared_ptr<const XmlDocument> XmlCanon::structureOf(const StringBuffer& xml, bool fragment,
                                                         LogBase& log) {
    if (m_document != nullptr && m_document->sourceText().sharesStorageWith(xml) &&
        (fragment || !m_document->isFragment())) {
        return m_document;
    }
    xml::ParseFailure why;
    auto parsed = XmlDocument::parse(xml, {fragment}, why);
    if (parsed == nullptr) {
        xml::logParseFailure(why, log);
    } else if (m_document == nullptr) {
        m_document = parsed;
    }
    return parsed;
}

bool XmlCanon::run(const StringBuffer& xml, const Selection& selection, xml::CanonSink& sink,
                   LogBase& log) {
    const bool fragment = m_fragmentText || selection.startOffset != 0;
    const auto document = structureOf(xml, fragment, log);
    if (document == nullptr) {
        return false;
    }
    if (m_ebicsMode && m_authenticatedIn != document) {
        m_authenticated = collectAuthenticated(*document);
        m_authenticatedIn = document;
    }
    ElementId apex = kNoElement;
    if (!findApex(*document, selection, apex, log)) {
        return false;
    }
    return canonicalizeApex(*document, apex, {}, sink);
}

bool XmlCanon::findApex(const XmlDocument& document, const Selection& selection, ElementId& apex,
                        LogBase& log) const {
    if (m_ebicsMode) {
        return findAuthenticated(apex, log);
    }
    if (selection.startOffset != 0) {
        apex = document.elementAtSourceOffset(selection.startOffset);
        if (apex == kNoElement) {
            log.LogError("No element begins at the start offset.");
            log.LogDataUint32("startOffset", selection.startOffset);
        }
        return apex != kNoElement;
    }
    const xml::FragmentTarget target = findFragment(document, selection.fragment, apex, log);
    return target == xml::FragmentTarget::Document || target == xml::FragmentTarget::Element;
}

xml::FragmentTarget XmlCanon::findFragment(const XmlDocument& document, std::string_view fragment,
                                           ElementId& apex, LogBase& log) {
    const xml::FragmentTarget target = xml::resolveFragment(document, fragment, apex);
    switch (target) {
    case xml::FragmentTarget::Document: apex = kNoElement; return target;
    case xml::FragmentTarget::Element: return target;
    case xml::FragmentTarget::NotFound: log.LogError("No element of the XML has the Id."); break;
    case xml::FragmentTarget::NotUnique:
        log.LogError("The Id is not unique: it stands on several elements.");
        break;
    }
    log.logText("fragmentId", fragment);
    return target;
}

bool XmlCanon::findAuthenticated(ElementId& apex, LogBase& log) const {
    const auto count = static_cast<std::int64_t>(m_authenticated.size());
    if (m_ebicsIndex >= 0 && m_ebicsIndex < count) {
        apex = m_authenticated[static_cast<std::size_t>(m_ebicsIndex)];
        return true;
    }
    // Callers count up until there is no more, so only an empty list is worth a line.
    if (m_authenticated.empty()) {
        logNoneAuthenticated(log);
    }
    return false;
}

std::vector<ElementId> XmlCanon::authenticatedElements(const XmlDocument& document, LogBase& log) {
    std::vector<ElementId> found = collectAuthenticated(document);
    if (found.empty()) {
        logNoneAuthenticated(log);
    }
    return found;
}

bool XmlCanon::canonicalizeElement(const XmlDocument& document, ElementId apex,
                                   std::span<const TextRange> omitted, xml::CanonSink& sink,
                                   LogBase& log) const {
    try {
        return canonicalizeApex(document, apex, omitted, sink);
    } catch (const std::bad_alloc&) {
        logOutOfMemory(log);
        return false;
    }
}

xml::CanonRequest XmlCanon::request(std::vector<std::string_view>& prefixes) const {
    prefixes.clear();
    for (int i = 0; i < m_inclusivePrefixes.getSize(); ++i) {
        if (const StringBuffer* const prefix = m_inclusivePrefixes.sbAt(i); prefix != nullptr) {
            prefixes.push_back(prefix->view());
        }
    }
    xml::CanonRequest request;
    request.method =
        m_method == kExclusiveMethod ? xml::CanonMethod::Exclusive : xml::CanonMethod::Inclusive;
    request.withComments = m_withComments;
    request.prefixes = prefixes;
    request.inheritNamespaces = m_signedDocFlag;
    request.order = m_duplicateAttrSortBug ? m_faultyOrder : xml::AttributeOrder::Canonical;
    return request;
}

bool XmlCanon::canonicalizeApex(const XmlDocument& document, ElementId apex,
                                std::span<const TextRange> omitted, xml::CanonSink& sink) const {
    std::vector<std::string_view> prefixes;
    xml::CanonRequest asked = request(prefixes);
    asked.apex = apex;
    asked.omitted = omitted;
    return xml::canonicalize(document, asked, sink);
}

} // namespace vantrel
