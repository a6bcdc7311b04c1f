// SPDX-License-Identifier: MIT
#include "dsig/xades/timestamp_fragment.h"

#include "dsig/xades/timestamp_identifiers.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/XString.h"
#include "foundation/xml/canon/escape.h"
#include "foundation/xml/locate/XmlSigLocate.h"
#include "foundation/xml/scan/xml_document.h"
#include "foundation/xml/tree/ClsXml.h"

#include <map>
#include <string>
#include <string_view>

namespace vantrel::dsig {

namespace {

const char* const kExclusiveC14n = "http://www.w3.org/2001/10/xml-exc-c14n#";
// The properties are written by version 1.3.2 of XAdES; the identifier of the encoding kept the
// name of version 1.2.2 in it.
const char* const kXades122 = "http://uri.etsi.org/01903/v1.2.2#";
const char* const kXades132 = "http://uri.etsi.org/01903/v1.3.2#";
const char* const kXadesFamily = "http://uri.etsi.org/01903/"; // its versions

std::string freshId() {
    StringBuffer id;
    appendXmlAttrId(id);
    return std::string(id.view());
}

// The prefixes that inserted markup uses, as far as they have to be declared on its first element.
// Without them the result would not be namespace-well-formed, or a prefix would mean what the
// document happens to bind it to.
class Declarations final {
public:
    // `place`: the element that the markup goes into.
    explicit Declarations(const ClsXml& place) {
        add(place, "xades", kXades132, kXadesFamily);
        add(place, "ds", xml::kXmlDsigNamespace, xml::kXmlDsigNamespace);
    }
    // What the caller declares itself.
    void drop(std::string_view prefix) { m_missing.erase(std::string(prefix)); }
    [[nodiscard]] std::string text() const {
        std::string attributes;
        for (const auto& [prefix, name] : m_missing) {
            attributes += " xmlns:";
            attributes += prefix;
            attributes += "=\"";
            attributes += name;
            attributes += '"';
        }
        return attributes;
    }

private:
    // A prefix that stands for anything but `family` is declared anew. A document in another
    // version of XAdES keeps its own: the addition joins what is there.
    void add(const ClsXml& place, const char* prefix, std::string_view name,
             std::string_view family) {
        std::string_view bound;
        if (!place.document()->lookUpNamespace(place.elementId(), prefix, bound) ||
            !bound.starts_with(family)) {
            m_missing.emplace(prefix, name);
        }
    }

    std::map<std::string, std::string> m_missing;
};

// `declarations`: attributes, each with a space before it; or empty.
std::string enclose(const std::string& element, const std::string& declarations,
                    const std::string& content) {
    return "<" + element + declarations + ">" + content + "</" + element + ">";
}

// ETSI TS 101 903, SignatureTimeStamp. The containers around it are unsigned: digests over
// SignedProperties, or over a document without its signature, stay what they were.
std::string signatureTimeStamp(const std::string& declarations) {
    return "<xades:SignatureTimeStamp Id=\"signature-timestamp-" + freshId() + "\"" + declarations +
           "><ds:CanonicalizationMethod Algorithm=\"" + kExclusiveC14n +
           "\"/><xades:EncapsulatedTimeStamp Encoding=\"" + kXades122 + "DER\">" + kTokenMark +
           "</xades:EncapsulatedTimeStamp></xades:SignatureTimeStamp>";
}

std::string unsignedSignatureProperties(const std::string& declarations) {
    return enclose("xades:UnsignedSignatureProperties", declarations, signatureTimeStamp(""));
}

std::string unsignedProperties(const std::string& declarations) {
    return enclose("xades:UnsignedProperties", declarations, unsignedSignatureProperties(""));
}

std::string qualifyingProperties(const ClsXml& signature, const StringBuffer& signatureId,
                                 Declarations declarations) {
    declarations.drop("xades");
    std::string xml = "<xades:QualifyingProperties";
    const XString xmlnsXades("xmlns:xades");
    // Whatever the Signature element binds the prefix to itself, it is not bound anew.
    if (!signature.HasAttribute(xmlnsXades)) {
        xml += std::string(" xmlns:xades=\"") + kXades132 + "\"";
    }
    xml += declarations.text();
    // Target names the signature. The Id was read with its references resolved, so it is escaped
    // again: a quote in it must not end the attribute.
    if (!signatureId.isEmpty()) {
        xml += " Target=\"#";
        xml::appendAttributeEscaped(signatureId.view(), xml);
        xml += '"';
    }
    return xml + ">" + unsignedProperties("") + "</xades:QualifyingProperties>";
}

// With the prefix of the Signature element, for an Object belongs to the same namespace.
std::string newObject(const ClsXml& signature, const StringBuffer& signatureId) {
    StringBuffer prefix;
    signature.getTagNamespace(prefix);
    std::string name(prefix.view());
    name += name.empty() ? "Object" : ":Object";
    const std::string properties =
        qualifyingProperties(signature, signatureId, Declarations(signature));
    return "<" + name + " Id=\"signature-object-" + freshId() + "\">" + properties + "</" + name +
           ">";
}

// The offset of the '>' that ends the tag at `tag`; npos when it has none. Attribute values are
// passed over. A '>' may stand in a value as it is.
std::size_t endOfTag(std::string_view document, std::uint32_t tag) {
    char quote = 0;
    for (std::size_t at = tag; at < document.size(); ++at) {
        const char c = document[at];
        if (quote != 0) {
            quote = c == quote ? '\0' : quote;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '>') {
            return at;
        }
    }
    return std::string_view::npos;
}

// `xml` as the first content of the element whose start tag is at `tag`.
TimestampFragment asFirstContent(const std::string& xml, std::string_view document,
                                 std::uint32_t tag) {
    const std::size_t close = endOfTag(document, tag);
    if (close == std::string_view::npos) {
        return {};
    }
    // An empty-element tag is opened instead: "/>" gives way to ">", the addition and an end tag of
    // the same name.
    if (document[close - 1] != '/') {
        return {StringBuffer(xml), static_cast<std::uint32_t>(close + 1), 0};
    }
    const std::size_t nameEnd = document.find_first_of("/> \t\r\n", tag);
    const std::string name(document.substr(tag + 1, nameEnd - tag - 1));
    return {StringBuffer(">" + xml + "</" + name + ">"), static_cast<std::uint32_t>(close - 1), 2};
}

// `xml` behind the element that begins at `start` and has `length` bytes.
TimestampFragment behind(const std::string& xml, std::uint32_t start, std::uint32_t length) {
    return {StringBuffer(xml), start + length, 0};
}

// The element of the loaded document that begins at an offset of its text; the signature where the
// offset is none of an element's own (it came from an entity).
Ref<ClsXml> elementAt(const ClsXml& signature, std::uint32_t offset) {
    const xml::ElementId element = signature.document()->elementAtSourceOffset(offset);
    return Ref<ClsXml>::adopt(ClsXml::onElement(
        signature.document(), element != xml::kNoElement ? element : signature.elementId()));
}

std::string declarationsAt(const ClsXml& signature, std::uint32_t offset) {
    return Declarations(*elementAt(signature, offset)).text();
}

} // namespace

// The first case that holds decides; the order matters. Innermost container first, so that no
// second one is made beside one that is there.
TimestampFragment makeTimestampFragment(const ClsXml& signature, const StringBuffer& signatureId,
                                        const XmlSigLocate& locator, const StringBuffer& document) {
    const std::string_view text = document.view();
    if (const std::uint32_t at = locator.m_unsignedSignaturePropertiesLoc; at != 0) {
        return asFirstContent(signatureTimeStamp(declarationsAt(signature, at)), text, at);
    }
    if (const std::uint32_t at = locator.m_unsignedPropertiesLoc; at != 0) {
        return asFirstContent(unsignedSignatureProperties(declarationsAt(signature, at)), text, at);
    }
    if (const std::uint32_t at = locator.m_signedPropertiesLoc; at != 0) {
        return behind(
            unsignedProperties(declarationsAt(signature, locator.m_qualifyingPropertiesLoc)), at,
            locator.m_signedPropertiesLen);
    }
    if (const std::uint32_t at = locator.m_qualifyingPropertiesLoc; at != 0) {
        return asFirstContent(unsignedProperties(declarationsAt(signature, at)), text, at);
    }
    if (const std::uint32_t at = locator.m_objectLoc; at != 0) {
        const Ref<ClsXml> object = elementAt(signature, at);
        return asFirstContent(qualifyingProperties(signature, signatureId, Declarations(*object)),
                              text, at);
    }
    if (const std::uint32_t at = locator.m_objectInsertLoc; at != 0) {
        return behind(newObject(signature, signatureId), at, locator.m_objectInsertLen);
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
