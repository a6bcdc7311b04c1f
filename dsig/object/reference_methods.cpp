// SPDX-License-Identifier: MIT
// The public operations on references: their external data, and the check of one digest.

#include "dsig/object/ClsXmlDSig.h"
#include "dsig/object/object_state.h"
#include "dsig/reference/DSigExternalData.h"
#include "dsig/verify/reference_pass.h"
#include "foundation/base/ClsBinData.h"
#include "foundation/base/ClsStringBuilder.h"
#include "foundation/base/MethodFrame.h"
#include "foundation/text/_vlCharset.h"

namespace vantrel {

// Kept by the index of the selected signature and of the reference, not checked against the
// document: data may be set for a reference that the next document has. The file is opened only
// when its digest is computed.
bool ClsXmlDSig::SetRefDataFile(int index, XString& path) {
    return MethodFrame::run(*this, "SetRefDataFile", [&](MethodFrame& frame) {
        DSigRefExternalData* const data = getExtRef(index, true, m_log);
        if (data == nullptr) {
            return false;
        }
        data->useFile(path);
        return frame.finish(true);
    });
}

// A character that has no place in the character set is a failure: other octets would be digested
// than the caller meant.
bool ClsXmlDSig::SetRefDataSb(int index, ClsStringBuilder& sb, XString& charset) {
    return MethodFrame::run(*this, "SetRefDataSb", [&](MethodFrame& frame) {
        DSigRefExternalData* const data = getExtRef(index, true, m_log);
        if (data == nullptr) {
            return false;
        }
        data->clear();
        _vlCharset target;
        return frame.finish(target.setByName(charset.getUtf8()) &&
                            sb.xstring().getConverted(target, data->m_data));
    });
}

bool ClsXmlDSig::SetRefDataBd(int index, ClsBinData& bd) {
    return MethodFrame::run(*this, "SetRefDataBd", [&](MethodFrame& frame) {
        DSigRefExternalData* const data = getExtRef(index, true, m_log);
        if (data == nullptr) {
            return false;
        }
        data->clear();
        return frame.finish(data->m_data.append(bd.data()));
    });
}

bool ClsXmlDSig::VerifyReferenceDigest(int index) {
    return MethodFrame::run(*this, "VerifyReferenceDigest", [&](MethodFrame& frame) {
        beginReport(selection());
        keepRules(logRulesByOptions(m_log));
        ExtPtrArraySb dirs;
        dsig::splitDirs(m_externalRefDirs, dirs);
        bool externalMissing = false;
        const bool ok = verifyReferenceDigest(index, externalMissing, dirs, m_log);
        // Of this one reference: the report of the operation has no signature value in it.
        m_state->report.valid = ok;
        m_state->report.referencesFailed = !ok;
        finishReport();
        return frame.finish(ok);
    });
}

} // namespace vantrel
