// SPDX-License-Identifier: MIT
#ifndef CLI_TEXT_LINES_H
#define CLI_TEXT_LINES_H

#include <cstddef>
#include <string>
#include <string_view>

// How reports for people stay readable on a narrow terminal. Texts must be printable already;
// colours in them take no room.
namespace vantrel::cli {

inline constexpr std::size_t kTextColumns = 80;

// One entry of a signature's report, ending in a line end: the label in a column of its own, empty
// where the entry goes on with what stands above it; the text behind it, broken between words. A
// word longer than a line is broken where it stands; of one longer than several lines the middle is
// left out.
[[nodiscard]] std::string entry(std::string_view label, std::string_view text);

// Columns that the text takes, a character one each.
[[nodiscard]] std::size_t columnsOf(std::string_view text);

// The text with "..." in place of its middle where it has more than `columns` characters. More of
// the end is kept than of the beginning: it is what tells two paths apart.
[[nodiscard]] std::string shortened(std::string_view text, std::size_t columns);

} // namespace vantrel::cli

#endif
