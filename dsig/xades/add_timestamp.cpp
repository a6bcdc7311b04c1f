// Adding an encapsulated signature time-stamp to a XAdES signature.

#include "dsig/document/locate_signature.h"
#include "dsig/object/ClsXmlDSig.h"
#include "dsig/reference/DSigReference.h"
#include "dsig/transform/canonicalization_method.h"
#include "dsig/xades/timestamp_fragment.h"
#include "foundation/base/ClsStringBuilder.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/base/MethodFrame.h"
#include "foundation/cms/Pkcs7SignedData.h"
#include "foundation/json/ClsJsonObject.h"
#include "foundation/xml/locate/XmlSigLocate.h"
#include "foundation/xml/tree/ClsXml.h"

namespace vantrel {

void ClsXmlDSig::SetHttpObj(ClsHttp& http) {
    static_cast<void>(MethodFrame::runLater(*this, "SetHttpObj", [&](MethodFrame& /*frame*/) {
        setTsaHttpObj(http, m_log);
        return true;
    }));
}

bool ClsXmlDSig::HasEncapsulatedTimeStamp() {
    return MethodFrame::runLater(*this, "HasEncapsulatedTimeStamp", [&](MethodFrame& /*frame*/) {
        return hasEncapsulatedTimeStamp(m_log);
    });
}

bool ClsXmlDSig::hasEncapsulatedTimeStamp(LogBase& log) {
    const LogContextExitor context(log, "hasEncapsulatedTimeStamp");
    log.LogDataLong("numSignatures", m_signatures.getSize());
    log.LogDataLong("selector", m_selector);
    const ClsXml* const signature = selectedSignature();
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

bool ClsXmlDSig::AddEncapsulatedTimeStamp(ClsJsonObject& json, ClsStringBuilder& sbOut) {
    return MethodFrame::runLater(*this, "AddEncapsulatedTimeStamp", [&](MethodFrame& /*frame*/) {
        sbOut.xstring().clear();
        m_log.LogDataLong("numSignatures", m_signatures.getSize());
        m_log.LogDataLong("selector", m_selector);
        LogNull quiet(m_log);
        if (hasEncapsulatedTimeStamp(quiet)) {
            m_log.LogError("Already has an EncapsulatedTimeStamp.");
            return false;
        }
        return addEncapsulatedTimeStamp(json, sbOut.xstring(), m_log);
    });
}

bool ClsXmlDSig::addEncapsulatedTimeStamp(ClsJsonObject& json, XString& out, LogBase& log) {
    const LogContextExitor context(log, "addEncapsulatedTimeStamp");
    out.clear();
    const ClsXml* const signature = selectedSignature();
    if (signature == nullptr) {
        log.LogError("No signature at the selector.");
        return false;
    }
    StringBuffer signatureId;
    signature->getAttrValue("Id", signatureId);
    log.LogDataSb("SignatureId", signatureId);

    XmlSigLocate locator;
    locator.m_recordLocations = true;
    DSigReference first;
    if ((signatureId.isEmpty() && !parseFirstReference(first, log)) ||
        !dsig::locateSelectedSignature(selection(), first.m_digestValue, locator, log)) {
        return false;
    }
    dsig::logLocations(locator, log);

    StringBuffer signatureValueId;
    if (!findSignatureValueId(*signature, locator, signatureValueId, log)) {
        return false;
    }
    dsig::TimestampFragment fragment =
        dsig::makeTimestampFragment(*signature, signatureId, locator, m_xmlText);

    StringBuffer stamped;
    canonicalizeForTimeStamp(dsig::kExclusive, signatureValueId, stamped, log);
    DataBuffer data;
    data.append(stamped);
    DataBuffer token;
    // An authority that cannot be reached leaves the element empty and its errors in the log.
    static_cast<void>(Pkcs7SignedData::getTimestampToken(json, data, *this, token, log));
    StringBuffer base64;
    token.encodeDB("base64", base64);
    fragment.xml.replaceFirstOccurance(dsig::kTokenMark, base64.getString(), false);

    StringBuffer& document = out.getUtf8Sb_rw();
    document = m_xmlText;
    if (fragment.offset != 0) {
        document.removeChunk(fragment.offset, fragment.replaced);
        document.insertAt(fragment.xml, fragment.offset);
    }
    logSuccessFailure2(true, m_log);
    return true;
}

bool ClsXmlDSig::findSignatureValueId(const ClsXml& signature, const XmlSigLocate& locator,
                                      StringBuffer& id, LogBase& log) {
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

} // namespace vantrel
