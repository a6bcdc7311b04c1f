// SPDX-License-Identifier: MIT
#ifndef DSIG_REFERENCE_CHECK_REFERENCE_H
#define DSIG_REFERENCE_CHECK_REFERENCE_H

#include "dsig/document/document.h"
#include "dsig/document/rules.h"
#include "dsig/document/selection.h"
#include "dsig/reference/external_data.h"
#include "dsig/report/signature_report.h"
#include "foundation/text/LogBase.h"

namespace vantrel::dsig {

// The reference that is to be checked, and what its check may use. What it points at is borrowed
// for the call; the work is charged to the account of the document.
struct ReferenceQuery {
    Document* document; // null when no signature is selected
    const Selection& selection;
    int index;
    ExternalData external;
    bool keepOctets = false; // hand out the digested octets in the result
};

// Checks the digest of a reference; where it does not match, once more with the other attribute
// order. `rules` becomes what the check found them to be: the order of a retry stays in force for
// the references behind it, whether it helped or not, and so do ZATCA rules. The result says how it
// ended, what of the document the digest covers and which leniencies it took. A check that fails
// counts against the retries that later references may have.
[[nodiscard]] ReferenceResult checkReference(const ReferenceQuery& query, Rules& rules,
                                             LogBase& log);

// One attempt of it. Without the retry and the count. A reference that is not there is a result of
// its own (NoReference), after an error line.
[[nodiscard]] ReferenceResult attemptReference(const ReferenceQuery& query, Rules& rules,
                                               LogBase& log);

} // namespace vantrel::dsig

#endif
