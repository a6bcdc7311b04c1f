// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/prefix_table.h"

#include "foundation/xml/scan/hash_bytes.h"

#include <algorithm>

namespace vantrel::xml {

PrefixTable::PrefixTable() : m_slots(32, 0) {
    m_entries.reserve(8);
    (void)findOrAdd("");
    (void)findOrAdd("xml");
}

// The slot that holds the prefix, or the free one where it belongs.
std::uint32_t PrefixTable::slotOf(std::string_view prefix, std::uint32_t hash) const noexcept {
    const auto mask = static_cast<std::uint32_t>(m_slots.size() - 1);
    std::uint32_t slot = hash & mask;
    while (m_slots[slot] != 0) {
        const std::uint32_t id = m_slots[slot] - 1;
        if (m_entries[id].hash == hash && text(id) == prefix) {
            break;
        }
        slot = (slot + 1) & mask;
    }
    return slot;
}

std::uint32_t PrefixTable::find(std::string_view prefix) const noexcept {
    const std::uint32_t held = m_slots[slotOf(prefix, hashBytes(prefix))];
    return held == 0 ? kNoPrefix : held - 1;
}

std::uint32_t PrefixTable::findOrAdd(std::string_view prefix) {
    const std::uint32_t hash = hashBytes(prefix);
    const std::uint32_t slot = slotOf(prefix, hash);
    if (m_slots[slot] != 0) {
        return m_slots[slot] - 1;
    }
    const std::uint32_t id = size();
    m_entries.push_back({prefix, hash});
    m_longest = std::max(m_longest, prefix.size());
    m_slots[slot] = id + 1;
    if (m_entries.size() * 2 > m_slots.size()) {
        grow();
    }
    return id;
}

void PrefixTable::grow() {
    m_slots.assign(m_slots.size() * 2, 0);
    const auto mask = static_cast<std::uint32_t>(m_slots.size() - 1);
    for (std::uint32_t id = 0; id < size(); ++id) {
        std::uint32_t slot = m_entries[id].hash & mask;
        while (m_slots[slot] != 0) {
            slot = (slot + 1) & mask;
        }
        m_slots[slot] = id + 1;
    }
}

} // namespace vantrel::xml
