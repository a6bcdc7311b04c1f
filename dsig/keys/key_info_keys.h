// SPDX-License-Identifier: MIT
#ifndef DSIG_KEYS_KEY_INFO_KEYS_H
#define DSIG_KEYS_KEY_INFO_KEYS_H

#include "dsig/keys/candidate_keys.h"
#include "dsig/keys/key_query.h"
#include "dsig/report/codes.h"
#include "foundation/text/LogBase.h"
#include "foundation/xml/tree/ClsXml.h"

#include <vector>

namespace vantrel::dsig {

// Appends the keys that a KeyInfo element carries or names, in a fixed order: key values,
// certificates, names of certificates, security tokens. False where one that is there cannot be
// used and ends the walk; the keys before it stay. `leniencies` gets what had to be overlooked on
// the way. The same key may be found more than once.
[[nodiscard]] bool keysFromKeyInfo(const KeyQuery& query, const ClsXml& keyInfo,
                                   std::vector<CandidateKey>& keys, CodeSet& leniencies,
                                   LogBase& log);

} // namespace vantrel::dsig

#endif
