// SPDX-License-Identifier: MIT
#ifndef DSIG_TRANSFORM_ELEMENT_MAP_H
#define DSIG_TRANSFORM_ELEMENT_MAP_H

#include "foundation/xml/scan/xml_document.h"

#include <vector>

namespace vantrel::dsig {

// Which elements of the loaded document stand in a text that transforms made of it. Transforms take
// elements out and cut texts down to elements, but never add or reorder any, so the elements of the
// text, in their order, are runs of the loaded ones. The numbers of a text are counted anew from 0,
// those in the loaded document never change; the map translates without looking at any text. Memory
// and time are proportional to the number of runs, which is that of the cuts and not of the
// elements.
class ElementMap {
public:
    // A text that holds all of `count` elements.
    explicit ElementMap(xml::ElementId count) : m_size(count) {}

    // Number of elements of the text.
    [[nodiscard]] xml::ElementId size() const noexcept { return m_size; }
    // The loaded element that the text's element is, and the reverse; kNoElement for none.
    [[nodiscard]] xml::ElementId toLoaded(xml::ElementId inText) const noexcept;
    [[nodiscard]] xml::ElementId toText(xml::ElementId loaded) const noexcept;

    // The text loses its elements [first, end).
    // Element numbers below are those of the text before the call; an end beyond the last element
    // means the last. A range that is empty removes nothing, and keeps nothing.
    void remove(xml::ElementId first, xml::ElementId end);
    // The text is cut down to its elements [first, end).
    void keep(xml::ElementId first, xml::ElementId end);
    // The text's elements are followed by those of `other`. Used where several elements are
    // canonicalized one behind the other. An element may then occur twice, when one apex lies in
    // another; toText gives its first place.
    void append(const ElementMap& other);

private:
    struct Run {
        xml::ElementId loaded; // its first element
        xml::ElementId count;
    };

    void makeRuns();

    xml::ElementId m_size;
    std::vector<Run> m_runs; // empty: the loaded elements from the first on
};

} // namespace vantrel::dsig

#endif
