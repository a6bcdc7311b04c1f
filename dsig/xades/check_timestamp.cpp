// Verifying an encapsulated signature time-stamp: an RFC 3161 token over the canonical
// SignatureValue element.

#include "dsig/object/ClsXmlDSig.h"
#include "dsig/transform/canonicalization_method.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/cms/AsnXmlCodec.h"
#include "foundation/cms/Pkcs7SignedData.h"
#include "foundation/crypto/hash/_vlHash.h"
#include "foundation/text/encoders.h"
#include "foundation/xml/canon/XmlCanon.h"
#include "foundation/xml/tree/ClsXml.h"

namespace vantrel {

namespace {

// What a token says was time-stamped.
struct Imprint {
    StringBuffer hashOid;
    DataBuffer expectedHash;
};

bool readImprint(const DataBuffer& tstInfo, Imprint& imprint, LogBase& log) {
    StringBuffer xml;
    if (!AsnXmlCodec::derToXml(tstInfo, true, false, xml, nullptr, log)) {
        log.LogError(
            "Failed to decoded ASN.1 extracted from the encapsulated timestamp signature.");
        return false;
    }
    const Ref<ClsXml> payload = Ref<ClsXml>::adopt(ClsXml::createNewCls());
    if (!payload) {
        return false;
    }
    if (!payload->loadXml(xml, true, log)) {
        log.LogError("Failed to load timestamp XML.");
        return false;
    }
    StringBuffer shown;
    payload->getXml(false, shown, log);
    log.LogDataSb("timestampPayloadXml", shown);

    if (!payload->getChildContentUtf8("sequence|sequence|oid", imprint.hashOid, false)) {
        log.LogError("Failed to find hash OID");
        return false;
    }
    log.LogDataSb("hashOid", imprint.hashOid);
    StringBuffer octets;
    if (!payload->getChildContentUtf8("sequence|octets", octets, false)) {
        log.LogError("Failed to find hash data");
        return false;
    }
    imprint.expectedHash.appendEncoded(octets.view(), "base64");
    log.LogDataHexDb("expected_hash", imprint.expectedHash);
    return true;
}

// The method by which the SignatureValue was canonicalized for the time-stamp.
std::int32_t timeStampCanonMethod(const ClsXml& signature, LogBase& log) {
    const Ref<ClsXml> stamp =
        Ref<ClsXml>::adopt(signature.searchForTag(nullptr, "*:SignatureTimeStamp"));
    if (!stamp) {
        log.LogInfo("Did not find SignatureTimeStamp tag.");
        return dsig::kInclusive;
    }
    StringBuffer algorithm;
    const Ref<ClsXml> method =
        Ref<ClsXml>::adopt(stamp->getChildWithTagUtf8("*:CanonicalizationMethod"));
    if (!method) {
        log.LogInfo("Did not find CanonicalizationMethod tag.");
        return dsig::kInclusive;
    }
    method->getAttrValue("Algorithm", algorithm);
    log.LogDataSb("encapsulatedTimestampCanonMethod", algorithm);
    return algorithm.containsSubstring("exc-") ? dsig::kExclusive : dsig::kInclusive;
}

// The search of the text may be led elsewhere by markup that nobody signed; a token over another
// element, an older signature's perhaps, would then pass for one over this signature.
bool isSignatureValueId(const ClsXml& signature, const StringBuffer& id, LogBase& log) {
    const Ref<ClsXml> value = Ref<ClsXml>::adopt(signature.getChildWithTagUtf8("*:SignatureValue"));
    StringBuffer own;
    if (!value || !value->getAttrValue("Id", own) || own.view() != id.view()) {
        log.LogError("What was found is not the Id of the SignatureValue element.");
        log.LogDataSb("foundId", id);
        return false;
    }
    return true;
}

// Nothing has no hash: an empty canonical form equals no imprint.
bool hashEquals(const StringBuffer& text, int hashAlg, const DataBuffer& expected, const char* key,
                LogBase& log) {
    DataBuffer computed;
    if (!text.isEmpty()) {
        _vlHash::doHash(text.getString(), text.getSize(), hashAlg, computed);
    }
    log.LogDataHexDb(key, computed);
    return !computed.isEmpty() && computed.equals(expected);
}

} // namespace

bool ClsXmlDSig::verifyEncapsulatedTimeStamp(const StringBuffer& sigXml, const ClsXml& sigElem,
                                             LogBase& log) {
    const LogContextExitor context(log, "verifyEncapsulatedTimeStamp");
    StringBuffer token;
    if (!captureUniqueTagContent("EncapsulatedTimeStamp", sigXml, token, log)) {
        return true; // nothing to verify
    }
    DataBuffer tstInfo;
    Imprint imprint;
    if (!verifyToken(token, tstInfo, log) || !readImprint(tstInfo, imprint, log)) {
        return false;
    }
    StringBuffer signatureValue;
    if (!captureUniqueTagContent("SignatureValue", sigXml, signatureValue, log)) {
        return true;
    }
    log.LogDataSb("signatureValue", signatureValue);
    StringBuffer id;
    if (!captureUniqueAttrContent("SignatureValue", "Id", sigXml, id, log) ||
        !isSignatureValueId(sigElem, id, log)) {
        return false;
    }
    StringBuffer canonical;
    canonicalizeForTimeStamp(timeStampCanonMethod(sigElem, log), id, canonical, log);
    log.LogDataSb("sbCanonSigValue", canonical);

    const int hashAlg = _vlHash::oidToHashAlg(imprint.hashOid);
    log.LogDataLong("hashAlg", hashAlg);
    if (!hashEquals(canonical, hashAlg, imprint.expectedHash, "computed_hash", log)) {
        canonical.toCRLF();
        if (!hashEquals(canonical, hashAlg, imprint.expectedHash, "computed_hash_with_CRLF", log)) {
            log.LogError("Computed hash not equal to the expected hash.");
            return false;
        }
    }
    log.LogInfo("The computed hash is equal to the expected hash.");
    return true;
}

bool ClsXmlDSig::verifyToken(const StringBuffer& token, DataBuffer& content, LogBase& log) {
    DataBuffer der;
    ContentCoding::decodeBase64ToDb(token.getString(), token.getSize(), der);
    Pkcs7SignedData signedData;
    bool unused = false;
    if (!signedData.loadPkcs7Der(der, nullptr, 2, unused, getSystemCertsPtr(), log)) {
        log.LogError("Failed to parse ASN.1 of encapsulated timestamp.");
        return false;
    }
    // A message that merely wraps such content was not checked as a time-stamp authority's.
    if (!signedData.verifyOpaqueSignature(content, *this, getSystemCertsPtr(), log) ||
        !signedData.isTimeStamp()) {
        logTimeStampFailure(log);
        return false;
    }
    log.LogDataHexDb("extractedAsn", content);
    reportTimeStamp(signedData);
    return true;
}

void ClsXmlDSig::reportTimeStamp(const Pkcs7SignedData& signedData) {
    m_report.timestampTime = signedData.genTime();
    m_report.timestampAuthority = signedData.signerSubject().view();
    m_report.timestampTrusted = signedData.authorityTrusted();
}

void ClsXmlDSig::logTimeStampFailure(LogBase& log) {
    log.LogError("Verification of encapsulated timestamp failed.");
}

// The canonical SignatureValue with LF line ends: what a signature time-stamp is over. Where it
// cannot be canonicalized the text stays empty, and then matches nothing.
void ClsXmlDSig::canonicalizeForTimeStamp(std::int32_t method, const StringBuffer& signatureValueId,
                                          StringBuffer& out, LogBase& log) const {
    XmlCanon canonicalizer;
    canonicalizer.m_method = method;
    canonicalizer.m_withComments = false;
    if (m_xmlRoot != nullptr) {
        canonicalizer.m_document = m_xmlRoot->document();
    }
    if (!canonicalizer.xmlCanonicalize(m_xmlText, signatureValueId.getString(), 0, out, log)) {
        out.clear();
    }
    out.toLF();
}

} // namespace vantrel
