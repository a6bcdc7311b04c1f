// SPDX-License-Identifier: MIT
// The verifier's members that belong to time-stamps: each hands its work to the step of its name.

#include "dsig/object/ClsXmlDSig.h"
#include "dsig/xades/add_timestamp.h"
#include "dsig/xades/check_timestamp.h"
#include "foundation/base/LogContextExitor.h"

namespace vantrel {

bool ClsXmlDSig::verifyEncapsulatedTimeStamp(const StringBuffer& sigXml, const ClsXml& sigElem,
                                             LogBase& log) {
    const std::optional<dsig::TimestampResult> result =
        dsig::checkTimestamp(m_xmlRoot != nullptr ? m_xmlRoot->document() : nullptr, sigXml,
                             sigElem, *this, getSystemCertsPtr(), log);
    // Nothing to check passes: the question is whether a time-stamp speaks against the signature.
    return !result || result->valid;
}

bool ClsXmlDSig::hasEncapsulatedTimeStamp(LogBase& log) {
    const LogContextExitor context(log, "hasEncapsulatedTimeStamp");
    log.LogDataLong("numSignatures", m_signatures.getSize());
    log.LogDataLong("selector", m_selector);
    return dsig::hasTimestamp(selectedSignature(), log);
}

bool ClsXmlDSig::addEncapsulatedTimeStamp(ClsJsonObject& json, XString& out, LogBase& log) {
    const LogContextExitor context(log, "addEncapsulatedTimeStamp");
    out.clear();
    // This object is the CMS options, too: it holds the connection to the authority.
    if (!dsig::addTimestamp(document(), selection(), json, *this, out.getUtf8Sb_rw(), log)) {
        return false;
    }
    logSuccessFailure2(true, m_log);
    return true;
}

} // namespace vantrel
