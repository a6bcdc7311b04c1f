// SPDX-License-Identifier: MIT
#ifndef DSIG_REFERENCE_DIGEST_COMPARISON_H
#define DSIG_REFERENCE_DIGEST_COMPARISON_H

#include "dsig/reference/DSigReference.h"
#include "dsig/report/signature_report.h"
#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"

namespace vantrel::dsig {

// Logs both digests, base64, and compares their texts. No digest equals none. Both are public, so
// the comparison need not take constant time. The stored text has lost its white space when it was
// read; the last characters have to be as an encoder writes them. An empty calculated digest, from
// a step that produced nothing, never equals an empty stored one.
[[nodiscard]] inline bool isStoredDigest(const StringBuffer& calculated,
                                         const DSigReference& reference, LogBase& log) {
    log.LogDataSb("calculatedDigest", calculated);
    log.LogDataSb("storedRefDigest", reference.m_digestValue);
    return !calculated.isEmpty() && calculated.equals(reference.m_digestValue);
}

// The end of a check: `result` gets the digest and whether it is the stored one.
inline void compareDigest(const DataBuffer& digest, const DSigReference& reference,
                          ReferenceResult& result, LogBase& log) {
    digest.encodeDB("base64", result.computedDigest);
    const bool equal = isStoredDigest(result.computedDigest, reference, log);
    result.reason = equal ? RefReason::Match : RefReason::Mismatch;
}

} // namespace vantrel::dsig

#endif
