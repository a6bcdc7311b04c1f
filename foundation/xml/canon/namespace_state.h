// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_CANON_NAMESPACE_STATE_H
#define FOUNDATION_XML_CANON_NAMESPACE_STATE_H

#include "foundation/xml/canon/few_array.h"
#include "foundation/xml/canon/view_table.h"
#include "foundation/xml/scan/inheritance.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>

namespace vantrel::xml {

// What the canonicalizer knows of one prefix at the place it has reached. Namespace names are
// numbers of NamespaceState; 0 is none, which a prefix other than the default one is never bound
// to.
struct PrefixBinding {
    static constexpr std::uint32_t kNever = ~std::uint32_t{0};

    std::uint32_t inScope = 0;
    std::uint32_t rendered = 0; // what the nearest output ancestor that wrote the prefix wrote
    // The binding in scope must be written by the next element that uses the prefix.
    bool pending = false;
    bool hidden = false; // bound outside the apex element, and not to be written
    bool listed = false; // in the PrefixList
    bool inherited = false;
    std::uint32_t slot = 0;    // where it may be remembered; any for one that is too long
    std::uint32_t takenBy = 0; // serial of the tag that last listed this prefix
    std::uint32_t declarationOf = kNever; // the name that `declaration` writes
    // Where what is said here is taken back next, at the earliest.
    std::uint32_t undoneAt = kNever;
    // ` xmlns:prefix="name"`: where it stands so in the text, or made when first needed.
    std::string_view declaration;
};

// What an element that declares or renders holds for.
struct NamespaceExtent {
    std::uint32_t end = 0; // the offset behind the element
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

    NamespaceState() { m_bindings.push_back({}); }
    NamespaceState(const NamespaceState&) = delete;
    NamespaceState& operator=(const NamespaceState&) = delete;

    // The number of a prefix, given out at first sight.
    [[nodiscard]] PrefixId id(std::string_view prefix);
    // The same for the `length` bytes at `at`, where eight bytes are readable. It remembers the
    // last ones.
    [[nodiscard, gnu::always_inline]] PrefixId recentId(const char* at, std::uint32_t length) {
        if (length - 1 >= kMostBytes) [[unlikely]] {
            return length == 0 ? kDefault : id(std::string_view(at, length));
        }
        return recent(at, length).prefix;
    }
    // The same, and whether it is pending.
    [[nodiscard, gnu::always_inline]] bool isPending(const char* at, std::uint32_t length,
                                                     PrefixId& prefix) {
        if (length - 1 >= kMostBytes) [[unlikely]] {
            prefix = length == 0 ? kDefault : id(std::string_view(at, length));
            return m_bindings[prefix].pending;
        }
        const Recent& found = recent(at, length);
        prefix = found.prefix;
        return found.pending;
    }
    // What recentId() and isPending() remember: prefixes of up to eight bytes as numbers.
    struct Recent {
        std::uint64_t key = 0;
        PrefixId prefix = kDefault;
        bool pending = false; // as in the binding
    };
    // All ones in the first `length` bytes of such a number, 1 to 8.
    [[nodiscard, gnu::always_inline]] static std::uint64_t firstBytes(
        std::uint32_t length) noexcept {
        const std::uint32_t others = 64 - 8 * length;
        const std::uint64_t ones = ~std::uint64_t{0};
        return std::endian::native == std::endian::little ? ones >> others : ones << others;
    }
    // The bytes before the first colon among the eight at `at` as such a number; 0 without one.
    [[nodiscard, gnu::always_inline]] static std::uint64_t keyBeforeColon(const char* at) noexcept {
        constexpr std::uint64_t kOnes = 0x0101010101010101;
        std::uint64_t bytes = 0;
        std::memcpy(&bytes, at, sizeof bytes);
        const std::uint64_t others = bytes ^ (kOnes * ':');
        // The top bit of each byte that is zero; and, where a carry goes, of some behind it.
        const std::uint64_t colons = (others - kOnes) & ~others & (kOnes << 7);
        if (colons == 0) {
            return 0;
        }
        if constexpr (std::endian::native == std::endian::little) {
            return bytes & (((colons & (0 - colons)) - 1) >> 7);
        }
        return keyOf(at, static_cast<std::uint32_t>(std::string_view(at, 8).find(':')));
    }
    // Null when that one is not among those remembered.
    [[nodiscard, gnu::always_inline]] const Recent* findRecent(std::uint64_t key) const noexcept {
        const Recent& found = m_recent[slotOf(key)];
        return found.key == key ? &found : nullptr;
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

    // Binds the prefix within `extent`, of the element at hand. `written`: the declaration as the
    // canonical form has it, with a space before it, where it stands so in a text; else empty.
    void declare(PrefixId prefix, std::string_view name, std::string_view written,
                 NamespaceExtent extent);
    // Notes that the element at hand writes the binding in scope, and returns how: a namespace
    // declaration with a space before it, valid until the next call.
    [[nodiscard, gnu::always_inline]] std::string_view render(PrefixId prefix,
                                                              NamespaceExtent extent) {
        PrefixBinding& binding = m_bindings[prefix];
        if (!extent.isLeaf) {
            remember(prefix, extent);
            binding.rendered = binding.inScope;
            settle(prefix);
        }
        if (binding.declarationOf != binding.inScope) [[unlikely]] {
            writeDeclaration(prefix);
        }
        return binding.declaration;
    }
    // Binds the prefix for the whole walk, from outside the apex; the first call for a prefix
    // counts.
    void inherit(PrefixId prefix, std::string_view name, std::string_view written, bool hidden);

    // The same for everything in force at `outer`, each prefix when it is first seen. To be called
    // in place of inherit().
    void inheritFrom(const XmlDocument& document, ElementId outer, bool hidden);
    // What is inherited was written by the apex: prefixes that are seen from now on are no more
    // due.
    void inheritedAreWritten() noexcept { m_inheritedWritten = true; }

    // What holds at `end` and behind it will not be asked for: an element that ends there takes
    // nothing back.
    void endAt(std::uint32_t end) noexcept { m_end = end; }
    // Takes back what elements that end at `offset` or before did; false when that is nothing.
    [[gnu::always_inline]] bool leave(std::uint32_t offset) noexcept {
        if (m_nextUndo <= offset) [[unlikely]] {
            undoUpTo(offset);
            return true;
        }
        return false;
    }
    // Puts in the ends of elements that had not ended when they declared or rendered something
    // (parse_follower.h); what has still not ended may be asked for again.
    void learnEnds(std::span<const ElementRecord> elements) noexcept;
    // Whether no tag without a prefix has to declare that up to `offset`.
    [[nodiscard]] bool isDefaultClearUpTo(std::uint32_t offset) const noexcept {
        return !m_bindings[kDefault].pending && m_bindings[kDefault].undoneAt >= offset;
    }

private:
    static constexpr std::uint32_t kMostBytes = 8; // of a prefix that is remembered
    static constexpr std::size_t kUsual = 6;       // prefixes of a document
    static constexpr std::uint32_t kHiddenBit = 0x80000000;

    struct Undo {
        std::uint32_t end;
        PrefixId prefix; // top bit: hidden
        std::uint32_t inScope;
        std::uint32_t rendered;
        std::uint32_t undoneAt;
    };

    // A prefix of one to eight bytes as a number. No prefix holds a NUL, so it tells the length as
    // well. Eight bytes must be readable at `at`.
    [[nodiscard, gnu::always_inline]] static std::uint64_t keyOf(const char* at,
                                                                 std::uint32_t length) noexcept {
        std::uint64_t key = 0;
        std::memcpy(&key, at, sizeof key);
        return key & firstBytes(length);
    }
    [[nodiscard]] static constexpr std::uint32_t slotOf(std::uint64_t key) noexcept {
        return static_cast<std::uint32_t>((key * 0x9E3779B97F4A7C15) >> 60);
    }
    [[nodiscard, gnu::always_inline]] Recent& recent(const char* at, std::uint32_t length) {
        const std::uint64_t key = keyOf(at, length);
        Recent& found = m_recent[slotOf(key)];
        if (found.key != key) [[unlikely]] {
            learn(found, key, std::string_view(at, length));
        }
        return found;
    }
    void learn(Recent& place, std::uint64_t key, std::string_view prefix);

    void remember(PrefixId prefix, NamespaceExtent extent) {
        if (extent.end >= m_end) {
            return;
        }
        PrefixBinding& binding = m_bindings[prefix];
        m_undo.push_back({extent.end, binding.hidden ? prefix | kHiddenBit : prefix,
                          binding.inScope, binding.rendered, binding.undoneAt});
        binding.undoneAt = extent.end;
        m_nextUndo = extent.end;
    }
    void undoUpTo(std::uint32_t offset) noexcept;
    static void takeWritten(std::string_view written, PrefixBinding& binding) noexcept {
        if (!written.empty()) {
            binding.declaration = written;
            binding.declarationOf = binding.inScope;
        }
    }
    void writeDeclaration(PrefixId prefix);
    void bindInherited(PrefixId prefix);
    [[nodiscard]] int compareDistinct(std::uint32_t a, std::uint32_t b);
    void settle(PrefixId prefix) noexcept {
        PrefixBinding& binding = m_bindings[prefix];
        binding.pending = !binding.hidden && binding.inScope != binding.rendered;
        if (Recent& place = m_recent[binding.slot]; place.prefix == prefix) {
            place.pending = binding.pending;
        }
    }

    ViewTable m_prefixes;
    ViewTable m_names;
    FewArray<PrefixBinding, kUsual> m_bindings; // by prefix number
    FewArray<Undo, kUsual> m_undo;
    std::map<PrefixId, std::string> m_made; // declarations that stand otherwise in the text
    std::uint32_t m_nextUndo = PrefixBinding::kNever; // where the last of m_undo ends
    std::uint32_t m_end = PrefixBinding::kNever;
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
