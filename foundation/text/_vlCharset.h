// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_TEXT_VLCHARSET_H
#define FOUNDATION_TEXT_VLCHARSET_H

#include "foundation/text/byte_view.h"

#include <cstdint>
#include <string_view>

namespace vantrel {

class DataBuffer;
class StringBuffer;

namespace text {
struct SingleByteCharset;
}

// One character set, chosen by name: the UTF forms, US-ASCII, and the single-byte sets of the ISO
// 8859, Windows, KOI8, IBM and Macintosh families. A new object stands for UTF-8.
class _vlCharset final {
public:
    // Chooses by name or alias, in any case, "-", "_" and spaces ignored. False, with the choice
    // unchanged, for an unknown name.
    bool setByName(const char* name) noexcept;
    bool setByName(std::string_view name) noexcept;
    [[nodiscard]] bool isUtf8() const noexcept { return m_form == Form::Utf8; }
    // UTF-16 and UTF-32: more than one byte for an ASCII character.
    [[nodiscard]] bool isWide() const noexcept { return m_form >= Form::Utf16Le; }
    [[nodiscard]] bool isUtf16() const noexcept {
        return m_form == Form::Utf16Le || m_form == Form::Utf16Be;
    }
    // True when bytes in the wide form `exact`, whose order is known, are in this character set.
    [[nodiscard]] bool covers(const _vlCharset& exact) const noexcept {
        return m_form == exact.m_form ||
               (m_orderFromMark && isUtf16() == exact.isUtf16() && exact.isWide());
    }

    // Appends the text that the bytes stand for. False, with `out` unchanged, when they are not
    // valid. A byte-order mark at the front is not part of the text; it decides the order of
    // "utf-16" and "utf-32", whose order is otherwise little-endian.
    [[nodiscard]] bool toUtf8(ByteView bytes, StringBuffer& out) const;
    // Appends the bytes of a valid UTF-8 text, without a byte-order mark. False, with `out`
    // unchanged, when the text is not valid or a character has no place in the set.
    [[nodiscard]] bool fromUtf8(std::string_view text, DataBuffer& out) const;

private:
    enum class Form : std::uint8_t { Utf8, SingleByte, Utf16Le, Utf16Be, Utf32Le, Utf32Be };
    [[nodiscard]] bool choose(std::string_view foldedName) noexcept;

    Form m_form = Form::Utf8;
    bool m_orderFromMark = false;
    const text::SingleByteCharset* m_table = nullptr;
};

} // namespace vantrel

#endif
