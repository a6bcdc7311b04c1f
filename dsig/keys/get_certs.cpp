// The certificates that a KeyInfo element carries or names.

#include "dsig/document/child_elements.h"
#include "dsig/document/document.h"
#include "dsig/keys/certificate_text.h"
#include "dsig/keys/document_certificates.h"
#include "dsig/keys/security_tokens.h"
#include "dsig/keys/seen_certificates.h"
#include "dsig/keys/store_lookup.h"
#include "dsig/object/ClsXmlDSig.h"
#include "foundation/base/ClsStringArray.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/base/MethodFrame.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/xml/tree/ClsXml.h"

namespace vantrel {

// The context's name differs from the operation's, and the log records a failure whatever the
// result: kept, since readers of the log know both.
bool ClsXmlDSig::GetCerts(ClsStringArray& outCerts) {
    return MethodFrame::run(*this, "GetCert", [&](MethodFrame& frame) {
        const Ref<ClsXml> keyInfo = Ref<ClsXml>::adopt(getKeyInfo(m_log));
        const bool ok = !keyInfo || certsFromKeyInfo(*keyInfo, outCerts, m_log);
        frame.finish(false);
        return ok;
    });
}

bool ClsXmlDSig::processCertBase64(const dsig::DecodedCertificate& certificate,
                                   dsig::SeenCertificates& seen, LogBase& log) {
    const LogContextExitor context(log, "processCertBase64");
    return dsig::useCertificate(certificate, seen, log);
}

bool ClsXmlDSig::appendCert(const dsig::DecodedCertificate& certificate,
                            dsig::SeenCertificates& seen, ClsStringArray& out, LogBase& log) {
    return processCertBase64(certificate, seen, log) &&
           out.appendUtf8(certificate.base64.getString());
}

bool ClsXmlDSig::appendCertText(const StringBuffer& base64, dsig::SeenCertificates& seen,
                                ClsStringArray& out, LogBase& log) {
    return appendCert(*dsig::certificateOfText(structure().certificates, base64, log), seen, out,
                      log);
}

bool ClsXmlDSig::certsFromKeyInfo(ClsXml& keyInfo, ClsStringArray& out, LogBase& log) {
    const LogContextExitor context(log, "certsFromKeyInfo");
    dsig::SeenCertificates seen;
    certsFromX509Data(keyInfo, seen, out, log);
    const Ref<ClsXml> tokenReference =
        Ref<ClsXml>::adopt(keyInfo.getChildWithTagUtf8("*:SecurityTokenReference"));
    return !tokenReference || certsFromTokenReference(*tokenReference, seen, out, log);
}

void ClsXmlDSig::certsFromX509Data(ClsXml& keyInfo, dsig::SeenCertificates& seen,
                                   ClsStringArray& out, LogBase& log) {
    StringBuffer base64;
    if (const Ref<ClsXml> x509Data =
            Ref<ClsXml>::adopt(keyInfo.getChildWithTagUtf8("*:X509Data"))) {
        const std::vector<xml::ElementId> elements = x509Data->childrenWithTag("*:X509Certificate");
        log.LogDataLong("NumX509Certificates", static_cast<std::int64_t>(elements.size()));
        const bool few = dsig::checkNumberOfCertificates(elements.size(), log);
        for (std::size_t i = 0; few && i < elements.size(); ++i) {
            dsig::handleOn(*x509Data, elements[i])->getContentSb(base64);
            if (!base64.isEmpty()) {
                appendCertText(base64, seen, out, log);
            }
        }
        dsig::IssuerSerial name;
        if (dsig::readIssuerSerial(*x509Data, name, log) &&
            !seen.hasIssuerSerial(name.issuerCn, name.serialHex, log) &&
            getCertByIssuerNameAndSerial(name.issuerCn, name.serialHex, base64, log)) {
            appendCertText(base64, seen, out, log);
        }
    }
    StringBuffer reversed;
    if (dsig::readUnseenSubjectName(keyInfo, seen, reversed, log) &&
        getCertBySubjectName(reversed, base64, log)) {
        appendCertText(base64, seen, out, log);
    }
    StringBuffer ski;
    if (dsig::readSubjectKeyId(keyInfo, ski) && getCertBySKI(ski, base64, log)) {
        appendCertText(base64, seen, out, log);
    }
}

bool ClsXmlDSig::certsFromTokenReference(const ClsXml& tokenReference, dsig::SeenCertificates& seen,
                                         ClsStringArray& out, LogBase& log) {
    StringBuffer identifier;
    StringBuffer base64;
    if (tokenReference.getChildContentUtf8("*:KeyIdentifier", identifier, false) &&
        !identifier.isEmpty() &&
        dsig::certBase64(dsig::findBySki(getSystemCertsPtr(), identifier, log), base64)) {
        appendCertText(base64, seen, out, log);
    }
    const Ref<ClsXml> reference =
        Ref<ClsXml>::adopt(tokenReference.getChildWithTagUtf8("*:Reference"));
    if (!reference) {
        return true;
    }
    dsig::TokenReference target;
    if (!dsig::readTokenReference(*reference, target, log)) {
        return false;
    }
    log.LogInfo("Need to locate BinarySecurityToken within XML....");
    log.LogDataSb("URI", target.uri);
    if (m_xmlRoot == nullptr) {
        return false;
    }
    // Only the token that is named: unlike for a key, another one does not do.
    const xml::ElementId token = structure().tokens().withId(target.id());
    if (token == xml::kNoElement) {
        dsig::logNoToken(log);
        return false;
    }
    const dsig::CertificateCache::Entry certificate = dsig::certificateOfToken(
        structure().certificates, *dsig::handleOn(*m_xmlRoot, token), target.isPkiPath(), log);
    if (!dsig::useContent(*certificate, log)) {
        return false;
    }
    appendCert(*certificate, seen, out, log);
    return true;
}

} // namespace vantrel
