#ifndef FOUNDATION_XML_CANON_NAMESPACE_STATE_H
#define FOUNDATION_XML_CANON_NAMESPACE_STATE_H

#include <cstdint>
#include <string_view>
#include <vector>

namespace vantrel::xml {

// What the canonicalizer knows of one prefix at the place it has reached.
struct PrefixBinding {
    std::string_view prefix;   // empty: the default namespace
    std::string_view inScope;  // namespace name; empty: none (prefixes are never bound to "")
    std::string_view rendered; // what the nearest output ancestor that wrote the prefix wrote
    bool hidden = false;       // bound outside the apex element, and not to be written
    bool listed = false;       // in the PrefixList
    // The binding in scope must be written by the next element that uses the prefix.
    bool pending = false;
    // Serial of the tag that last took this prefix into its list.
    std::uint32_t takenBy = 0;
};

// Namespace bindings in scope and bindings already written, as one table with an undo stack:
// entering and leaving an element costs what it declares and writes, whatever its depth and
// whatever else is in scope. The texts given to it must outlive it.
class NamespaceState final {
public:
    using PrefixId = std::uint32_t;
    static constexpr PrefixId kDefault = 0;

    NamespaceState();
    NamespaceState(const NamespaceState&) = delete;
    NamespaceState& operator=(const NamespaceState&) = delete;

    // The number of a prefix, given out at first sight.
    [[nodiscard]] PrefixId id(std::string_view prefix) {
        return prefix.empty() ? kDefault : idOf(prefix);
    }
    [[nodiscard]] PrefixId size() const noexcept {
        return static_cast<PrefixId>(m_bindings.size());
    }
    [[nodiscard]] PrefixBinding& operator[](PrefixId prefix) { return m_bindings[prefix]; }
    [[nodiscard]] const PrefixBinding& operator[](PrefixId prefix) const {
        return m_bindings[prefix];
    }

    // Binds the prefix from the element at `depth` on.
    void declare(PrefixId prefix, std::string_view name, std::uint32_t depth);
    // Notes that the element at `depth` writes the binding in scope.
    void render(PrefixId prefix, std::uint32_t depth);
    // Binds the prefix for the whole walk, from outside the apex; the first call for a prefix
    // counts.
    void inherit(PrefixId prefix, std::string_view name, bool hidden);

    // Takes back what elements at `depth` and below did.
    void leave(std::uint32_t depth) {
        while (!m_undo.empty() && m_undo.back().depth >= depth) {
            undoLast();
        }
    }

private:
    struct Undo {
        std::uint32_t depth;
        PrefixId prefix;
        std::string_view inScope;
        std::string_view rendered;
        bool hidden;
    };

    [[nodiscard]] PrefixId idOf(std::string_view prefix);
    [[nodiscard]] PrefixId insert(std::string_view prefix, std::size_t slot);
    void grow();
    void remember(PrefixId prefix, std::uint32_t depth);
    void undoLast() noexcept;
    static void settle(PrefixBinding& binding) noexcept {
        binding.pending = !binding.hidden && binding.inScope != binding.rendered;
    }

    std::vector<PrefixBinding> m_bindings;
    std::vector<std::uint32_t> m_slots; // open hash table of binding number + 1; a power of two
    std::vector<Undo> m_undo;
    std::vector<bool> m_inherited;
};

} // namespace vantrel::xml

#endif
