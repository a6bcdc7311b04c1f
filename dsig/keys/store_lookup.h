// SPDX-License-Identifier: MIT
#ifndef DSIG_KEYS_STORE_LOOKUP_H
#define DSIG_KEYS_STORE_LOOKUP_H

#include "dsig/keys/candidate_keys.h"
#include "dsig/keys/certificate_names.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/x509/SystemCerts.h"
#include "foundation/x509/VantrelX509.h"

namespace vantrel::dsig {

// A certificate of the store, which owns it; null when there is no store or nothing is found. That
// it was found does not say who signed: the document chose the name.
[[nodiscard]] VantrelX509* findNamed(SystemCerts* store, const CertificateName& name, LogBase& log);

// Its key, in a log context of its own; the candidate's key is null when there is none.
[[nodiscard]] CandidateKey findNamedKey(SystemCerts* store, const CertificateName& name,
                                        LogBase& log);
// `out` := base64 of its DER form, in a log context of its own; empty, and false, when there is
// none.
[[nodiscard]] bool findNamedCertificate(SystemCerts* store, const CertificateName& name,
                                        StringBuffer& out, LogBase& log);

// `out` := base64 of the certificate's DER form; empty, and false, for none.
[[nodiscard]] bool certBase64(const VantrelX509* cert, StringBuffer& out);

} // namespace vantrel::dsig

#endif
