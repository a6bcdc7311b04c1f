#include "dsig/xades/timestamp_fragment.h"

#include "dsig/xades/timestamp_identifiers.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/XString.h"
#include "foundation/xml/locate/XmlSigLocate.h"
#include "foundation/xml/tree/ClsXml.h"

#include <string>
#include <string_view>

namespace vantrel::dsig {

namespace {

const char* const kExclusiveC14n = "http://www.w3.org/2001/10/xml-exc-c14n#";
const char* const kXades122 = "http://uri.etsi.org/01903/v1.2.2#";
const char* const kXades132 = "http://uri.etsi.org/01903/v1.3.2#";

std::string freshId() {
    StringBuffer id;
    appendXmlAttrId(id);
    return std::string(id.view());
}

std::string enclose(const std::string& element, const std::string& content) {
    return '<' + element + '>' + content + "</" + element + '>';
}

std::string signatureTimeStamp() {
    return "<xades:SignatureTimeStamp Id=\"signature-timestamp-" + freshId() +
           "\"><ds:CanonicalizationMethod Algorithm=\"" + kExclusiveC14n +
           "\"/><xades:EncapsulatedTimeStamp Encoding=\"" + kXades122 + "DER\">" + kTokenMark +
           "</xades:EncapsulatedTimeStamp></xades:SignatureTimeStamp>";
}

std::string unsignedSignatureProperties() {
    return enclose("xades:UnsignedSignatureProperties", signatureTimeStamp());
}

std::string unsignedProperties() {
    return enclose("xades:UnsignedProperties", unsignedSignatureProperties());
}

std::string qualifyingProperties(const ClsXml& signature, const StringBuffer& signatureId) {
    std::string xml = "<xades:QualifyingProperties";
    const XString xmlnsXades("xmlns:xades");
    if (!signature.HasAttribute(xmlnsXades)) {
        xml += std::string(" xmlns:xades=\"") + kXades132 + '"';
    }
    if (!signatureId.isEmpty()) {
        xml += " Target=\"#" + std::string(signatureId.view()) + '"';
    }
    return xml + '>' + unsignedProperties() + "</xades:QualifyingProperties>";
}

std::string newObject(const ClsXml& signature, const StringBuffer& signatureId) {
    StringBuffer prefix;
    signature.getTagNamespace(prefix);
    std::string name(prefix.view());
    name += name.empty() ? "Object" : ":Object";
    const std::string properties = qualifyingProperties(signature, signatureId);
    return '<' + name + " Id=\"signature-object-" + freshId() + "\">" + properties + "</" + name +
           '>';
}

// Just behind the start tag at `tag`; 0 when it has no end.
std::uint32_t behindStartTag(std::string_view document, std::uint32_t tag) {
    const std::size_t close = document.find('>', tag);
    return close == std::string_view::npos ? 0 : static_cast<std::uint32_t>(close + 1);
}

TimestampFragment make(const std::string& xml, std::uint32_t offset) {
    return {StringBuffer(xml), offset};
}

} // namespace

// The first case that holds decides; the order matters.
TimestampFragment makeTimestampFragment(const ClsXml& signature, const StringBuffer& signatureId,
                                        const XmlSigLocate& locator, const StringBuffer& document) {
    const std::string_view text = document.view();
    if (const std::uint32_t at = locator.m_unsignedSignaturePropertiesLoc; at != 0) {
        return make(signatureTimeStamp(), behindStartTag(text, at));
    }
    if (const std::uint32_t at = locator.m_unsignedPropertiesLoc; at != 0) {
        return make(unsignedSignatureProperties(), behindStartTag(text, at));
    }
    if (const std::uint32_t at = locator.m_signedPropertiesLoc; at != 0) {
        return make(unsignedProperties(), at + locator.m_signedPropertiesLen);
    }
    if (const std::uint32_t at = locator.m_qualifyingPropertiesLoc; at != 0) {
        return make(unsignedProperties(), behindStartTag(text, at));
    }
    if (const std::uint32_t at = locator.m_objectLoc; at != 0) {
        return make(qualifyingProperties(signature, signatureId), behindStartTag(text, at));
    }
    if (const std::uint32_t at = locator.m_objectInsertLoc; at != 0) {
        return make(newObject(signature, signatureId), at + locator.m_objectInsertLen);
    }
    return {};
}

void logLocations(const XmlSigLocate& locator, LogBase& log) {
    log.LogDataUint32("m_signatureValueLoc", locator.m_signatureValueLoc);
    log.LogDataUint32("m_qualifyingPropertiesLoc", locator.m_qualifyingPropertiesLoc);
    log.LogDataUint32("m_unsignedPropertiesLoc", locator.m_unsignedPropertiesLoc);
    log.LogDataUint32("m_unsignedSignaturePropertiesLoc", locator.m_unsignedSignaturePropertiesLoc);
    log.LogDataUint32("m_signedPropertiesLoc", locator.m_signedPropertiesLoc);
    log.LogDataUint32("m_signedPropertiesLen", locator.m_signedPropertiesLen);
}

} // namespace vantrel::dsig
