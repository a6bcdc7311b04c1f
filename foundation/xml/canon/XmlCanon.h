// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_CANON_XMLCANON_H
#define FOUNDATION_XML_CANON_XMLCANON_H

#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/arrays.h"
#include "foundation/xml/canon/canonicalizer.h"
#include "foundation/xml/canon/fragment_id.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace vantrel {

// The canonicalizer as its callers see it: a value that is set up through its fields and used for
// one text. It logs its own reasons for a failure as error lines and throws nothing.
class XmlCanon final {
public:
    XmlCanon() = default;
    XmlCanon(const XmlCanon&) = delete;
    XmlCanon& operator=(const XmlCanon&) = delete;

    // 1 = Canonical XML 1.0 (inclusive), 2 = Exclusive XML Canonicalization 1.0.
    std::int32_t m_method = 1;
    bool m_withComments = false;
    // False: the apex element receives no namespace declaration of its ancestors (some early
    // signers digested SignedInfo so). Attributes of the xml: prefix are inherited all the same.
    bool m_signedDocFlag = true;
    // Canonicalize the m_ebicsIndex-th element (from 0, in document order) whose attribute
    // `authenticate` is "true", whatever the fragment; there being none is a failure.
    // m_ebicsParam2 has no effect.
    bool m_ebicsMode = false;
    std::int32_t m_ebicsIndex = 0;
    std::int32_t m_ebicsParam2 = 0;
    // Write attributes in the faulty order m_faultyOrder instead of the canonical one.
    bool m_duplicateAttrSortBug = false;
    xml::AttributeOrder m_faultyOrder = xml::AttributeOrder::PrefixThenLocal;
    // InclusiveNamespaces PrefixList, one prefix an element; read by the exclusive method only.
    ExtPtrArraySb m_inclusivePrefixes;

    // The structure of the text, where the caller has it. It is used when its text and `xml` share
    // their storage (StringBuffer::sharesStorageWith); any other text is parsed by the call, which
    // puts the structure here if it was null, so that further calls on the same text reuse it.
    std::shared_ptr<const xml::XmlDocument> m_document;
    // The text was cut out of a document: prefixes without a declaration are tolerated. A non-zero
    // start offset implies it.
    bool m_fragmentText = false;

    // Appends to `out` the canonical form of `xml` (UTF-8): of the whole document when `fragmentId`
    // is null or empty and `startOffset` is 0; of the element with that Id; or of the element whose
    // start tag begins at byte `startOffset`. `xpointer(/)` and `xpointer(id('x'))` are understood
    // where no element has that very text as its Id. False, with `out` as it was, when the text is
    // not well-formed, the element is not there, its Id stands on two elements, or `out` would pass
    // the limit of canonical forms (xml/scan/limits.h).
    bool xmlCanonicalize(const StringBuffer& xml, const char* fragmentId, unsigned int startOffset,
                         StringBuffer& out, LogBase& log);

    // The same, streamed: the octets go to `sink` in pieces. After a failure the sink may have been
    // given a part of them only if it refused one itself. How much it takes is its own affair.
    [[nodiscard]] bool canonicalizeTo(const StringBuffer& xml, const char* fragmentId,
                                      unsigned int startOffset, xml::CanonSink& sink, LogBase& log);

    // The same for an element of a known structure (kNoElement: all of it), without the stretches
    // `omitted` of its text() (as in xml::CanonRequest), none of which may hold the element.
    [[nodiscard]] bool canonicalizeElement(const xml::XmlDocument& document, xml::ElementId apex,
                                           std::span<const xml::TextRange> omitted,
                                           xml::CanonSink& sink, LogBase& log) const;
    // What the fields ask for, of the whole document; `prefixes` becomes what the request points
    // at.
    [[nodiscard]] xml::CanonRequest request(std::vector<std::string_view>& prefixes) const;
    // How long a canonical form of this text may be that is kept as a text, and the error line when
    // it is longer.
    [[nodiscard]] static std::uint64_t formLimit(const StringBuffer& xml) noexcept;
    static void logFormLimit(LogBase& log);
    // The element that a fragment identifier names (fragment_id.h), kNoElement for the whole
    // document. There being none, or several, is an error line.
    [[nodiscard]] static xml::FragmentTarget findFragment(const xml::XmlDocument& document,
                                                          std::string_view fragment,
                                                          xml::ElementId& apex, LogBase& log);
    // The elements that EBICS mode counts, in document order; an error line when there is none.
    [[nodiscard]] static std::vector<xml::ElementId> authenticatedElements(
        const xml::XmlDocument& document, LogBase& log);

private:
    struct Selection;

    [[nodiscard]] bool run(const StringBuffer& xml, const Selection& selection,
                           xml::CanonSink& sink, LogBase& log);
    [[nodiscard]] std::shared_ptr<const xml::XmlDocument> structureOf(const StringBuffer& xml,
                                                                      bool fragment, LogBase& log);
    [[nodiscard]] bool findApex(const xml::XmlDocument& document, const Selection& selection,
                                xml::ElementId& apex, LogBase& log) const;
    [[nodiscard]] bool findAuthenticated(xml::ElementId& apex, LogBase& log) const;
    [[nodiscard]] bool canonicalizeApex(const xml::XmlDocument& document, xml::ElementId apex,
                                        std::span<const xml::TextRange> omitted,
                                        xml::CanonSink& sink) const;

    // The elements that EBICS mode counts, of the document they were collected from.
    std::vector<xml::ElementId> m_authenticated;
    std::shared_ptr<const xml::XmlDocument> m_authenticatedIn;
};

} // namespace vantrel

#endif
