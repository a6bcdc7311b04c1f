// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_NODES_WORK_BUDGET_H
#define FOUNDATION_XML_NODES_WORK_BUDGET_H

#include <cstdint>

namespace vantrel::xml {

// Steps that work on the nodes of a document may take: a node visited, a byte of text compared or
// made. Once it is used up it stays so, and whoever asks has to stop.
class WorkBudget final {
public:
    explicit WorkBudget(std::uint64_t steps) noexcept : m_left(steps) {}

    [[nodiscard]] bool take(std::uint64_t steps) noexcept {
        if (steps > m_left) {
            m_passed = true;
            m_left = 0;
            return false;
        }
        m_left -= steps;
        m_taken += steps;
        return !m_passed;
    }
    [[nodiscard]] bool passed() const noexcept { return m_passed; }
    [[nodiscard]] std::uint64_t taken() const noexcept { return m_taken; }

private:
    std::uint64_t m_left;
    std::uint64_t m_taken = 0;
    bool m_passed = false;
};

} // namespace vantrel::xml

#endif
