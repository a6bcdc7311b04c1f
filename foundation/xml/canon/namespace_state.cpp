#include "foundation/xml/canon/namespace_state.h"

#include "foundation/xml/canon/escape.h"

#include <cstring>

namespace vantrel::xml {

namespace {

constexpr std::uint32_t kHiddenBit = 0x80000000;

} // namespace

NamespaceState::PrefixId NamespaceState::id(std::string_view prefix) {
    const PrefixId number = m_prefixes.number(prefix);
    if (number >= m_bindings.size()) {
        m_bindings.resize(std::size_t{number} + 1);
    }
    return number;
}

NamespaceState::PrefixId NamespaceState::recentId(const char* at, std::uint32_t length) {
    if (length == 0) {
        return kDefault;
    }
    if (length > 8) {
        return id(std::string_view(at, length));
    }
    std::uint64_t key = 0;
    std::memcpy(&key, at, sizeof key);
    key &=
        ~std::uint64_t{0} >> (64 - 8 * length); // no prefix holds a NUL: the length is in the key
    constexpr std::uint64_t kSpread = 0x9E3779B97F4A7C15;
    Recent& recent = m_recent[(key * kSpread) >> 60];
    if (recent.key != key) {
        recent = {key, id(std::string_view(at, length))};
    }
    return recent.prefix;
}

void NamespaceState::remember(PrefixId prefix, std::uint32_t depth) {
    const PrefixBinding& binding = m_bindings[prefix];
    m_undo.push_back(
        {depth, binding.hidden ? prefix | kHiddenBit : prefix, binding.inScope, binding.rendered});
}

void NamespaceState::undoLast() noexcept {
    const Undo last = m_undo.back();
    m_undo.pop_back();
    PrefixBinding& binding = m_bindings[last.prefix & ~kHiddenBit];
    binding.inScope = last.inScope;
    binding.rendered = last.rendered;
    binding.hidden = (last.prefix & kHiddenBit) != 0;
    settle(binding);
}

void NamespaceState::declare(PrefixId prefix, std::string_view name, std::uint32_t depth) {
    remember(prefix, depth);
    PrefixBinding& binding = m_bindings[prefix];
    binding.inScope = m_names.number(name);
    binding.hidden = false;
    settle(binding);
}

std::string_view NamespaceState::render(PrefixId prefix, std::uint32_t depth) {
    remember(prefix, depth);
    PrefixBinding& binding = m_bindings[prefix];
    binding.rendered = binding.inScope;
    binding.pending = false;
    if (binding.declaration.empty() || binding.declarationOf != binding.inScope) {
        writeDeclaration(prefix);
    }
    return binding.declaration;
}

void NamespaceState::writeDeclaration(PrefixId prefix) {
    PrefixBinding& binding = m_bindings[prefix];
    binding.declaration = " xmlns";
    if (prefix != kDefault) {
        binding.declaration += ':';
        binding.declaration += m_prefixes[prefix];
    }
    binding.declaration += "=\"";
    appendAttributeEscaped(m_names[binding.inScope], binding.declaration);
    binding.declaration += '"';
    binding.declarationOf = binding.inScope;
}

void NamespaceState::inherit(PrefixId prefix, std::string_view name, bool hidden) {
    PrefixBinding& binding = m_bindings[prefix];
    if (!binding.inherited) {
        binding.inherited = true;
        binding.inScope = m_names.number(name);
        binding.hidden = hidden;
        settle(binding);
    }
}

} // namespace vantrel::xml
