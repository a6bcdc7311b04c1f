// SPDX-License-Identifier: MIT
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

} // namespace

ReferenceForm matchReference(std::string_view text) noexcept {
    if (text.size() > 1 && text[1] == '#') {
        return matchCharacterReference(text);
    }
    for (const PredefinedEntity& entity : kPredefined) {
        if (text.size() > 1 && text[1] == entity.text.front() &&
            text.substr(1).starts_with(entity.text)) {
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

} // namespace vantrel::xml
