// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_CLSXMLCERTVAULT_H
#define FOUNDATION_X509_CLSXMLCERTVAULT_H

#include "foundation/base/ClsBase.h"
#include "foundation/x509/CertMgr.h"

#include <cstdint>

namespace vantrel {

class ClsBinData;
class DataBuffer;
class XString;

/// A collection of certificates that an application fills and hands to a verifier
/// (`ClsXmlDSig::UseCertVault`). Verifiers share the collection: it may be filled further
/// afterwards, and it may be destroyed before them. The adding operations return false, with the
/// reason in the last-error text, when they added no certificate.
class ClsXmlCertVault final : public ClsBase {
public:
    /// A new, empty vault, or null when memory runs out. The caller deletes it.
    [[nodiscard]] static ClsXmlCertVault* createNewCls();

    ClsXmlCertVault();
    ~ClsXmlCertVault() override;

    /// One certificate in DER.
    bool AddCertDer(const ClsBinData& der);
    /// One certificate as base64 of its DER.
    bool AddCertEncoded(const XString& base64);
    /// All certificates of a PEM text.
    bool AddCertPem(const XString& pem);
    /// All certificates of a file: PEM (any number) or DER.
    bool AddCertFile(const XString& path);
    /// All certificates of the regular files of a directory (its subdirectories are not entered).
    /// Files that hold no certificate are passed over.
    bool AddCertDirectory(const XString& path);

    /// The number of certificates held.
    [[nodiscard]] std::uint32_t get_NumCerts();

    [[nodiscard]] CertMgr* getCertMgr() noexcept {
        return m_manager.table() ? &m_manager : nullptr;
    }

private:
    CertMgr m_manager;
};

} // namespace vantrel

#endif
