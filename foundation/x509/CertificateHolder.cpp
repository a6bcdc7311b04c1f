// SPDX-License-Identifier: MIT
#include "foundation/x509/CertificateHolder.h"

#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/encoders.h"

#include <memory>
#include <new>

namespace vantrel {

CertificateHolder* CertificateHolder::createFromBase64(const char* text, std::uint32_t length,
                                                       SystemCerts* /*store*/, LogBase& log) {
    DataBuffer der;
    if (text == nullptr || !ContentCoding::decodeBase64ToDb(text, length, der)) {
        log.LogError("The certificate is not base64 text.");
        return nullptr;
    }
    std::unique_ptr<CertificateHolder> holder(new (std::nothrow) CertificateHolder());
    if (!holder || !holder->m_record.m_holder.getX509Ptr()->loadX509Der(der, log)) {
        return nullptr;
    }
    return holder.release();
}

CertRecord* CertificateHolder::getCertPtr(LogBase& /*log*/) noexcept {
    return m_record.getX509Ptr() != nullptr ? &m_record : nullptr;
}

} // namespace vantrel
