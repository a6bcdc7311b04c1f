// SPDX-License-Identifier: MIT
#include "dsig/keys/certificate_names.h"

#include "dsig/keys/seen_certificates.h"
#include "foundation/text/XString.h"
#include "foundation/text/arrays.h"
#include "foundation/x509/DistinguishedName.h"

namespace vantrel::dsig {

// XML Signature 4.5.4: X509IssuerSerial holds a distinguished name and a decimal number.
bool readIssuerSerial(const ClsXml& x509Data, SeenCertificates& seen, CertificateName& name,
                      LogBase& log) {
    const Ref<ClsXml> element =
        Ref<ClsXml>::adopt(x509Data.getChildWithTagUtf8("*:X509IssuerSerial"));
    StringBuffer issuer;
    XString serial;
    if (!element || !element->getChildContentUtf8("*:X509IssuerName", issuer, false) ||
        !element->getChildContentUtf8("*:X509SerialNumber", serial.getUtf8Sb_rw(), false) ||
        issuer.isEmpty() || serial.isEmpty()) {
        return false;
    }
    // The store has the number in hexadecimal; it may be longer than any integer type.
    log.LogDataX("sbSerialNumber_dec", serial);
    // Text that is no decimal number stays as it is and is looked up so.
    serial.reencode("decimal", "hex");
    log.LogDataX("sbSerialNumber_hex", serial);
    // Only the common name is compared: the spelling of a whole name differs from signer to signer.
    StringBuffer issuerCn;
    if (!DistinguishedName::getDnPart(issuer.getString(), "CN", issuerCn, log)) {
        return false;
    }
    issuerCn.trim2();
    name = {NamedBy::IssuerSerial, issuerCn, serial.getUtf8Sb()};
    return !seen.hasIssuerSerial(name.text, name.serialHex, log);
}

bool readSubjectName(const ClsXml& keyInfo, SeenCertificates& seen, CertificateName& name,
                     LogBase& log) {
    StringBuffer subject;
    if (!keyInfo.getChildContentUtf8("*:X509Data|*:X509SubjectName", subject, false) ||
        subject.isEmpty()) {
        return false;
    }
    // All spellings of a name have one key, which SeenCertificates makes in the same way.
    StringBuffer key;
    DistinguishedName::toVlCanonHashKey(subject.getString(), key, log);
    if (seen.hasSubject(key, log)) {
        return false;
    }
    // Written most specific first (RFC 4514), while the store's index has the order of the
    // certificate. Whether it was seen is asked by the name as written.
    StringBuffer reversed;
    reverseSubjectNameDN(subject, reversed);
    name = {NamedBy::SubjectName, reversed, {}};
    return true;
}

// No certificate that was taken already is left out here: what an identifier names is known only
// when it is found.
bool readSubjectKeyId(const ClsXml& keyInfo, CertificateName& name) {
    StringBuffer ski;
    if (!keyInfo.getChildContentUtf8("*:X509Data|*:X509SKI", ski, false) || ski.isEmpty()) {
        return false;
    }
    name = {NamedBy::SubjectKeyId, ski, {}};
    return true;
}

void reverseSubjectNameDN(const StringBuffer& dn, StringBuffer& out) {
    ExtPtrArraySb pieces;
    // Escaped commas split as well. The store knows its names in this form, too.
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

} // namespace vantrel::dsig
