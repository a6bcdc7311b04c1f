#include "foundation/xml/scan/references.h"

#include "foundation/xml/scan/char_class.h"

#include <algorithm>

namespace vantrel::xml {
namespace {

constexpr ReferenceForm kMalformed{ReferenceKind::Malformed, 0, 0};

struct PredefinedEntity {
    std::string_view text; // behind the '&'
    char32_t value;
};

constexpr PredefinedEntity kPredefined[] = {
    {"lt;", '<'}, {"gt;", '>'}, {"amp;", '&'}, {"quot;", '"'}, {"apos;", '\''},
};

unsigned digitValue(char c) noexcept {
    if (c >= '0' && c <= '9') {
        return static_cast<unsigned>(c - '0');
    }
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? static_cast<unsigned>(lower - 'a') + 10 : 99;
}

// [66] CharRef, `text` beginning with "&#".
ReferenceForm matchCharacterReference(std::string_view text) noexcept {
    const bool hexadecimal = text.size() > 2 && text[2] == 'x';
    const unsigned base = hexadecimal ? 16 : 10;
    const std::size_t digits = hexadecimal ? 3 : 2;
    std::uint32_t value = 0;
    std::size_t at = digits;
    for (; at < text.size() && digitValue(text[at]) < base; ++at) {
        value = std::min<std::uint32_t>(value * base + digitValue(text[at]), 0x110000);
    }
    if (at == digits || at >= text.size() || text[at] != ';') {
        return kMalformed;
    }
    return {isXmlChar(value) ? ReferenceKind::Character : ReferenceKind::BadCharacter,
            static_cast<std::uint32_t>(at + 1), value};
}

// A forward reader over the pseudo-attributes of the XML declaration.
class DeclarationReader final {
public:
    explicit DeclarationReader(std::string_view text) noexcept : m_text(text), m_at(5) {}

    // Skips white space; false when there is none.
    bool space() noexcept {
        const std::size_t start = m_at;
        while (m_at < m_text.size() && isSpace(m_text[m_at])) {
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
           std::all_of(value.begin() + 2, value.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// [81] EncName
bool isEncodingName(std::string_view value) noexcept {
    const auto letter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    return !value.empty() && letter(value[0]) &&
           std::all_of(value.begin(), value.end(), [&](char c) {
               return letter(c) || (c >= '0' && c <= '9') || c == '.' || c == '_' || c == '-';
           });
}

} // namespace

ReferenceForm matchReference(std::string_view text) noexcept {
    if (text.size() > 1 && text[1] == '#') {
        return matchCharacterReference(text);
    }
    for (const PredefinedEntity& entity : kPredefined) {
        if (text.compare(1, entity.text.size(), entity.text) == 0) {
            return {ReferenceKind::Predefined, static_cast<std::uint32_t>(entity.text.size() + 1),
                    entity.value};
        }
    }
    const std::size_t name = matchName(text.substr(1));
    if (name == 0 || name + 1 >= text.size() || text[name + 1] != ';') {
        return kMalformed;
    }
    return {ReferenceKind::Entity, static_cast<std::uint32_t>(name + 2), 0};
}

std::size_t matchComment(std::string_view text) noexcept {
    if (!text.starts_with("<!--")) {
        return 0;
    }
    const std::size_t dashes = text.find("--", 4);
    return dashes != text.npos && text.substr(dashes + 2).starts_with('>') ? dashes + 3 : 0;
}

std::size_t matchProcessingInstruction(std::string_view text, std::string_view& target) noexcept {
    if (!text.starts_with("<?")) {
        return 0;
    }
    const std::size_t name = matchName(text.substr(2));
    target = text.substr(2, name);
    const std::size_t behind = 2 + name;
    if (name == 0 || target.find(':') != target.npos || behind >= text.size()) {
        return 0;
    }
    if (!isSpace(text[behind])) {
        return text.substr(behind).starts_with("?>") ? behind + 2 : 0;
    }
    const std::size_t end = text.find("?>", behind);
    return end == text.npos ? 0 : end + 2;
}

std::size_t readXmlDeclaration(std::string_view text, XmlDeclaration& declaration) noexcept {
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

} // namespace vantrel::xml
