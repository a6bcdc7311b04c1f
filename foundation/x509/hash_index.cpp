// SPDX-License-Identifier: MIT
#include "foundation/x509/hash_index.h"

namespace vantrel::x509 {

namespace {

constexpr std::size_t kFirstSlots = 64;

} // namespace

// The slot of the key, or the free one where it belongs. There is always one: half of them are
// free.
std::size_t HashIndex::findSlot(std::uint64_t key) const noexcept {
    const std::size_t mask = m_slots.size() - 1;
    std::size_t slot = static_cast<std::size_t>(key) & mask;
    while (m_slots[slot].head != kNone && m_slots[slot].key != key) {
        slot = (slot + 1) & mask;
    }
    return slot;
}

void HashIndex::grow() {
    Slots old(m_slots.empty() ? kFirstSlots : 2 * m_slots.size());
    old.swap(m_slots);
    for (const Slot& slot : old) {
        if (slot.head != kNone) {
            m_slots[findSlot(slot.key)] = slot;
        }
    }
}

void HashIndex::add(std::uint64_t key, std::uint32_t certificate) {
    if (2 * (m_used + 1) > m_slots.size()) {
        grow();
    }
    const auto entry = static_cast<std::uint32_t>(m_entries.size());
    m_entries.push_back({certificate, kNone});
    // Entries of one key hang together in their order, so that the first added is found first.
    Slot& slot = m_slots[findSlot(key)];
    if (slot.head == kNone) {
        slot.key = key;
        slot.head = entry;
        ++m_used;
    } else {
        m_entries[slot.tail].next = entry;
    }
    slot.tail = entry;
}

std::uint32_t HashIndex::first(std::uint64_t key) const noexcept {
    return m_slots.empty() ? kNone : m_slots[findSlot(key)].head;
}

std::uint32_t HashIndex::next(std::uint32_t entry) const noexcept { return m_entries[entry].next; }

} // namespace vantrel::x509
