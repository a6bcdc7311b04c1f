// SPDX-License-Identifier: MIT
#include "foundation/xml/canon/start_tag_writer.h"
#include "foundation/xml/scan/name_scan.h"
#include "foundation/xml/scan/stop_bytes.h"

#include <algorithm>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace vantrel::xml {

namespace {

// Bytes of a name at a glance; and of a prefix, which has its colon among them.
constexpr std::size_t kLookedAt = 8;
constexpr std::size_t kMostBytes = kLookedAt - 1;

// True when the name at `before` comes before the other one, byte by byte. Names end at '=' and
// differ.
bool comesBefore(const char* before, const char* name) noexcept {
    while (*before == *name && *before != '=') {
        ++before;
        ++name;
    }
    return *before == '=' || (*name != '=' && static_cast<unsigned char>(*before) <
                                                  static_cast<unsigned char>(*name));
}

// Where the name at `at`, in a tag that stands as it is to be written, ends in a space or a '>'.
std::uint32_t tidyNameEnd(std::string_view text, std::uint32_t at) noexcept {
#if defined(__SSE2__)
    constexpr std::uint32_t kBlock = sizeof(__m128i);
    for (; text.size() - at >= kBlock; at += kBlock) {
        __m128i block;
        std::memcpy(&block, text.data() + at, kBlock);
        const __m128i ends = _mm_or_si128(_mm_cmpeq_epi8(block, _mm_set1_epi8(' ')),
                                          _mm_cmpeq_epi8(block, _mm_set1_epi8('>')));
        const auto found = static_cast<unsigned>(_mm_movemask_epi8(ends));
        if (found != 0) [[likely]] {
            return at + static_cast<std::uint32_t>(__builtin_ctz(found));
        }
    }
#endif
    while (text[at] != ' ' && text[at] != '>') {
        ++at;
    }
    return at;
}

} // namespace

// The attributes of a tidy tag, each behind one of its blanks, stand in order: unqualified names
// ascending, and behind them names of one prefix, whatever its namespace, with their local parts
// ascending.
bool StartTagWriter::areOrdered(std::uint32_t start, const TagShape& shape) const noexcept {
    if (shape.colons != 0 && m_localNameOrder) {
        return false;
    }
    const char* const tag = m_text.data() + start;
    const char* before = nullptr;  // the last name, or its local part
    std::string_view prefixBefore; // with its colon
    std::uint64_t colons = shape.colons;
    for (std::uint64_t blanks = shape.blanks; blanks != 0;) {
        const auto nameAt = static_cast<std::uint32_t>(__builtin_ctzll(blanks)) + 1;
        blanks &= blanks - 1;
        const std::uint64_t toNext = (blanks & (0 - blanks)) - 1;
        const char* name = tag + nameAt;
        if ((colons & toNext) != 0) {
            const auto local = static_cast<std::uint32_t>(__builtin_ctzll(colons)) + 1;
            colons &= colons - 1;
            const std::string_view prefix(name, local - nameAt);
            name = tag + local;
            if (prefixBefore.empty()) {
                prefixBefore = prefix;
                before = nullptr;
            } else if (prefix != prefixBefore) {
                return false;
            }
        } else if (!prefixBefore.empty()) {
            return false;
        }
        if (before != nullptr && !comesBefore(before, name)) {
            return false;
        }
        before = name;
    }
    return true;
}

// Asked for in document order.
const ElementRecord* StartTagWriter::firstElementFrom(std::uint32_t at) const noexcept {
    const ElementRecord* const end = m_elements.data() + m_elements.size();
    const ElementRecord* element = m_elements.data() + m_reached;
    const ElementRecord* const near =
        static_cast<std::size_t>(end - element) < kNear ? end : element + kNear;
    const auto isBefore = [at](const ElementRecord& record) { return record.start < at; };
    while (element != near && isBefore(*element)) {
        ++element;
    }
    return element != near ? element : std::partition_point(element, end, isBefore);
}

// Whether the prefix of the tag at `start` has to be declared there, or the default namespace.
inline bool StartTagWriter::isElementPending(std::uint32_t start, PrefixId& prefix) {
    const char* const name = m_text.data() + start + 1;
    if (m_text.size() - start > kLookedAt) [[likely]] {
        const std::uint64_t key = NamespaceState::keyBeforeColon(name);
        if (key == 0 && m_hasShortPrefixes) {
            prefix = NamespaceState::kDefault;
            return m_namespaces[prefix].pending;
        }
        // A colon behind the name makes a key that no prefix has.
        if (const auto* const found = m_namespaces.findRecent(key); found != nullptr && key != 0)
            [[likely]] {
            prefix = found->prefix;
            return found->pending;
        }
    }
    const auto size = static_cast<std::uint32_t>(m_text.size());
    const std::uint32_t length = scanName(m_text.data(), start + 1, size).prefixLength;
    return m_namespaces.isPending(name, length, prefix);
}

// Elements that have none in them and a prefix that none around them uses often stand together, and
// all have to declare it.
struct StartTagWriter::LeafDeclaration {
    std::uint64_t bytes = 1; // of a name, the prefix and the colon; where others are left out
    std::uint64_t mask = 0;
    PrefixId prefix = 0;
    std::uint32_t bound = 0; // what to
    std::string_view text;

    // Eight bytes of `name` are readable.
    void take(const char* name, std::size_t prefixLength) noexcept {
        mask = NamespaceState::firstBytes(static_cast<std::uint32_t>(prefixLength) + 1);
        bytes = eightBytes(name) & mask;
    }
    void forget() noexcept {
        bytes = 1;
        mask = 0;
    }
    [[nodiscard]] bool serves(const char* name) const noexcept {
        return (eightBytes(name) & mask) == bytes;
    }

private:
    [[nodiscard]] static std::uint64_t eightBytes(const char* name) noexcept {
        std::uint64_t value = 0;
        std::memcpy(&value, name, sizeof value);
        return value;
    }
};

void StartTagWriter::passTidyByPrefix(std::uint32_t at, std::uint32_t limit) {
    const ElementRecord* const end = m_elements.data() + m_elements.size();
    const ElementRecord* element = firstElementFrom(at);
    // From here on a name has less than eight bytes behind it.
    const std::size_t readable = m_text.size() - std::min(m_text.size(), kLookedAt);
    LeafDeclaration ofLeaf;
    for (; element != end && element->start < limit; ++element) {
        const std::uint32_t start = element->start;
        if (m_namespaces.leave(start)) {
            const PrefixBinding& binding = m_namespaces[ofLeaf.prefix];
            if (!binding.pending || binding.inScope != ofLeaf.bound) {
                ofLeaf.forget();
            }
        }
        const char* const name = m_text.data() + start + 1;
        const bool isLeaf = element + 1 == end || element[1].start >= element->end;
        if (isLeaf && start < readable && ofLeaf.serves(name)) {
            m_out.copyUpToAndPut(tidyNameEnd(m_text, start + 1), ofLeaf.text);
            continue;
        }
        PrefixId prefix = 0;
        if (!isElementPending(start, prefix)) {
            continue;
        }
        const std::string_view declaration = m_namespaces.render(prefix, {element->end, isLeaf});
        m_out.copyUpToAndPut(tidyNameEnd(m_text, start + 1), declaration);
        const std::size_t length = m_namespaces.prefixText(prefix).size();
        if (isLeaf && length - 1 < kMostBytes && start < readable) {
            ofLeaf.take(name, length);
            ofLeaf.prefix = prefix;
            ofLeaf.bound = m_namespaces[prefix].inScope;
            ofLeaf.text = declaration;
        } else if (prefix == ofLeaf.prefix) {
            ofLeaf.forget();
        }
    }
    m_reached = static_cast<ElementId>(std::min(element, end - 1) - m_elements.data());
}

std::uint32_t StartTagWriter::writeEmpty(std::uint32_t start) {
    m_namespaces.leave(start);
    const ElementRecord* const element = firstElementFrom(start);
    m_reached = static_cast<ElementId>(element - m_elements.data());
    const std::uint32_t contentEnd = element->end - 2;
    const std::uint32_t nameEnd = std::min(tidyNameEnd(m_text, start + 1), contentEnd);
    PrefixId prefix = 0;
    if (m_exclusive && isElementPending(start, prefix)) {
        m_out.copyUpToAndPut(nameEnd, m_namespaces.render(prefix, {element->end, true}));
    }
    m_out.copyUpTo(contentEnd);
    m_out.put("></");
    m_out.put(m_text.substr(start + 1, nameEnd - start - 1));
    m_out.skipTo(element->end - 1); // its '>'
    return element->end;
}

// The rest of a tag that was passed over: writes the declarations that are due, and the end tag of
// an empty element. `contentEnd` is the offset of what closes the tag: '>', "/>" or " />".
void StartTagWriter::finishPassed(std::uint32_t start, std::uint32_t contentEnd,
                                  const PassedTag& tag) {
    if (!m_due.empty()) {
        m_out.copyUpTo(start + 1 + tag.nameLength);
        putNamespaces(start);
    }
    if (tag.selfClosing) {
        m_out.copyUpTo(contentEnd);
        m_out.put("></");
        m_out.put(m_text.substr(start + 1, tag.nameLength));
        m_out.skipTo(tag.end - 1); // its '>'
    }
}

// The same as passAtAGlance, step by step, for tags of any length and any number of attributes.
bool StartTagWriter::passOver(std::uint32_t start, PassedTag& tag) {
    const auto size = static_cast<std::uint32_t>(m_text.size());
    const ScannedName name = scanName(m_text.data(), start + 1, size);
    startList();
    if (m_exclusive) {
        take(prefixAt(start + 1, name.prefixLength));
    }
    std::uint32_t at = start + 1 + name.length;
    if (m_text[at] == ' ' && !passAttributes(at)) {
        return false;
    }
    const std::uint32_t contentEnd = at;
    at += m_text[at] == ' ' ? 1U : 0U;
    tag.selfClosing = m_text[at] == '/';
    if (m_text[at] != '>' && !tag.selfClosing) {
        return false;
    }
    tag.nameLength = name.length;
    tag.end = at + (tag.selfClosing ? 2U : 1U);
    finishPassed(start, contentEnd, tag);
    return true;
}

// From the space before the first attribute to the '>', "/>" or " />" of the tag.
bool StartTagWriter::passAttributes(std::uint32_t& at) {
    const char* const text = m_text.data();
    const auto size = static_cast<std::uint32_t>(m_text.size());
    std::string_view before;
    std::string_view prefixBefore;
    while (text[at] == ' ') {
        const std::uint32_t start = at + 1;
        const ScannedName name = scanName(text, start, size);
        if (text[start] == '/') {
            return true;
        }
        const std::uint32_t equals = start + name.length;
        if (name.length == 0 || text[equals] != '=' || text[equals + 1] != '"') {
            return false;
        }
        at = findAttributeStop(text, equals + 2, size, '"');
        if (text[at++] != '"') {
            return false;
        }
        const std::string_view whole(text + start, name.length);
        const std::string_view prefix = whole.substr(0, name.prefixLength);
        if (prefix.empty()) {
            if (!prefixBefore.empty() || whole < before) {
                return false;
            }
            before = whole;
            continue;
        }
        // Behind the unqualified ones those of one prefix, by local name, whatever its namespace.
        const std::string_view local = whole.substr(prefix.size() + 1);
        const bool ordered = prefixBefore.empty() || (prefix == prefixBefore && before < local);
        if (!ordered || m_localNameOrder) {
            return false;
        }
        if (m_exclusive) {
            take(prefixAt(start, name.prefixLength));
        }
        prefixBefore = prefix;
        before = local;
    }
    return true;
}

} // namespace vantrel::xml
