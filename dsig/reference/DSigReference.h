// SPDX-License-Identifier: MIT
#ifndef DSIG_REFERENCE_DSIGREFERENCE_H
#define DSIG_REFERENCE_DSIGREFERENCE_H

#include "dsig/document/reference_form.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/xml/scan/xml_document.h"

#include <cstdint>
#include <string_view>

namespace vantrel {

class ClsXml;
class LogBase;

// One Reference element of a SignedInfo, parsed. A record is filled once, fresh from its
// constructor. Its texts are copies, so it may outlive the document (XML Signature 1.1, 4.4.3).
class DSigReference {
public:
    DSigReference() = default;
    DSigReference(const DSigReference&) = default;
    DSigReference& operator=(const DSigReference&) = default;
    virtual ~DSigReference() = default;

    // Reads the element. A missing child leaves its member empty; the result is always true. What
    // is missing shows later: no digest value equals nothing, no digest method is an unknown one.
    bool parseReference(const ClsXml& referenceElement, LogBase& log);
    // The same with what was found out about the reference before it in the document, which becomes
    // what was found out about this one.
    void parseReference(const xml::XmlDocument& document, xml::ElementId element,
                        dsig::ReferenceForm& last, LogBase& log);
    void logReference(LogBase& log) const;
    // Also knows the digest methods of RFC 9231 from here on, by their whole identifiers. One whose
    // stored value may be a SHA-1 digest stays unknown, so that what the guess verifies it verifies
    // as before.
    void knowStandardDigests();
    // The hash that the digest method names (hash_ids.h); SHA-1 when it names none that is known.
    // Names are recognised as a part of the identifier, in any letter case.
    [[nodiscard]] int getHashAlg() const;
    // False when the digest method is not one that getHashAlg recognises, so that SHA-1 is a guess.
    // A report then says so, whether or not the guess was right.
    [[nodiscard]] bool digestMethodIsKnown() const;

    // Removes from `xml` the header blocks addressed to the next SOAP actor, at most 13. They are
    // cut as text, without proof that they are whole elements; verification uses the XPath step
    // instead.
    static void removeEbXmlFragments(StringBuffer& xml, LogBase& log);

    int m_uriOmitted = 1; // 1: there is no URI attribute, not even an empty one
    StringBuffer m_uri;   // as written
    StringBuffer m_id;
    StringBuffer m_digestMethod; // algorithm identifier
    StringBuffer m_transforms;   // the Transforms element as XML text, empty when there is none
    StringBuffer m_digestValue;  // base64 text without white space
    xml::ElementId m_element = xml::kNoElement; // of the document that it was read from

private:
    void readStartTag(const xml::XmlDocument& document, std::uint32_t& end);
    [[nodiscard]] bool takeForm(const xml::XmlDocument& document, std::uint32_t tagEnd,
                                const dsig::ReferenceForm& form);
    void readChildren(const xml::XmlDocument& document, std::uint32_t tagEnd,
                      dsig::ReferenceForm& form);
    void putDigest(std::string_view text);
    // The hash that m_digestMethod names by a part of it; 0 for none.
    [[nodiscard]] int namedHash() const;

    int m_standardHash = 0; // of a digest method of RFC 9231
    mutable dsig::NamedDigest m_named;
};

} // namespace vantrel

#endif
