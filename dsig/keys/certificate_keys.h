// SPDX-License-Identifier: MIT
#ifndef DSIG_KEYS_CERTIFICATE_KEYS_H
#define DSIG_KEYS_CERTIFICATE_KEYS_H

#include "dsig/document/decoded_certificate.h"
#include "dsig/keys/candidate_keys.h"
#include "dsig/keys/seen_certificates.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/RefCountedObject.h"
#include "foundation/x509/VantrelX509.h"
#include "foundation/x509/keys/ClsPublicKey.h"

namespace vantrel::dsig {

// The key in a certificate, new for every call; null after an error line. The certificate is not
// judged: neither its dates, nor its issuer, nor what the key may be used for.
[[nodiscard]] Ref<ClsPublicKey> publicKeyFromX509(const VantrelX509& cert, LogBase& log);

// The same as a candidate; its key is null when the certificate gives none.
[[nodiscard]] CandidateKey candidateOf(const VantrelX509& cert, const KeySource& source,
                                       LogBase& log);

// The candidate that a certificate of the document gives. Its key is decoded once and shared by all
// signatures that use the certificate, which is noted as seen even when it gives none.
[[nodiscard]] CandidateKey candidateOf(CertificateCache& cache,
                                       const CertificateCache::Entry& certificate,
                                       const KeySource& source, SeenCertificates& seen,
                                       LogBase& log);

} // namespace vantrel::dsig

#endif
