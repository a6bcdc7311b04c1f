// SPDX-License-Identifier: MIT
#ifndef DSIG_KEYS_KEY_INFO_CERTIFICATES_H
#define DSIG_KEYS_KEY_INFO_CERTIFICATES_H

#include "dsig/document/decoded_certificate.h"
#include "dsig/keys/key_query.h"
#include "dsig/keys/seen_certificates.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/xml/tree/ClsXml.h"

#include <vector>

namespace vantrel::dsig {

// Appends the certificates that a KeyInfo element carries or names, as base64, in the order in
// which keys are taken from them. False where a token that it refers to cannot be found; the
// certificates before it stay. They are handed out as they are: neither their signatures nor their
// dates are checked.
[[nodiscard]] bool certificatesFromKeyInfo(const KeyQuery& query, const ClsXml& keyInfo,
                                           std::vector<StringBuffer>& out, LogBase& log);

// Whether there is a certificate; notes it as seen. The lines that its decoding wrote go to a
// context of their own.
[[nodiscard]] bool processCertificate(const DecodedCertificate& certificate, SeenCertificates& seen,
                                      LogBase& log);

} // namespace vantrel::dsig

#endif
