// SPDX-License-Identifier: MIT
#include "foundation/cms/AsnXmlCodec.h"

#include "foundation/asn1/ber_normalize.h"
#include "foundation/cms/asn_xml_reader.h"
#include "foundation/cms/asn_xml_writer.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/no_throw.h"
#include "foundation/xml/scan/xml_document.h"
#include "foundation/xml/tree/ClsXml.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vantrel {

namespace {

// Two bytes, an empty constructed element, become a rendering of some sixty: thirty times as much,
// which for this input still fits into a text.
constexpr std::size_t kMaxInput = std::size_t{64} << 20U;
constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";

// Without `exact` the bytes are brought to DER first, so that the writer finds nothing to note.
bool render(ByteView ber, bool exact, std::string& out) {
    if (exact) {
        return cms::writeAsnXml(ber, out);
    }
    std::vector<std::uint8_t> der;
    std::size_t consumed = 0;
    return asn1::normalizeBer(ber, der, consumed) && consumed == ber.size() &&
           cms::writeAsnXml(der, out);
}

} // namespace

bool AsnXmlCodec::derToXml(const DataBuffer& der, bool declaration, bool exact, StringBuffer& out,
                           ExtPtrArray* /*reserved*/, LogBase& log) {
    return text::noThrow(false, [&] {
        if (der.getSize() > kMaxInput) {
            log.LogError("The ASN.1 data is larger than the limit of 64 MiB.");
            return false;
        }
        // Written apart, since `out` stays unchanged on failure.
        std::string text(declaration ? kDeclaration : std::string_view());
        if (!render(der.view(), exact, text)) {
            log.LogError("The data is not one well-formed ASN.1 element.");
            return false;
        }
        return out.appendView(text);
    });
}

bool AsnXmlCodec::xmlToDer(ClsXml& xml, DataBuffer& out, LogBase& log) {
    return text::noThrow(false, [&] {
        std::vector<std::uint8_t> der;
        // The subtree of the handle's element, wherever in its document that stands.
        if (!xml.document() || !cms::readAsnXml(*xml.document(), xml.elementId(), der)) {
            log.LogError("The XML is not a rendering of ASN.1.");
            return false;
        }
        out.clear();
        return out.append(ByteView(der));
    });
}

} // namespace vantrel
