// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_KNOWN_NAMES_H
#define FOUNDATION_XML_SCAN_KNOWN_NAMES_H

#include "foundation/xml/scan/element_id.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace vantrel::xml {

// Names are compared in one step, whatever their length, so that so many bytes must be readable
// where one begins. Longer names, which are rare, are none of those that are compared like that.
inline constexpr std::uint32_t kGlancedBytes = 32;
inline constexpr std::uint32_t kGlancedName = kGlancedBytes - 1;

// The bits of the bytes of a name, for sameBytes.
[[nodiscard]] constexpr std::uint32_t nameMask(std::uint32_t length) noexcept {
    return (std::uint32_t{1} << length) - 1;
}

// Whether those of 32 bytes are the same that have a bit in `mask`.
[[nodiscard]] inline bool sameBytes(const char* a, const char* b, std::uint32_t mask) noexcept {
#if defined(__SSE2__)
    const auto load = [](const char* bytes) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
    };
    const auto low =
        static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(load(a), load(b))));
    const auto high =
        static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(load(a + 16), load(b + 16))));
    return (~(low | (high << 16)) & mask) == 0;
#else
    for (; mask != 0; mask >>= 1, ++a, ++b) {
        if ((mask & 1U) != 0 && *a != *b) {
            return false;
        }
    }
    return true;
#endif
}

// A name that was read before, and what was found out about it; it holds wherever the same bytes
// are a whole name again.
struct alignas(64) KnownName {
    char bytes[kGlancedBytes];
    std::uint32_t mask;
    std::uint32_t length;
    std::uint32_t prefixId;  // of its prefix, which was declared; kXmlPrefix for none
    ElementId lastElement;   // of an attribute: the last one that has it
    std::uint16_t next;      // slot of the name that came behind it the last time
    std::uint16_t attribute; // of an element: slot of the first attribute it had the last time
    bool isId;               // of an attribute
};

// A table of known names without chains: a name that finds its two places taken takes the second,
// and the one that it turned out has to be read anew.
template <std::uint32_t Slots> class KnownNames final {
    static_assert(std::has_single_bit(Slots) && Slots <= 65536);

public:
    // A slot whose name is none: NUL is no character of a document.
    static constexpr std::uint32_t kNone = Slots;

    // Slots without a name are not initialized.
    KnownNames() noexcept {
        std::memset(m_lengths, 0, sizeof m_lengths);
        m_names[kNone] = {{}, ~std::uint32_t{0}, kGlancedName, 0, 0, kNone, 0, false};
    }

    [[nodiscard]] KnownName& operator[](std::uint32_t slot) noexcept { return m_names[slot]; }
    // The slot of a name of 1 to kGlancedName bytes, or kNone.
    [[nodiscard]] std::uint32_t find(const char* name, std::uint32_t length) const noexcept {
        return find(name, length, firstSlot(name, length));
    }
    // The same, and takes the name in where it is new: all is set but what was found out about it.
    std::uint32_t findOrAdd(const char* name, std::uint32_t length, bool& isNew) noexcept {
        const std::uint32_t first = firstSlot(name, length);
        std::uint32_t slot = find(name, length, first);
        isNew = slot == kNone;
        if (isNew) {
            slot = m_lengths[first] == 0 ? first : first ^ 1U;
            m_lengths[slot] = static_cast<std::uint8_t>(length);
            KnownName& added = m_names[slot];
            std::memcpy(added.bytes, name, kGlancedBytes);
            added.mask = nameMask(length);
            added.length = length;
            added.lastElement = kNoElement;
            added.next = static_cast<std::uint16_t>(slot);
        }
        return slot;
    }

private:
    // By the length and the first and the last eight bytes, which are the same ones in a short
    // name.
    [[nodiscard]] static std::uint32_t firstSlot(const char* name, std::uint32_t length) noexcept {
        const std::uint32_t count = std::min(length, 8U);
        std::uint64_t first = 0;
        std::uint64_t last = 0;
        std::memcpy(&first, name, 8);
        std::memcpy(&last, name + (length - count), 8);
        const auto ofTheName = [count](std::uint64_t eight) {
            const std::uint32_t others = 64 - 8 * count;
            return std::endian::native == std::endian::little ? eight << others : eight >> others;
        };
        const std::uint64_t mixed = ofTheName(first) + 5 * ofTheName(last) + length;
        constexpr int kBits = std::countr_zero(Slots);
        return static_cast<std::uint32_t>(mixed * 0x9E3779B97F4A7C15ULL >> (64 - kBits));
    }
    [[nodiscard]] std::uint32_t find(const char* name, std::uint32_t length,
                                     std::uint32_t first) const noexcept {
        if (holds(first, name, length)) [[likely]] {
            return first;
        }
        return holds(first ^ 1U, name, length) ? first ^ 1U : kNone;
    }
    [[nodiscard]] bool holds(std::uint32_t slot, const char* name,
                             std::uint32_t length) const noexcept {
        return m_lengths[slot] == length && sameBytes(m_names[slot].bytes, name, nameMask(length));
    }

    std::uint8_t m_lengths[Slots]; // 0 without a name
    KnownName m_names[Slots + 1];
};

} // namespace vantrel::xml

#endif
