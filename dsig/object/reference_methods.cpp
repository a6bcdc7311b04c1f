// The public operations on references: their external data, and the check of one digest.

#include "dsig/object/ClsXmlDSig.h"
#include "dsig/reference/DSigExternalData.h"
#include "foundation/log/ClsBinData.h"
#include "foundation/log/ClsStringBuilder.h"
#include "foundation/log/MethodFrame.h"
#include "foundation/text/_vlCharset.h"

#include <new>

namespace vantrel {

bool ClsXmlDSig::SetRefDataFile(int index, XString& path) {
    MethodFrame frame(*this, "SetRefDataFile");
    frame.begin();
    try {
        DSigRefExternalData* const data = getExtRef(index, true, m_log);
        if (data == nullptr) {
            return false;
        }
        data->useFile(path);
        return frame.finish(true);
    } catch (const std::bad_alloc&) {
        return frame.outOfMemory();
    }
}

bool ClsXmlDSig::SetRefDataSb(int index, ClsStringBuilder& sb, XString& charset) {
    MethodFrame frame(*this, "SetRefDataSb");
    frame.begin();
    try {
        DSigRefExternalData* const data = getExtRef(index, true, m_log);
        if (data == nullptr) {
            return false;
        }
        data->clear();
        _vlCharset target;
        return frame.finish(target.setByName(charset.getUtf8()) &&
                            sb.xstring().getConverted(target, data->m_data));
    } catch (const std::bad_alloc&) {
        return frame.outOfMemory();
    }
}

bool ClsXmlDSig::SetRefDataBd(int index, ClsBinData& bd) {
    MethodFrame frame(*this, "SetRefDataBd");
    frame.begin();
    try {
        DSigRefExternalData* const data = getExtRef(index, true, m_log);
        if (data == nullptr) {
            return false;
        }
        data->clear();
        return frame.finish(data->m_data.append(bd.data()));
    } catch (const std::bad_alloc&) {
        return frame.outOfMemory();
    }
}

bool ClsXmlDSig::VerifyReferenceDigest(int index) {
    MethodFrame frame(*this, "VerifyReferenceDigest");
    frame.begin();
    try {
        beginReport();
        keepRules(logRulesByOptions(m_log));
        ExtPtrArraySb dirs;
        splitRefDirs(dirs);
        bool externalMissing = false;
        const bool ok = verifyReferenceDigest(index, externalMissing, dirs, m_log);
        m_report.valid = ok;
        finishReport();
        return frame.finish(ok);
    } catch (const std::bad_alloc&) {
        return frame.outOfMemory();
    }
}

} // namespace vantrel
