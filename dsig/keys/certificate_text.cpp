#include "dsig/keys/certificate_text.h"

#include "dsig/keys/seen_certificates.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/XString.h"
#include "foundation/text/arrays.h"
#include "foundation/text/encoders.h"
#include "foundation/x509/DistinguishedName.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/keys/ClsPublicKey.h"
#include "foundation/xml/tree/ClsXml.h"

#include <chrono>

namespace vantrel::dsig {

bool checkNumberOfCertificates(std::size_t count, LogBase& log) {
    if (count <= kMaxKeyInfoCertificates) {
        return true;
    }
    log.LogError("The X509Data has more than 1000 certificates.");
    return false;
}

bool loadCertificateText(StringBuffer& base64, VantrelX509& cert, LogBase& log) {
    base64.replaceAllOccurances("&#13;", "");
    base64.replaceAllOccurances("&#xD;", "");
    DataBuffer der;
    if (!ContentCoding::decodeBase64ToDb(base64.getString(), base64.getSize(), der)) {
        log.LogError("Failed to decode base64 cert.");
        return false;
    }
    if (!cert.loadX509Der(der, log)) {
        log.LogError("Failed to parse X.509 certificate.");
        return false;
    }
    return true;
}

bool readIssuerSerial(const ClsXml& x509Data, IssuerSerial& name, LogBase& log) {
    const Ref<ClsXml> element =
        Ref<ClsXml>::adopt(x509Data.getChildWithTagUtf8("*:X509IssuerSerial"));
    StringBuffer issuer;
    XString serial;
    if (!element || !element->getChildContentUtf8("*:X509IssuerName", issuer, false) ||
        !element->getChildContentUtf8("*:X509SerialNumber", serial.getUtf8Sb_rw(), false) ||
        issuer.isEmpty() || serial.isEmpty()) {
        return false;
    }
    log.LogDataX("sbSerialNumber_dec", serial);
    serial.reencode("decimal", "hex");
    log.LogDataX("sbSerialNumber_hex", serial);
    if (!DistinguishedName::getDnPart(issuer.getString(), "CN", name.issuerCn, log)) {
        return false;
    }
    name.issuerCn.trim2();
    name.serialHex = serial.getUtf8Sb();
    return true;
}

bool readUnseenSubjectName(const ClsXml& keyInfo, SeenCertificates& seen, StringBuffer& reversed,
                           LogBase& log) {
    StringBuffer subject;
    if (!keyInfo.getChildContentUtf8("*:X509Data|*:X509SubjectName", subject, false) ||
        subject.isEmpty()) {
        return false;
    }
    StringBuffer key;
    DistinguishedName::toVlCanonHashKey(subject.getString(), key, log);
    if (seen.hasSubject(key, log)) {
        return false;
    }
    reverseSubjectNameDN(subject, reversed, log);
    return true;
}

bool readSubjectKeyId(const ClsXml& keyInfo, StringBuffer& ski) {
    return keyInfo.getChildContentUtf8("*:X509Data|*:X509SKI", ski, false) && !ski.isEmpty();
}

void reverseSubjectNameDN(const StringBuffer& dn, StringBuffer& out, LogBase& /*log*/) {
    ExtPtrArraySb pieces;
    dn.split(pieces, ',', true, true);
    if (pieces.getSize() == 0) {
        out.append(dn);
        return;
    }
    for (int i = pieces.getSize() - 1; i >= 0; --i) {
        StringBuffer* const piece = pieces.sbAt(i);
        piece->trim2();
        out.append(*piece);
        if (i > 0) {
            out.append(", ");
        }
    }
}

KeyReport describeKey(const ClsPublicKey& key, std::string_view source, const VantrelX509* cert) {
    KeyReport report;
    report.source = source;
    report.type = key.keyType();
    report.bits = static_cast<int>(key.keyBits());
    report.curve = key.curveName();
    report.weak = key.isWeak();
    std::int64_t notBefore = 0;
    std::int64_t notAfter = 0;
    if (cert != nullptr && cert->isLoaded()) {
        report.certificate = *cert;
        // Dates that cannot be read are those of no valid certificate.
        const std::int64_t now = std::chrono::duration_cast<std::chrono::seconds>(
                                     std::chrono::system_clock::now().time_since_epoch())
                                     .count();
        report.outsideValidity =
            !cert->validity(notBefore, notAfter) || now < notBefore || now > notAfter;
    }
    return report;
}

} // namespace vantrel::dsig
