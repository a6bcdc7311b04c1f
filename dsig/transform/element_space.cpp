// SPDX-License-Identifier: MIT
#include "dsig/transform/element_space.h"

#include <algorithm>

namespace vantrel::dsig {

namespace {

// Behind the tag that begins at `start`. Attribute values have double quotes in a canonical form,
// and may hold a ">".
std::size_t tagEnd(std::string_view form, std::size_t start) {
    std::size_t at = form.find_first_of("\">", start);
    while (at != std::string_view::npos && form[at] == '"') {
        at = std::min(form.find('"', at + 1), form.size());
        at = form.find_first_of("\">", at + 1);
    }
    return at == std::string_view::npos ? form.size() : at + 1;
}

// Behind the tag, instruction or comment that begins at `start`.
std::size_t markupEnd(std::string_view form, std::size_t start) {
    const std::string_view rest = form.substr(start);
    const std::string_view close = rest.starts_with("<?")     ? "?>"
                                   : rest.starts_with("<!--") ? "-->"
                                                              : "";
    if (close.empty()) {
        return tagEnd(form, start);
    }
    const std::size_t found = form.find(close, start);
    return found == std::string_view::npos ? form.size() : found + close.size();
}

} // namespace

// In a canonical form "<" begins markup wherever it stands (Canonical XML 1.0, 1.1).
StringBuffer withoutElementSpace(std::string_view form) {
    StringBuffer kept;
    std::size_t at = 0;
    while (at < form.size()) {
        const std::size_t next = std::min(form.find('<', at), form.size());
        const std::string_view text = form.substr(at, next - at);
        if (text.find_first_not_of(" \t\r\n") != std::string_view::npos) {
            kept.appendView(text);
        }
        at = next == form.size() ? next : markupEnd(form, next);
        kept.appendView(form.substr(next, at - next));
    }
    return kept;
}

} // namespace vantrel::dsig
