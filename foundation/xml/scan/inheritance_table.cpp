// SPDX-License-Identifier: MIT
#include "foundation/xml/scan/inheritance_table.h"

#include <algorithm>

namespace vantrel::xml {

namespace {

constexpr std::uint32_t kWordBits = 64;

} // namespace

// Goes over the items once, with the elements that hold some and are still open on a stack.
class InheritanceTable::Builder final {
public:
    Builder(InheritanceTable& table, std::span<const ElementRecord> elements,
            std::span<const HandedDown> items)
        : m_table(table), m_elements(elements), m_items(items), m_bound(table.m_nameCount, kNone),
          m_hidden(items.size(), kNone) {}

    void run() {
        for (std::uint32_t item = 0; item < m_items.size(); ++item) {
            const ElementId element = m_items[item].element;
            if (item == 0 || m_items[item - 1].element != element) {
                closeBefore(element);
                m_open.push_back({element, subtreeEnd(m_elements, element), item, m_group});
            }
            take(item);
        }
        closeBefore(static_cast<ElementId>(m_elements.size()));
        sortSteps();
    }

private:
    struct Open {
        ElementId element;
        ElementId behind; // its subtree
        std::uint32_t firstItem;
        std::uint32_t groupBefore;
    };
    struct NamedStep {
        std::uint32_t name;
        Step step;
    };

    void take(std::uint32_t item) {
        const auto [element, name] = m_items[item];
        m_hidden[item] = m_bound[name];
        bind(name, element, item);
        if (m_hidden[item] != kNone) {
            return;
        }
        if (m_group == m_open.back().groupBefore) {
            const auto first = static_cast<std::uint32_t>(m_table.m_introduced.size());
            m_table.m_groups.push_back({m_group, first, first});
            setGroup(element, static_cast<std::uint32_t>(m_table.m_groups.size() - 1));
        }
        m_table.m_introduced.push_back(name);
        ++m_table.m_groups.back().end;
    }

    // Ends the elements whose subtrees lie before `element`.
    void closeBefore(ElementId element) {
        while (!m_open.empty() && m_open.back().behind <= element) {
            const Open last = m_open.back();
            m_open.pop_back();
            for (std::uint32_t item = last.firstItem;
                 item < m_items.size() && m_items[item].element == last.element; ++item) {
                bind(m_items[item].name, last.behind, m_hidden[item]);
            }
            if (m_group != last.groupBefore) {
                setGroup(last.behind, last.groupBefore);
            }
        }
    }

    void bind(std::uint32_t name, ElementId from, std::uint32_t item) {
        m_bound[name] = item;
        m_named.push_back({name, {from, item}});
    }
    void setGroup(ElementId from, std::uint32_t group) {
        m_group = group;
        m_table.m_groupSteps.push_back({from, group});
    }

    // The steps come in the order of their elements; they are put together by name.
    void sortSteps() {
        std::vector<std::uint32_t>& first = m_table.m_firstStep;
        first.assign(std::size_t{m_table.m_nameCount} + 1, 0);
        for (const NamedStep& one : m_named) {
            ++first[one.name + 1];
        }
        for (std::size_t name = 1; name < first.size(); ++name) {
            first[name] += first[name - 1];
        }
        std::vector<std::uint32_t> next(first.begin(), first.end());
        m_table.m_steps.resize(m_named.size());
        for (const NamedStep& one : m_named) {
            m_table.m_steps[next[one.name]++] = one.step;
        }
    }

    InheritanceTable& m_table;
    const std::span<const ElementRecord> m_elements;
    const std::span<const HandedDown> m_items;
    std::vector<std::uint32_t> m_bound;  // by name: the item in force
    std::vector<std::uint32_t> m_hidden; // by item: the one that it hides
    std::vector<Open> m_open;
    std::vector<NamedStep> m_named;
    std::uint32_t m_group = kNone;
};

InheritanceTable::InheritanceTable(std::span<const ElementRecord> elements,
                                   std::span<const HandedDown> items, std::uint32_t nameCount)
    : m_nameCount(nameCount) {
    Builder(*this, elements, items).run();
}

// Several steps may begin at one element, where subtrees end and others begin: the last counts.
std::uint32_t InheritanceTable::valueAt(std::span<const Step> steps, ElementId element) noexcept {
    const auto behind =
        std::upper_bound(steps.begin(), steps.end(), element,
                         [](ElementId at, const Step& step) { return at < step.from; });
    return behind == steps.begin() ? kNone : (behind - 1)->value;
}

std::uint32_t InheritanceTable::nearest(std::uint32_t name, ElementId element) const noexcept {
    const std::span<const Step> steps(m_steps);
    return valueAt(steps.subspan(m_firstStep[name], m_firstStep[name + 1] - m_firstStep[name]),
                   element);
}

void InheritanceTable::namesAt(ElementId element, std::vector<std::uint32_t>& names) const {
    names.clear();
    for (std::uint32_t at = valueAt(m_groupSteps, element); at != kNone; at = m_groups[at].outer) {
        const auto introduced = m_introduced.begin();
        names.insert(names.end(), introduced + m_groups[at].first, introduced + m_groups[at].end);
    }
    if (names.size() < m_nameCount / kWordBits) {
        std::sort(names.begin(), names.end());
        return;
    }
    // Many of all there are: one bit each sorts them.
    std::vector<std::uint64_t> present(m_nameCount / kWordBits + 1, 0);
    for (const std::uint32_t name : names) {
        present[name / kWordBits] |= std::uint64_t{1} << (name % kWordBits);
    }
    names.clear();
    for (std::uint32_t word = 0; word < present.size(); ++word) {
        for (std::uint64_t bits = present[word]; bits != 0; bits &= bits - 1) {
            names.push_back(word * kWordBits + static_cast<std::uint32_t>(__builtin_ctzll(bits)));
        }
    }
}

} // namespace vantrel::xml
