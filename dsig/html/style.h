// SPDX-License-Identifier: MIT
#ifndef DSIG_HTML_STYLE_H
#define DSIG_HTML_STYLE_H

#include "dsig/html/places.h"

#include <span>
#include <string>

namespace vantrel::dsig::html {

// The style sheet of a page that shows these stretches: for screens of any width, light and dark,
// and for paper. It depends on the stretches, since combinations of colours are made as they occur.
[[nodiscard]] std::string styleSheet(std::span<const Stretch> stretches);
// The content security policy under which nothing but that style sheet works: no script, no
// request, no form (Content Security Policy Level 3, 2.3.1). The style sheet is named by its hash,
// so even a style that somebody smuggled into the text would not count.
[[nodiscard]] std::string securityPolicy(const std::string& styleSheet);

} // namespace vantrel::dsig::html

#endif
