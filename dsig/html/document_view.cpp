// SPDX-License-Identifier: MIT
#include "dsig/html/document_view.h"

#include "dsig/html/escape.h"
#include "dsig/html/markup.h"
#include "dsig/html/windows.h"

#include <algorithm>
#include <map>

namespace vantrel::dsig::html {

namespace {

// Lines with more octets are broken before tags, where the text has no line ends of its own. A
// document in one line is what machines send; unbroken it would be a page of one line and nobody
// could find a place in it.
constexpr std::size_t kLongLine = 200;
// The deepest step of indentation that the style sheet has. Deeper elements are shown at this
// depth: a hostile document cannot push its text out of the window.
constexpr std::size_t kDeepest = 12;
// An unbroken run of characters, as base64 content is, is shown up to this length. The middle of a
// certificate or an embedded file tells a reader nothing.
constexpr std::size_t kLongRun = 320;

// A run that is longer may be broken at every such step. Narrow screens need it: a digest has no
// blank to break at.
constexpr std::size_t kMostUnbroken = 40;
constexpr std::size_t kStep = 8;

constexpr std::string_view kBlanks = " \t";

// Past the characters without a blank, and past the blank behind them. Blanks and tabs only, since
// line ends never come here.
std::size_t pastRun(std::string_view piece, std::size_t at) noexcept {
    return std::min(std::min(piece.find_first_of(kBlanks, at), piece.size()) + 1, piece.size());
}

// The lines of the page, as they are written. It knows which elements are open, so that lines and
// stretches may change anywhere. It writes elements that are closed in the right order whatever the
// text is: marks and standings change in the middle of words, and an element that stayed open would
// colour the rest of the page.
class LineWriter {
public:
    explicit LineWriter(std::string& out) noexcept : m_out(out) {}

    // For the text that follows; takes effect with it. A span is opened with the first text, so
    // that a change without text leaves nothing.
    void setStanding(const Standing& standing) {
        if (std::string name = standingClass(standing); name != m_standing) {
            closeSpan();
            m_standing = std::move(name);
        }
    }

    // White space at the beginning of a line, which shows no standing. A wide band of colour ahead
    // of each line would look like content.
    void indentation(std::string_view blanks) {
        openLine();
        closeSpan();
        m_out += blanks;
    }

    // Text without line ends; `tag` names the element that tells its kind, empty for none. The
    // tag's name is one of this file's own, never from the document.
    void text(std::string_view piece, std::string_view tag) {
        openSpan();
        appendTag("<", tag);
        appendBreakable(piece);
        appendTag("</", tag);
    }

    // What is left out of a long run. It stands in the colours of what it replaces.
    void omission(std::size_t octets) {
        openSpan();
        m_out += "<b class=\"o\">&hellip; " + counted(octets, "octet", "octets") + " &hellip;</b>";
    }

    // `label` is HTML made by the page; text of foreign origin in it has been escaped already.
    void mark(const Mark& mark) {
        openLine();
        closeSpan();
        if (!mark.id.empty()) {
            m_out += "<a id=\"" + mark.id + "\"></a>";
        }
        m_out += mark.label;
    }

    // The end of a line of the text. Empty lines have a number too.
    void lineEnd() {
        openLine();
        closeLine();
        ++m_line;
    }
    // For the lines of what is not shown: numbers stay those of the file.
    void skipLines(std::size_t count) noexcept { m_line += count; }

    // The rest of the line goes on below, indented. It gets no number, so that those shown are
    // those an editor shows.
    void breakLine(std::size_t depth) {
        closeLine();
        m_out += "<div class=\"l d" + std::to_string(std::min(depth, kDeepest)) + "\">";
        m_lineOpen = true;
    }

    // A note between two lines. Escaped by whoever makes it.
    void note(const std::string& html) {
        closeLine();
        m_out += "<div class=\"gap\">" + html + "</div>\n";
    }

    void closeLine() {
        closeSpan();
        if (m_lineOpen) {
            m_out += "</div>\n";
            m_lineOpen = false;
        }
    }

private:
    void appendTag(std::string_view opening, std::string_view tag) {
        if (!tag.empty()) {
            m_out.append(opening).append(tag) += '>';
        }
    }

    // A long run may be broken anywhere; else it would begin on a line of its own. In runs of
    // characters without a blank, and in them by steps that end at a character.
    void appendBreakable(std::string_view piece) {
        while (!piece.empty()) {
            const std::size_t run = pastRun(piece, 0);
            for (std::size_t at = 0; at < run;) {
                // The last piece of a run is not cut off when it is short.
                const bool isLast = run <= kMostUnbroken || run - at <= kStep;
                const std::size_t end = isLast ? run : characterStart(piece, at + kStep);
                m_out += at > 0 ? "<wbr>" : "";
                appendText(piece.substr(at, end - at), m_out);
                at = end;
            }
            piece.remove_prefix(run);
        }
    }

    void openLine() {
        if (!m_lineOpen) {
            m_out += "<div class=\"l\" data-n=\"" + std::to_string(m_line) + "\">";
            m_lineOpen = true;
        }
    }

    // What is excluded is a deletion to readers that do not see colours (screen readers say so).
    void openSpan() {
        openLine();
        if (!m_spanOpen) {
            m_out +=
                m_standing == "ex" ? "<del class=\"ex\">" : "<span class=\"" + m_standing + "\">";
            m_spanOpen = true;
        }
    }

    void closeSpan() {
        if (m_spanOpen) {
            m_out += m_standing == "ex" ? "</del>" : "</span>";
            m_spanOpen = false;
        }
    }

    std::string& m_out;
    std::string m_standing;
    std::size_t m_line = 1;
    bool m_lineOpen = false;
    bool m_spanOpen = false;
};

// What a person calls a stretch that is not shown. In the order of standingClass, so that the words
// and the colour never disagree.
std::string_view standingWords(const Standing& standing) {
    if (!standing.inRoot) {
        return "outside the root element";
    }
    if (standing.broken) {
        return "covered by a digest that does not fit";
    }
    if (standing.covered != 0) {
        return "covered by a signature";
    }
    if (standing.inSignature) {
        return "part of a signature";
    }
    if (standing.excluded) {
        return "excluded from the signature";
    }
    return standing.isVoid ? "named by a signature that does not vouch for it"
                           : "covered by nothing";
}

// The walk over the text: tokens, stretches, shown parts and marks are four lists in one order.
// Each list has a cursor that only moves forward; so the walk is linear in all four.
class DocumentView {
public:
    DocumentView(std::string_view text, std::span<const Stretch> stretches,
                 std::span<const Mark> marks, std::string& out)
        : m_text(text), m_stretches(stretches), m_marks(marks), m_lines(out),
          m_parts(shownParts(text, stretches)) {
        // Where the first line ends; found again when the walk passes it.
        m_lineStop = m_text.find('\n');
    }

    void run(xml::TextRange root) {
        TokenReader tokens(m_text, root);
        Token token;
        while (tokens.next(token)) {
            // An end tag stands at the depth of its start tag.
            if (token.kind == Token::Kind::EndTag && m_depth > 0) {
                --m_depth;
            }
            showToken(token);
            m_depth += token.kind == Token::Kind::StartTag ? 1 : 0;
            m_last = token.kind;
        }
        // Marks at the very end of the text, such as the end of a covered root.
        for (; m_mark < m_marks.size(); ++m_mark) {
            m_lines.mark(m_marks[m_mark]);
        }
        m_lines.closeLine();
    }

private:
    // A token may lie in several parts, and a part may hold several tokens.
    void showToken(const Token& token) {
        std::size_t at = token.range.start;
        bool isFirst = true;
        while (at < token.range.end()) {
            // Parts that were passed are left behind.
            if (m_part < m_parts.size() && at >= m_parts[m_part].end()) {
                ++m_part;
            }
            // The last part ends with the text, so there is a next one.
            const xml::TextRange part = m_parts[m_part];
            if (at < part.start) {
                // Told once, although several tokens may lie in it.
                if (part.start > m_gapEnd) {
                    leaveOut(xml::rangeOf(at, part.start));
                    m_gapEnd = part.start;
                }
                at = std::min<std::size_t>(part.start, token.range.end());
                continue;
            }
            // Only before the first piece: the others go on in the same line.
            if (isFirst) {
                breakBefore(token);
                isFirst = false;
            }
            const std::size_t end = std::min<std::size_t>(part.end(), token.range.end());
            showPiece(at, end, token.kind);
            at = end;
        }
    }

    // Where a document was written without line ends, its elements are shown one below the other.
    // Texts stay beside their tags: a line end that is put into them would look like content.
    void breakBefore(const Token& token) {
        const std::size_t at = token.range.start;
        // Behind text no line is begun.
        const bool afterTag = m_last == Token::Kind::StartTag || m_last == Token::Kind::EmptyTag ||
                              m_last == Token::Kind::EndTag;
        const bool opens =
            token.kind == Token::Kind::StartTag || token.kind == Token::Kind::EmptyTag;
        const bool closes =
            token.kind == Token::Kind::EndTag && m_last != Token::Kind::StartTag && afterTag;
        if (at > m_lineStart && isLongLine(at) && ((opens && afterTag) || closes)) {
            m_lines.breakLine(m_depth);
        }
    }

    // Looked up once a line, not once a token.
    bool isLongLine(std::size_t at) {
        if (at > m_lineStop && m_lineStop != std::string_view::npos) {
            m_lineStart = m_text.rfind('\n', at) + 1;
            m_lineStop = m_text.find('\n', at);
        }
        return std::min(m_lineStop, m_text.size()) - m_lineStart > kLongLine;
    }

    // A piece of one kind: divided at marks, at changes of the standing, and at line ends. All
    // three kinds of borders cut the piece, so that each part of it has one look.
    void showPiece(std::size_t at, std::size_t end, Token::Kind kind) {
        while (at < end) {
            // Marks come ahead of the text at their place, and those of a place that was passed as
            // well.
            while (m_mark < m_marks.size() && m_marks[m_mark].at <= at) {
                m_lines.mark(m_marks[m_mark++]);
            }
            while (m_stretches[m_stretch].range.end() <= at) {
                ++m_stretch;
            }
            m_lines.setStanding(m_stretches[m_stretch].standing);
            std::size_t stop = std::min<std::size_t>(end, m_stretches[m_stretch].range.end());
            if (m_mark < m_marks.size()) {
                stop = std::min(stop, m_marks[m_mark].at);
            }
            showLines(m_text.substr(at, stop - at), kind);
            at = stop;
        }
    }

    // Line ends are the document's; nothing of them is in the class of a stretch.
    void showLines(std::string_view piece, Token::Kind kind) {
        while (true) {
            const std::size_t lineEnd = piece.find('\n');
            std::string_view line = piece.substr(0, lineEnd);
            // A carriage return before a line feed is part of the line end (XML 1.0, 2.11).
            if (lineEnd != std::string_view::npos && line.ends_with('\r')) {
                line.remove_suffix(1);
            }
            showRuns(line, kind);
            if (lineEnd == std::string_view::npos) {
                return;
            }
            m_lines.lineEnd();
            piece.remove_prefix(lineEnd + 1);
            // Ahead of text only, so that blanks inside of a line keep their colour.
            const std::size_t text = std::min(piece.find_first_not_of(kBlanks), piece.size());
            m_lines.indentation(piece.substr(0, text));
            piece.remove_prefix(text);
        }
    }

    // The kind is told by an element: "i" for markup, "em" for comments, none for text.
    void showRuns(std::string_view piece, Token::Kind kind) {
        const std::string_view tag = kind == Token::Kind::Text      ? ""
                                     : kind == Token::Kind::Comment ? "em"
                                                                    : "i";
        while (!piece.empty()) {
            // Several short runs go in one.
            if (const std::size_t shown = shortRuns(piece); shown > 0) {
                m_lines.text(piece.substr(0, shown), tag);
                piece.remove_prefix(shown);
                continue;
            }
            // The end of a run is shown too, being what people compare (a digest's padding, the
            // last digits of a number).
            const std::size_t run = pastRun(piece, 0);
            const std::size_t front = characterStart(piece, kLongRun / 2);
            const std::size_t back = characterStart(piece, run - kLongRun / 8);
            m_lines.text(piece.substr(0, front), tag);
            m_lines.omission(back - front);
            m_lines.text(piece.substr(back, run - back), tag);
            piece.remove_prefix(run);
        }
    }

    // Length of what stands before the first long run. A run with its blank, so that the pieces add
    // up.
    static std::size_t shortRuns(std::string_view piece) noexcept {
        std::size_t at = 0;
        while (at < piece.size() && pastRun(piece, at) - at <= kLongRun) {
            at = pastRun(piece, at);
        }
        return at;
    }

    // Says what is not shown, how it is vouched for, and takes the marks that point there. Nothing
    // is left out silently: whoever hides a change in a large document must not find a page that
    // does not show it.
    void leaveOut(xml::TextRange gap) {
        std::map<std::string_view, std::size_t> octets;
        while (m_stretches[m_stretch].range.end() <= gap.start) {
            ++m_stretch;
        }
        // From the stretch at the beginning of the gap; the cursor itself stays, for the text
        // behind it.
        for (std::size_t i = m_stretch;
             i < m_stretches.size() && m_stretches[i].range.start < gap.end(); ++i) {
            const xml::TextRange range = m_stretches[i].range;
            octets[standingWords(m_stretches[i].standing)] +=
                std::min(range.end(), gap.end()) - std::max(range.start, gap.start);
        }
        std::string html = counted(gap.length, "octet is", "octets are") + " not shown here: ";
        std::string_view divider;
        for (const auto& [words, count] : octets) {
            html.append(divider) += octets.size() == 1 ? "all " : withGroups(count) + " ";
            html += words;
            divider = ", ";
        }
        // Links of the cards still lead somewhere.
        for (; m_mark < m_marks.size() && m_marks[m_mark].at < gap.end(); ++m_mark) {
            if (!m_marks[m_mark].id.empty()) {
                html += "<a id=\"" + m_marks[m_mark].id + "\"></a>";
            }
        }
        m_lines.note(html);
        // The one place where text is read that is not shown.
        const std::string_view left = m_text.substr(gap.start, gap.length);
        m_lines.skipLines(static_cast<std::size_t>(std::count(left.begin(), left.end(), '\n')));
    }

    std::string_view m_text;
    std::span<const Stretch> m_stretches;
    std::span<const Mark> m_marks;
    LineWriter m_lines;
    std::vector<xml::TextRange> m_parts;
    std::size_t m_part = 0;
    std::size_t m_stretch = 0;
    std::size_t m_mark = 0;
    std::size_t m_gapEnd = 0;
    std::size_t m_depth = 0;
    std::size_t m_lineStart = 0; // of the line that was asked about last
    std::size_t m_lineStop = 0;
    Token::Kind m_last = Token::Kind::Silent;
};

} // namespace

// `root` parts the content from what stands around it.
void appendDocumentText(std::string_view text, xml::TextRange root,
                        std::span<const Stretch> stretches, std::span<const Mark> marks,
                        std::string& out) {
    DocumentView(text, stretches, marks, out).run(root);
}

// Broken before covered: a text that one signature holds and another finds changed is to be looked
// at.
std::string standingClass(const Standing& standing) {
    if (!standing.inRoot) {
        return "pr";
    }
    if (standing.broken) {
        return "br";
    }
    if (standing.covered != 0) {
        return "m" + std::to_string(standing.covered) + (standing.excluded ? " xx" : "");
    }
    if (standing.inSignature) {
        return "sg";
    }
    if (standing.excluded) {
        return "ex";
    }
    return standing.isVoid ? "vo" : "un";
}

} // namespace vantrel::dsig::html
