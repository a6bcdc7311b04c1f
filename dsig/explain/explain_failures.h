// SPDX-License-Identifier: MIT
#ifndef DSIG_EXPLAIN_EXPLAIN_FAILURES_H
#define DSIG_EXPLAIN_EXPLAIN_FAILURES_H

#include "dsig/explain/budget.h"
#include "dsig/report/signature_report.h"
#include "dsig/verify/verify_selection.h"

namespace vantrel::dsig::explain {

// Searches why the digests and the value of a verified signature do not match, and puts what is
// found into the causes of its report: the first hypothesis that reproduces the stored digest or
// makes the value verify, with evidence. A digest or value for which none does is said to be
// changed, and how far the search went. Nothing else of the report changes, the verdict least of
// all. `query` and `rules` are those of the verification, `signature` is complete; the search works
// on copies, and charges its work to the budget alone. Searching proves a cause; it does not make
// the document valid, and a report with a cause is as invalid as one without. Called after the
// report is complete, for documents that failed; a verification that nobody wants explained never
// comes here. May throw std::bad_alloc.
void explainFailures(const VerifyQuery& query, const Rules& rules, Budget& budget,
                     SignatureReport& signature);

} // namespace vantrel::dsig::explain

#endif
