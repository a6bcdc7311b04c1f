#ifndef DSIG_KEYS_STORE_LOOKUP_H
#define DSIG_KEYS_STORE_LOOKUP_H

#include "foundation/text/StringBuffer.h"

namespace vantrel {

class LogBase;
class SystemCerts;
class VantrelX509;

namespace dsig {

// Certificates of a store, which owns them; null when there is no store or nothing is found.
[[nodiscard]] VantrelX509* findByIssuerSerial(SystemCerts* store, const StringBuffer& issuerCn,
                                              const StringBuffer& serialHex, LogBase& log);
[[nodiscard]] VantrelX509* findBySubject(SystemCerts* store, const StringBuffer& subject,
                                         LogBase& log);
[[nodiscard]] VantrelX509* findBySki(SystemCerts* store, const StringBuffer& ski, LogBase& log);

// `out` := base64 of the certificate's DER form; empty, and false, for none.
bool certBase64(const VantrelX509* cert, StringBuffer& out);

} // namespace dsig
} // namespace vantrel

#endif
