// SPDX-License-Identifier: MIT
#include "foundation/x509/name_text.h"

#include "foundation/asn1/der_reader.h"
#include "foundation/x509/attribute_types.h"
#include "foundation/x509/name_reader.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace vantrel::x509 {

namespace {

constexpr char kHexDigits[] = "0123456789abcdef";

int hexDigit(char c) noexcept {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char folded = foldAscii(c);
    return folded >= 'a' && folded <= 'f' ? folded - 'a' + 10 : -1;
}

bool isLabelChar(char c) noexcept {
    const char folded = foldAscii(c);
    return (folded >= 'a' && folded <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.' ||
           c == '_';
}

// RFC 4514 2.4: what is escaped wherever it stands.
constexpr bool isEscaped(char c) noexcept {
    return c == '"' || c == '+' || c == ',' || c == ';' || c == '<' || c == '>' || c == '\\';
}

// What may stand in a text as it stands in the value: printable ASCII that is not escaped.
constexpr std::array<bool, 256> kPlainLetters = [] {
    std::array<bool, 256> table{};
    for (std::size_t i = ' '; i < 0x7F; ++i) {
        table[i] = !isEscaped(static_cast<char>(i));
    }
    return table;
}();

class NameParser {
public:
    explicit NameParser(std::string_view dn) noexcept : m_dn(dn) {}

    bool run(std::vector<TextAttribute>& out) {
        m_pos = skipSpaces(0);
        if (m_pos < m_dn.size() && m_dn[m_pos] == '/' && startsAttribute(m_pos + 1)) {
            m_slashes = true;
            ++m_pos;
        }
        bool startsComponent = true;
        while (m_pos < m_dn.size()) {
            if (!startsAttribute(m_pos)) {
                return false;
            }
            TextAttribute attribute;
            attribute.startsComponent = startsComponent;
            attribute.label = takeLabel();
            takeValue(attribute.value);
            out.push_back(std::move(attribute));
            startsComponent = m_pos < m_dn.size() && m_dn[m_pos] != '+';
            m_pos = skipSpaces(m_pos + 1);
        }
        return true;
    }

private:
    std::size_t skipSpaces(std::size_t pos) const noexcept {
        while (pos < m_dn.size() && isNameSpace(m_dn[pos])) {
            ++pos;
        }
        return std::min(pos, m_dn.size());
    }

    // Whether a label and "=" stand at `pos`, white space around them allowed.
    bool startsAttribute(std::size_t pos) const noexcept {
        const std::size_t start = skipSpaces(pos);
        std::size_t end = start;
        while (end < m_dn.size() && isLabelChar(m_dn[end])) {
            ++end;
        }
        const std::size_t after = skipSpaces(end);
        return end != start && after < m_dn.size() && m_dn[after] == '=';
    }

    std::string_view takeLabel() noexcept {
        const std::size_t start = skipSpaces(m_pos);
        std::size_t end = start;
        while (isLabelChar(m_dn[end])) {
            ++end;
        }
        m_pos = skipSpaces(skipSpaces(end) + 1);
        return m_dn.substr(start, end - start);
    }

    // A separator ends a value only where another attribute (or nothing) follows.
    bool endsValue(std::size_t pos) const noexcept {
        const char c = m_dn[pos];
        const bool separator = m_slashes ? c == '/' || c == '+' : c == ',' || c == ';' || c == '+';
        return separator && (startsAttribute(pos + 1) || skipSpaces(pos + 1) == m_dn.size());
    }

    void takeValue(std::string& value) {
        if (m_pos < m_dn.size() && m_dn[m_pos] == '"') {
            takeQuoted(value);
        }
        std::size_t significant = value.size(); // unescaped white space at the end does not count
        const std::size_t start = m_pos;
        while (m_pos < m_dn.size() && !endsValue(m_pos)) {
            const char c = m_dn[m_pos];
            if (c == '\\') {
                takeEscape(value);
                significant = value.size();
                continue;
            }
            value.push_back(c);
            ++m_pos;
            if (!isNameSpace(c)) {
                significant = value.size();
            }
        }
        value.resize(significant);
        std::string decoded;
        if (m_dn.substr(start, 1) == "#" && appendDecodedHexValue(value, decoded)) {
            value = std::move(decoded);
        }
    }

    // "value", RFC 1779 and RFC 2253 4.
    void takeQuoted(std::string& value) {
        ++m_pos;
        while (m_pos < m_dn.size()) {
            const char c = m_dn[m_pos];
            if (c == '"') {
                ++m_pos;
                return;
            }
            if (c == '\\') {
                takeEscape(value);
            } else {
                value.push_back(c);
                ++m_pos;
            }
        }
    }

    // RFC 4514 3: pair = ESC ( ESC / special / hexpair )
    void takeEscape(std::string& value) {
        const std::string_view rest = m_dn.substr(m_pos + 1);
        char byte = 0;
        if (decodeHexPair(rest, byte)) {
            value.push_back(byte);
            m_pos += 3;
        } else if (!rest.empty()) {
            value.push_back(rest[0]);
            m_pos += 2;
        } else {
            ++m_pos;
        }
    }

    std::string_view m_dn;
    std::size_t m_pos = 0;
    bool m_slashes = false;
};

} // namespace

bool parseNameText(std::string_view dn, std::vector<TextAttribute>& out) {
    out.clear();
    return NameParser(dn).run(out);
}

void appendEscapedValue(std::string_view value, std::string& out) {
    std::size_t plain = 0; // from here on nothing has been appended
    for (std::size_t i = 0; i < value.size(); ++i) {
        const char c = value[i];
        const bool atEnds = i == 0 || i + 1 == value.size();
        if (c == '\0') {
            out.append(value.substr(plain, i - plain)).append("\\00");
            plain = i + 1;
        } else if (isEscaped(c) || (c == ' ' && atEnds) || (c == '#' && i == 0)) {
            out.append(value.substr(plain, i - plain)).push_back('\\');
            plain = i;
        }
    }
    out.append(value.substr(plain));
}

bool isPlainValue(std::string_view value) noexcept {
    if (value.starts_with(' ') || value.starts_with('#') || value.ends_with(' ')) {
        return false;
    }
    bool plain = true; // without a branch for each: names are short
    for (const char c : value) {
        plain = plain && kPlainLetters[static_cast<unsigned char>(c)];
    }
    return plain;
}

void appendHexValue(ByteView der, std::string& out) {
    out.push_back('#');
    for (const std::uint8_t byte : der) {
        out.push_back(kHexDigits[byte >> 4U]);
        out.push_back(kHexDigits[byte & 0x0FU]);
    }
}

bool decodeHexPair(std::string_view text, char& byte) noexcept {
    const int high = text.size() >= 2 ? hexDigit(text[0]) : -1;
    const int low = high >= 0 ? hexDigit(text[1]) : -1;
    if (low < 0) {
        return false;
    }
    byte = static_cast<char>(high * 16 + low);
    return true;
}

bool appendDecodedHexValue(std::string_view value, std::string& out) {
    if (value.size() < 5 || value[0] != '#' || value.size() % 2 == 0) {
        return false;
    }
    std::vector<std::uint8_t> bytes;
    bytes.reserve(value.size() / 2);
    for (std::size_t i = 1; i < value.size(); i += 2) {
        char byte = 0;
        if (!decodeHexPair(value.substr(i), byte)) {
            return false;
        }
        bytes.push_back(static_cast<std::uint8_t>(byte));
    }
    asn1::DerReader reader{ByteView(bytes)};
    asn1::DerElement element;
    return reader.readAny(element) && reader.atEnd() &&
           appendStringValue(element.tag, element.contents, out);
}

void appendFoldedValue(std::string_view value, std::string& out) {
    const std::size_t before = out.size();
    std::size_t at = before;
    bool pendingBlank = false;
    out.resize(before + value.size());
    for (const char c : value) {
        if (isNameSpace(c)) {
            pendingBlank = at != before;
            continue;
        }
        if (pendingBlank) {
            out[at++] = ' ';
            pendingBlank = false;
        }
        out[at++] = foldAscii(c);
    }
    out.resize(at);
}

} // namespace vantrel::x509
