// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_X509_HASH_INDEX_H
#define FOUNDATION_X509_HASH_INDEX_H

#include "foundation/text/block_allocator.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vantrel::x509 {

// A hash index: numbers of certificates by 64-bit keys, each key in the order of insertion. Adding
// takes constant time also when many certificates share a key. May throw std::bad_alloc.
class HashIndex {
public:
    static constexpr std::uint32_t kNone = 0xFFFFFFFFU;

    void add(std::uint64_t key, std::uint32_t certificate);
    // The first entry with `key`, and the one after `entry` with the same key; kNone at the end.
    [[nodiscard]] std::uint32_t first(std::uint64_t key) const noexcept;
    [[nodiscard]] std::uint32_t next(std::uint32_t entry) const noexcept;
    [[nodiscard]] std::uint32_t certificate(std::uint32_t entry) const noexcept {
        return m_entries[entry].certificate;
    }

private:
    struct Entry {
        std::uint32_t certificate;
        std::uint32_t next;
    };
    // The entries of one key are a list; a slot holds both its ends, and the key, so that probing
    // stays within the slots.
    struct Slot {
        std::uint64_t key = 0;
        std::uint32_t head = kNone;
        std::uint32_t tail = kNone;
    };

    [[nodiscard]] std::size_t findSlot(std::uint64_t key) const noexcept;
    void grow();

    using Slots = std::vector<Slot, text::BlockAllocator<Slot>>;

    std::vector<Entry> m_entries;
    Slots m_slots; // open addressing, a power of two, at most half full
    std::size_t m_used = 0;
};

} // namespace vantrel::x509

#endif
