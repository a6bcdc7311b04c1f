// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_XML_SCAN_START_TAG_H
#define FOUNDATION_XML_SCAN_START_TAG_H

#include "foundation/xml/scan/char_class.h"
#include "foundation/xml/scan/name_scan.h"
#include "foundation/xml/scan/stop_bytes.h"

#include <cstdint>
#include <string_view>

namespace vantrel::xml {

// One attribute of a start tag, as it stands in the text. Views are into the text.
struct Attribute {
    std::string_view name;          // qualified
    std::uint32_t prefixLength = 0; // 0 without a colon
    // The value is its own normalised form: no reference, no TAB, LF or CR. (A tokenised type may
    // still ask for its spaces to be collapsed.)
    bool plain = false;
    std::string_view raw; // between the quotes

    [[nodiscard]] std::string_view prefix() const noexcept { return name.substr(0, prefixLength); }
    [[nodiscard]] std::string_view localName() const noexcept {
        return prefixLength == 0 ? name : name.substr(prefixLength + 1);
    }
    // xmlns="..." or xmlns:p="...".
    [[nodiscard]] bool isNamespaceDecl() const noexcept {
        return name.size() >= 5 && name.compare(0, 5, "xmlns") == 0 &&
               (name.size() == 5 || name[5] == ':');
    }
    // The prefix that a namespace declaration declares; empty for the default namespace.
    [[nodiscard]] std::string_view declaredPrefix() const noexcept {
        return name.size() == 5 ? std::string_view() : name.substr(6);
    }
};

// Reads a start tag of a document that was checked before: it trusts what it reads. `text` is the
// whole text of the document and must outlive the reader.
//
//     StartTagReader tag(document.text(), document.element(id).start);
//     for (Attribute attribute; tag.next(attribute);) { ... }
//     // now tag.selfClosing() and tag.end() are known
class StartTagReader final {
public:
    StartTagReader(std::string_view text, std::uint32_t start) noexcept
        : m_text(text.data()), m_size(static_cast<std::uint32_t>(text.size())),
          m_nameStart(start + 1), m_at(start + 1) {
        m_nameLength = readName(m_prefixLength);
    }

    [[nodiscard]] std::string_view name() const noexcept {
        return {m_text + m_nameStart, m_nameLength};
    }
    [[nodiscard]] std::uint32_t prefixLength() const noexcept { return m_prefixLength; }
    [[nodiscard]] std::string_view prefix() const noexcept {
        return name().substr(0, m_prefixLength);
    }
    [[nodiscard]] std::string_view localName() const noexcept {
        return m_prefixLength == 0 ? name() : name().substr(m_prefixLength + 1);
    }
    // Offset behind the name; where the tag has no attribute, of its white space, '/' or '>'.
    [[nodiscard]] std::uint32_t nameEnd() const noexcept { return m_nameStart + m_nameLength; }

    // The next attribute, namespace declarations included; false at the end of the tag.
    [[nodiscard]] bool next(Attribute& attribute) noexcept {
        skipSpace();
        const char c = m_text[m_at];
        if (c == '>' || c == '/') {
            m_selfClosing = c == '/';
            m_at += m_selfClosing ? 2 : 1;
            return false;
        }
        const std::uint32_t nameStart = m_at;
        const std::uint32_t nameLength = readName(attribute.prefixLength);
        attribute.name = {m_text + nameStart, nameLength};
        skipSpace(); // before '='
        ++m_at;
        skipSpace();
        const char quote = m_text[m_at++];
        const std::uint32_t valueStart = m_at;
        m_at = findValueEnd(quote, attribute.plain);
        attribute.raw = {m_text + valueStart, m_at - valueStart};
        ++m_at;
        return true;
    }

    // Valid once next() has returned false.
    [[nodiscard]] bool selfClosing() const noexcept { return m_selfClosing; }
    // Offset behind the '>' of the start tag.
    [[nodiscard]] std::uint32_t end() const noexcept { return m_at; }

private:
    void skipSpace() noexcept {
        while (static_cast<unsigned char>(m_text[m_at]) <= 0x20) {
            ++m_at;
        }
    }
    std::uint32_t readName(std::uint32_t& prefixLength) noexcept {
        const ScannedName name = scanName(m_text, m_at, m_size);
        prefixLength = name.prefixLength;
        m_at += name.length;
        return name.length;
    }
    std::uint32_t findValueEnd(char quote, bool& plain) const noexcept {
        plain = true;
        std::uint32_t at = m_at;
        while ((at = findAttributeStop(m_text, at, m_size, quote)) < m_size &&
               m_text[at] != quote) {
            plain = false;
            ++at;
        }
        return at;
    }

    const char* m_text;
    std::uint32_t m_size;
    std::uint32_t m_nameStart;
    std::uint32_t m_nameLength = 0;
    std::uint32_t m_prefixLength = 0;
    std::uint32_t m_at;
    bool m_selfClosing = false;
};

} // namespace vantrel::xml

#endif
