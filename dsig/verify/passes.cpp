// The two optional passes of a verification: the digests of all references, and the time-stamp.

#include "dsig/object/ClsXmlDSig.h"
#include "dsig/verify/verify_run.h"
#include "dsig/xades/check_timestamp.h"

namespace vantrel {

bool ClsXmlDSig::referencePass(LogBase& log) {
    log.LogDataX("externalRefDirs", m_externalRefDirs);
    ExtPtrArraySb dirs;
    if (!m_externalRefDirs.isEmpty()) {
        splitRefDirs(dirs);
        log.LogDataLong("numExternalRefDirs", dirs.getSize());
    }
    const int count = get_NumReferences();
    int failures = 0;
    for (int index = 0; index < count; ++index) {
        bool externalMissing = false;
        if (verifyReferenceDigest(index, externalMissing, dirs, log)) {
            continue;
        }
        log.LogError("Failed to verify reference digest");
        log.LogDataLong("referenceIndex", index);
        if (!(externalMissing && m_ignoreExternalRefs)) {
            ++failures;
        }
    }
    if (failures > 0) {
        log.LogDataLong("refFailureCount", failures);
        return false;
    }
    return true;
}

bool ClsXmlDSig::timeStampPass(const dsig::VerifyRun& run, LogBase& log) {
    const std::optional<dsig::TimestampResult> result =
        dsig::timestampPass(structure(), selection(), run.locator, *this, getSystemCertsPtr(), log);
    if (!result) {
        return true; // there is nothing to check
    }
    m_report.timestamp = result->valid ? "valid" : "invalid";
    m_report.timestampTime = result->time;
    m_report.timestampAuthority = result->authority;
    m_report.timestampTrusted = result->trusted;
    if (result->valid && !result->trusted) {
        m_report.warnings.add("timestamp-authority-not-checked");
    }
    return result->valid;
}

} // namespace vantrel
