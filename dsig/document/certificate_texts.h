// SPDX-License-Identifier: MIT
#ifndef DSIG_DOCUMENT_CERTIFICATE_TEXTS_H
#define DSIG_DOCUMENT_CERTIFICATE_TEXTS_H

#include <cstddef>
#include <string>
#include <string_view>

namespace vantrel {

class VantrelX509;

namespace dsig {

// A longer text of a certificate is shown cut, "..." at its end: a name can be as long as the
// document, and every signature may use it.
inline constexpr std::size_t kMaxShownName = 4096;

// What reports show of a certificate, made when it is first asked for. Shared by all signatures
// that use the certificate.
class CertificateTexts final {
public:
    // Fills the texts; only the first call does anything. Until then all are empty, and a part that
    // the certificate lacks stays empty.
    void make(const VantrelX509& certificate);

    // Distinguished names as one line each, and the serial number in lower-case hexadecimal, each
    // cut as shownText has it.
    [[nodiscard]] const std::string& subject() const noexcept { return m_subject; }
    [[nodiscard]] const std::string& issuer() const noexcept { return m_issuer; }
    [[nodiscard]] const std::string& serial() const noexcept { return m_serial; }
    // Lower-case hexadecimal SHA-256 of the certificate and of its SubjectPublicKeyInfo.
    [[nodiscard]] const std::string& sha256() const noexcept { return m_sha256; }
    [[nodiscard]] const std::string& spkiSha256() const noexcept { return m_spkiSha256; }

private:
    bool m_made = false;
    std::string m_subject;
    std::string m_issuer;
    std::string m_serial;
    std::string m_sha256;
    std::string m_spkiSha256;
};

// The text, cut between two characters when it is longer than `most` bytes.
[[nodiscard]] std::string shownText(std::string_view text, std::size_t most = kMaxShownName);

} // namespace dsig
} // namespace vantrel

#endif
