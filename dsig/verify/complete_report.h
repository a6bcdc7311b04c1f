// SPDX-License-Identifier: MIT
#ifndef DSIG_VERIFY_COMPLETE_REPORT_H
#define DSIG_VERIFY_COMPLETE_REPORT_H

#include "dsig/verify/verify_selection.h"

namespace vantrel::dsig {

// Works out what only a reader of the report needs, once: the value where the verification ended
// before it, the signer, the transforms, the warnings, the causes of failures. Most verifications'
// reports are never read, so none of it is done before. `query` and `rules` are those of the
// verification; a null document leaves out what is read from it. The outcome does not change.
void completeReport(const VerifyQuery& query, const Rules& rules, SignatureReport& report);

} // namespace vantrel::dsig

#endif
