// SPDX-License-Identifier: MIT
#ifndef DSIG_TRUST_ACCEPTANCE_H
#define DSIG_TRUST_ACCEPTANCE_H

#include "dsig/document/document.h"
#include "dsig/report/codes.h"
#include "dsig/report/signature_report.h"
#include "dsig/trust/policy.h"
#include "dsig/trust/signer_trust.h"
#include "dsig/trust/signing_certificate.h"
#include "foundation/x509/VantrelX509.h"

#include <optional>
#include <string_view>

namespace vantrel {

class SystemCerts;

namespace json {
class JsonWriter;
} // namespace json

namespace dsig {

// Whether one signature is accepted by a policy, and if not, why not.
struct Acceptance {
    bool accepted = false; // valid, and nothing is refused
    CodeSet refusals;      // refusal:: (refusals.h), in the order of the demands
    // Whether the certificate that the signer signed for (XAdES) is that of the key that verified.
    SigningCertificate signingCertificate = SigningCertificate::Absent;
    bool pinned = false;              // one of the policy's pins is that of the signer
    std::optional<SignerTrust> trust; // where the policy has anchors
    // The certificate by which the signer is trusted, or for which he signed, where it is another
    // one of his key than the report's; empty else. `signerSource`: where it came from.
    VantrelX509 signer;
    std::string_view signerSource;
};

// Judges a verified signature. `report` must be complete (verify/complete_report.h); `document` is
// the loaded one, null when no signature was selected; `store` has the caller's certificates (null
// for none), which may lie on a path and prove nothing by themselves. Neither the report's outcome
// nor what the document holds changes. The policy must outlive the result. May throw
// std::bad_alloc.
[[nodiscard]] Acceptance judge(const Policy& policy, const SignatureReport& report,
                               Document* document, SystemCerts* store);

// Brings a report into line with the judgement. The signer is named by the certificate that was
// judged: another one of the same key, which anybody can have made, must not give him its name. And
// it is not true any more that nobody vouches for a key, a name or an authority, nor that a
// certificate has expired that was valid when a trusted time-stamp was made.
void applyJudgement(const Acceptance& acceptance, SignatureReport& report);

// The members `accepted`, `refusals`, `signingCertificate` and, where it was judged, `trust` of the
// JSON object that is being written.
void writeAcceptance(const Acceptance& acceptance, json::JsonWriter& out);

} // namespace dsig
} // namespace vantrel

#endif
