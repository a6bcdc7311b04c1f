// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/values.h"

#include "foundation/xml/scan/char_class.h"
#include "foundation/xml/scan/references.h"

namespace vantrel::xml {
namespace {

// Removes spaces at both ends of what was appended from `start` on, and collapses those inside.
void collapseSpaces(std::string& out, std::size_t start) {
    std::size_t kept = start;
    for (std::size_t at = start; at < out.size(); ++at) {
        if (out[at] == ' ' && (kept == start || out[kept - 1] == ' ')) {
            continue;
        }
        out[kept++] = out[at];
    }
    if (kept > start && out[kept - 1] == ' ') {
        --kept;
    }
    out.resize(kept);
}

} // namespace

ResolvedReference resolveReference(std::string_view text) noexcept {
    const ReferenceForm form = matchReference(text);
    return {form.value, form.length};
}

void appendLines(std::string_view raw, std::string& out) {
    std::size_t at = 0;
    for (std::size_t cr = raw.find('\r'); cr != raw.npos; cr = raw.find('\r', at)) {
        out.append(raw, at, cr - at).push_back('\n');
        at = cr + 1;
        if (at < raw.size() && raw[at] == '\n') {
            ++at;
        }
    }
    out.append(raw, at, raw.npos);
}

void appendCdata(std::string_view raw, std::string& out) { appendLines(raw, out); }

void appendText(std::string_view raw, std::string& out) {
    std::size_t at = 0;
    for (std::size_t mark = raw.find('&'); mark != raw.npos; mark = raw.find('&', at)) {
        appendLines(raw.substr(at, mark - at), out);
        const ResolvedReference reference = resolveReference(raw.substr(mark));
        char bytes[4];
        out.append(bytes, encodeUtf8(reference.value, bytes));
        at = mark + reference.length;
    }
    appendLines(raw.substr(at), out);
}

void appendAttributeValue(std::string_view raw, AttributeType type, std::string& out) {
    const std::size_t start = out.size();
    std::size_t at = 0;
    for (std::size_t stop = raw.find_first_of("&\t\n\r"); stop != raw.npos;
         stop = raw.find_first_of("&\t\n\r", at)) {
        out.append(raw, at, stop - at);
        if (raw[stop] == '&') {
            const ResolvedReference reference = resolveReference(raw.substr(stop));
            char bytes[4];
            out.append(bytes, encodeUtf8(reference.value, bytes));
            at = stop + reference.length;
            continue;
        }
        // A line end of two bytes is one character.
        const bool pair = raw[stop] == '\r' && stop + 1 < raw.size() && raw[stop + 1] == '\n';
        out.push_back(' ');
        at = stop + (pair ? 2 : 1);
    }
    out.append(raw, at, raw.npos);
    if (type != AttributeType::Cdata) {
        collapseSpaces(out, start);
    }
}

} // namespace vantrel::xml
