// SPDX-License-Identifier: MIT
#ifndef DSIG_TRANSFORM_GAPPED_TEXT_H
#define DSIG_TRANSFORM_GAPPED_TEXT_H

#include "foundation/xml/scan/xml_document.h"

#include <cstddef>
#include <span>
#include <string_view>

namespace vantrel::dsig {

// A text with stretches left out of it, to be searched as if they were not there. The stretches are
// whole elements, ascending and disjoint, and what is searched for has a '<' at its start only: so
// nothing that is found reaches over a gap. Gaps are cheaper than cutting: a document is copied
// once at the end, or never where it is streamed, and offsets stay those of the text. Text and gaps
// are borrowed and must outlive the object and its copies.
class GappedText {
public:
    explicit GappedText(std::string_view text, std::span<const xml::TextRange> gaps = {}) noexcept
        : m_text(text), m_gaps(gaps) {}

    [[nodiscard]] std::string_view text() const noexcept { return m_text; }
    // Where `what` stands for the first time at or behind `from`; npos when nowhere.
    [[nodiscard]] std::size_t find(std::string_view what, std::size_t from) const noexcept;
    [[nodiscard]] bool contains(std::string_view what, std::size_t from = 0) const noexcept {
        return find(what, from) != std::string_view::npos;
    }
    // The text up to a place. Gaps behind it stay in the list and do no harm, since nothing is
    // found there.
    [[nodiscard]] GappedText upTo(std::size_t end) const noexcept {
        return GappedText(m_text.substr(0, end), m_gaps);
    }

private:
    std::string_view m_text;
    std::span<const xml::TextRange> m_gaps;
};

} // namespace vantrel::dsig

#endif
