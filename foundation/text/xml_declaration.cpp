// SPDX-License-Identifier: MIT
#include "foundation/text/xml_declaration.h"

#include "foundation/text/strings.h"

#include <algorithm>

namespace vantrel::text {
namespace {

constexpr std::string_view kBegin = "<?xml";

// A forward reader over the pseudo-attributes of the XML declaration.
class DeclarationReader final {
public:
    explicit DeclarationReader(std::string_view text) noexcept
        : m_text(text), m_at(kBegin.size()) {}

    // Skips white space; false when there is none.
    bool space() noexcept {
        const std::size_t start = m_at;
        while (m_at < m_text.size() && isSpaceAscii(m_text[m_at])) {
            ++m_at;
        }
        return m_at != start;
    }
    bool literal(std::string_view expected) noexcept {
        if (m_text.substr(m_at, expected.size()) != expected) {
            return false;
        }
        m_at += expected.size();
        return true;
    }
    // Eq and a quoted value.
    bool value(std::string_view& out) noexcept {
        space();
        if (!literal("=")) {
            return false;
        }
        space();
        if (m_at >= m_text.size() || (m_text[m_at] != '"' && m_text[m_at] != '\'')) {
            return false;
        }
        const std::size_t end = m_text.find(m_text[m_at], m_at + 1);
        if (end == m_text.npos) {
            return false;
        }
        out = m_text.substr(m_at + 1, end - m_at - 1);
        m_at = end + 1;
        return true;
    }
    [[nodiscard]] std::size_t offset() const noexcept { return m_at; }

private:
    std::string_view m_text;
    std::size_t m_at;
};

bool isVersion(std::string_view value) noexcept {
    return value.size() > 2 && value.starts_with("1.") &&
           std::all_of(value.begin() + 2, value.end(), isDigitAscii);
}

// [81] EncName
bool isEncodingName(std::string_view value) noexcept {
    const auto letter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    return !value.empty() && letter(value[0]) &&
           std::all_of(value.begin(), value.end(), [&](char c) {
               return letter(c) || isDigitAscii(c) || c == '.' || c == '_' || c == '-';
           });
}

} // namespace

bool beginsXmlDeclaration(std::string_view text) noexcept {
    return text.starts_with(kBegin) && text.size() > kBegin.size() &&
           isSpaceAscii(text[kBegin.size()]);
}

std::size_t readXmlDeclaration(std::string_view text, XmlDeclaration& declaration) noexcept {
    declaration = {};
    if (!beginsXmlDeclaration(text)) {
        return 0;
    }
    DeclarationReader reader(text);
    std::string_view value;
    if (!reader.space() || !reader.literal("version") || !reader.value(value) ||
        !isVersion(value)) {
        return 0;
    }
    bool spaced = reader.space();
    if (spaced && reader.literal("encoding")) {
        if (!reader.value(value) || !isEncodingName(value)) {
            return 0;
        }
        declaration.encoding = value;
        spaced = reader.space();
    }
    if (spaced && reader.literal("standalone")) {
        if (!reader.value(value) || (value != "yes" && value != "no")) {
            return 0;
        }
        declaration.standalone = value == "yes";
        reader.space();
    }
    return reader.literal("?>") ? reader.offset() : 0;
}

} // namespace vantrel::text
