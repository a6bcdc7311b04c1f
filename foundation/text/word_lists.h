// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_WORD_LISTS_H
#define FOUNDATION_TEXT_WORD_LISTS_H

#include <span>
#include <string_view>
#include <vector>

// Words that people write, and lists of those that there are.
namespace vantrel::text {

// The words of a list in which `separator` stands between them; empty ones are left out. Views into
// `list`.
[[nodiscard]] std::vector<std::string_view> splitWords(std::string_view list, char separator = ' ');

// The candidate that somebody who wrote `word` is most likely to have meant: one that begins with
// it, or differs from it by few characters. Empty when none comes near.
[[nodiscard]] std::string_view nearest(std::string_view word,
                                       std::span<const std::string_view> candidates);

} // namespace vantrel::text

#endif
