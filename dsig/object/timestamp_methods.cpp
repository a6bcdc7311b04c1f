// SPDX-License-Identifier: MIT
// The public operations on time-stamps.

#include "dsig/object/ClsXmlDSig.h"
#include "foundation/base/ClsStringBuilder.h"
#include "foundation/base/MethodFrame.h"

namespace vantrel {

void ClsXmlDSig::SetHttpObj(ClsHttp& http) {
    static_cast<void>(MethodFrame::runLater(*this, "SetHttpObj", [&](MethodFrame& /*frame*/) {
        setTsaHttpObj(http, m_log);
        return true;
    }));
}

bool ClsXmlDSig::HasEncapsulatedTimeStamp() {
    return MethodFrame::runLater(*this, "HasEncapsulatedTimeStamp", [&](MethodFrame& /*frame*/) {
        return hasEncapsulatedTimeStamp(m_log);
    });
}

bool ClsXmlDSig::AddEncapsulatedTimeStamp(ClsJsonObject& json, ClsStringBuilder& sbOut) {
    return MethodFrame::runLater(*this, "AddEncapsulatedTimeStamp", [&](MethodFrame& /*frame*/) {
        sbOut.xstring().clear();
        m_log.LogDataLong("numSignatures", m_signatures.getSize());
        m_log.LogDataLong("selector", m_selector);
        LogNull quiet(m_log);
        // A signature that has one gets no second, although XAdES allows several.
        if (hasEncapsulatedTimeStamp(quiet)) {
            m_log.LogError("Already has an EncapsulatedTimeStamp.");
            return false;
        }
        return addEncapsulatedTimeStamp(json, sbOut.xstring(), m_log);
    });
}

} // namespace vantrel
