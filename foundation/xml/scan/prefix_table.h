// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_PREFIX_TABLE_H
#define FOUNDATION_XML_SCAN_PREFIX_TABLE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel::xml {

inline constexpr std::uint32_t kNoPrefix = 0xFFFFFFFF;
inline constexpr std::uint32_t kDefaultPrefix = 0; // the empty prefix
inline constexpr std::uint32_t kXmlPrefix = 1;     // "xml"

// Numbers the distinct prefixes of a document: an open-addressing hash table. The number of a
// prefix indexes arrays of whoever keeps state per prefix. Prefixes are not copied: they must
// outlive the table.
class PrefixTable final {
public:
    PrefixTable();

    [[nodiscard]] std::uint32_t find(std::string_view prefix) const noexcept;
    [[nodiscard]] std::uint32_t findOrAdd(std::string_view prefix);
    [[nodiscard]] std::string_view text(std::uint32_t id) const noexcept {
        return m_entries[id].text;
    }
    // Bytes of the longest prefix.
    [[nodiscard]] std::size_t longest() const noexcept { return m_longest; }
    [[nodiscard]] std::uint32_t size() const noexcept {
        return static_cast<std::uint32_t>(m_entries.size());
    }

private:
    struct Entry {
        std::string_view text;
        std::uint32_t hash;
    };

    [[nodiscard]] std::uint32_t slotOf(std::string_view prefix, std::uint32_t hash) const noexcept;
    void grow();

    std::vector<Entry> m_entries;
    std::size_t m_longest = 0;
    std::vector<std::uint32_t> m_slots; // id + 1, 0 where free; a power of two of them
};

} // namespace vantrel::xml

#endif
