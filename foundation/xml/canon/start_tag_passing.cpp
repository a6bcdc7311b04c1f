#include "foundation/xml/canon/name_scan.h"
#include "foundation/xml/canon/start_tag_writer.h"
#include "foundation/xml/scan/stop_bytes.h"

namespace vantrel::xml {

// The attributes of a tidy tag, each behind one of its blanks, stand in order: unqualified names
// ascending byte by byte, and behind them at most one qualified name.
bool StartTagWriter::areOrdered(std::uint32_t start, const TagShape& shape) const noexcept {
    std::uint64_t blanks = shape.blanks;
    if (shape.colons != 0) {
        const std::uint64_t last = std::uint64_t{1} << (63 - __builtin_clzll(blanks));
        const bool oneAndLast = (shape.colons & (shape.colons - 1)) == 0 && shape.colons > last;
        if (!oneAndLast || m_localNameOrder) {
            return false;
        }
        blanks ^= last;
        if (blanks == 0) {
            return true;
        }
    }
    const char* const tag = m_text.data() + start + 1;
    const char* before = tag + __builtin_ctzll(blanks);
    for (blanks &= blanks - 1; blanks != 0; blanks &= blanks - 1) {
        const char* const name = tag + __builtin_ctzll(blanks);
        std::size_t i = 0;
        while (before[i] == name[i] && before[i] != '=') {
            ++i;
        }
        // Names differ; '=' ends a name and comes before whatever another goes on with.
        const auto left = static_cast<unsigned char>(before[i]);
        const auto right = static_cast<unsigned char>(name[i]);
        if (left != '=' && (right == '=' || left > right)) {
            return false;
        }
        before = name;
    }
    return true;
}

// The rest of a tag that was passed over: writes the declarations that are due, and the end tag of
// an empty element. `at` is the offset of the '>' or "/>".
void StartTagWriter::finishPassed(std::uint32_t start, std::uint32_t at, std::uint32_t depth,
                                  WrittenTag& tag) {
    if (!m_due.empty()) {
        m_out.copyUpTo(start + 1 + tag.nameLength);
        putNamespaces(depth);
    }
    tag.selfClosing = m_text[at] == '/';
    tag.end = at + 1;
    if (tag.selfClosing) {
        m_out.copyUpTo(at);
        m_out.put("></");
        m_out.put(m_text.substr(start + 1, tag.nameLength));
        m_out.skipTo(at + 1); // its '>'
        tag.end = at + 2;
        m_namespaces.leave(depth);
    }
}

// The same as passAtAGlance, step by step, for tags of any length and any number of attributes.
bool StartTagWriter::passOver(std::uint32_t start, std::uint32_t depth, WrittenTag& tag) {
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
    if (m_text[at] != '>' && m_text[at] != '/') {
        return false;
    }
    tag.nameLength = name.length;
    finishPassed(start, at, depth, tag);
    return true;
}

// From the space before the first attribute to the '>' or '/' of the tag.
bool StartTagWriter::passAttributes(std::uint32_t& at) {
    const char* const text = m_text.data();
    const auto size = static_cast<std::uint32_t>(m_text.size());
    std::string_view before;
    std::string_view prefixBefore;
    while (text[at] == ' ') {
        const std::uint32_t start = at + 1;
        const ScannedName name = scanName(text, start, size);
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
