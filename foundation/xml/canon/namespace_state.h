// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_CANON_NAMESPACE_STATE_H
#define FOUNDATION_XML_CANON_NAMESPACE_STATE_H

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
    std::uint32_t takenBy = 0;       // serial of the tag that last listed this prefix
    std::uint32_t declarationOf = 0; // the name that `declaration` writes
    std::string declaration;         // ` xmlns:prefix="name"`, made when first needed
};

// Namespace bindings in scope and bindings already written, as one table with an undo stack:
// entering and leaving an element costs what it declares and writes, whatever its depth and
// whatever else is in scope. The texts given to it must outlive it.
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
        // No prefix holds a NUL, so the key tells the length as well.
        std::uint64_t key = 0;
        std::memcpy(&key, at, sizeof key);
        key &= ~std::uint64_t{0} >> (64 - 8 * length);
        constexpr std::uint64_t kSpread = 0x9E3779B97F4A7C15;
        Recent& recent = m_recent[(key * kSpread) >> 60];
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

    // Binds the prefix from the element at `depth` on.
    void declare(PrefixId prefix, std::string_view name, std::uint32_t depth);
    // Notes that the element at `depth` writes the binding in scope, and returns how: a namespace
    // declaration with a space before it, valid until the next call.
    [[nodiscard]] std::string_view render(PrefixId prefix, std::uint32_t depth);
    // Binds the prefix for the whole walk, from outside the apex; the first call for a prefix
    // counts.
    void inherit(PrefixId prefix, std::string_view name, bool hidden);

    // The same for everything in force at `outer`, each prefix when it is first seen. To be called
    // in place of inherit().
    void inheritFrom(const XmlDocument& document, ElementId outer, bool hidden);
    // What is inherited was written by the apex: prefixes that are seen from now on are no more
    // due.
    void inheritedAreWritten() noexcept { m_inheritedWritten = true; }

    // Takes back what elements at `depth` and below did.
    void leave(std::uint32_t depth) noexcept {
        if (m_undoneBelow > depth) {
            undoDownTo(depth);
        }
    }

private:
    static constexpr std::size_t kUsual = 6; // prefixes of a document

    struct Undo {
        std::uint32_t depth;
        PrefixId prefix; // top bit: hidden
        std::uint32_t inScope;
        std::uint32_t rendered;
    };
    struct Recent {
        std::uint64_t key = 0;
        PrefixId prefix = 0;
    };

    void remember(PrefixId prefix, std::uint32_t depth);
    void undoDownTo(std::uint32_t depth) noexcept;
    void writeDeclaration(PrefixId prefix);
    void bindInherited(PrefixId prefix);
    [[nodiscard]] int compareDistinct(std::uint32_t a, std::uint32_t b);
    static void settle(PrefixBinding& binding) noexcept {
        binding.pending = !binding.hidden && binding.inScope != binding.rendered;
    }

    ViewTable m_prefixes;
    ViewTable m_names;
    std::vector<PrefixBinding> m_bindings; // by prefix number
    GrowArray<Undo> m_undo;
    std::uint32_t m_undoneBelow = 0; // one more than the depth of the last undo; 0 without one
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
