// SPDX-License-Identifier: MIT
#ifndef DSIG_HTML_WORDS_H
#define DSIG_HTML_WORDS_H

#include <string_view>

namespace vantrel::dsig::html {

// What a warning's word means, in a sentence; empty for one that needs none or is not known. A view
// of a text that is never freed.
[[nodiscard]] std::string_view sentenceOf(std::string_view warning) noexcept;
// The last part of an algorithm's identifier, which is what people call it. The whole identifier
// where it has no such part.
[[nodiscard]] std::string_view shortAlgorithm(std::string_view identifier) noexcept;

} // namespace vantrel::dsig::html

#endif
