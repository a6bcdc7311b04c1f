// The two optional passes of a verification: the digests of all references, and the time-stamp.

#include "dsig/object/ClsXmlDSig.h"
#include "dsig/verify/verify_run.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/xml/tree/ClsXml.h"

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
    if (!log.options().containsSubstringNoCase("VerifyEncapsulatedTimeStamp")) {
        return true;
    }
    const LogContextExitor context(log, "checkEncapsulatedTimeStamp");
    if (run.locator.m_sigStart >= m_xmlText.getSize()) {
        return true;
    }
    StringBuffer signature(
        m_xmlText.view().substr(run.locator.m_sigStart, run.locator.m_sigLength));
    if (log.verbose()) {
        log.LogBracketed("signature", signature.view());
    }
    if (!signature.containsSubstring("EncapsulatedTimeStamp")) {
        return true;
    }
    const Ref<ClsXml> element = Ref<ClsXml>::adopt(ClsXml::createNewCls());
    if (!element) {
        return false;
    }
    if (!element->loadXml(signature, true, log)) {
        log.LogError("Failed to load signature XML.");
        return false;
    }
    if (!verifyEncapsulatedTimeStamp(signature, *element, log)) {
        // What a token says that is no time-stamp of this signature is nobody's to show.
        m_report.timestampTime.clear();
        m_report.timestampAuthority.clear();
        m_report.timestampTrusted = false;
        m_report.timestamp = "invalid";
        logTimeStampFailure(log);
        return false;
    }
    m_report.timestamp = "valid";
    if (!m_report.timestampTrusted) {
        m_report.warnings.add("timestamp-authority-not-checked");
    }
    return true;
}

} // namespace vantrel
