// SPDX-License-Identifier: MIT
#include "foundation/xml/tree/tag_pattern.h"

#include "foundation/text/strings.h"
#include "foundation/xml/scan/name_scan.h"

namespace vantrel::xml {

bool NamePattern::matchesAt(std::string_view text, std::uint32_t at) const noexcept {
    const ScannedName name = scanName(text.data(), at, static_cast<std::uint32_t>(text.size()));
    const std::uint32_t skipped = m_anyPrefix && name.prefixLength != 0 ? name.prefixLength + 1 : 0;
    // The lengths tell most names apart.
    return std::string_view(text.data() + at + skipped, name.length - skipped) == m_name;
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
