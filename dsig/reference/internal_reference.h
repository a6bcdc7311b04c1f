// SPDX-License-Identifier: MIT
#ifndef DSIG_REFERENCE_INTERNAL_REFERENCE_H
#define DSIG_REFERENCE_INTERNAL_REFERENCE_H

#include "dsig/reference/DSigReference.h"
#include "dsig/reference/check_reference.h"

namespace vantrel::dsig {

// The digest of a reference into the loaded document: its transforms, the implied ones, the
// comparison, and the known ways in which signers compute digests otherwise. `fragmentId` is empty
// for the whole document. `query.document` must not be null. `rules` keeps what helped, for the
// references behind this one; `result` gets the reason, what the digest covers, the leniencies that
// were taken and the octets when they are asked for. A digest that differs leaves the coverage of
// the plain attempt in it.
void checkInternalReference(const ReferenceQuery& query, const DSigReference& reference,
                            const StringBuffer& fragmentId, Rules& rules, ReferenceResult& result,
                            LogBase& log);

// What a fragment names in the loaded document, before anything is digested. It is what a report
// says of a reference that was not checked, or whose check fails early. Errors are not logged here.
void describeTarget(const Document& document, const StringBuffer& fragmentId,
                    ReferenceResult& result);

} // namespace vantrel::dsig

#endif
