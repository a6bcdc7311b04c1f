#ifndef DSIG_KEYS_CERTIFICATE_TEXT_H
#define DSIG_KEYS_CERTIFICATE_TEXT_H

#include "dsig/report/signature_report.h"
#include "foundation/text/StringBuffer.h"

#include <cstddef>
#include <string_view>

namespace vantrel {

class ClsPublicKey;
class ClsXml;
class LogBase;
class VantrelX509;

namespace dsig {

class SeenCertificates;

// Each certificate becomes a key of some ten kilobytes, so their number is limited. False, with an
// error line, above the limit.
inline constexpr std::size_t kMaxKeyInfoCertificates = 1000;
[[nodiscard]] bool checkNumberOfCertificates(std::size_t count, LogBase& log);

// Loads a certificate from base64 text, in which character references for carriage returns are
// removed (in place).
[[nodiscard]] bool loadCertificateText(StringBuffer& base64, VantrelX509& cert, LogBase& log);

// The X509IssuerSerial of an X509Data element.
struct IssuerSerial {
    StringBuffer issuerCn;
    StringBuffer serialHex;
};
// False when there is none, it is not complete, or the issuer's name has no common name.
[[nodiscard]] bool readIssuerSerial(const ClsXml& x509Data, IssuerSerial& name, LogBase& log);

// The X509SubjectName of a KeyInfo in reversed component order. False when there is none, or the
// certificate it names was taken already.
[[nodiscard]] bool readUnseenSubjectName(const ClsXml& keyInfo, SeenCertificates& seen,
                                         StringBuffer& reversed, LogBase& log);
[[nodiscard]] bool readSubjectKeyId(const ClsXml& keyInfo, StringBuffer& ski);

// Appends the comma-separated components of a name in reverse order.
void reverseSubjectNameDN(const StringBuffer& dn, StringBuffer& out, LogBase& log);

// What reports say of a key from this source; `cert` is the certificate it came from, or null.
[[nodiscard]] KeyReport describeKey(const ClsPublicKey& key, std::string_view source,
                                    const VantrelX509* cert);

} // namespace dsig
} // namespace vantrel

#endif
