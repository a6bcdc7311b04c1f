// SPDX-License-Identifier: MIT
#include "foundation/base/entry_pattern.h"

#include <algorithm>
#include <array>

namespace vantrel {

// In the order of their lines. Those of the text of an entry without a key are found as well.
std::vector<EntryPattern::Stretch> EntryPattern::valuesOf(std::string_view entries) {
    constexpr std::string_view kMark = ": ";
    std::vector<Stretch> values;
    for (std::size_t line = 0; line < entries.size();) {
        const std::size_t end = std::min(entries.find('\n', line), entries.size());
        const std::size_t mark = entries.substr(line, end - line).find(kMark);
        if (mark != std::string_view::npos) {
            const std::size_t start = line + mark + kMark.size();
            values.push_back({start, end - start});
        }
        line = end + 1;
    }
    return values;
}

bool EntryPattern::take(std::string_view entries, std::span<const std::string_view> first,
                        std::span<const std::string_view> last) {
    const std::vector<Stretch> found = valuesOf(entries);
    const std::size_t count = first.size() + last.size();
    m_entries = entries;
    m_between.clear();
    if (count > kMostValues || found.size() < count) {
        return false;
    }
    std::size_t from = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const bool isFirst = i < first.size();
        const Stretch place = isFirst ? found[i] : found[found.size() - count + i];
        const std::string_view value = isFirst ? first[i] : last[i - first.size()];
        if (entries.substr(place.start, place.size) != value) {
            return false;
        }
        m_between.push_back({from, place.start - from});
        from = place.start + place.size;
    }
    m_between.push_back({from, entries.size() - from});
    return true;
}

std::size_t EntryPattern::mostBytes(std::span<const std::string_view> values) const noexcept {
    std::size_t size = m_entries.size();
    for (const std::string_view value : values) {
        size += value.size();
    }
    return size;
}

void EntryPattern::put(std::span<const std::string_view> values, LogBase& log) const {
    std::array<std::string_view, 2 * kMostValues + 1> pieces;
    std::size_t count = 0;
    for (const std::string_view value : values) {
        pieces[count] = between(count / 2);
        pieces[count + 1] = value;
        count += 2;
    }
    pieces[count] = between(count / 2);
    log.putEntries(std::span(pieces).first(count + 1));
}

} // namespace vantrel
