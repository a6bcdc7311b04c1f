// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/id_table.h"

#include "foundation/xml/scan/hash_bytes.h"

#include <bit>
#if defined(__wasm__)
#include <random>
#endif

namespace vantrel::xml {

std::uint64_t hashSeed() noexcept {
    static const std::uint64_t seed = [] {
#if defined(__wasm__)
        // There the addresses are the same in every run, and known.
        std::random_device random;
        return std::uint64_t{random()} << 32 | random() | 1;
#else
        static const int anchor = 0;
        const int local = 0;
        const auto address = [](const int* place) {
            return static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(place));
        };
        return foldMultiply(address(&anchor) ^ 0x2545F4914F6CDD1DULL,
                            address(&local) ^ 0xD6E8FEB86659FD93ULL) |
               1;
#endif
    }();
    return seed;
}

std::string_view IdTable::value(const Entry& entry, std::string_view text,
                                std::string_view side) noexcept {
    const std::string_view storage = (entry.valueLength & kSideStorage) != 0 ? side : text;
    return storage.substr(entry.valueStart, entry.valueLength & ~kSideStorage);
}

// Entries of one bucket are chained in document order.
void IdTable::buildIndex(std::string_view text, std::string_view side) const {
    const std::size_t buckets = std::bit_ceil(m_entries.size() + 1);
    m_buckets.clear();
    m_buckets.reserve(buckets);
    for (std::size_t i = 0; i < buckets; ++i) {
        m_buckets.push_back(0);
    }
    for (std::size_t i = m_entries.size(); i-- > 0;) {
        Entry& entry = m_entries[i];
        std::uint32_t& first = m_buckets[hashBytes(value(entry, text, side)) & (buckets - 1)];
        entry.next = first;
        first = static_cast<std::uint32_t>(i) + 1;
    }
}

IdMatch IdTable::find(std::string_view wanted, std::string_view text, std::string_view side,
                      ElementId& element) const {
    m_built.run([&] { buildIndex(text, side); });
    IdMatch match = IdMatch::None;
    ElementId found = kNoElement;
    for (std::uint32_t at = m_buckets[hashBytes(wanted) & (m_buckets.size() - 1)]; at != 0;
         at = m_entries[at - 1].next) {
        const Entry& entry = m_entries[at - 1];
        if (value(entry, text, side) != wanted) {
            continue;
        }
        if (match == IdMatch::Unique && entry.element != found) {
            return IdMatch::NotUnique;
        }
        match = IdMatch::Unique;
        found = entry.element;
    }
    if (match == IdMatch::Unique) {
        element = found;
    }
    return match;
}

} // namespace vantrel::xml
