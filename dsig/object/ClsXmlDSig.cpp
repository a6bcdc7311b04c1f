#include "dsig/object/ClsXmlDSig.h"

#include "dsig/object/loaded_structure.h"
#include "foundation/log/CritSecExitor.h"
#include "foundation/log/MethodFrame.h"
#include "foundation/x509/keys/ClsPublicKey.h"
#include "foundation/xml/tree/ClsXml.h"

#include <exception>

namespace vantrel {

_clsXmlDSigBase::_clsXmlDSigBase() = default;
_clsXmlDSigBase::~_clsXmlDSigBase() = default;

ClsXmlDSig::ClsXmlDSig() = default;

ClsXmlDSig::~ClsXmlDSig() {
    const CritSecExitor lock(m_critSec);
    unloadDocument();
    m_publicKeys.removeAllObjects();
}

ClsXmlDSig* ClsXmlDSig::createNewCls() {
    try {
        return new ClsXmlDSig();
    } catch (const std::exception&) {
        return nullptr;
    }
}

void _clsXmlDSigBase::setZatcaFromOptions(const StringBuffer& options, LogBase& log) {
    m_zatcaRules = options.containsSubstringNoCase("ZATCA");
    if (m_zatcaRules) {
        m_noAttrSortRetry = true;
        log.LogInfo("Will validate according to ZATCA rules...");
    }
}

void ClsXmlDSig::get_VerifyOptions(XString& options) {
    const CritSecExitor lock(m_critSec);
    get_CmsOptions(options);
}

void ClsXmlDSig::put_VerifyOptions(XString& options) {
    const CritSecExitor lock(m_critSec);
    put_CmsOptions(options);
}

bool ClsXmlDSig::SetLimit(XString& name, XString& value) {
    MethodFrame frame(*this, "SetLimit");
    frame.begin();
    std::uint64_t number = 0;
    if (!dsig::parseLimit(value.getUtf8Sb().view(), number)) {
        m_log.LogError("The value of a limit is a decimal number.");
        return false;
    }
    if (!dsig::setLimit(m_limits, name.getUtf8Sb().view(), number)) {
        m_log.LogError("There is no limit of this name.");
        return false;
    }
    m_log.setLimit(m_limits.logOctets);
    return true;
}

void ClsXmlDSig::get_ExternalRefDirs(XString& dirs) {
    const CritSecExitor lock(m_critSec);
    dirs.copyFromX(m_externalRefDirs);
}

void ClsXmlDSig::put_ExternalRefDirs(XString& dirs) {
    const CritSecExitor lock(m_critSec);
    m_externalRefDirs.copyFromX(dirs);
}

void ClsXmlDSig::splitRefDirs(ExtPtrArraySb& dirs) const {
    m_externalRefDirs.getUtf8Sb().split(dirs, ';', true, true);
}

} // namespace vantrel
