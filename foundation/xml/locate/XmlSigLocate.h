// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_LOCATE_XMLSIGLOCATE_H
#define FOUNDATION_XML_LOCATE_XMLSIGLOCATE_H

#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/xml/scan/_vlXmlDtd.h"

#include <cstdint>
#include <span>

namespace vantrel {

// Finds a `Signature` element in XML text and reports where it and its parts stand, as byte offsets
// into that text. Which elements count is what the tree counts (Signature of the XML Signature
// namespace, unqualified, or with a SignedInfo child; AuthSignature with a SignedInfo child), in
// document order; look-alikes in comments, CDATA sections or entity values are none. SignedInfo is
// a direct child: a signature with none or two of them is not located. Text that is not well-formed
// is an error line and false. The offsets mean something only after a call that returned true.
class XmlSigLocate final {
public:
    XmlSigLocate() noexcept = default;
    XmlSigLocate(const XmlSigLocate&) = delete;
    XmlSigLocate& operator=(const XmlSigLocate&) = delete;

    // The selected Signature, as element of the structure that the `_vlXmlDtd` of the call knows.
    // In that structure's own text the answer is this element or nothing, so that no other
    // signature with the same Id or digest can stand in for it. kNoElement: the first that matches,
    // as in any other text.
    xml::ElementId m_selectedElement = xml::kNoElement;
    // Record the offsets of the inner parts below, too.
    bool m_recordLocations = false;

    std::uint32_t m_sigStart = 0;
    std::uint32_t m_sigLength = 0;
    std::uint32_t m_signedInfoStart = 0;
    std::uint32_t m_signedInfoLength = 0;

    // Start offsets of the parts of the located signature; 0 = absent. The first of each kind.
    std::uint32_t m_signatureValueLoc = 0;
    std::uint32_t m_qualifyingPropertiesLoc = 0;
    std::uint32_t m_unsignedPropertiesLoc = 0;
    std::uint32_t m_unsignedSignaturePropertiesLoc = 0;
    std::uint32_t m_signedPropertiesLoc = 0;
    std::uint32_t m_signedPropertiesLen = 0;
    // An Object child without QualifyingProperties.
    std::uint32_t m_objectLoc = 0;
    // The element after which a new Object goes: the last Object child, else KeyInfo, else
    // SignatureValue.
    std::uint32_t m_objectInsertLoc = 0;
    std::uint32_t m_objectInsertLen = 0;

    // Both use the structure that `dtd` knows when it is that of `text` (shared storage); any other
    // text is parsed, and its structure left in `dtd` unless a selected element pins the one there.
    // Locates the signature whose attribute `Id` (without a prefix) has the value `id`.
    bool FindXmlSigById(const StringBuffer& id, const StringBuffer& text, _vlXmlDtd& dtd,
                        LogBase& log);
    // Locates the signature whose SignedInfo has a Reference with that DigestValue; white space in
    // either is ignored. An empty digest matches nothing.
    bool FindXmlSigByRefDigest(const StringBuffer& digestValue, const StringBuffer& text,
                               _vlXmlDtd& dtd, LogBase& log);

private:
    [[nodiscard]] std::span<const xml::SignatureElement> candidates(
        const xml::XmlDocument& document, bool pinned) const;
    template <class Matches>
    bool locate(const StringBuffer& text, _vlXmlDtd& dtd, LogBase& log, Matches matches);
    bool setExtent(const xml::XmlDocument& document, const xml::SignatureElement& signature,
                   LogBase& log);
    void recordParts(const xml::XmlDocument& document, xml::ElementId signature);
    void recordObject(const xml::XmlDocument& document, xml::ElementId object);
    void forget() noexcept;
};

} // namespace vantrel

#endif
