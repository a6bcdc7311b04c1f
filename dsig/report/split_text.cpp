// SPDX-License-Identifier: MIT
#include "dsig/report/split_text.h"

#include "foundation/text/strings.h"
#include "foundation/xml/scan/markup_token.h"

#include <algorithm>

namespace vantrel::dsig {

namespace {

constexpr std::string_view kSectionStart = "<![CDATA[";
constexpr std::string_view kSectionEnd = "]]>";

// What stands between two tags, as far as it was gone over.
class TextRun {
public:
    explicit TextRun(TextSplits& found) noexcept : m_found(found) {}

    // Whoever reads the first piece of an element's text reads what stands behind its start tag.
    void begin(bool atStart) noexcept {
        m_last = atStart ? Last::StartTag : Last::OtherTag;
        m_divider = nullptr;
    }
    void takeComment(std::size_t at) noexcept { divide(m_found.comments, at); }
    void takeSection(std::size_t at, std::string_view text) {
        if (text::isBlank(text)) {
            divide(m_found.sections, at);
        } else {
            takePiece(at, Last::Section);
        }
    }
    void takeText(std::size_t at, std::string_view text) {
        if (!text::isBlank(text)) {
            takePiece(at, Last::Text);
        }
    }

private:
    // White space apart.
    enum class Last : std::uint8_t { StartTag, OtherTag, Text, Section };

    // Counts when text follows.
    void divide(std::vector<std::uint32_t>& places, std::size_t at) noexcept {
        if (m_last != Last::OtherTag && m_divider == nullptr) {
            m_divider = &places;
            m_place = static_cast<std::uint32_t>(at);
        }
    }

    void takePiece(std::size_t at, Last kind) {
        const bool isAfterText = m_last == Last::Text || m_last == Last::Section;
        if (m_divider != nullptr) {
            m_divider->push_back(m_place);
        } else if (isAfterText && (kind == Last::Section || m_last == Last::Section)) {
            m_found.sections.push_back(static_cast<std::uint32_t>(at));
        }
        m_last = kind;
        m_divider = nullptr;
    }

    TextSplits& m_found;
    Last m_last = Last::OtherTag;
    std::vector<std::uint32_t>* m_divider = nullptr; // to which list the place will go
    std::uint32_t m_place = 0;
};

// Comments and CDATA sections both begin with "<!"; most documents have neither. Looked for by the
// second letter, which is the rarer.
bool hasUncommonMarkup(std::string_view markup) noexcept {
    std::size_t at = markup.find('!', 1);
    while (at != std::string_view::npos && markup[at - 1] != '<') {
        at = markup.find('!', at + 1);
    }
    return at != std::string_view::npos;
}

// With offsets in the whole text.
TextSplits splitsOf(const xml::XmlDocument& structure) {
    const xml::ElementRecord& root = structure.element(0);
    const std::string_view markup = structure.text(xml::rangeOf(root.start, root.end));
    if (!hasUncommonMarkup(markup)) {
        return {};
    }
    TextSplits found = splitTexts(markup);
    for (std::vector<std::uint32_t>* const places : {&found.comments, &found.sections}) {
        for (std::uint32_t& place : *places) {
            place += root.start;
        }
    }
    return found;
}

bool hasOneIn(const std::vector<xml::TextRange>& stretches,
              const std::vector<std::uint32_t>& places) {
    return std::ranges::any_of(stretches, [&](xml::TextRange stretch) {
        const auto next = std::ranges::lower_bound(places, stretch.start);
        return next != places.end() && *next < stretch.end();
    });
}

} // namespace

TextSplits splitTexts(std::string_view markup) {
    TextSplits found;
    TextRun run(found);
    for (std::size_t at = 0; at < markup.size();) {
        const xml::MarkupToken token = xml::markupTokenAt(markup, at);
        std::string_view piece = markup.substr(at, token.end - at);
        switch (token.kind) {
        case xml::MarkupToken::Kind::Text: run.takeText(at, piece); break;
        case xml::MarkupToken::Kind::Comment: run.takeComment(at); break;
        case xml::MarkupToken::Kind::Cdata:
            piece.remove_prefix(kSectionStart.size());
            piece.remove_suffix(std::min(kSectionEnd.size(), piece.size()));
            run.takeSection(at, piece);
            break;
        case xml::MarkupToken::Kind::Instruction: break; // text goes on behind it
        default: run.begin(token.kind == xml::MarkupToken::Kind::StartTag);
        }
        at = token.end;
    }
    return found;
}

SplitBy splitsIn(Document& document, const std::vector<xml::TextRange>& stretches) {
    if (!document.textSplits) {
        document.textSplits = splitsOf(*document.structure);
    }
    const TextSplits& splits = *document.textSplits;
    if (document.structure->isExpanded()) {
        return {!splits.comments.empty(), !splits.sections.empty()};
    }
    return {hasOneIn(stretches, splits.comments), hasOneIn(stretches, splits.sections)};
}

} // namespace vantrel::dsig
