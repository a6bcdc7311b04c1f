// SPDX-License-Identifier: MIT
#ifndef API_CERTIFICATE_H
#define API_CERTIFICATE_H

#include "api/result.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace vantrel {

class ClsXmlCertVault;

/// One certificate (RFC 5280), as it says of itself: nothing is checked of it. A constant value:
/// copies share what they hold, and may be used by several threads.
class Certificate final {
public:
    /// From DER, PEM or base64 of DER; of several PEM blocks the first certificate counts. The
    /// error says what else the bytes are.
    [[nodiscard]] static Result<Certificate> fromBytes(std::string_view bytes);
    [[nodiscard]] static Result<Certificate> fromFile(const std::string& path);

    /// Names as RFC 4514 writes them; the serial number in lower-case hexadecimal. Very long ones
    /// are cut.
    [[nodiscard]] const std::string& subject() const noexcept { return m_data->subject; }
    [[nodiscard]] const std::string& issuer() const noexcept { return m_data->issuer; }
    [[nodiscard]] const std::string& serial() const noexcept { return m_data->serial; }
    /// Lower-case hexadecimal SHA-256 of the certificate, and of its SubjectPublicKeyInfo.
    [[nodiscard]] const std::string& sha256() const noexcept { return m_data->sha256; }
    [[nodiscard]] const std::string& spkiSha256() const noexcept { return m_data->spkiSha256; }
    [[nodiscard]] std::string_view der() const noexcept { return m_data->der; }
    [[nodiscard]] std::string pem() const;

private:
    struct Data {
        std::string der;
        std::string subject;
        std::string issuer;
        std::string serial;
        std::string sha256;
        std::string spkiSha256;
    };

    explicit Certificate(std::shared_ptr<const Data> data) noexcept : m_data(std::move(data)) {}
    [[nodiscard]] static Result<Certificate> fromDer(std::string_view der);

    std::shared_ptr<const Data> m_data; // never null
};

/// Certificates that verifications may look up by what `KeyInfo` names. That one is here makes it
/// known, not trusted. A handle: copies mean the same certificates, which verifiers in several
/// threads may use while more are added.
class CertificateStore final {
public:
    CertificateStore() noexcept;

    /// False, with the store unchanged, when it cannot be added.
    [[nodiscard]] bool add(const Certificate& certificate, std::string& error);
    /// All certificates of a PEM text; one as DER or base64 of DER.
    [[nodiscard]] bool addBytes(std::string_view bytes, std::string& error);
    /// All certificates of a PEM or DER file; of a folder, of all its files that hold any.
    [[nodiscard]] bool addFile(const std::string& path, std::string& error);
    /// The number of certificates held.
    [[nodiscard]] std::size_t size() const;

    /// The store as the contract class takes it; null while it is empty.
    [[nodiscard]] ClsXmlCertVault* vault() const noexcept { return m_vault.get(); }

private:
    [[nodiscard]] ClsXmlCertVault& made(); // at first need

    std::shared_ptr<ClsXmlCertVault> m_vault;
};

} // namespace vantrel

#endif
