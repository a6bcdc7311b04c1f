// SPDX-License-Identifier: MIT
#include "dsig/html/page.h"

#include "dsig/html/document_view.h"
#include "dsig/html/escape.h"
#include "dsig/html/members.h"
#include "dsig/html/signature_card.h"
#include "dsig/html/style.h"
#include "dsig/html/windows.h"
#include "dsig/report/codes.h"
#include "dsig/report/refusals.h"

#include <algorithm>
#include <functional>
#include <set>
#include <utility>
#include <vector>

namespace vantrel::dsig::html {

namespace {

using json::JsonValue;

// Signatures with a part of the page; those that fail come before the others when there are more.
// An archive may hold thousands of signatures, of which a page can be read by nobody.
constexpr std::size_t kMostCards = 60;
// Places without a signature's cover that are marked. They are for finding places, and forty are
// more than anybody visits.
constexpr std::size_t kMostUncoveredMarks = 40;

// One page on its way. The parts that tell something are computed first, since the top of the page
// speaks of all of them.
class Page {
public:
    Page(std::string_view title, const xml::XmlDocument& document,
         std::span<const PageSignature> signatures, Judged judged)
        : m_title(title), m_text(document.sourceText().view()), m_signatures(signatures),
          m_judged(judged) {
        // A document has a root; without a place for it everything stands outside.
        static_cast<void>(document.sourceRange(0, m_root));
        for (const PageSignature& signature : signatures) {
            m_places.push_back(signature.places);
        }
        m_stretches = stretchesOf(m_places, m_root, static_cast<std::uint32_t>(m_text.size()));
        collectStandings();
        readReports();
    }

    void append(std::string& out) {
        // Ahead of the cards, which link to what is marked.
        makeMarks();
        const std::string style = styleSheet(m_stretches);
        // The policy comes ahead of anything that could break it: it holds from where it stands on.
        out += "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n"
               "<meta http-equiv=\"Content-Security-Policy\" content=\"" +
               securityPolicy(style) +
               "\">\n<meta name=\"viewport\" content=\"width=device-width,initial-scale=1\">\n"
               "<meta name=\"referrer\" content=\"no-referrer\">\n<title>";
        // The verdict is in the title too, for those who have many pages open.
        appendPlain(verdict(), out);
        out += ": ";
        appendPlain(m_title, out);
        out += "</title><style>" + style + "</style></head>\n<body>\n";
        appendVerdict(out);
        out += "<main>\n";
        appendCards(out);
        appendLegend(out);
        out += "<div class=\"doc\">\n";
        appendDocumentText(m_text, m_root, m_stretches, m_marks, out);
        // What a reader must know to compare the page with an editor.
        out += "</div>\n</main>\n<footer>Offsets and numbers of octets are those of the text as "
               "UTF-8. Boxes stand for characters that are not seen. Line breaks without a "
               "number were added for reading.</footer>\n</body></html>\n";
    }

private:
    // Reports are large beside what is needed of all of them, so one at a time is taken apart.
    // Warnings decide the tone, and whether the key is known to anybody but the document.
    void readReports() {
        for (const PageSignature& signature : m_signatures) {
            const JsonValue report = parsed(signature);
            const bool isValid = textOf(report, "status") == "valid";
            m_isValid.push_back(isValid);
            m_validCount += isValid ? 1 : 0;
            m_acceptedCount += flagOf(report, "accepted") ? 1 : 0;
            for (const JsonValue& code : listOf(report, "refusals")) {
                m_refusals.insert(std::string(code.text()));
            }
            for (const JsonValue& word : listOf(report, "warnings")) {
                // All three mean the same to a reader: parts of what is shown were not signed.
                m_hasGaps = m_hasGaps || word.text() == warning::kContentExcluded ||
                            word.text() == warning::kDocumentNotCovered ||
                            word.text() == warning::kCoverageUnknown;
                m_hasOwnKey = m_hasOwnKey || word.text() == warning::kKeyFromDocument;
            }
        }
    }

    // The report is the library's own, so it is JSON; else the card would be an empty one.
    static JsonValue parsed(const PageSignature& signature) {
        JsonValue report;
        std::size_t faultAt = 0;
        static_cast<void>(json::parseJson(signature.report, report, faultAt));
        return report;
    }

    [[nodiscard]] std::string verdict() const {
        std::string_view acceptance;
        if (m_judged != Judged::No) {
            acceptance = isAccepted() ? ", accepted" : ", not accepted";
        }
        if (m_signatures.empty()) {
            return "No signature" + std::string(acceptance);
        }
        // One that fails is enough: a document is as good as its worst signature.
        return (isValid() ? "Valid" : "Not valid") + std::string(acceptance);
    }

    [[nodiscard]] bool isValid() const {
        return !m_signatures.empty() && m_validCount == m_signatures.size();
    }

    // As the exit code of the tool has it.
    [[nodiscard]] bool isAccepted() const {
        return m_acceptedCount > 0 &&
               (m_judged == Judged::Any || m_acceptedCount == m_signatures.size());
    }

    // Valid is not all that counts. A green page for a document whose amount is not covered would
    // be worse than no page.
    [[nodiscard]] std::string_view tone() const {
        if (m_judged != Judged::No && !isAccepted()) {
            return "bad";
        }
        if (!isValid()) {
            // One accepted signature may be all that was asked for.
            return m_judged == Judged::Any ? "note" : "bad";
        }
        return m_hasGaps || !isCoveredWhole() ? "note" : "good";
    }

    // Signatures themselves are not content: none covers all of its own markup.
    [[nodiscard]] bool isCoveredWhole() const {
        return std::none_of(m_stretches.begin(), m_stretches.end(), [&](const Stretch& stretch) {
            return stretch.standing.inRoot && stretch.standing.covered == 0 &&
                   !stretch.standing.inSignature;
        });
    }

    // One sentence for those who read no further.
    void appendVerdict(std::string& out) const {
        out += "<header><div class=\"verdict " + std::string(tone()) + "\"><h1 class=\"" +
               std::string(tone()) + "\">" + verdict() + "</h1>\n<p><b>";
        appendShortened(m_title, 300, out);
        out += "</b>, " + counted(m_text.size(), "octet", "octets") + "</p>\n<p>";
        const std::size_t count = m_signatures.size();
        if (count == 0) {
            out += "The document holds no signature.";
        } else if (m_validCount == count) {
            out += count == 1 ? "The signature holds"
                              : "All " + withGroups(count) + " signatures hold";
            out += isCoveredWhole() ? count == 1 ? " and covers the whole document."
                                                 : ", and together they cover the whole document."
                                    : ", but not everything in the document is signed.";
        } else if (count == 1) {
            out += "The signature does not hold.";
        } else {
            out += withGroups(count - m_validCount) + " of " +
                   counted(count, "signature does", "signatures do") + " not hold.";
        }
        // Said at the top since it is the commonest misunderstanding: a signature that holds, by a
        // key that came with the document, proves nothing about the signer (XML Signature 1.1,
        // 4.5).
        if (m_hasOwnKey && m_validCount == count) {
            out += " Whose key it is, only the document itself says.";
        }
        out += "</p>";
        appendAcceptance(out);
        out += "</div></header>\n";
    }

    // What a policy says is no property of the document, so it is told apart.
    void appendAcceptance(std::string& out) const {
        if (m_judged == Judged::No) {
            return;
        }
        const std::size_t count = m_signatures.size();
        out += "\n<p>By the policy that was given the document is ";
        out +=
            isAccepted() ? "<b class=\"good\">accepted</b>" : "<b class=\"bad\">not accepted</b>";
        if (isAccepted() && m_acceptedCount < count) {
            out += ", for " + withGroups(m_acceptedCount) + " of " +
                   counted(count, "signature", "signatures");
        }
        out += isAccepted() || m_refusals.empty() ? ".</p>" : ":</p>";
        if (isAccepted()) {
            return;
        }
        // A dozen at most, however many signatures there are.
        for (const std::string& code : m_refusals) {
            out += "\n<p>";
            appendText(refusalText(code), out);
            out += " <code>";
            appendText(code, out);
            out += "</code></p>";
        }
    }

    // The first ones, and in place of the last of them those that fail. In the order of the
    // document all the same.
    [[nodiscard]] std::vector<std::size_t> shownCards() const {
        std::vector<std::size_t> order(m_signatures.size());
        for (std::size_t i = 0; i < order.size(); ++i) {
            order[i] = i;
        }
        if (order.size() > kMostCards) {
            // Failures keep their order among each other.
            std::stable_partition(order.begin() + kMostCards / 2, order.end(),
                                  [&](std::size_t i) { return !m_isValid[i]; });
            order.resize(kMostCards);
            std::sort(order.begin(), order.end());
        }
        return order;
    }

    void appendCards(std::string& out) const {
        const std::vector<std::size_t> shown = shownCards();
        for (const std::size_t i : shown) {
            // A report is taken apart anew here and dropped again: a page holds one at a time.
            appendCard(parsed(m_signatures[i]), m_places[i], i, m_hasUncovered, out);
        }
        if (shown.size() < m_signatures.size()) {
            out += "<p class=\"note\">" + withGroups(m_signatures.size() - shown.size()) +
                   " more signatures are not described here; the JSON report has all.</p>\n";
        }
    }

    // The classes that the text has, and the colours. For the legend: colours that do not occur
    // need no words.
    void collectStandings() {
        for (const Stretch& stretch : m_stretches) {
            m_colours |= stretch.standing.covered;
            const std::string name = standingClass(stretch.standing);
            // The colour of an "xx" is told by its number already.
            m_standings.insert(name.ends_with(" xx") ? "xx" : name);
        }
    }

    // Only what the text has is explained. A legend of ten entries for a page with two colours
    // would hide what matters.
    void appendLegend(std::string& out) const {
        constexpr std::pair<std::string_view, std::string_view> kOthers[] = {
            {"br", "a digest does not fit: changed since, or never signed so"},
            {"vo", "named by a signature that does not vouch for it"},
            {"ex", "excluded: inside, but not signed"},
            {"xx", "signed by one, excluded by another"},
            {"un", "covered by nothing"},
            {"sg", "a signature's own markup"},
            {"pr", "outside the root element: no content"}};
        out += "<h2>The document</h2>\n<ul class=\"legend\">\n";
        for (std::size_t i = 0; i < std::min(m_places.size(), kColours); ++i) {
            // A colour that no stretch has needs no line.
            const unsigned colour = 1U << i;
            if ((m_colours & colour) != 0) {
                // Colours are few, so the last one may stand for several signatures.
                const bool isLast = i + 1 == kColours && m_places.size() > kColours;
                out += "<li><span class=\"sw m" + std::to_string(colour) + "\">covered by " +
                       (isLast ? "further signatures"
                               : "signature " + std::to_string(m_places[i].index)) +
                       "</span></li>\n";
            }
        }
        for (const auto& [name, text] : kOthers) {
            if (m_standings.contains(name)) {
                out.append("<li><span class=\"sw ").append(name).append("\">");
                out.append(text).append("</span></li>\n");
            }
        }
        // Comments lie in covered text and are digested by few methods only; people must not take
        // them for content.
        if (m_text.find("<!--") != std::string_view::npos) {
            out += "<li><span class=\"sw\"><em>comments: no content</em></span></li>\n";
        }
        out += "</ul>\n";
        // Told beside the gaps themselves, ahead of the text.
        if (m_text.size() > kMostShown) {
            out += "<p class=\"note\">The document is large: its beginning, its end and the places "
                   "where the cover changes are shown.</p>\n";
        }
    }

    // Marks come from signatures and from stretches, so they are sorted last; of equal places the
    // signature's come first.
    void makeMarks() {
        for (const SignaturePlaces& signature : m_places) {
            markSignature(signature);
        }
        markUncovered();
        std::stable_sort(m_marks.begin(), m_marks.end(),
                         [](const Mark& one, const Mark& other) { return one.at < other.at; });
    }

    // All parts are the page's own, but for what the caller has escaped.
    static std::string label(std::string_view tone, const std::string& id,
                             const std::string& html) {
        return "<a class=\"k " + std::string(tone) + "\" href=\"#" + id + "\">" + html + "</a>";
    }

    void markSignature(const SignaturePlaces& signature) {
        const std::string number = std::to_string(signature.index);
        const std::string card = "s" + number;
        // Without a place: the signature element came out of an entity.
        if (!signature.element.empty()) {
            m_marks.push_back({signature.element.start, idOfSignature(signature.index),
                               label("", card, "signature " + number)});
        }
        // Cards list as many, so every link has its mark.
        const std::size_t count = std::min(signature.references.size(), kListed);
        for (std::size_t r = 0; r < count; ++r) {
            markReference(signature.references[r], signature.index, r);
        }
    }

    // The whole document needs no words at its beginning and end; a part of it has them.
    void markReference(const ReferencePlaces& reference, std::size_t signature, std::size_t r) {
        const std::string card = "s" + std::to_string(signature);
        const std::string number = std::to_string(signature);
        // The word follows the verdict: a reference that vouches for nothing names a place and does
        // not cover it.
        const bool fails = reference.verdict != ReferencePlaces::Verdict::Holds;
        std::size_t listed = 0;
        // The id goes to the first target; others are marked only.
        for (const xml::TextRange target : reference.targets) {
            // Empty ranges have no place in the text.
            if (target.empty() || ++listed > kListed) {
                continue;
            }
            const std::string id = listed == 1 ? idOfTarget(signature, r) : std::string();
            if (reference.wholeDocument) {
                m_marks.push_back({target.start, id, {}});
                continue;
            }
            const std::string what = fails ? " names from here" : " covers from here";
            m_marks.push_back(
                {target.start, id, label(fails ? "bad" : "good", card, number + what)});
            m_marks.push_back(
                {target.end(), {}, label(fails ? "bad" : "good", card, number + " to here")});
        }
        // Their reasons are codes of the library and hold no markup.
        for (std::size_t k = 0; k < std::min(reference.excluded.size(), kListed); ++k) {
            const ExcludedPlace& excluded = reference.excluded[k];
            m_marks.push_back(
                {excluded.range.start, idOfExclusion(signature, r, k),
                 label("bad", card, "not signed by " + number + ": " + std::string(excluded.why))});
        }
    }

    // The first one carries the id that warnings link to.
    void markUncovered() {
        std::size_t listed = 0;
        // By class, so that marks stand exactly where the colour is.
        for (const Stretch& stretch : m_stretches) {
            if (standingClass(stretch.standing) != "un") {
                continue;
            }
            if (++listed > kMostUncoveredMarks) {
                return;
            }
            m_hasUncovered = true;
            m_marks.push_back({stretch.range.start, listed == 1 ? kUncoveredId : std::string(),
                               "<b class=\"k note\">not covered</b>"});
        }
    }

    std::string_view m_title;
    std::string_view m_text;
    std::span<const PageSignature> m_signatures;
    Judged m_judged;
    xml::TextRange m_root;
    std::vector<SignaturePlaces> m_places;
    std::vector<Stretch> m_stretches;
    std::vector<Mark> m_marks;
    std::set<std::string, std::less<>> m_standings;
    unsigned m_colours = 0;
    std::vector<bool> m_isValid;
    std::size_t m_validCount = 0;
    std::size_t m_acceptedCount = 0;
    std::set<std::string> m_refusals;
    bool m_hasGaps = false;
    bool m_hasOwnKey = false;
    bool m_hasUncovered = false;
};

} // namespace

void appendPage(std::string_view title, const xml::XmlDocument& document,
                std::span<const PageSignature> signatures, Judged judged, std::string& html) {
    Page(title, document, signatures, judged).append(html);
}

} // namespace vantrel::dsig::html
