// SPDX-License-Identifier: MIT
#include "foundation/xml/canon/view_table.h"

#include "foundation/xml/scan/hash_bytes.h"

#include <cstddef>
#include <cstring>

namespace vantrel::xml {

namespace {

// Prefixes and namespace names are short, and a call to compare them costs more than they do. The
// names of a family differ in their last bytes.
bool isSame(std::string_view a, std::string_view b) noexcept {
    constexpr std::size_t kWord = sizeof(std::uint64_t);
    if (a.size() != b.size()) {
        return false;
    }
    if (a.size() < kWord) {
        std::size_t same = 0;
        while (same < a.size() && a[same] == b[same]) {
            ++same;
        }
        return same == a.size();
    }
    const auto wordAt = [](std::string_view text, std::size_t at) {
        std::uint64_t word = 0;
        std::memcpy(&word, text.data() + at, kWord);
        return word;
    };
    const std::size_t last = a.size() - kWord;
    return wordAt(a, last) == wordAt(b, last) && wordAt(a, 0) == wordAt(b, 0) &&
           (a.size() <= 2 * kWord || a == b);
}

} // namespace

std::uint32_t ViewTable::find(std::string_view text) {
    if (!m_slots.empty()) {
        return findHashed(text);
    }
    for (std::uint32_t number = 1; number < m_views.size(); ++number) {
        if (isSame(m_views[number], text)) {
            return number;
        }
    }
    m_views.push_back(text);
    if (m_views.size() > kFew) {
        index();
    }
    return size() - 1;
}

std::uint32_t ViewTable::findHashed(std::string_view text) {
    std::size_t slot = hashBytes(text) & (m_slots.size() - 1);
    while (m_slots[slot] != 0) {
        if (isSame(m_views[m_slots[slot]], text)) {
            return m_slots[slot];
        }
        slot = (slot + 1) & (m_slots.size() - 1);
    }
    m_slots[slot] = size();
    m_views.push_back(text);
    if (m_views.size() * 2 > m_slots.size()) {
        index();
    }
    return size() - 1;
}

void ViewTable::index() {
    m_slots.assign(m_slots.empty() ? kFew * 4 : m_slots.size() * 4, 0);
    for (std::uint32_t number = 1; number < m_views.size(); ++number) {
        std::size_t slot = hashBytes(m_views[number]) & (m_slots.size() - 1);
        while (m_slots[slot] != 0) {
            slot = (slot + 1) & (m_slots.size() - 1);
        }
        m_slots[slot] = number;
    }
}

} // namespace vantrel::xml
