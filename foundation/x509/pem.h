// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_PEM_H
#define FOUNDATION_X509_PEM_H

#include <cstddef>
#include <string_view>

namespace vantrel::x509 {

// One block of a PEM text (RFC 7468): the label of its BEGIN line and the lines up to the END line
// with the same label.
struct PemBlock {
    std::string_view label;
    std::string_view base64;
};

// A forward cursor over the blocks of a text. Text around the blocks is passed over, and so is a
// block without its END line. Linear in the text.
class PemReader {
public:
    explicit PemReader(std::string_view text) noexcept : m_text(text) {}

    [[nodiscard]] bool next(PemBlock& block) noexcept;

private:
    std::string_view m_text;
    std::size_t m_pos = 0;
};

// "CERTIFICATE" and the two labels that older programs write.
[[nodiscard]] bool isCertificateLabel(std::string_view label) noexcept;

} // namespace vantrel::x509

#endif
