// SPDX-License-Identifier: MIT
#ifndef DSIG_XADES_CHECK_TIMESTAMP_H
#define DSIG_XADES_CHECK_TIMESTAMP_H

#include "dsig/document/document.h"
#include "dsig/document/selection.h"
#include "dsig/report/signature_report.h"
#include "foundation/cms/_clsCades.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/x509/SystemCerts.h"
#include "foundation/xml/locate/XmlSigLocate.h"
#include "foundation/xml/scan/xml_document.h"
#include "foundation/xml/tree/ClsXml.h"

#include <memory>
#include <optional>
#include <string>

namespace vantrel::dsig {

// What the check of an encapsulated signature time-stamp found out. Only of a valid one is anything
// but `valid` filled in: what a token says that is no time-stamp of the signature is nobody's to
// show.
struct TimestampResult {
    bool valid = false;
    std::string time;                         // ISO 8601, UTC
    std::string authority;                    // subject of the signer's certificate (RFC 4514)
    bool trusted = false;                     // that certificate leads to one of the store
    int hashAlg = 0;                          // the digest of the token's imprint (hash_ids.h)
    std::shared_ptr<const StampReport> stamp; // what the authority is judged by
};

// Checks the RFC 3161 token of a signature: its CMS signature, by the options and with the store
// (which may be null), and that its imprint is the digest of the signature's canonical
// SignatureValue. `text` is the signature as it stands in the document, `signature` that text
// parsed by itself; the SignatureValue is canonicalized within `document`. Nothing when the text
// has no time-stamp, or no SignatureValue that it could be over. A check that fails has written an
// error line.
[[nodiscard]] std::optional<TimestampResult> checkTimestamp(
    const std::shared_ptr<const xml::XmlDocument>& document, const StringBuffer& text,
    const ClsXml& signature, const _clsCades& options, SystemCerts* store, LogBase& log);

// The time-stamp pass of a verification: the same for the selected signature, which `locator` has
// found in the document. Nothing when the uncommon options do not ask for it, or the signature has
// no time-stamp. A time-stamp that the tree has and the text has not, since a part of it comes from
// an entity, fails.
[[nodiscard]] std::optional<TimestampResult> timestampPass(Document& document,
                                                           const Selection& selection,
                                                           const XmlSigLocate& locator,
                                                           const _clsCades& options,
                                                           SystemCerts* store, LogBase& log);

} // namespace vantrel::dsig

#endif
