// SPDX-License-Identifier: MIT
#include "dsig/xades/check_timestamp.h"

#include "dsig/document/canonicalization_method.h"
#include "dsig/transform/capture.h"
#include "dsig/xades/stamped_value.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/cms/AsnXmlCodec.h"
#include "foundation/cms/Pkcs7SignedData.h"
#include "foundation/crypto/hash/_vlHash.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/encoders.h"

namespace vantrel::dsig {

namespace {

// What a token says was time-stamped: the MessageImprint of RFC 3161 2.4.1.
struct Imprint {
    StringBuffer hashOid;
    DataBuffer expectedHash;
};

void logTimestampFailure(LogBase& log) {
    log.LogError("Verification of encapsulated timestamp failed.");
}

// Verifies the token, which is base64 of a CMS message. `content` := its TSTInfo; `result` takes
// over what it says of its authority.
bool verifyToken(const StringBuffer& token, const _clsCades& options, SystemCerts* store,
                 DataBuffer& content, TimestampResult& result, LogBase& log) {
    DataBuffer der;
    // What cannot be decoded is no message, and is refused as such.
    ContentCoding::decodeBase64ToDb(token.getString(), token.getSize(), der);
    Pkcs7SignedData signedData;
    bool unused = false;
    if (!signedData.loadPkcs7Der(der, nullptr, 2, unused, store, log)) {
        log.LogError("Failed to parse ASN.1 of encapsulated timestamp.");
        return false;
    }
    // A message that merely wraps such content was not checked as a time-stamp authority's.
    if (!signedData.verifyOpaqueSignature(content, options, store, log) ||
        !signedData.isTimeStamp()) {
        logTimestampFailure(log);
        return false;
    }
    log.LogDataHexDb("extractedAsn", content);
    result.time = signedData.genTime();
    result.authority = signedData.signerSubject().view();
    result.trusted = signedData.authorityTrusted();
    result.stamp = std::make_shared<const StampReport>(
        StampReport{signedData.tstInfo().genTime, signedData.signerCertificate(), der});
    return true;
}

// RFC 3161 2.4.2: messageImprint is the first SEQUENCE inside TSTInfo, behind a version and a
// policy that are none; in it stand the algorithm's SEQUENCE and an OCTET STRING. The rendering
// names elements by their types, so the paths below follow that order.
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

// The method by which the SignatureValue was canonicalized for the time-stamp. Whatever is not
// exclusive counts as inclusive, a missing element included (the default is Canonical XML 1.0). A
// wrong choice makes the digests differ and accepts nothing.
std::int32_t timeStampCanonMethod(const ClsXml& signature, LogBase& log) {
    const Ref<ClsXml> stamp =
        Ref<ClsXml>::adopt(signature.searchForTag(nullptr, "*:SignatureTimeStamp"));
    if (!stamp) {
        log.LogInfo("Did not find SignatureTimeStamp tag.");
        return kInclusive;
    }
    StringBuffer algorithm;
    const Ref<ClsXml> method =
        Ref<ClsXml>::adopt(stamp->getChildWithTagUtf8("*:CanonicalizationMethod"));
    if (!method) {
        log.LogInfo("Did not find CanonicalizationMethod tag.");
        return kInclusive;
    }
    method->getAttrValue("Algorithm", algorithm);
    log.LogDataSb("encapsulatedTimestampCanonMethod", algorithm);
    return algorithm.containsSubstring("exc-") ? kExclusive : kInclusive;
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

// Whether the imprint is the digest of the signature's SignatureValue. Some signers stamped the
// canonical form with CRLF line ends; that is tried second.
bool isOverValue(const std::shared_ptr<const xml::XmlDocument>& document, const ClsXml& signature,
                 const StringBuffer& id, const Imprint& imprint, int hashAlg, LogBase& log) {
    StringBuffer canonical = stampedValue(document, timeStampCanonMethod(signature, log), id, log);
    log.LogDataSb("sbCanonSigValue", canonical);
    log.LogDataLong("hashAlg", hashAlg);
    if (hashEquals(canonical, hashAlg, imprint.expectedHash, "computed_hash", log)) {
        return true;
    }
    canonical.toCRLF();
    if (hashEquals(canonical, hashAlg, imprint.expectedHash, "computed_hash_with_CRLF", log)) {
        return true;
    }
    log.LogError("Computed hash not equal to the expected hash.");
    return false;
}

// The check of the token in the text of the located signature; nothing when it has none.
std::optional<TimestampResult> checkLocated(const Document& document, const XmlSigLocate& locator,
                                            const _clsCades& options, SystemCerts* store,
                                            LogBase& log) {
    const std::string_view source = document.structure->sourceText().view();
    if (locator.m_sigStart >= source.size()) {
        return std::nullopt;
    }
    // A copy of the signature alone, so that no search for a tag can run on into what follows it.
    const StringBuffer text(source.substr(locator.m_sigStart, locator.m_sigLength));
    if (log.verbose()) {
        log.LogBracketed("signature", text.view());
    }
    if (!text.containsSubstring("EncapsulatedTimeStamp")) {
        return std::nullopt;
    }
    // Parsed alone as well: what is looked up in this tree cannot be another signature's.
    const Ref<ClsXml> signature = Ref<ClsXml>::adopt(ClsXml::createNewCls());
    if (!signature) {
        return TimestampResult{};
    }
    if (!signature->loadXml(text, true, log)) {
        log.LogError("Failed to load signature XML.");
        return TimestampResult{};
    }
    std::optional<TimestampResult> result =
        checkTimestamp(document.structure, text, *signature, options, store, log);
    if (result && !result->valid) {
        logTimestampFailure(log);
    }
    return result;
}

// The tree has entities expanded, so it may hold a time-stamp that a search of the text passes by.
bool hasTimestampToCheck(Document& document, const ClsXml& signature) {
    return document.timeStamps.within(*document.structure, signature.elementId()) &&
           Ref<ClsXml>::adopt(signature.getChildWithTagUtf8("*:SignatureValue"));
}

} // namespace

std::optional<TimestampResult> checkTimestamp(
    const std::shared_ptr<const xml::XmlDocument>& document, const StringBuffer& text,
    const ClsXml& signature, const _clsCades& options, SystemCerts* store, LogBase& log) {
    const LogContextExitor context(log, "verifyEncapsulatedTimeStamp");
    StringBuffer token;
    if (!captureTagContent("EncapsulatedTimeStamp", text, token)) {
        return std::nullopt;
    }
    // There is a time-stamp: from here on a failure is an empty result, which is not valid.
    DataBuffer tstInfo;
    Imprint imprint;
    TimestampResult found;
    if (!verifyToken(token, options, store, tstInfo, found, log) ||
        !readImprint(tstInfo, imprint, log)) {
        return TimestampResult{};
    }
    StringBuffer signatureValue;
    // The text has nothing that it could be over. timestampPass asks the tree before it takes this
    // for the absence of a time-stamp.
    if (!captureTagContent("SignatureValue", text, signatureValue)) {
        return std::nullopt;
    }
    log.LogDataSb("signatureValue", signatureValue);
    StringBuffer id;
    found.hashAlg = _vlHash::oidToHashAlg(imprint.hashOid);
    if (!captureAttributeValue("SignatureValue", "Id", text, id, log) ||
        !isSignatureValueId(signature, id, log) ||
        !isOverValue(document, signature, id, imprint, found.hashAlg, log)) {
        return TimestampResult{};
    }
    log.LogInfo("The computed hash is equal to the expected hash.");
    found.valid = true;
    return found;
}

std::optional<TimestampResult> timestampPass(Document& document, const Selection& selection,
                                             const XmlSigLocate& locator, const _clsCades& options,
                                             SystemCerts* store, LogBase& log) {
    // Without the option the report keeps the word that startReport gave it.
    if (!log.options().containsSubstringNoCase("VerifyEncapsulatedTimeStamp")) {
        return std::nullopt;
    }
    const LogContextExitor context(log, "checkEncapsulatedTimeStamp");
    std::optional<TimestampResult> result = checkLocated(document, locator, options, store, log);
    // If this passed for absence, a signer's damaged time-stamp could be hidden in an entity.
    if (!result && selection.signature != nullptr &&
        hasTimestampToCheck(document, *selection.signature)) {
        log.LogError("A part of the time-stamp comes from an entity and cannot be checked.");
        result.emplace();
    }
    return result;
}

} // namespace vantrel::dsig
