#ifndef DSIG_REFERENCE_INTERNAL_REFERENCE_H
#define DSIG_REFERENCE_INTERNAL_REFERENCE_H

#include "dsig/reference/DSigReference.h"
#include "dsig/reference/check_reference.h"

namespace vantrel::dsig {

// The digest of a reference into the loaded document: its transforms, the implied ones, the
// comparison, and the known ways in which signers compute digests otherwise. `fragmentId` is empty
// for the whole document.
void checkInternalReference(const ReferenceQuery& query, const DSigReference& reference,
                            const StringBuffer& fragmentId, Rules& rules, ReferenceReport& result,
                            LogBase& log);

// What a fragment names in the loaded document, before anything is digested.
void describeTarget(const Document& document, const StringBuffer& fragmentId,
                    ReferenceReport& result);

} // namespace vantrel::dsig

#endif
