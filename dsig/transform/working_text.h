// SPDX-License-Identifier: MIT
#ifndef DSIG_TRANSFORM_WORKING_TEXT_H
#define DSIG_TRANSFORM_WORKING_TEXT_H

#include "dsig/document/work_account.h"
#include "dsig/report/coverage.h"
#include "dsig/transform/element_map.h"
#include "dsig/transform/gapped_text.h"
#include "foundation/text/LogBase.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/xml/canon/canonicalizer.h"
#include "foundation/xml/scan/xml_document.h"

#include <memory>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace vantrel::dsig {

// The text that the transforms of a reference hand on, and what of the loaded document it stands
// for. It starts as the loaded document (entities expanded), shared and with its structure known.
// Steps find what they take out by searching the text; it is taken out only when it is a run of
// whole sibling elements, so that each element of the text remains one of the loaded document and
// what is missing can be named there. This is what keeps removals by text search honest. A marker
// inside a comment, a CDATA section or an attribute value names no element, and a stretch that cuts
// an element open is no run; either would let an attacker choose freely what the digest leaves out,
// and both are refused. Not for use by several threads at once.
class WorkingText {
public:
    // A text that stands for itself: nothing is known of where it came from, and what is found in
    // it is taken out as text.
    explicit WorkingText(const StringBuffer& text) : m_text(text), m_map(0) {}
    // The loaded document. What is done with the text is charged to the account, which must outlive
    // it.
    WorkingText(std::shared_ptr<const xml::XmlDocument> loaded, WorkAccount& account);

    // The text itself, with what was taken out cut from it. Cutting renumbers: positions and
    // element numbers from before hold no longer.
    [[nodiscard]] const StringBuffer& text();
    // The same for searching, as it stands: positions are those of takeOut and cutDownTo. Valid
    // until the text changes.
    [[nodiscard]] GappedText searchable() const noexcept {
        return GappedText(m_text.view(), m_gaps);
    }

    // Takes out stretches of searchable(), ascending and disjoint. False after an error line, the
    // text unchanged, when one of them is not a run of whole sibling elements. `why` is of static
    // storage. The reason is reported with the place in the loaded document. No stretch at all is
    // success.
    [[nodiscard]] bool takeOut(const std::vector<xml::TextRange>& ranges, std::string_view why,
                               LogBase& log);
    // The same for stretches that go together for reasons of their own.
    struct Cut {
        xml::TextRange range;
        std::string_view why;
    };
    [[nodiscard]] bool takeOut(std::span<const Cut> cuts, LogBase& log);
    // Leaves only this stretch of searchable(): one whole element, or the root with what stands
    // around it. False after an error line otherwise, the text unchanged. It is refused where the
    // document type declares attributes: the part would be read without the defaults that belong to
    // it.
    [[nodiscard]] bool cutDownTo(xml::TextRange range, LogBase& log);
    // The canonical form of these elements of structure(), one behind the other, takes the text's
    // place; no element: that of the whole text. The coverage narrows to them. `octets` is emptied
    // into the text.
    void canonicalized(std::span<const xml::ElementId> apexes, StringBuffer& octets);
    // The same where the octets went to a sink; the text is then no longer of use.
    void streamed(std::span<const xml::ElementId> apexes);
    [[nodiscard]] bool wasStreamed() const noexcept { return m_streamed; }

    // The structure of searchable(), parsed where it is not known; null after an error line.
    // Elements in gaps are still in it; see isTakenOut. A parse is charged to the account, so null
    // may also mean that the limit on octets was reached.
    [[nodiscard]] const std::shared_ptr<const xml::XmlDocument>& structure(LogBase& log);
    [[nodiscard]] std::span<const xml::TextRange> gaps() const noexcept { return m_gaps; }
    [[nodiscard]] WorkAccount* account() const noexcept { return m_account; }
    // The document that the text was made of; null when that is not known.
    [[nodiscard]] const std::shared_ptr<const xml::XmlDocument>& loaded() const noexcept {
        return m_loaded;
    }
    // The element of structure() that is this element of the loaded document; kNoElement when the
    // text does not hold it, or no more.
    [[nodiscard]] xml::ElementId elementOf(xml::ElementId loaded) const noexcept;
    // An element of structure() that lies in a gap, alone or within another.
    [[nodiscard]] bool isTakenOut(xml::ElementId element) const noexcept;
    // Notes that an element of structure() is not digested.
    void noteExcluded(xml::ElementId element, std::string_view why);
    // Notes that something which is no element is not digested, so that the coverage is not known.
    void notePartlyDigested() noexcept { m_coverage.known = false; }

    // What of the loaded document the text stands for by now. It means nothing for a text that
    // stands for itself.
    [[nodiscard]] const Coverage& coverage() const noexcept { return m_coverage; }
    [[nodiscard]] Coverage takeCoverage() noexcept { return std::move(m_coverage); }

private:
    // First and last element of a stretch that is whole siblings, none of them taken out before.
    [[nodiscard]] bool isElementRun(const xml::XmlDocument& document, xml::TextRange range,
                                    xml::ElementId& first, xml::ElementId& last) const noexcept;
    // Puts a run of siblings, by its first and last element, into the coverage.
    void exclude(xml::ElementId first, xml::ElementId last, std::string_view why);
    // Makes the gaps real: text and map lose them, the structure is to be parsed anew.
    void cutGaps();
    // The coverage becomes these elements of structure(); none: it stays as it is.
    void narrowTo(std::span<const xml::ElementId> apexes);
    // Takes the text over; gaps and structure were those of the old one. The map is the caller's
    // matter.
    void setText(StringBuffer& text);
    // The map of an element's subtree as it will be once the gaps are cut.
    [[nodiscard]] ElementMap subtreeWithoutGaps(xml::ElementId apex) const;

    std::shared_ptr<const xml::XmlDocument> m_loaded;
    WorkAccount* m_account = nullptr;
    StringBuffer m_text;
    std::shared_ptr<const xml::XmlDocument> m_structure; // of m_text; null: not known
    std::vector<xml::TextRange> m_gaps; // of m_text, ascending and disjoint, each an xml::isHole
    ElementMap m_map;                   // of the elements of m_text, those in gaps included
    Coverage m_coverage;
    bool m_streamed = false;
};

} // namespace vantrel::dsig

#endif
