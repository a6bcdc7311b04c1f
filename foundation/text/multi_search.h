// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_MULTI_SEARCH_H
#define FOUNDATION_TEXT_MULTI_SEARCH_H

#include <cstddef>
#include <span>
#include <string_view>

namespace vantrel::text {

// Looks for several texts in one pass. found[i] := offset of the first occurrence of needles[i] in
// `text`, or npos. `found` has as many places as there are needles; needles have at least three
// bytes.
void findAll(std::string_view text, std::span<const std::string_view> needles,
             std::span<std::size_t> found);

} // namespace vantrel::text

#endif
