// SPDX-License-Identifier: MIT
#include "foundation/xml/canon/namespace_state.h"

#include "foundation/xml/canon/escape.h"
#include "foundation/xml/scan/parse_follower.h"

#include <algorithm>

namespace vantrel::xml {

namespace {

constexpr std::size_t kLongName = 256;

} // namespace

NamespaceState::PrefixId NamespaceState::id(std::string_view prefix) {
    const PrefixId number = m_prefixes.number(prefix);
    if (number >= m_bindings.size()) {
        m_bindings.push_back({}); // numbers are given out one by one
        bindInherited(number);
    }
    return number;
}

void NamespaceState::learn(Recent& place, std::uint64_t key, std::string_view prefix) {
    const PrefixId number = id(prefix);
    m_bindings[number].slot = slotOf(key);
    place = {key, number, m_bindings[number].pending};
}

void NamespaceState::undoUpTo(std::uint32_t offset) noexcept {
    while (!m_undo.empty() && m_undo.back().end <= offset) {
        const Undo last = m_undo.back();
        m_undo.pop_back();
        const PrefixId prefix = last.prefix & ~kHiddenBit;
        PrefixBinding& binding = m_bindings[prefix];
        binding.inScope = last.inScope;
        binding.rendered = last.rendered;
        binding.hidden = (last.prefix & kHiddenBit) != 0;
        binding.undoneAt = last.undoneAt;
        settle(prefix);
    }
    m_nextUndo = m_undo.empty() ? PrefixBinding::kNever : m_undo.back().end;
}

void NamespaceState::learnEnds(std::span<const ElementRecord> elements) noexcept {
    const auto learn = [elements](std::uint32_t& end) {
        if (end >= kStillOpen && end != PrefixBinding::kNever) {
            end = elements[end - kStillOpen].end;
        }
    };
    for (Undo& undo : m_undo) {
        learn(undo.end);
        learn(undo.undoneAt);
    }
    for (PrefixBinding& binding : m_bindings) {
        learn(binding.undoneAt);
    }
    m_nextUndo = m_undo.empty() ? PrefixBinding::kNever : m_undo.back().end;
}

void NamespaceState::declare(PrefixId prefix, std::string_view name, std::string_view written,
                             NamespaceExtent extent) {
    remember(prefix, extent);
    PrefixBinding& binding = m_bindings[prefix];
    binding.inScope = m_names.number(name);
    takeWritten(written, binding);
    binding.hidden = false;
    settle(prefix);
}

void NamespaceState::writeDeclaration(PrefixId prefix) {
    PrefixBinding& binding = m_bindings[prefix];
    std::string& made = m_made[prefix];
    made = " xmlns";
    if (prefix != kDefault) {
        made += ':';
        made += m_prefixes[prefix];
    }
    made += "=\"";
    appendAttributeEscaped(m_names[binding.inScope], made);
    made += '"';
    const std::size_t size = made.size();
    made.append(CanonOutput::kBlock, ' '); // is read along
    takeWritten(std::string_view(made).substr(0, size), binding);
}

void NamespaceState::inherit(PrefixId prefix, std::string_view name, std::string_view written,
                             bool hidden) {
    PrefixBinding& binding = m_bindings[prefix];
    if (!binding.inherited) {
        binding.inherited = true;
        binding.inScope = m_names.number(name);
        takeWritten(written, binding);
        binding.hidden = hidden;
        settle(prefix);
    }
}

int NamespaceState::compareDistinct(std::uint32_t a, std::uint32_t b) {
    const std::string_view first = m_names[a];
    const std::string_view second = m_names[b];
    if (std::min(first.size(), second.size()) < kLongName) {
        return first.compare(second);
    }
    const auto [known, added] = m_order.try_emplace(std::uint64_t{a} << 32 | b, 0);
    if (added) {
        known->second = first.compare(second);
    }
    return known->second;
}

void NamespaceState::inheritFrom(const XmlDocument& document, ElementId outer, bool hidden) {
    m_document = &document;
    m_outer = outer;
    m_inheritedHidden = hidden;
    for (PrefixId prefix = 0; prefix < size(); ++prefix) {
        bindInherited(prefix);
    }
}

void NamespaceState::bindInherited(PrefixId prefix) {
    const std::uint32_t known =
        m_document == nullptr ? kNoPrefix : m_document->findPrefix(m_prefixes[prefix]);
    if (known == kNoPrefix || known == kXmlPrefix) {
        return;
    }
    const InheritedNamespaces& inherited = m_document->inheritedNamespaces();
    const NamespaceDecl* const found = inherited.nearest(inherited.rankOf(known), m_outer);
    if (found == nullptr) {
        return;
    }
    inherit(prefix, m_document->namespaceName(*found), m_document->canonicalDeclaration(*found),
            m_inheritedHidden);
    if (m_inheritedWritten && !m_inheritedHidden) {
        PrefixBinding& binding = m_bindings[prefix];
        binding.rendered = binding.inScope;
        settle(prefix);
    }
}

} // namespace vantrel::xml
