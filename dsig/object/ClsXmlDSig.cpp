// SPDX-License-Identifier: MIT
#include "dsig/object/ClsXmlDSig.h"

#include "dsig/document/document.h"
#include "dsig/document/rules.h"
#include "dsig/object/object_state.h"
#include "foundation/base/CritSecExitor.h"
#include "foundation/base/MethodFrame.h"
#include "foundation/x509/keys/ClsPublicKey.h"
#include "foundation/xml/tree/ClsXml.h"

#include <exception>
#include <optional>

namespace vantrel {

_clsXmlDSigBase::_clsXmlDSigBase() = default;
_clsXmlDSigBase::~_clsXmlDSigBase() = default;

ClsXmlDSig::ClsXmlDSig() : m_state(std::make_unique<dsig::ObjectState>()) {}

// The lock waits for an operation of another thread that is about to end. An operation that begins
// later has no object any more; that is for the caller to prevent.
ClsXmlDSig::~ClsXmlDSig() {
    const CritSecExitor lock(m_critSec);
    releaseDocument();
    m_publicKeys.removeAllObjects();
}

ClsXmlDSig* ClsXmlDSig::createNewCls() {
    try {
        return new ClsXmlDSig();
    } catch (const std::exception&) {
        return nullptr;
    }
}

// Every member that describes the loaded document goes both ways, here and in keepRules;
// secondAttrOrder is left out, since it holds for one attempt only.
dsig::Rules _clsXmlDSigBase::rules() const {
    dsig::Rules rules;
    rules.profileName = m_profileName;
    rules.profileCode = m_profileCode;
    rules.siiDocument = m_isSiiDocument;
    rules.satDoda = m_isSatDoda;
    rules.peruUbl = m_isPeruUbl;
    rules.cmaStpDocument = m_cmaStpDocument;
    rules.skXmlSignedDoc = m_isSkXmlSignedDoc;
    rules.alwaysAttrSortBug = m_alwaysDuplicateAttrSortBug;
    rules.mayHoldLau = m_mayHoldLau;
    rules.mayHoldTimestamp = m_mayHoldTimestamp;
    rules.zatca = m_zatcaRules;
    rules.attrSortBug = m_duplicateAttrSortBug;
    rules.noAttrSortRetry = m_noAttrSortRetry;
    rules.siiDteOffset = m_siiDteOffset;
    rules.siiDteXml = m_siiDteXml;
    return rules;
}

void _clsXmlDSigBase::keepRules(const dsig::Rules& rules) {
    m_profileName = rules.profileName;
    m_profileCode = rules.profileCode;
    m_isSiiDocument = rules.siiDocument;
    m_isSatDoda = rules.satDoda;
    m_isPeruUbl = rules.peruUbl;
    m_cmaStpDocument = rules.cmaStpDocument;
    m_isSkXmlSignedDoc = rules.skXmlSignedDoc;
    m_alwaysDuplicateAttrSortBug = rules.alwaysAttrSortBug;
    m_mayHoldLau = rules.mayHoldLau;
    m_mayHoldTimestamp = rules.mayHoldTimestamp;
    m_zatcaRules = rules.zatca;
    m_duplicateAttrSortBug = rules.attrSortBug;
    m_noAttrSortRetry = rules.noAttrSortRetry;
    m_siiDteOffset = rules.siiDteOffset;
    m_siiDteXml = rules.siiDteXml;
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
    return MethodFrame::run(*this, "SetLimit", [&](MethodFrame& /*frame*/) {
        std::uint64_t number = 0;
        // The value first: a number that cannot be read is an error whatever the name.
        if (!dsig::parseLimit(value.getUtf8Sb().view(), number)) {
            m_log.LogError("The value of a limit is a decimal number.");
            return false;
        }
        if (!dsig::setLimit(m_state->limits, name.getUtf8Sb().view(), number)) {
            m_log.LogError("There is no limit of this name.");
            return false;
        }
        // The log counts for itself, so it has to be told; the other limits are read where they
        // apply.
        m_log.setLimit(m_state->limits.logOctets);
        return true;
    });
}

void ClsXmlDSig::SetLimits(const dsig::Limits& limits) {
    const CritSecExitor lock(m_critSec);
    const std::optional<io::Deadline> deadline = m_state->limits.deadline;
    m_state->limits = limits;
    m_state->limits.deadline = deadline;
    m_log.setLimit(limits.logOctets);
}

void ClsXmlDSig::SetThreads(int threads) {
    const CritSecExitor lock(m_critSec);
    m_state->threads = static_cast<unsigned>(std::max(threads, 1));
}

void ClsXmlDSig::SetDeadline(int ms) {
    const CritSecExitor lock(m_critSec);
    m_state->limits.deadline.emplace(ms);
}

bool ClsXmlDSig::TimeIsUp() {
    const CritSecExitor lock(m_critSec);
    return m_state->limits.timeIsUp();
}

void ClsXmlDSig::get_ExternalRefDirs(XString& dirs) {
    const CritSecExitor lock(m_critSec);
    dirs.copyFromX(m_externalRefDirs);
}

void ClsXmlDSig::put_ExternalRefDirs(XString& dirs) {
    const CritSecExitor lock(m_critSec);
    m_externalRefDirs.copyFromX(dirs);
}

} // namespace vantrel
