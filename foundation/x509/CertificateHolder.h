// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_CERTIFICATEHOLDER_H
#define FOUNDATION_X509_CERTIFICATEHOLDER_H

#include "foundation/text/VantrelObject.h"
#include "foundation/x509/VantrelX509.h"

#include <cstdint>

namespace vantrel {

class LogBase;
class SystemCerts;

// A certificate as a store keeps it. Records belong to their store or holder.
class CertRecord final : public VantrelObject {
public:
    CertRecord() noexcept = default;

    // Null when the record holds no certificate.
    [[nodiscard]] VantrelX509* getX509Ptr() noexcept {
        return m_holder.getX509Ptr()->isLoaded() ? m_holder.getX509Ptr() : nullptr;
    }
    VantrelX509Holder m_holder;
};

// A certificate created from base64 text; the caller deletes it.
class CertificateHolder final : public VantrelObject {
public:
    // Null when the text is not base64 or not a certificate. The store, which may be null, is
    // neither searched nor changed.
    [[nodiscard]] static CertificateHolder* createFromBase64(const char* text, std::uint32_t length,
                                                             SystemCerts* store, LogBase& log);
    CertificateHolder(const CertificateHolder&) = delete;
    CertificateHolder& operator=(const CertificateHolder&) = delete;

    // The record, which the holder keeps.
    [[nodiscard]] CertRecord* getCertPtr(LogBase& log) noexcept;

private:
    CertificateHolder() noexcept = default;

    CertRecord m_record;
};

} // namespace vantrel

#endif
