// SPDX-License-Identifier: MIT
#ifndef DSIG_TRUST_DEMANDS_H
#define DSIG_TRUST_DEMANDS_H

#include "dsig/document/document.h"
#include "dsig/report/signature_report.h"
#include "dsig/trust/policy.h"
#include "dsig/trust/signer_trust.h"

#include <span>
#include <string_view>
#include <vector>

namespace vantrel::dsig {

// One signature on its way to a judgement. Borrowed, but for what is worked out once for all
// demands.
struct JudgedSignature {
    JudgedSignature(const Policy& itsPolicy, const SignatureReport& itsReport,
                    Document* itsDocument, const Material& itsMaterial);

    const Policy& policy;
    const SignatureReport& report;
    Document* document; // null when no signature was selected
    const Material& material;
    const SignerTrust* trust = nullptr; // null without anchors, and until it was judged
    // What the signed and matching references of a valid signature digested, in order and apart
    // from each other (covered_targets.h).
    std::vector<xml::TextRange> digested;
};

// A demand: its word, what it refuses with, and whether it holds. A demand whose means were not
// given (a pin, an anchor) does not.
struct DemandEntry {
    Demand demand;
    std::string_view word;
    std::string_view refusal;
    bool (*holds)(const JudgedSignature&);
};

// All demands, in the order in which refusals are listed.
[[nodiscard]] std::span<const DemandEntry> demandTable() noexcept;

} // namespace vantrel::dsig

#endif
