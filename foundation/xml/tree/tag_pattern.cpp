// SPDX-License-Identifier: MIT
#include "foundation/xml/tree/tag_pattern.h"

#include "foundation/text/strings.h"
#include "foundation/xml/scan/char_class.h"

namespace vantrel::xml {

// Most names have no prefix, so they are compared before anything is looked for in them.
bool NamePattern::matchesAt(std::string_view text, std::uint32_t at) const noexcept {
    const std::string_view rest = text.substr(at);
    const auto isWholeFrom = [&](std::size_t start) {
        return rest.size() - start > m_name.size() && rest.substr(start).starts_with(m_name) &&
               !isNameByte(rest[start + m_name.size()]);
    };
    // A local name has no colon, so such a pattern can only be the end of one.
    if (isWholeFrom(0)) {
        return !m_anyPrefix || m_name.find(':') == m_name.npos;
    }
    if (!m_anyPrefix) {
        return false;
    }
    std::size_t end = 0;
    while (isNameByte(rest[end]) && rest[end] != ':') {
        ++end;
    }
    return rest[end] == ':' && isWholeFrom(end + 1);
}

ElementId findChildFrom(const XmlDocument& document, ElementId parent, ElementId from,
                        const NamePattern& pattern) noexcept {
    const std::string_view text = document.text();
    while (from != kNoElement && !pattern.matchesAt(text, document.element(from).start + 1)) {
        from = document.nextChild(parent, from);
    }
    return from;
}

ElementId findNthChild(const XmlDocument& document, ElementId parent, const NamePattern& pattern,
                       std::uint32_t n) noexcept {
    ElementId child = findChildFrom(document, parent, document.firstChild(parent), pattern);
    while (child != kNoElement && n > 0) {
        child = findNextChild(document, parent, child, pattern);
        --n;
    }
    return child;
}

ElementId followPath(const XmlDocument& document, ElementId from, std::string_view path,
                     std::uint32_t index) noexcept {
    constexpr std::string_view kIndexed = "[i]";
    ElementId at = from;
    while (!path.empty() && at != kNoElement) {
        const std::size_t end = path.find('|');
        std::string_view step = path.substr(0, end);
        path = end == path.npos ? std::string_view() : path.substr(end + 1);
        const bool indexed = step.ends_with(kIndexed);
        if (indexed) {
            step.remove_suffix(kIndexed.size());
        }
        at = findNthChild(document, at, NamePattern(step), indexed ? index : 0);
    }
    return at;
}

bool matchesWildcards(std::string_view text, std::string_view pattern, bool ignoreCase) noexcept {
    const auto same = [ignoreCase](char a, char b) {
        return ignoreCase ? text::toLowerAscii(a) == text::toLowerAscii(b) : a == b;
    };
    // Only the last star needs to be tried again: what stood before it matches already.
    std::size_t at = 0;
    std::size_t wanted = 0;
    std::size_t star = pattern.npos;
    std::size_t resume = 0;
    while (at < text.size()) {
        if (wanted < pattern.size() && pattern[wanted] == '*') {
            star = wanted++;
            resume = at;
        } else if (wanted < pattern.size() && same(text[at], pattern[wanted])) {
            ++at;
            ++wanted;
        } else if (star != pattern.npos) {
            wanted = star + 1;
            at = ++resume;
        } else {
            return false;
        }
    }
    while (wanted < pattern.size() && pattern[wanted] == '*') {
        ++wanted;
    }
    return wanted == pattern.size();
}

} // namespace vantrel::xml
