// SPDX-License-Identifier: MIT
#ifndef DSIG_REFERENCE_DIGEST_COMPARISON_H
#define DSIG_REFERENCE_DIGEST_COMPARISON_H

#include "dsig/reference/DSigReference.h"
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

} // namespace vantrel::dsig

#endif
