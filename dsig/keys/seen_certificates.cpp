// SPDX-License-Identifier: MIT
#include "dsig/keys/seen_certificates.h"

#include "foundation/text/StringBuffer.h"
#include "foundation/text/XString.h"
#include "foundation/x509/DistinguishedName.h"

namespace vantrel::dsig {

namespace {

// Whatever the common name holds, no two pairs give the same text: there is no colon in a serial
// number.
StringBuffer issuerSerialKey(const StringBuffer& issuerCn, const StringBuffer& serialHex) {
    StringBuffer key = issuerCn;
    key.append2(":", serialHex.getString());
    return key;
}

} // namespace

void SeenCertificates::makeKeys(LogBase& log) {
    for (const VantrelX509& cert : m_pending) {
        XString issuerCn;
        XString serial;
        cert.get_IssuerCN(issuerCn, log);
        cert.get_SerialNumber(serial, log);
        m_keys.hashAddKey(issuerSerialKey(issuerCn.getUtf8Sb(), serial.getUtf8Sb()).getString());

        // Most specific component first, as an X509SubjectName is written (RFC 4514), for the
        // components keep their order in the key.
        XString subject;
        cert.getDN(true, true, subject, log, 0);
        StringBuffer subjectKey;
        DistinguishedName::toVlCanonHashKey(subject.getUtf8(), subjectKey, log);
        m_keys.hashAddKey(subjectKey.getString());
    }
    // Each certificate is turned into texts once, however many names are asked for.
    m_pending.clear();
}

bool SeenCertificates::hasIssuerSerial(const StringBuffer& issuerCn, const StringBuffer& serialHex,
                                       LogBase& log) {
    makeKeys(log);
    return m_keys.hashContainsSb(issuerSerialKey(issuerCn, serialHex));
}

bool SeenCertificates::hasSubject(const StringBuffer& subjectKey, LogBase& log) {
    makeKeys(log);
    return m_keys.hashContainsSb(subjectKey);
}

} // namespace vantrel::dsig
