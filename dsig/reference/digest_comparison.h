#ifndef DSIG_REFERENCE_DIGEST_COMPARISON_H
#define DSIG_REFERENCE_DIGEST_COMPARISON_H

#include "dsig/reference/DSigReference.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"

namespace vantrel::dsig {

// Logs both digests, base64, and compares their texts. No digest equals none.
[[nodiscard]] inline bool isStoredDigest(const StringBuffer& calculated,
                                         const DSigReference& reference, LogBase& log) {
    log.LogDataSb("calculatedDigest", calculated);
    log.LogDataSb("storedRefDigest", reference.m_digestValue);
    return !calculated.isEmpty() && calculated.equals(reference.m_digestValue);
}

} // namespace vantrel::dsig

#endif
