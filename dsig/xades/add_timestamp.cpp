// SPDX-License-Identifier: MIT
#include "dsig/xades/add_timestamp.h"

#include "dsig/document/canonicalization_method.h"
#include "dsig/document/locate_signature.h"
#include "dsig/reference/first_reference.h"
#include "dsig/xades/stamped_value.h"
#include "dsig/xades/timestamp_fragment.h"
#include "foundation/cms/Pkcs7SignedData.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/xml/locate/XmlSigLocate.h"

#include <string_view>

namespace vantrel::dsig {

namespace {

// What is time-stamped is named by its Id, and must stand in the text itself. A SignatureValue that
// comes from an entity has no place in the text, and the time-stamp would name what a reader of the
// text cannot find.
bool findSignatureValueId(const ClsXml& signature, const XmlSigLocate& locator, StringBuffer& id,
                          LogBase& log) {
    const Ref<ClsXml> value = Ref<ClsXml>::adopt(signature.getChildWithTagUtf8("*:SignatureValue"));
    if (!value) {
        log.LogError("No SignatureValue found.");
        return false;
    }
    if (locator.m_signatureValueLoc == 0) {
        log.LogError("No SignatureValue location found.");
        return false;
    }
    if (!value->getAttrValue("Id", id)) {
        log.LogError("No SignatureValue Id attribute found.");
        return false;
    }
    return true;
}

// Base64 of a token over the SignatureValue. An authority that cannot be reached leaves it empty
// and its errors in the log.
StringBuffer requestToken(const ClsXml& signature, const StringBuffer& signatureValueId,
                          ClsJsonObject& request, const _clsCades& options, LogBase& log) {
    DataBuffer data;
    // The method is the one that the fragment declares in its CanonicalizationMethod.
    data.append(stampedValue(signature.document(), kExclusive, signatureValueId, log));
    DataBuffer token;
    static_cast<void>(Pkcs7SignedData::getTimestampToken(request, data, options, token, log));
    StringBuffer base64;
    token.encodeDB("base64", base64);
    return base64;
}

} // namespace

// At any depth and of any kind: all time-stamps of XAdES keep their token in this element.
bool hasTimestamp(const ClsXml* signature, LogBase& log) {
    if (signature == nullptr) {
        log.LogError("No signature at the selector index.");
        return false;
    }
    const Ref<ClsXml> stamp =
        Ref<ClsXml>::adopt(signature->searchForTag(nullptr, "*:EncapsulatedTimeStamp"));
    if (!stamp) {
        log.LogError("No EncapsulatedTimestamp.");
        return false;
    }
    return true;
}

bool addTimestamp(Document* document, const Selection& selection, ClsJsonObject& request,
                  const _clsCades& options, StringBuffer& out, LogBase& log) {
    if (selection.signature == nullptr) {
        log.LogError("No signature at the selector.");
        return false;
    }
    const ClsXml& signature = *selection.signature;
    log.LogDataSb("SignatureId", selection.id);

    XmlSigLocate locator;
    locator.m_recordLocations = true;
    DSigReference first;
    // A signature without an Id is found by its first reference's digest.
    if ((selection.id.isEmpty() && !parseFirstReference(document, selection, first, log)) ||
        !locateSelectedSignature(selection, first.m_digestValue, locator, log)) {
        return false;
    }
    logLocations(locator, log);

    StringBuffer signatureValueId;
    if (!findSignatureValueId(signature, locator, signatureValueId, log)) {
        return false;
    }
    // The text as it was loaded, entities and line ends included: no byte but the addition may
    // differ, or the digests of the document would.
    StringBuffer stamped = signature.document()->sourceText();
    TimestampFragment fragment = makeTimestampFragment(signature, selection.id, locator, stamped);
    const StringBuffer token = requestToken(signature, signatureValueId, request, options, log);
    // The mark stands behind all that was taken from the document, whatever an Id may hold.
    const std::size_t mark = fragment.xml.view().rfind(kTokenMark);
    if (mark != std::string_view::npos) {
        fragment.xml.removeChunk(static_cast<std::uint32_t>(mark),
                                 static_cast<std::uint32_t>(std::string_view(kTokenMark).size()));
        fragment.xml.insertAt(token, static_cast<std::uint32_t>(mark));
    }
    // Offset 0 stands for no place, for the root element begins there at the earliest.
    if (fragment.offset != 0) {
        stamped.removeChunk(fragment.offset, fragment.replaced);
        stamped.insertAt(fragment.xml, fragment.offset);
    }
    out = stamped;
    return true;
}

} // namespace vantrel::dsig
