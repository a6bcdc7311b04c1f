// SPDX-License-Identifier: MIT
#include "dsig/report/coverage.h"

#include <algorithm>

namespace vantrel::dsig {

using xml::TextRange;

bool isInside(TextRange inner, TextRange outer) noexcept {
    return inner.start >= outer.start && inner.end() <= outer.end();
}

void appendWithout(TextRange whole, std::vector<TextRange> absent, std::vector<TextRange>& out) {
    if (absent.empty()) {
        out.push_back(whole);
        return;
    }
    // In order, one pass suffices, however many stretches a document has taken out.
    std::sort(absent.begin(), absent.end(),
              [](TextRange one, TextRange other) { return one.start < other.start; });
    std::uint32_t at = whole.start;
    for (const TextRange range : absent) {
        // Stretches may overlap, lie outside or repeat: both ends are brought between `at` and the
        // end of the whole, so that a length never becomes negative.
        const std::uint32_t stop = std::min(std::max(range.start, at), whole.end());
        if (stop > at) {
            out.push_back(xml::rangeOf(at, stop));
        }
        at = std::max(at, std::min(range.end(), whole.end()));
    }
    if (at < whole.end()) {
        out.push_back(xml::rangeOf(at, whole.end()));
    }
}

bool coversAll(TextRange whole, std::vector<TextRange> covered) {
    std::vector<TextRange> missing;
    appendWithout(whole, std::move(covered), missing);
    return missing.empty();
}

} // namespace vantrel::dsig
