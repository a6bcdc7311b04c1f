// SPDX-License-Identifier: MIT
// Electronic prescriptions in HL7 version 3: the reference has no URI, and its meaning is given by
// the application (XML Signature 1.1, 4.4.3.1).

#include "dsig/transform/nhs_prescription.h"

#include "dsig/document/canonicalization_method.h"
#include "dsig/transform/element_space.h"
#include "dsig/transform/profile_markers.h"
#include "foundation/xml/canon/XmlCanon.h"

#include <string_view>
#include <vector>

namespace vantrel::dsig {

namespace {

using xml::ElementId;
using xml::kNoElement;

// One prescription on its way to its octets.
class DerivedPrescription {
public:
    DerivedPrescription(Document& document, LogBase& log) noexcept
        : m_document(document), m_structure(*document.structure), m_log(log) {
        m_canonicalizer.m_method = kExclusive;
    }

    [[nodiscard]] bool run(ElementId signature, StringBuffer& octets) {
        const ElementId author = m_structure.parent(m_structure.parent(signature));
        const ElementId prescription = m_structure.parent(author);
        const ElementId parent = m_structure.parent(m_structure.parent(prescription));
        const std::vector<ElementId> ids = childrenOf(prescription, "id");
        std::vector<std::vector<ElementId>> fragments = {
            {onlyChild(author, "time"), ids.empty() ? kNoElement : ids.front()},
            {onlyChild(author, "AgentPerson")},
            {onlyChild(parent, "recordTarget")}};
        for (const ElementId information : childrenOf(prescription, "pertinentInformation2")) {
            for (const ElementId item : childrenOf(information, "pertinentLineItem")) {
                fragments.push_back({item});
            }
        }
        octets.appendView("<FragmentsToBeHashed>");
        for (const std::vector<ElementId>& fragment : fragments) {
            octets.appendView("<Fragment>");
            for (const ElementId element : fragment) {
                if (!append(element, octets)) {
                    return false;
                }
            }
            octets.appendView("</Fragment>");
        }
        octets.appendView("</FragmentsToBeHashed>");
        return true;
    }

    [[nodiscard]] Coverage takeCoverage() {
        m_coverage.wholeDocument = false;
        m_coverage.elements.assign(m_copied);
        return std::move(m_coverage);
    }

private:
    [[nodiscard]] std::vector<ElementId> childrenOf(ElementId parent, std::string_view name) const {
        std::vector<ElementId> found;
        for (ElementId child = m_structure.firstChild(parent); child != kNoElement;
             child = m_structure.nextChild(parent, child)) {
            if (m_structure.localName(child) == name &&
                m_structure.namespaceUri(child) == marker::kHl7Version3) {
                found.push_back(child);
            }
        }
        return found;
    }

    [[nodiscard]] ElementId onlyChild(ElementId parent, std::string_view name) const {
        const std::vector<ElementId> found = childrenOf(parent, name);
        return found.size() == 1 ? found.front() : kNoElement;
    }

    // The state of a line item and the number of the issue change after the prescription was
    // signed. Ascending, as the canonicalizer needs its gaps.
    [[nodiscard]] bool leaveOut(ElementId item, std::vector<xml::TextRange>& gaps) {
        for (ElementId child = m_structure.firstChild(item); child != kNoElement;
             child = m_structure.nextChild(item, child)) {
            if (m_structure.namespaceUri(child) != marker::kHl7Version3) {
                continue;
            }
            if (m_structure.localName(child) == "pertinentInformation4" &&
                !leaveOutOne(child, gaps)) {
                return false;
            }
            if (m_structure.localName(child) != "repeatNumber") {
                continue;
            }
            for (const ElementId low : childrenOf(child, "low")) {
                if (!leaveOutOne(low, gaps)) {
                    return false;
                }
            }
        }
        return true;
    }

    [[nodiscard]] bool leaveOutOne(ElementId element, std::vector<xml::TextRange>& gaps) {
        const xml::ElementRecord& record = m_structure.element(element);
        Exclusion exclusion;
        exclusion.element = element;
        exclusion.why = exclusion::kNhsPrescription;
        const xml::TextRange gap = xml::rangeOf(record.start, record.end);
        if (!xml::isHole(m_structure, gap)) {
            return false;
        }
        gaps.push_back(gap);
        // What came out of an entity has no place in the text.
        m_coverage.known = m_structure.sourceRange(element, exclusion.range) && m_coverage.known;
        m_coverage.excluded.push_back(exclusion);
        return true;
    }

    [[nodiscard]] bool append(ElementId element, StringBuffer& octets) {
        std::vector<xml::TextRange> gaps;
        if (element == kNoElement ||
            (m_structure.localName(element) == "pertinentLineItem" && !leaveOut(element, gaps))) {
            return false;
        }
        const xml::ElementRecord& record = m_structure.element(element);
        StringBuffer form;
        xml::StringBufferSink sink(form, XmlCanon::formLimit(m_structure.textBuffer()));
        if (!m_document.account.takeOctets(record.end - record.start, m_log) ||
            !m_canonicalizer.canonicalizeElement(m_structure, element, gaps, sink, m_log) ||
            !m_document.account.takeOctets(form.getSize(), m_log)) {
            return false;
        }
        octets.append(withoutElementSpace(form.view()));
        m_copied.push_back(element);
        return true;
    }

    Document& m_document;
    const xml::XmlDocument& m_structure;
    LogBase& m_log;
    XmlCanon m_canonicalizer;
    std::vector<ElementId> m_copied;
    Coverage m_coverage;
};

} // namespace

bool derivePrescription(Document& document, xml::ElementId signature, StringBuffer& octets,
                        Coverage& coverage, LogBase& log) {
    DerivedPrescription derived(document, log);
    if (!derived.run(signature, octets)) {
        return false;
    }
    coverage = derived.takeCoverage();
    return true;
}

} // namespace vantrel::dsig
