// SPDX-License-Identifier: MIT
#include "foundation/x509/CertMgr.h"

#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/encoders.h"
#include "foundation/text/no_throw.h"
#include "foundation/x509/cert_table.h"
#include "foundation/x509/pem.h"

namespace vantrel {

CertMgr::CertMgr()
    : m_table(text::noThrow(std::shared_ptr<CertTable>(),
                            [] { return std::make_shared<CertTable>(); })) {}

CertMgr::~CertMgr() = default;

bool CertMgr::addDer(const DataBuffer& der, LogBase& log) {
    return m_table && text::noThrow(false, [&] { return m_table->add(der, log); });
}

bool CertMgr::addBase64(std::string_view base64, LogBase& log) {
    DataBuffer der;
    if (!text::decodeBase64(base64, der)) {
        log.LogError("The certificate to be added is not base64 text.");
        return false;
    }
    return addDer(der, log);
}

bool CertMgr::addPem(std::string_view pem, std::uint32_t& added, LogBase& log) {
    LogNull discard;
    std::uint32_t passedOver = 0;
    added = 0;
    x509::PemReader reader(pem);
    x509::PemBlock block;
    while (reader.next(block)) {
        DataBuffer der;
        if (!x509::isCertificateLabel(block.label)) {
            continue;
        }
        if (text::decodeBase64(block.base64, der) && addDer(der, discard)) {
            ++added;
        } else {
            ++passedOver;
        }
    }
    if (passedOver != 0) {
        log.LogDataUint32("damagedCertificates", passedOver);
    }
    if (added == 0) {
        log.LogError("The PEM text holds no certificate.");
    }
    return added != 0;
}

bool CertMgr::addAny(ByteView bytes, std::uint32_t& added, LogBase& log) {
    const std::string_view text = asText(bytes);
    const bool isDer = !bytes.empty() && bytes[0] == 0x30;
    if (!isDer && text.find("-----BEGIN ") != std::string_view::npos) {
        return addPem(text, added, log);
    }
    DataBuffer der;
    const bool ok = isDer ? der.append(bytes) && addDer(der, log) : addBase64(text, log);
    added = ok ? 1 : 0;
    return ok;
}

std::uint32_t CertMgr::numCerts() const { return m_table ? m_table->size() : 0; }

VantrelX509* CertMgr::certAt(std::uint32_t index) const {
    CertRecord* const record = m_table ? m_table->at(index) : nullptr;
    return record != nullptr ? record->getX509Ptr() : nullptr;
}

} // namespace vantrel
