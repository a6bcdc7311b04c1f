// SPDX-License-Identifier: MIT
#include "dsig/document/certificate_texts.h"

#include "dsig/document/fingerprint.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/XString.h"
#include "foundation/text/utf8.h"
#include "foundation/x509/VantrelX509.h"

namespace vantrel::dsig {

void CertificateTexts::make(const VantrelX509& certificate) {
    if (m_made) {
        return;
    }
    // A certificate that is not loaded has no names; what there would be to say about it was logged
    // when it was decoded.
    LogNull log;
    XString text;
    certificate.getDN(true, true, text, log, 0);
    m_subject = shownText(text.getUtf8Sb().view());
    certificate.getDN(false, true, text, log, 0);
    m_issuer = shownText(text.getUtf8Sb().view());
    certificate.get_SerialNumber(text, log);
    text.getUtf8Sb_rw().toLowerCase();
    m_serial = shownText(text.getUtf8Sb().view());
    m_sha256 = sha256Text(certificate.certificate());
    m_spkiSha256 = sha256Text(certificate.publicKeyInfo());
    m_made = true;
}

std::string shownText(std::string_view text, std::size_t most) {
    if (text.size() <= most) {
        return std::string(text);
    }
    constexpr std::size_t kLongestCharacter = 4;
    std::string_view shown = text.substr(0, most);
    const std::size_t whole = text::validUtf8Prefix(shown);
    // Only a character that the cut divides is dropped. Where the well-formed part ends earlier,
    // the text holds bytes that are no UTF-8, and is shown with them.
    if (shown.size() - whole < kLongestCharacter) {
        shown = shown.substr(0, whole);
    }
    return std::string(shown) + "...";
}

} // namespace vantrel::dsig
