// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_ID_TABLE_H
#define FOUNDATION_XML_SCAN_ID_TABLE_H

#include "foundation/text/once.h"
#include "foundation/xml/scan/element_id.h"
#include "foundation/xml/scan/grow_array.h"

#include <cstdint>
#include <string_view>

namespace vantrel::xml {

enum class IdMatch : std::uint8_t { None, Unique, NotUnique };

// The top bit of a length: the range lies in the document's side storage, not in its text.
inline constexpr std::uint32_t kSideStorage = 0x80000000;

// Id attributes of a document. They are collected while it is parsed and hashed at the first
// look-up, since most documents with an Id on every element are never asked. Look-ups may come from
// several threads.
class IdTable final {
public:
    void add(ElementId element, std::uint32_t valueStart, std::uint32_t valueLength) {
        m_entries.push_back({element, valueStart, valueLength, 0});
    }
    // Values are ranges of `text`, or of `side` where the length has its top bit set. One element
    // with two Id attributes of the same value is still one.
    [[nodiscard]] IdMatch find(std::string_view value, std::string_view text, std::string_view side,
                               ElementId& element) const;
    [[nodiscard]] std::size_t size() const noexcept { return m_entries.size(); }

private:
    struct Entry {
        ElementId element;
        std::uint32_t valueStart;
        std::uint32_t valueLength;
        std::uint32_t next; // chain of one bucket: index + 1
    };

    void buildIndex(std::string_view text, std::string_view side) const;
    [[nodiscard]] static std::string_view value(const Entry& entry, std::string_view text,
                                                std::string_view side) noexcept;

    mutable GrowArray<Entry> m_entries;
    mutable GrowArray<std::uint32_t> m_buckets; // index + 1 of the first entry
    mutable Once m_built;
};

} // namespace vantrel::xml

#endif
