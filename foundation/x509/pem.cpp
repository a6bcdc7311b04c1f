// SPDX-License-Identifier: MIT
#include "foundation/x509/pem.h"

namespace vantrel::x509 {

namespace {

constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kEnd = "-----END ";
constexpr std::string_view kDashes = "-----";

} // namespace

bool PemReader::next(PemBlock& block) noexcept {
    while (true) {
        const std::size_t begin = m_text.find(kBegin, m_pos);
        if (begin == std::string_view::npos) {
            m_pos = m_text.size();
            return false;
        }
        const std::size_t labelStart = begin + kBegin.size();
        const std::size_t labelEnd = m_text.find(kDashes, labelStart);
        if (labelEnd == std::string_view::npos) {
            m_pos = m_text.size();
            return false;
        }
        const std::string_view label = m_text.substr(labelStart, labelEnd - labelStart);
        const std::size_t body = labelEnd + kDashes.size();
        // Base64 has no dashes: the next ones must be the END line of this block.
        const std::size_t dashes = m_text.find(kDashes, body);
        if (dashes == std::string_view::npos) {
            m_pos = m_text.size();
            return false;
        }
        m_pos = dashes;
        const std::string_view tail = m_text.substr(dashes);
        if (tail.substr(0, kEnd.size()) == kEnd &&
            tail.substr(kEnd.size(), label.size()) == label &&
            tail.substr(kEnd.size() + label.size(), kDashes.size()) == kDashes) {
            block.label = label;
            block.base64 = m_text.substr(body, dashes - body);
            m_pos = dashes + kEnd.size() + label.size() + kDashes.size();
            return true;
        }
    }
}

bool isCertificateLabel(std::string_view label) noexcept {
    return label == "CERTIFICATE" || label == "X509 CERTIFICATE" || label == "TRUSTED CERTIFICATE";
}

} // namespace vantrel::x509
