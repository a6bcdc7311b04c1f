// SPDX-License-Identifier: MIT
#include "foundation/x509/SystemCerts.h"

#include "foundation/text/DataBuffer.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/XString.h"
#include "foundation/text/encoders.h"
#include "foundation/text/no_throw.h"
#include "foundation/x509/CertMgr.h"
#include "foundation/x509/cert_table.h"
#include "foundation/x509/serial_number.h"

#include <algorithm>
#include <new>
#include <string>

namespace vantrel {

namespace {

// The first exact match of all vaults, or else the first match.
template <class Find>
CertRecord* findInAll(const std::vector<std::shared_ptr<CertTable>>& tables, Find find) {
    CertRecord* found = nullptr;
    for (const std::shared_ptr<CertTable>& table : tables) {
        const CertTable::Match match = find(*table);
        if (match.exact) {
            return match.record;
        }
        if (found == nullptr) {
            found = match.record;
        }
    }
    return found;
}

VantrelX509* certificateOf(CertRecord* record) noexcept {
    return record != nullptr ? record->getX509Ptr() : nullptr;
}

} // namespace

SystemCerts::SystemCerts() noexcept = default;
SystemCerts::~SystemCerts() = default;

bool SystemCerts::addCertVault(CertMgr& vault, LogBase& log) {
    return text::noThrow(false, [&] {
        if (!vault.table()) {
            return false;
        }
        // The table is shared, not copied: what is added to the vault later is found as well.
        if (std::find(m_tables.begin(), m_tables.end(), vault.table()) == m_tables.end()) {
            m_tables.push_back(vault.table());
        }
        log.LogDataUint32("numVaultCerts", vault.numCerts());
        return true;
    });
}

VantrelX509* SystemCerts::findX509(const char* serialHex, const char* issuerCn,
                                   const char* /*reserved*/, LogBase& /*log*/) {
    return text::noThrow(static_cast<VantrelX509*>(nullptr), [&]() -> VantrelX509* {
        std::string serial;
        if (serialHex == nullptr || issuerCn == nullptr ||
            !x509::appendSerialText(std::string_view(serialHex), serial)) {
            return nullptr;
        }
        return certificateOf(findInAll(m_tables, [&](CertTable& table) {
            return table.findByIssuerSerial(issuerCn, serial);
        }));
    });
}

VantrelX509* SystemCerts::findBySubjectDN_x509(const XString& /*values*/, const XString& dn,
                                               bool ignoreOrder, LogBase& /*log*/) {
    return text::noThrow(static_cast<VantrelX509*>(nullptr), [&] {
        return certificateOf(findInAll(m_tables, [&](CertTable& table) {
            return table.findBySubject(dn.getUtf8Sb().view(), ignoreOrder);
        }));
    });
}

CertRecord* SystemCerts::findBySubjectKeyId(const StringBuffer& base64, LogBase& /*log*/) {
    return text::noThrow(static_cast<CertRecord*>(nullptr), [&]() -> CertRecord* {
        DataBuffer keyId;
        if (!text::decodeBase64(base64.view(), keyId) || keyId.isEmpty()) {
            return nullptr;
        }
        return findInAll(m_tables,
                         [&](CertTable& table) { return table.findByKeyId(keyId.view()); });
    });
}

VantrelX509* SystemCerts::findByDigest(int hashId, ByteView digest) {
    return text::noThrow(static_cast<VantrelX509*>(nullptr), [&] {
        return certificateOf(findInAll(
            m_tables, [&](CertTable& table) { return table.findByDigest(hashId, digest); }));
    });
}

bool SystemCerts::holds(ByteView der) {
    return text::noThrow(false, [&] {
        return std::any_of(m_tables.begin(), m_tables.end(),
                           [&](const auto& table) { return table->holds(der); });
    });
}

const VantrelX509* SystemCerts::certificateAt(std::size_t index) {
    for (const std::shared_ptr<CertTable>& table : m_tables) {
        if (index < table->size()) {
            return table->at(static_cast<std::uint32_t>(index))->getX509Ptr();
        }
        index -= table->size();
    }
    return nullptr;
}

SystemCertsHolder::SystemCertsHolder() : m_systemCerts(new (std::nothrow) SystemCerts()) {}
SystemCertsHolder::~SystemCertsHolder() = default;

} // namespace vantrel
