#include "foundation/xml/canon/namespace_state.h"

#include <functional>

namespace vantrel::xml {

namespace {

constexpr std::size_t kFirstSlots = 32;

} // namespace

NamespaceState::NamespaceState() : m_slots(kFirstSlots, 0) {
    m_bindings.reserve(kFirstSlots / 2);
    m_bindings.emplace_back(); // kDefault, reached without the hash table
}

NamespaceState::PrefixId NamespaceState::idOf(std::string_view prefix) {
    std::size_t slot = std::hash<std::string_view>{}(prefix) & (m_slots.size() - 1);
    while (m_slots[slot] != 0) {
        const PrefixId found = m_slots[slot] - 1;
        if (m_bindings[found].prefix == prefix) {
            return found;
        }
        slot = (slot + 1) & (m_slots.size() - 1);
    }
    return insert(prefix, slot);
}

NamespaceState::PrefixId NamespaceState::insert(std::string_view prefix, std::size_t slot) {
    const auto added = static_cast<PrefixId>(m_bindings.size());
    m_bindings.emplace_back().prefix = prefix;
    m_slots[slot] = added + 1;
    if (m_bindings.size() * 2 > m_slots.size()) {
        grow();
    }
    return added;
}

void NamespaceState::grow() {
    m_slots.assign(m_slots.size() * 4, 0);
    for (std::size_t i = 1; i < m_bindings.size(); ++i) {
        std::size_t slot =
            std::hash<std::string_view>{}(m_bindings[i].prefix) & (m_slots.size() - 1);
        while (m_slots[slot] != 0) {
            slot = (slot + 1) & (m_slots.size() - 1);
        }
        m_slots[slot] = static_cast<std::uint32_t>(i + 1);
    }
}

void NamespaceState::remember(PrefixId prefix, std::uint32_t depth) {
    const PrefixBinding& binding = m_bindings[prefix];
    m_undo.push_back({depth, prefix, binding.inScope, binding.rendered, binding.hidden});
}

void NamespaceState::undoLast() noexcept {
    const Undo& last = m_undo.back();
    PrefixBinding& binding = m_bindings[last.prefix];
    binding.inScope = last.inScope;
    binding.rendered = last.rendered;
    binding.hidden = last.hidden;
    settle(binding);
    m_undo.pop_back();
}

void NamespaceState::declare(PrefixId prefix, std::string_view name, std::uint32_t depth) {
    remember(prefix, depth);
    PrefixBinding& binding = m_bindings[prefix];
    binding.inScope = name;
    binding.hidden = false;
    settle(binding);
}

void NamespaceState::render(PrefixId prefix, std::uint32_t depth) {
    remember(prefix, depth);
    PrefixBinding& binding = m_bindings[prefix];
    binding.rendered = binding.inScope;
    binding.pending = false;
}

void NamespaceState::inherit(PrefixId prefix, std::string_view name, bool hidden) {
    if (m_inherited.size() <= prefix) {
        m_inherited.resize(std::size_t{prefix} * 2 + 8);
    }
    if (m_inherited[prefix]) {
        return;
    }
    m_inherited[prefix] = true;
    PrefixBinding& binding = m_bindings[prefix];
    binding.inScope = name;
    binding.hidden = hidden;
    settle(binding);
}

} // namespace vantrel::xml
