// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_SYSTEMCERTS_H
#define FOUNDATION_X509_SYSTEMCERTS_H

#include "foundation/text/VantrelObject.h"
#include "foundation/text/byte_view.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace vantrel {

class CertMgr;
class CertRecord;
class CertTable;
class LogBase;
class StringBuffer;
class VantrelX509;
class XString;

// The certificates a verifier may look up: any number of vaults, shared with whoever filled them,
// so a certificate added to a vault later is found too. Look-ups are hashed; what they return
// belongs to the store and lives as long as it. Nothing found is null, without a log line. Of
// several matches the one added first wins. Vaults may be shared between threads.
class SystemCerts final : public VantrelObject {
public:
    SystemCerts() noexcept;
    SystemCerts(const SystemCerts&) = delete;
    SystemCerts& operator=(const SystemCerts&) = delete;
    ~SystemCerts() override;

    // Makes the certificates of a vault searchable here. Adding a vault twice changes nothing.
    bool addCertVault(CertMgr& vault, LogBase& log);

    // The certificate with this serial number (hexadecimal, as VantrelX509::get_SerialNumber gives
    // it) and this common name of its issuer. An exact match of the name goes before one that
    // differs in letter case or white space. `reserved` is null.
    [[nodiscard]] VantrelX509* findX509(const char* serialHex, const char* issuerCn,
                                        const char* reserved, LogBase& log);
    // The certificate with this subject. The name may be written in either component order and any
    // spelling, also split and reversed at commas without regard to escapes. `values`, the same
    // name without labels, is consulted for nothing; `ignoreOrder` false insists on the order of
    // RFC 4514.
    [[nodiscard]] VantrelX509* findBySubjectDN_x509(const XString& values, const XString& dn,
                                                    bool ignoreOrder, LogBase& log);
    // The certificate with this subject key identifier, in base64: that of its extension, or the
    // SHA-1 of its public key (RFC 5280 4.2.1.2 method 1).
    [[nodiscard]] CertRecord* findBySubjectKeyId(const StringBuffer& base64, LogBase& log);

    // The certificate whose DER has this digest (a thumbprint), of any algorithm (hash_ids.h).
    [[nodiscard]] VantrelX509* findByDigest(int hashId, ByteView digest);

    // Whether one of the vaults has this very certificate (DER).
    [[nodiscard]] bool holds(ByteView der);

    // The certificates of all vaults by number, the vaults one behind the other; null past the
    // last.
    [[nodiscard]] const VantrelX509* certificateAt(std::size_t index);

    [[nodiscard]] std::uint32_t numVaults() const noexcept {
        return static_cast<std::uint32_t>(m_tables.size());
    }

private:
    std::vector<std::shared_ptr<CertTable>> m_tables;
};

// Base of an object that owns a certificate store.
class SystemCertsHolder {
public:
    SystemCertsHolder();
    SystemCertsHolder(const SystemCertsHolder&) = delete;
    SystemCertsHolder& operator=(const SystemCertsHolder&) = delete;
    virtual ~SystemCertsHolder();

    // Null when the store could not be made or was dropped.
    [[nodiscard]] SystemCerts* getSystemCertsPtr() const noexcept { return m_systemCerts.get(); }
    void dropSystemCerts() noexcept { m_systemCerts.reset(); }

private:
    std::unique_ptr<SystemCerts> m_systemCerts;
};

} // namespace vantrel

#endif
