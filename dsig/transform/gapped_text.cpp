// SPDX-License-Identifier: MIT
#include "dsig/transform/gapped_text.h"

#include "foundation/text/strings.h"

#include <algorithm>

namespace vantrel::dsig {

std::size_t GappedText::find(std::string_view what, std::size_t from) const noexcept {
    for (;;) {
        const std::size_t at = text::findText(m_text, what, from);
        if (at == std::string_view::npos || m_gaps.empty()) {
            return at;
        }
        // The first gap that ends behind the match. The match lies in it when the gap has begun by
        // then; what the gap hides is skipped as a whole, so no gap is searched twice.
        const auto gap = std::partition_point(
            m_gaps.begin(), m_gaps.end(), [at](xml::TextRange range) { return range.end() <= at; });
        if (gap == m_gaps.end() || gap->start > at) {
            return at;
        }
        from = gap->end();
    }
}

} // namespace vantrel::dsig
