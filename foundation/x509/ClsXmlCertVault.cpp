#include "foundation/x509/ClsXmlCertVault.h"

#include "foundation/base/ClsBinData.h"
#include "foundation/base/MethodFrame.h"
#include "foundation/text/XString.h"

namespace vantrel {

ClsXmlCertVault* ClsXmlCertVault::createNewCls() { return new (std::nothrow) ClsXmlCertVault(); }

ClsXmlCertVault::ClsXmlCertVault() = default;
ClsXmlCertVault::~ClsXmlCertVault() = default;

bool ClsXmlCertVault::AddCertDer(const ClsBinData& der) {
    return MethodFrame::run(*this, "AddCertDer", [&](MethodFrame& frame) {
        return frame.finish(m_manager.addDer(der.data(), m_log));
    });
}

bool ClsXmlCertVault::AddCertEncoded(const XString& base64) {
    return MethodFrame::run(*this, "AddCertEncoded", [&](MethodFrame& frame) {
        return frame.finish(m_manager.addBase64(base64.getUtf8Sb().view(), m_log));
    });
}

bool ClsXmlCertVault::AddCertPem(const XString& pem) {
    return MethodFrame::run(*this, "AddCertPem", [&](MethodFrame& frame) {
        std::uint32_t added = 0;
        const bool ok = m_manager.addPem(pem.getUtf8Sb().view(), added, m_log);
        m_log.LogDataUint32("numCertsAdded", added);
        return frame.finish(ok);
    });
}

std::uint32_t ClsXmlCertVault::get_NumCerts() { return m_manager.numCerts(); }

} // namespace vantrel
