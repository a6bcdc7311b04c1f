// SPDX-License-Identifier: MIT
#ifndef DSIG_KEYS_KEY_REPORT_H
#define DSIG_KEYS_KEY_REPORT_H

#include "dsig/keys/candidate_keys.h"
#include "dsig/report/signature_report.h"

#include <span>
#include <vector>

namespace vantrel::dsig {

// What reports say of the candidate keys, in their order; the certificates' validity is that of
// this moment. None of the keys may be null. Which of them verified is not known yet: `used` is
// false.
[[nodiscard]] std::vector<KeyReport> describeKeys(std::span<const CandidateKey> keys);

} // namespace vantrel::dsig

#endif
