// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_BASE_ENTRY_PATTERN_H
#define FOUNDATION_BASE_ENTRY_PATTERN_H

#include "foundation/text/LogBase.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

// Entries of a log but for some of their values, read from the log itself: so that what is logged
// many times alike can be written in one piece, and the texts stand where they are logged.
class EntryPattern final {
public:
    // `entries` are of LogBase::entriesSince; their first and last lines with a value have these
    // values. False where they do not, and the pattern is of no use.
    [[nodiscard]] bool take(std::string_view entries, std::span<const std::string_view> first,
                            std::span<const std::string_view> last);
    // How much is written with these values in the place of the others, or a little more.
    [[nodiscard]] std::size_t mostBytes(std::span<const std::string_view> values) const noexcept;
    // Writes the entries with as many values as were taken, the first and then the last ones. The
    // log must take them (LogBase::takesEntries).
    void put(std::span<const std::string_view> values, LogBase& log) const;

private:
    struct Stretch {
        std::size_t start = 0;
        std::size_t size = 0;
    };

    // What a pattern has at the most.
    static constexpr std::size_t kMostValues = 8;

    [[nodiscard]] static std::vector<Stretch> valuesOf(std::string_view entries);
    [[nodiscard]] std::string_view between(std::size_t i) const noexcept {
        return {m_entries.data() + m_between[i].start, m_between[i].size};
    }

    std::string m_entries;
    std::vector<Stretch> m_between; // one more than there are values
};

} // namespace vantrel

#endif
