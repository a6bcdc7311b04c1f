// SPDX-License-Identifier: MIT
// The locator of signatures beside the tree's list of them, by Ids and digests that stand in any
// text: what it finds is a signature of the list, with a place for each of its parts inside.

#include "foundation/text/LogBase.h"
#include "foundation/xml/locate/XmlSigLocate.h"
#include "foundation/xml/tree/element_text.h"
#include "foundation/xml/tree/tag_pattern.h"

#include <algorithm>
#include <cstdlib>

using namespace vantrel;

namespace {

void checkPlaces(const XmlSigLocate& found, const xml::XmlDocument& document,
                 xml::ElementId element) {
    const auto isWithin = [&](std::uint32_t start, std::uint32_t length) {
        return start >= found.m_sigStart && length <= found.m_sigLength &&
               start - found.m_sigStart <= found.m_sigLength - length;
    };
    const std::uint32_t parts[] = {found.m_signatureValueLoc,
                                   found.m_qualifyingPropertiesLoc,
                                   found.m_unsignedPropertiesLoc,
                                   found.m_objectLoc,
                                   found.m_signedPropertiesLoc,
                                   found.m_objectInsertLoc,
                                   found.m_unsignedSignaturePropertiesLoc};
    xml::TextRange range;
    if (!document.sourceRange(element, range) || range.start != found.m_sigStart ||
        range.length != found.m_sigLength ||
        !isWithin(found.m_signedInfoStart, found.m_signedInfoLength) ||
        !std::ranges::all_of(parts, [&](std::uint32_t at) { return at == 0 || isWithin(at, 1); })) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 65536) {
        return 0;
    }
    const StringBuffer text{asText({data, size})};
    LogNull log;
    _vlXmlDtd dtd;
    xml::ParseFailure why;
    const auto document = xml::XmlDocument::parse(text, {}, why);
    if (document == nullptr) {
        return 0;
    }
    const auto signatures = document->signatures();
    for (const xml::SignatureElement& signature :
         signatures.first(std::min<std::size_t>(signatures.size(), 8))) {
        StringBuffer id;
        XmlSigLocate locate;
        locate.m_recordLocations = true;
        if (xml::attributeValue(*document, signature.element, xml::NamePattern("Id"), id) &&
            locate.FindXmlSigById(id, text, dtd, log)) {
            const xml::ElementId element = document->elementAtSourceOffset(locate.m_sigStart);
            if (std::ranges::find(signatures, element, &xml::SignatureElement::element) ==
                signatures.end()) {
                std::abort();
            }
            checkPlaces(locate, *document, element);
        }
    }
    return 0;
}
