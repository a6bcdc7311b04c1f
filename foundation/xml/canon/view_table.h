// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_CANON_VIEW_TABLE_H
#define FOUNDATION_XML_CANON_VIEW_TABLE_H

#include "foundation/xml/canon/few_array.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace vantrel::xml {

// Numbers distinct texts in the order of their appearance; 0 is the empty one. Texts are not
// copied: they must outlive the table.
class ViewTable final {
public:
    ViewTable() { m_views.push_back({}); }

    [[nodiscard]] std::uint32_t number(std::string_view text) {
        return text.empty() ? 0 : find(text);
    }
    [[nodiscard]] std::string_view operator[](std::uint32_t number) const noexcept {
        return m_views[number];
    }
    [[nodiscard]] std::uint32_t size() const noexcept {
        return static_cast<std::uint32_t>(m_views.size());
    }

private:
    // Up to this many texts are compared one by one.
    static constexpr std::size_t kFew = 8;

    [[nodiscard]] std::uint32_t find(std::string_view text);
    [[nodiscard]] std::uint32_t findHashed(std::string_view text);
    void index();

    FewArray<std::string_view, kFew + 1> m_views; // most documents need no more
    std::vector<std::uint32_t> m_slots; // open hash table of numbers; empty while there are few
};

} // namespace vantrel::xml

#endif
