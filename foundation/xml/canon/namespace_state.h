// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_CANON_NAMESPACE_STATE_H
#define FOUNDATION_XML_CANON_NAMESPACE_STATE_H

#include "foundation/xml/canon/clear_prefixes.h"
#include "foundation/xml/canon/view_table.h"
#include "foundation/xml/scan/grow_array.h"
#include "foundation/xml/scan/inheritance.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vantrel::xml {

// What the canonicalizer knows of one prefix at the place it has reached. Namespace names are
// numbers of NamespaceState; 0 is none, which a prefix other than the default one is never bound
// to.
struct PrefixBinding {
    std::uint32_t inScope = 0;
    std::uint32_t rendered = 0; // what the nearest output ancestor that wrote the prefix wrote
    // The binding in scope must be written by the next element that uses the prefix.
    bool pending = false;
    bool hidden = false; // bound outside the apex element, and not to be written
    bool listed = false; // in the PrefixList
    bool inherited = false;
    std::uint64_t key = 0;           // see prefixKey
    std::uint32_t takenBy = 0;       // serial of the tag that last listed this prefix
    std::uint32_t declarationOf = 0; // the name that `declaration` writes
    std::string declaration;         // ` xmlns:prefix="name"`, made when first needed
};

// What an element that declares or renders holds for.
struct NamespaceExtent {
    std::uint32_t end = 0; // the offset behind the element
    // Whether the end is worth a stop. Elements in a short one are short.
    bool isLong = true;
    // No element is in this one: nobody asks what holds there.
    bool isLeaf = false;
};

// Namespace bindings in scope and bindings already written, as one table with an undo stack:
// entering and leaving an element costs what it declares and writes, whatever its depth and
// whatever else is in scope. Depth is not counted: what an element did is taken back at the offset
// where it ends. The texts given to it must outlive it.
class NamespaceState final {
public:
    using PrefixId = std::uint32_t;
    static constexpr PrefixId kDefault = 0;

    NamespaceState() {
        m_bindings.reserve(kUsual); // mostly the only allocation
        m_bindings.emplace_back();
    }
    NamespaceState(const NamespaceState&) = delete;
    NamespaceState& operator=(const NamespaceState&) = delete;

    // The number of a prefix, given out at first sight.
    [[nodiscard]] PrefixId id(std::string_view prefix);
    // The same for the `length` bytes at `at`, where eight bytes are readable. It remembers the
    // last ones.
    [[nodiscard, gnu::always_inline]] PrefixId recentId(const char* at, std::uint32_t length) {
        if (length - 1 >= 8) [[unlikely]] {
            return length == 0 ? kDefault : id(std::string_view(at, length));
        }
        const std::uint64_t key = prefixKey(at, length);
        Recent& recent = m_recent[prefixSlot(key)];
        if (recent.key != key) [[unlikely]] {
            recent = {key, id(std::string_view(at, length))};
        }
        return recent.prefix;
    }
    [[nodiscard]] PrefixId size() const noexcept {
        return static_cast<PrefixId>(m_bindings.size());
    }
    [[nodiscard]] PrefixBinding& operator[](PrefixId prefix) { return m_bindings[prefix]; }
    [[nodiscard]] const PrefixBinding& operator[](PrefixId prefix) const {
        return m_bindings[prefix];
    }
    [[nodiscard]] std::string_view prefixText(PrefixId prefix) const { return m_prefixes[prefix]; }
    // The number of the namespace that the prefix xml stands for.
    [[nodiscard]] std::uint32_t xmlName() {
        if (m_xmlName == 0) {
            m_xmlName = m_names.number(kXmlNamespace);
        }
        return m_xmlName;
    }
    // Below, equal to or above 0: the order of two namespace names, by their bytes. Long ones are
    // compared only once.
    [[nodiscard]] int compareNames(std::uint32_t a, std::uint32_t b) {
        return a == b ? 0 : compareDistinct(a, b);
    }

    // Binds the prefix within `extent`, of the element at hand.
    void declare(PrefixId prefix, std::string_view name, NamespaceExtent extent);
    // Notes that the element at hand writes the binding in scope, and returns how: a namespace
    // declaration with a space before it, valid until the next call.
    [[nodiscard]] std::string_view render(PrefixId prefix, NamespaceExtent extent) {
        PrefixBinding& binding = m_bindings[prefix];
        if (!extent.isLeaf) {
            remember(prefix, extent);
            binding.rendered = binding.inScope;
            settle(prefix);
        }
        if (binding.declarationOf != binding.inScope || binding.declaration.empty()) {
            writeDeclaration(prefix);
        }
        return binding.declaration;
    }
    // Binds the prefix for the whole walk, from outside the apex; the first call for a prefix
    // counts.
    void inherit(PrefixId prefix, std::string_view name, bool hidden);

    // The same for everything in force at `outer`, each prefix when it is first seen. To be called
    // in place of inherit().
    void inheritFrom(const XmlDocument& document, ElementId outer, bool hidden);
    // What is inherited was written by the apex: prefixes that are seen from now on are no more
    // due.
    void inheritedAreWritten() noexcept { m_inheritedWritten = true; }

    // Takes back what elements that end at `offset` or before did.
    void leave(std::uint32_t offset) noexcept {
        if (!m_undo.empty() && m_undo.back().end <= offset) {
            undoUpTo(offset);
        }
    }
    // What is clear now stays so up to this offset, where leave() is to be called. It changes with
    // every call.
    [[nodiscard]] std::uint32_t nextUndo() const noexcept {
        return m_longOnes == 0 ? ~std::uint32_t{0} : m_undo[m_longOnes - 1].end;
    }
    [[nodiscard]] const ClearPrefixes& clear() const noexcept { return m_clear; }
    // Enters a prefix that is not pending where it was missing.
    void noteClear(PrefixId prefix) noexcept {
        if (inLongOnes()) {
            addClear(prefix);
        }
    }

private:
    static constexpr std::size_t kUsual = 6; // prefixes of a document
    static constexpr std::uint32_t kHiddenBit = 0x80000000;

    struct Undo {
        std::uint32_t end;
        PrefixId prefix; // top bit: hidden
        std::uint32_t inScope;
        std::uint32_t rendered;
    };
    struct Recent {
        std::uint64_t key = 0;
        PrefixId prefix = 0;
    };

    void remember(PrefixId prefix, NamespaceExtent extent) {
        const PrefixBinding& binding = m_bindings[prefix];
        m_undo.push_back({extent.end, binding.hidden ? prefix | kHiddenBit : prefix,
                          binding.inScope, binding.rendered});
        m_longOnes += extent.isLong ? 1 : 0;
    }
    void undoUpTo(std::uint32_t offset) noexcept;
    void writeDeclaration(PrefixId prefix);
    void bindInherited(PrefixId prefix);
    [[nodiscard]] int compareDistinct(std::uint32_t a, std::uint32_t b);
    // Short elements lie on top of the stack. What is clear in one need not be so behind it, where
    // nobody stops.
    [[nodiscard]] bool inLongOnes() const noexcept { return m_undo.size() == m_longOnes; }
    void addClear(PrefixId prefix) noexcept {
        if (prefix == kDefault) {
            m_clear.setDefault(true);
        } else if (m_bindings[prefix].key != 0) {
            m_clear.add(m_bindings[prefix].key);
        }
    }
    void settle(PrefixId prefix) noexcept {
        PrefixBinding& binding = m_bindings[prefix];
        binding.pending = !binding.hidden && binding.inScope != binding.rendered;
        if (!binding.pending) {
            noteClear(prefix);
        } else if (prefix == kDefault) {
            m_clear.setDefault(false);
        } else {
            m_clear.remove(binding.key);
        }
    }

    ViewTable m_prefixes;
    ViewTable m_names;
    std::vector<PrefixBinding> m_bindings; // by prefix number
    GrowArray<Undo> m_undo;
    std::size_t m_longOnes = 0; // of m_undo, from its bottom
    ClearPrefixes m_clear;
    std::array<Recent, 16> m_recent;
    std::uint32_t m_xmlName = 0;
    std::unordered_map<std::uint64_t, int> m_order; // of pairs of long names
    const XmlDocument* m_document = nullptr;        // where prefixes are looked up at first sight
    ElementId m_outer = kNoElement;
    bool m_inheritedHidden = false;
    bool m_inheritedWritten = false;
};

} // namespace vantrel::xml

#endif
