// SPDX-License-Identifier: MIT
#ifndef DSIG_REPORT_ELEMENT_LIST_H
#define DSIG_REPORT_ELEMENT_LIST_H

#include "foundation/xml/scan/xml_document.h"

#include <span>
#include <vector>

namespace vantrel::dsig {

// A few elements, mostly one or none: that one is kept without an allocation, since every reference
// of a report has such a list.
class ElementList {
public:
    void assign(std::span<const xml::ElementId> elements) {
        m_one = elements.size() == 1 ? elements.front() : xml::kNoElement;
        m_several.clear();
        if (elements.size() > 1) {
            m_several.assign(elements.begin(), elements.end());
        }
    }
    // Valid until the next assignment.
    [[nodiscard]] std::span<const xml::ElementId> all() const noexcept {
        return m_one != xml::kNoElement ? std::span<const xml::ElementId>(&m_one, 1) : m_several;
    }
    [[nodiscard]] bool empty() const noexcept { return all().empty(); }
    // Only of a list that is not empty.
    [[nodiscard]] xml::ElementId front() const noexcept { return all().front(); }

private:
    // The only element; kNoElement when there are none or several.
    xml::ElementId m_one = xml::kNoElement;
    std::vector<xml::ElementId> m_several;
};

} // namespace vantrel::dsig

#endif
