// SPDX-License-Identifier: MIT
#include "dsig/document/decoded_certificate.h"

namespace vantrel::dsig {

namespace {

constexpr std::size_t kMostTexts = 256; // documents with many signatures repeat few certificates
// In bytes of base64; a certificate of this length is far from usual, and the cache is not to hold
// a hostile document once more.
constexpr std::size_t kLongestText = 65'536;
constexpr std::size_t kMostKeys = 8'192; // of some ten kilobytes each

// Back to the state before the key was asked for: the next one who needs it decodes it again.
void dropKey(DecodedCertificate& entry) noexcept {
    entry.key.reset();
    entry.keyDecoded = false;
    entry.keyLines.clear();
}

} // namespace

CertificateCache::Entry CertificateCache::findToken(xml::ElementId element, bool asPath) const {
    const auto place = m_tokens.find({element, asPath});
    return place == m_tokens.end() ? nullptr : place->second;
}

CertificateCache::Entry CertificateCache::findText(std::string_view source) const {
    const auto place = m_texts.find(source);
    return place == m_texts.end() ? nullptr : place->second;
}

void CertificateCache::addToken(xml::ElementId element, bool asPath, const Entry& entry) {
    ++m_certificates;
    m_tokens.emplace(std::pair(element, asPath), entry);
}

void CertificateCache::addText(const Entry& entry) {
    ++m_certificates;
    if (entry->source.getSize() > kLongestText) {
        return;
    }
    // All go at once. Who is displaced matters little, and no order has to be kept up for a case
    // that only odd documents reach.
    if (m_texts.size() >= kMostTexts) {
        m_texts.clear();
    }
    // The view stays good: the entry owns its text, and nobody changes it from here on.
    m_texts.emplace(entry->source.view(), entry);
}

void CertificateCache::keepKey(const Entry& entry) {
    ++m_keys;
    m_withKey.push_back(entry);
    if (m_withKey.size() > kMostKeys) {
        // Signatures that still use the key hold a reference of their own to it.
        dropKey(*m_withKey.front());
        m_withKey.pop_front();
    }
}

void CertificateCache::forgetKeys() noexcept {
    for (const Entry& entry : m_withKey) {
        dropKey(*entry);
    }
    m_withKey.clear();
}

} // namespace vantrel::dsig
