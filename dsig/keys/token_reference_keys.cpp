// WS-Security: keys that a SecurityTokenReference points at, in a BinarySecurityToken of the
// document or in the certificate store.

#include "dsig/document/child_elements.h"
#include "dsig/document/document.h"
#include "dsig/keys/document_certificates.h"
#include "dsig/keys/key_sources.h"
#include "dsig/keys/security_tokens.h"
#include "dsig/keys/seen_certificates.h"
#include "dsig/object/ClsXmlDSig.h"
#include "dsig/object/object_state.h"
#include "foundation/x509/CertificateHolder.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/keys/ClsPublicKey.h"
#include "foundation/xml/tree/ClsXml.h"

#include <memory>

namespace vantrel {

bool ClsXmlDSig::keysFromTokenReference(const ClsXml& keyInfo, dsig::SeenCertificates& seen,
                                        ExtPtrArrayRc& keys, LogBase& log) {
    const Ref<ClsXml> tokenReference =
        Ref<ClsXml>::adopt(keyInfo.getChildWithTagUtf8("*:SecurityTokenReference"));
    if (!tokenReference) {
        return true;
    }
    if (log.verbose()) {
        log.LogInfo("Check for and handle SecurityTokenReference cases..");
    }
    keyFromKeyIdentifier(*tokenReference, keys, log);
    const Ref<ClsXml> reference =
        Ref<ClsXml>::adopt(tokenReference->getChildWithTagUtf8("*:Reference"));
    if (reference && !keyFromReferencedToken(*reference, seen, keys, log)) {
        return false;
    }
    return keyFromThumbprint(*tokenReference, seen, keys, log);
}

// A key identifier that is a certificate, or that names one of the store.
void ClsXmlDSig::keyFromKeyIdentifier(const ClsXml& tokenReference, ExtPtrArrayRc& keys,
                                      LogBase& log) {
    SystemCerts* const store = getSystemCertsPtr();
    const Ref<ClsXml> identifier =
        Ref<ClsXml>::adopt(tokenReference.getChildWithTagUtf8("*:KeyIdentifier"));
    if (store == nullptr || !identifier) {
        return;
    }
    StringBuffer content;
    identifier->getContentSb(content);
    if (content.isEmpty()) {
        return;
    }
    StringBuffer valueType;
    identifier->getAttrValue("ValueType", valueType);
    log.LogDataSb("ValueType", valueType);

    const bool isCertificate = valueType.endsWith("#X509v3");
    std::unique_ptr<CertificateHolder> holder;
    CertRecord* record = nullptr;
    if (isCertificate) {
        holder.reset(CertificateHolder::createFromBase64(content.getString(), content.getSize(),
                                                         store, log));
        record = holder ? holder->getCertPtr(log) : nullptr;
    } else {
        record = store->findBySubjectKeyId(content, log);
    }
    VantrelX509* const cert = record != nullptr ? record->getX509Ptr() : nullptr;
    if (cert != nullptr) {
        appendFoundKey(keys, publicKeyFromX509(*cert, log),
                       isCertificate ? dsig::keysource::kKeyIdentifierCertificate
                                     : dsig::keysource::kKeyIdentifier);
    }
}

bool ClsXmlDSig::keyFromReferencedToken(const ClsXml& reference, dsig::SeenCertificates& seen,
                                        ExtPtrArrayRc& keys, LogBase& log) {
    if (log.verbose()) {
        log.LogInfo("We have a *:Reference...");
    }
    dsig::TokenReference target;
    if (!dsig::readTokenReference(reference, target, log)) {
        return false;
    }
    dsig::logTokenSearch(log);
    log.LogDataSb("URI", target.uri);
    if (m_xmlRoot == nullptr) {
        return false;
    }
    const dsig::TokenIndex& tokens = structure().tokens();
    xml::ElementId token = tokens.withId(target.id());
    if (token == xml::kNoElement) {
        log.LogInfo(
            "Did not find a BinarySecurityToken with the specified URI.  Looking for any BinarySecurityToken...");
        token = tokens.first();
        if (token == xml::kNoElement) {
            dsig::logNoToken(log);
            return false;
        }
        m_state->report.accommodations.add(dsig::accommodation::kTokenIdMismatch);
    }
    const dsig::CertificateCache::Entry certificate = dsig::certificateOfToken(
        structure().certificates, *dsig::handleOn(*m_xmlRoot, token), target.isPkiPath(), log);
    return dsig::useContent(*certificate, log) && appendTokenKey(certificate, seen, keys, log);
}

// A thumbprint is not compared: the first X.509 token of the document is taken. The signature value
// decides whether it was the right one.
bool ClsXmlDSig::keyFromThumbprint(const ClsXml& tokenReference, dsig::SeenCertificates& seen,
                                   ExtPtrArrayRc& keys, LogBase& log) {
    const Ref<ClsXml> identifier =
        Ref<ClsXml>::adopt(tokenReference.getChildWithTagUtf8("*:KeyIdentifier"));
    if (!identifier) {
        return true;
    }
    log.LogInfo("We have a *:SecurityTokenReference/KeyIdentifier...");
    StringBuffer valueType;
    StringBuffer thumbprint;
    identifier->getAttrValue("ValueType", valueType);
    identifier->getContentSb(thumbprint);
    if (!valueType.containsSubstring("ThumbprintSHA1")) {
        return true;
    }
    log.LogInfo(
        "Need to find the cert from the binary security token with a given SHA1 thumbprint...");
    log.LogDataSb("sbKeyIdentData", thumbprint);
    dsig::logTokenSearch(log);
    if (m_xmlRoot == nullptr) {
        return false;
    }
    const xml::ElementId token = structure().tokens().firstX509();
    if (token == xml::kNoElement) {
        dsig::logNoToken(log);
        return false;
    }
    const dsig::CertificateCache::Entry certificate = dsig::certificateOfToken(
        structure().certificates, *dsig::handleOn(*m_xmlRoot, token), false, log);
    log.LogDataSb("sbSha1Base64", dsig::thumbprintOf(*certificate));
    const int before = keys.getSize();
    if (!appendTokenKey(certificate, seen, keys, log)) {
        return false;
    }
    if (keys.getSize() > before) {
        log.LogInfo("Got public key from base64 cert.");
    }
    return true;
}

bool ClsXmlDSig::appendTokenKey(const std::shared_ptr<dsig::DecodedCertificate>& certificate,
                                dsig::SeenCertificates& seen, ExtPtrArrayRc& keys, LogBase& log) {
    ClsPublicKey* const key = publicKeyFromCertificate(certificate, seen, log);
    if (key == nullptr) {
        log.LogError("Failed to get public key from cert.");
        return false;
    }
    appendFoundKey(keys, key, dsig::keysource::kSecurityToken);
    return true;
}

} // namespace vantrel
