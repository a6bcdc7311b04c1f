// SPDX-License-Identifier: MIT
#ifndef DSIG_KEYS_CERTIFICATE_NAMES_H
#define DSIG_KEYS_CERTIFICATE_NAMES_H

#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/xml/tree/ClsXml.h"

namespace vantrel::dsig {

class SeenCertificates;

// The forms of XML Signature 4.5.4. The table of look-ups (store_lookup.cpp) has their order.
enum class NamedBy { IssuerSerial, SubjectName, SubjectKeyId };

// By what a KeyInfo refers to a certificate that it does not carry. It proves nothing: it only says
// which certificate of the caller's store is tried.
struct CertificateName {
    NamedBy by = NamedBy::SubjectKeyId;
    StringBuffer text;      // the issuer's common name, the subject, or the identifier in base64
    StringBuffer serialHex; // with an issuer
};

// The X509IssuerSerial of an X509Data element. False when there is none, it is not complete, the
// issuer's name has no common name, or the certificate that it names was taken already.
[[nodiscard]] bool readIssuerSerial(const ClsXml& x509Data, SeenCertificates& seen,
                                    CertificateName& name, LogBase& log);
// The X509SubjectName of a KeyInfo in reversed component order. False when there is none, or the
// certificate it names was taken already.
[[nodiscard]] bool readSubjectName(const ClsXml& keyInfo, SeenCertificates& seen,
                                   CertificateName& name, LogBase& log);
// The X509SKI of a KeyInfo; false when there is none.
[[nodiscard]] bool readSubjectKeyId(const ClsXml& keyInfo, CertificateName& name);

// Appends the comma-separated components of a name in reverse order.
void reverseSubjectNameDN(const StringBuffer& dn, StringBuffer& out);

} // namespace vantrel::dsig

#endif
