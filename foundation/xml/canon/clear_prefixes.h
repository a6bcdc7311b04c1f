// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_CANON_CLEAR_PREFIXES_H
#define FOUNDATION_XML_CANON_CLEAR_PREFIXES_H

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace vantrel::xml {

// A prefix of one to eight bytes as a number. No prefix holds a NUL, so it tells the length as
// well; 0 is none. Eight bytes must be readable at `at`.
[[nodiscard]] inline std::uint64_t prefixKey(const char* at, std::uint32_t length) noexcept {
    std::uint64_t key = 0;
    std::memcpy(&key, at, sizeof key);
    const std::uint32_t others = 64 - 8 * length;
    const std::uint64_t ones = ~std::uint64_t{0};
    return key & (std::endian::native == std::endian::little ? ones >> others : ones << others);
}

// The same for any text; 0 when it is empty or longer.
[[nodiscard]] inline std::uint64_t prefixKey(std::string_view prefix) noexcept {
    std::uint64_t key = 0;
    if (!prefix.empty() && prefix.size() <= sizeof key) {
        std::memcpy(&key, prefix.data(), prefix.size());
    }
    return key;
}

// Where a small table keeps what it knows of a key: below 16.
[[nodiscard]] constexpr std::size_t prefixSlot(std::uint64_t key) noexcept {
    return (key * 0x9E3779B97F4A7C15) >> 60;
}

// Prefixes that a tag may use without a declaration to be written, up to the next place that
// NamespaceState::nextUndo names. A prefix may be missing here: its tags are then looked at one by
// one.
class ClearPrefixes final {
public:
    [[nodiscard]] bool holds(std::uint64_t key) const noexcept {
        return m_keys[prefixSlot(key)] == key;
    }
    [[nodiscard]] bool holdsDefault() const noexcept { return m_default; }

    void add(std::uint64_t key) noexcept { m_keys[prefixSlot(key)] = key; }
    void remove(std::uint64_t key) noexcept {
        if (holds(key)) {
            m_keys[prefixSlot(key)] = kNone;
        }
    }
    void setDefault(bool clear) noexcept { m_default = clear; }

private:
    // No prefix has these bytes: UTF-8 has none of them.
    static constexpr std::uint64_t kNone = ~std::uint64_t{0};

    std::array<std::uint64_t, 16> m_keys = {kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone,
                                            kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone};
    bool m_default = true;
};

} // namespace vantrel::xml

#endif
