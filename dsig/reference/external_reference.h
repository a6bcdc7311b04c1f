#ifndef DSIG_REFERENCE_EXTERNAL_REFERENCE_H
#define DSIG_REFERENCE_EXTERNAL_REFERENCE_H

#include "dsig/reference/DSigReference.h"
#include "dsig/reference/check_reference.h"

namespace vantrel::dsig {

// A reference to data outside the document: bytes or a file that the caller supplies, or a file in
// the folders that the caller named. The data is digested as it is; files are streamed.
void checkExternalReference(const ReferenceQuery& query, const DSigReference& reference,
                            const StringBuffer& uri, ReferenceReport& result, LogBase& log);

} // namespace vantrel::dsig

#endif
