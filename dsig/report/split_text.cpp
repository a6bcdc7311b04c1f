// SPDX-License-Identifier: MIT
#include "dsig/report/split_text.h"

#include "foundation/text/strings.h"
#include "foundation/xml/scan/markup_token.h"

#include <algorithm>

namespace vantrel::dsig {

namespace {

constexpr std::string_view kCommentStart = "<!--";
constexpr std::string_view kSectionStart = "<![CDATA[";
constexpr std::string_view kSectionEnd = "]]>";

// What stands between two tags, as far as it was gone over.
class TextRun {
public:
    explicit TextRun(std::vector<std::uint32_t>& found) noexcept : m_found(found) {}

    void takeText(std::string_view text) {
        if (text::isBlank(text)) {
            return;
        }
        if (m_commentBehindText) {
            m_found.push_back(m_comment);
        }
        m_hasText = true;
        m_commentBehindText = false;
    }
    void takeComment(std::size_t at) noexcept {
        if (m_hasText && !m_commentBehindText) {
            m_commentBehindText = true;
            m_comment = static_cast<std::uint32_t>(at);
        }
    }
    void end() noexcept { m_hasText = m_commentBehindText = false; }

private:
    std::vector<std::uint32_t>& m_found;
    bool m_hasText = false;
    bool m_commentBehindText = false;
    std::uint32_t m_comment = 0;
};

} // namespace

std::vector<std::uint32_t> commentsInText(std::string_view markup) {
    std::vector<std::uint32_t> found;
    TextRun run(found);
    for (std::size_t at = 0; at < markup.size();) {
        const xml::MarkupToken token = xml::markupTokenAt(markup, at);
        std::string_view piece = markup.substr(at, token.end - at);
        switch (token.kind) {
        case xml::MarkupToken::Kind::Text: run.takeText(piece); break;
        case xml::MarkupToken::Kind::Comment: run.takeComment(at); break;
        case xml::MarkupToken::Kind::Cdata:
            piece.remove_prefix(kSectionStart.size());
            piece.remove_suffix(std::min(kSectionEnd.size(), piece.size()));
            run.takeText(piece);
            break;
        case xml::MarkupToken::Kind::Instruction: break; // text goes on behind it
        default: run.end();
        }
        at = token.end;
    }
    return found;
}

bool hasCommentInText(Document& document, const std::vector<xml::TextRange>& stretches) {
    const xml::XmlDocument& structure = *document.structure;
    if (!document.commentsInText) {
        const xml::ElementRecord& root = structure.element(0);
        const std::string_view markup = structure.text(xml::rangeOf(root.start, root.end));
        // Most documents have no comment at all.
        std::vector<std::uint32_t> found;
        if (text::findText(markup, kCommentStart) != std::string_view::npos) {
            found = commentsInText(markup);
        }
        for (std::uint32_t& place : found) {
            place += root.start;
        }
        document.commentsInText = std::move(found);
    }
    const std::vector<std::uint32_t>& comments = *document.commentsInText;
    if (comments.empty() || structure.isExpanded()) {
        return !comments.empty();
    }
    return std::ranges::any_of(stretches, [&](xml::TextRange stretch) {
        const auto next = std::ranges::lower_bound(comments, stretch.start);
        return next != comments.end() && *next < stretch.end();
    });
}

} // namespace vantrel::dsig
