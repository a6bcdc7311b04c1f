// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_CERTMGR_H
#define FOUNDATION_X509_CERTMGR_H

#include "foundation/text/VantrelObject.h"
#include "foundation/text/byte_view.h"

#include <cstdint>
#include <memory>
#include <string_view>

namespace vantrel {

class CertTable;
class DataBuffer;
class LogBase;
class VantrelX509;

// The certificate manager behind a ClsXmlCertVault: a table of certificates that stores share.
class CertMgr final : public VantrelObject {
public:
    CertMgr();
    CertMgr(const CertMgr&) = delete;
    CertMgr& operator=(const CertMgr&) = delete;
    ~CertMgr() override;

    // Each returns false, with one error line, when it added nothing.
    bool addDer(const DataBuffer& der, LogBase& log);
    bool addBase64(std::string_view base64, LogBase& log);
    // Every CERTIFICATE block of the text. A block that is no certificate is passed over; `added`
    // counts the others.
    bool addPem(std::string_view pem, std::uint32_t& added, LogBase& log);
    // PEM when the bytes hold a PEM certificate, else DER, else base64.
    bool addAny(ByteView bytes, std::uint32_t& added, LogBase& log);

    [[nodiscard]] std::uint32_t numCerts() const;
    // Null when out of range. Belongs to the table and is never moved or removed.
    [[nodiscard]] VantrelX509* certAt(std::uint32_t index) const;

    // Null only when memory ran out in the constructor.
    [[nodiscard]] const std::shared_ptr<CertTable>& table() const noexcept { return m_table; }

private:
    std::shared_ptr<CertTable> m_table;
};

} // namespace vantrel

#endif
