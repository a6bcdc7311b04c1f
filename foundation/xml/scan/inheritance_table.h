// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_INHERITANCE_TABLE_H
#define FOUNDATION_XML_SCAN_INHERITANCE_TABLE_H

#include "foundation/xml/scan/xml_document.h"

#include <cstdint>
#include <span>
#include <vector>

namespace vantrel::xml {

// Something with a name that an element hands down to its subtree, where it hides what came from
// further up under the same name.
struct HandedDown {
    ElementId element;
    std::uint32_t name; // a number
};

// Tells what is in force at an element without a walk over its ancestors. Element numbers stand in
// document order, so what is in force for one name is a step function of the element: it changes
// where an element that hands the name down begins and behind its subtree. A question costs a
// binary search, and a list of names what it lists, however deep the element and however much was
// hidden on the way down.
class InheritanceTable final {
public:
    static constexpr std::uint32_t kNone = 0xFFFFFFFF;

    // `items` in document order, their names below `nameCount`. Work and memory are proportional to
    // the number of items and names.
    InheritanceTable(std::span<const ElementRecord> elements, std::span<const HandedDown> items,
                     std::uint32_t nameCount);

    // Index of the item in force for `name` at `element`, its own included; kNone without one.
    [[nodiscard]] std::uint32_t nearest(std::uint32_t name, ElementId element) const noexcept;
    // The names that something is in force for at `element`, ascending.
    void namesAt(ElementId element, std::vector<std::uint32_t>& names) const;

    // What the table keeps: at most two steps an item, and a group for each element that hands down
    // a name which nothing above it does.
    [[nodiscard]] std::size_t stepCount() const noexcept { return m_steps.size(); }
    [[nodiscard]] std::size_t groupCount() const noexcept { return m_groups.size(); }

private:
    class Builder;

    struct Step {
        ElementId from; // the element from which on it holds
        std::uint32_t value;
    };
    // Names that one element hands down and nothing above it does.
    struct Group {
        std::uint32_t outer; // the group of an ancestor, or kNone
        std::uint32_t first; // in m_introduced
        std::uint32_t end;
    };

    [[nodiscard]] static std::uint32_t valueAt(std::span<const Step> steps,
                                               ElementId element) noexcept;

    std::uint32_t m_nameCount;
    std::vector<Step> m_steps;              // by name, then by element
    std::vector<std::uint32_t> m_firstStep; // of each name, and behind the last
    std::vector<Step> m_groupSteps;
    std::vector<Group> m_groups;
    std::vector<std::uint32_t> m_introduced;
};

} // namespace vantrel::xml

#endif
