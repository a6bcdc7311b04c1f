// SPDX-License-Identifier: MIT
#ifndef DSIG_TRUST_SIGNER_TRUST_H
#define DSIG_TRUST_SIGNER_TRUST_H

#include "dsig/document/document.h"
#include "dsig/report/signature_report.h"
#include "dsig/trust/material.h"
#include "dsig/trust/policy.h"
#include "foundation/x509/path/path_query.h"

#include <memory>

namespace vantrel::dsig {

// Whether a certificate of the key that verified leads to an anchor. A key may have several, from
// authorities that certified each other or one after the other; one that leads to an anchor is
// enough. Where the signer signed for one of them (XAdES), that one alone counts.
struct SignerTrust {
    // At the time that the policy gives; else at that of a valid time-stamp whose authority leads
    // to an anchor itself; else now. The certificates are the policy's and the material's. When
    // none is trusted, the path of the certificate that reports name.
    x509::PathResult path;
    bool authorityTrusted = false; // of the time-stamp
    bool atStampTime = false;
    std::shared_ptr<const Material> material;
};

// Judges the signer's certificates, and the time-stamp's authority first: its path holds at the
// time of the stamp with the purpose of time-stamping. What is known of revocations today counts
// for both, as far as it concerns the time in question. `signedFor`: the certificate that counts
// alone; null where each of the key does. The policy has anchors and must outlive the result. Work
// is charged to the document (null for none). May throw std::bad_alloc.
[[nodiscard]] SignerTrust judgeSigner(const Policy& policy, const SignatureReport& report,
                                      Document* document, std::shared_ptr<const Material> material,
                                      const VantrelX509* signedFor);

} // namespace vantrel::dsig

#endif
