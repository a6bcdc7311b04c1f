#include "dsig/report/split_text.h"

#include "foundation/text/strings.h"

#include <algorithm>

namespace vantrel::dsig {

namespace {

constexpr std::string_view kCommentStart = "<!--";
constexpr std::string_view kSectionStart = "<![CDATA[";

bool isBlank(std::string_view text) {
    return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

// Behind the first `mark` from `from` on; the end of the text where there is none.
std::size_t behind(std::string_view text, std::string_view mark, std::size_t from) {
    const std::size_t found = text.find(mark, from);
    return found == std::string_view::npos ? text.size() : found + mark.size();
}

// Behind a start or end tag. XML 1.0, 3.1: ">" may stand in an attribute's value.
std::size_t behindTag(std::string_view text, std::size_t from) {
    char quote = 0;
    for (std::size_t at = from; at < text.size(); ++at) {
        const char c = text[at];
        if (quote != 0) {
            quote = c == quote ? char{0} : quote;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '>') {
            return at + 1;
        }
    }
    return text.size();
}

// What stands between two tags, as far as it was gone over.
class TextRun {
public:
    explicit TextRun(std::vector<std::uint32_t>& found) noexcept : m_found(found) {}

    void takeText(std::string_view text) {
        if (isBlank(text)) {
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
    std::size_t at = 0;
    while (at < markup.size()) {
        const std::size_t mark = std::min(markup.find('<', at), markup.size());
        run.takeText(markup.substr(at, mark - at));
        const std::string_view rest = markup.substr(mark);
        if (rest.starts_with(kCommentStart)) {
            run.takeComment(mark);
            at = behind(markup, "-->", mark + kCommentStart.size());
        } else if (rest.starts_with(kSectionStart)) {
            at = behind(markup, "]]>", mark + kSectionStart.size());
            run.takeText(
                markup.substr(mark + kSectionStart.size(), at - mark - kSectionStart.size() - 3));
        } else if (rest.starts_with("<?")) {
            at = behind(markup, "?>", mark);
        } else {
            run.end();
            at = behindTag(markup, mark);
        }
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
