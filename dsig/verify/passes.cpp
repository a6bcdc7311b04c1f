// The two optional passes of a verification: the digests of all references, and the time-stamp.

#include "dsig/object/ClsXmlDSig.h"
#include "dsig/object/object_state.h"
#include "dsig/verify/verify_run.h"
#include "foundation/base/LogContextExitor.h"
#include "foundation/xml/tree/ClsXml.h"

namespace vantrel {

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
        m_state->report.timestampTime.clear();
        m_state->report.timestampAuthority.clear();
        m_state->report.timestampTrusted = false;
        m_state->report.timestamp = "invalid";
        logTimeStampFailure(log);
        return false;
    }
    m_state->report.timestamp = "valid";
    if (!m_state->report.timestampTrusted) {
        m_state->report.warnings.add("timestamp-authority-not-checked");
    }
    return true;
}

} // namespace vantrel
