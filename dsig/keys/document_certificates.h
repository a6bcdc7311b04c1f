// SPDX-License-Identifier: MIT
#ifndef DSIG_KEYS_DOCUMENT_CERTIFICATES_H
#define DSIG_KEYS_DOCUMENT_CERTIFICATES_H

#include "dsig/document/decoded_certificate.h"

namespace vantrel {

class ClsXml;
class LogBase;
class StringBuffer;

namespace dsig {

class SeenCertificates;

// The certificate behind a text of the document, and the one that a token holds: `asPath`, the last
// of a path of certificates. Decoded when they are first asked for; `log` gives the settings and is
// not written to. Never null. The entry is shared with the cache and lives on when the cache lets
// go of it.
[[nodiscard]] CertificateCache::Entry certificateOfText(CertificateCache& cache,
                                                        const StringBuffer& base64,
                                                        const LogBase& log);
[[nodiscard]] CertificateCache::Entry certificateOfToken(CertificateCache& cache,
                                                         const ClsXml& token, bool asPath,
                                                         const LogBase& log);

// Whether the token's content could be read; writes what its decoding wrote.
[[nodiscard]] bool useContent(const DecodedCertificate& entry, LogBase& log);
// Whether there is a certificate; notes it as seen, and writes what its decoding wrote.
[[nodiscard]] bool useCertificate(const DecodedCertificate& entry, SeenCertificates& seen,
                                  LogBase& log);
// The base64 of the SHA-1 of the certificate's bytes. It stays in the entry, and the reference is
// valid as long as that.
[[nodiscard]] const StringBuffer& thumbprintOf(DecodedCertificate& entry);

} // namespace dsig
} // namespace vantrel

#endif
