// SPDX-License-Identifier: MIT
#ifndef DSIG_VERIFY_BENT_READINGS_H
#define DSIG_VERIFY_BENT_READINGS_H

#include "dsig/verify/verify_selection.h"

namespace vantrel::dsig {

// The leniencies that no step of the verification notices, since it takes its usual way: a
// transform or a method that is read otherwise than its recommendation says, where that was what
// matched. `report` has the texts of its references. Gains accommodations; the outcome does not
// change. Where the document's account does not allow to find out, the leniency counts as used.
void noteBentReadings(const VerifyQuery& query, SignatureReport& report);

} // namespace vantrel::dsig

#endif
