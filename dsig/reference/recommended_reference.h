// SPDX-License-Identifier: MIT
#ifndef DSIG_REFERENCE_RECOMMENDED_REFERENCE_H
#define DSIG_REFERENCE_RECOMMENDED_REFERENCE_H

#include "dsig/reference/DSigReference.h"
#include "dsig/reference/check_reference.h"

namespace vantrel::dsig {

// A reference that the usual way did not verify, by the reference processing model of XML Signature
// 1.1, 4.4.3, exactly: nodes without comments for "" and "#id", transforms over octets and sets of
// nodes, external data with its transforms. True when the digest matches; `result` then says what
// it covers and which constructs were needed, in place of what the usual way found out. False
// otherwise, or where the caller has this switched off (GivenRulesOnly) or the reference has
// nothing that could lead to other octets; `result` then changes where the usual way had not come
// to a digest, or to one without the transforms of external data, and this way has. The work is
// taken from the document's account, which knows the limit that ended it.
[[nodiscard]] bool matchesAsRecommended(const ReferenceQuery& query, ReferenceResult& result,
                                        LogBase& log);

// Whether the digest of a reference that the usual way verified is that of the model above as well.
// False, too, where the account does not allow to find out.
[[nodiscard]] bool isDigestAsRecommended(const ReferenceQuery& query, LogBase& log);

} // namespace vantrel::dsig

#endif
