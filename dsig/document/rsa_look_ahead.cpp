// SPDX-License-Identifier: MIT
#include "dsig/document/rsa_look_ahead.h"

#include "foundation/text/DataBuffer.h"
#include "foundation/text/encoders.h"
#include "foundation/xml/tree/element_text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <string_view>

namespace vantrel::dsig {

namespace {

// Fewer values than that take as long together as one by one.
constexpr std::size_t kFewest = 6;

} // namespace

bool RsaLookAhead::isInRow(int index, const RsaKeyData& key) const noexcept {
    return index > m_last && m_modulus == asText(key.modulus());
}

void RsaLookAhead::putOff() noexcept {
    m_neededRow = std::min(2 * m_neededRow, kMostRow);
    m_row = 0;
}

// Whether the values held were worth it shows when others take their place.
void RsaLookAhead::settle() noexcept {
    if (m_settled) {
        return;
    }
    m_settled = true;
    if (m_used >= kFewest) {
        m_neededRow = std::max(m_neededRow / 2, kLeastRow);
    } else {
        putOff();
    }
}

ByteView RsaLookAhead::before(const xml::XmlDocument& document, int index, const RsaKeyData& key,
                              ByteView value) {
    const ByteView block = m_recovered.find(key, value);
    if (!block.empty()) {
        ++m_hits;
        ++m_used;
        return block;
    }
    if (!isInRow(index, key) || m_row < m_neededRow || !key.isFasterTogether()) {
        return {};
    }
    settle();
    if (m_row < m_neededRow) {
        return {};
    }
    recover(document, index, key, value);
    return m_recovered.find(key, value);
}

// Equal texts are decoded to equal octets, wherever they stand.
ByteView RsaLookAhead::decoded(std::string_view text) const noexcept {
    const auto found = std::ranges::find(m_texts, text);
    if (found == m_texts.end()) {
        return {};
    }
    const std::size_t size = m_values.getSize() / m_texts.size();
    return m_values.view().subspan(static_cast<std::size_t>(found - m_texts.begin()) * size, size);
}

// The value of a signature where it has the size wanted and stands as plain text in a
// SignatureValue of no more than a usual length; others wait for their turn. XML Signature, 4.3.
void RsaLookAhead::readValue(const xml::XmlDocument& document, xml::ElementId signature,
                             std::size_t size) {
    const xml::ElementId element = document.firstChildNamed(signature, "SignatureValue");
    std::string_view text;
    if (element == xml::kNoElement ||
        document.element(element).end - document.element(element).start > 2 * size + 256 ||
        !xml::plainElementContent(document, element, text)) {
        return;
    }
    const std::uint32_t before = m_values.getSize();
    if (text::decodeBase64(text, m_values) && m_values.getSize() - before == size) {
        m_texts.push_back(text);
    } else {
        static_cast<void>(m_values.resize(before));
    }
}

void RsaLookAhead::recover(const xml::XmlDocument& document, int index, const RsaKeyData& key,
                           ByteView value) {
    const std::span<const xml::SignatureElement> signatures = document.signatures();
    const std::size_t size = key.sizeInBytes();
    const std::size_t first = static_cast<std::size_t>(index) + 1;
    const std::size_t end = std::min(signatures.size(), first + kRsaValuesAtOnce - 1);
    m_texts.clear();
    m_texts.reserve(kRsaValuesAtOnce); // the two stay in step
    m_values.clear();
    for (std::size_t i = first; i < end; ++i) {
        readValue(document, signatures[i].element, size);
    }
    std::array<ByteView, kRsaValuesAtOnce> values = {value};
    std::size_t count = 1;
    for (std::size_t at = 0; at < m_values.getSize(); at += size) {
        values[count++] = m_values.view().subspan(at, size);
    }
    if (count < kFewest) {
        putOff();
        return;
    }
    m_recovered.recover(key, std::span(values).first(count));
    m_workedOut += count;
    m_used = 1; // the one that is asked for
    m_settled = false;
}

// A document with few signatures has nothing to gain.
void RsaLookAhead::noteVerified(const xml::XmlDocument& document, int index,
                                const RsaKeyData& key) {
    if (document.signatures().size() < kLeastRow + kFewest) {
        return;
    }
    if (isInRow(index, key)) {
        ++m_row;
    } else if (index != m_last || m_modulus != asText(key.modulus())) {
        m_modulus = asText(key.modulus());
        m_row = 1;
    }
    m_last = index;
}

} // namespace vantrel::dsig
