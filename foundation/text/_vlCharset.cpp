// SPDX-License-Identifier: MIT
#include "foundation/text/_vlCharset.h"

#include "foundation/text/DataBuffer.h"
#include "foundation/text/StringBuffer.h"
#include "foundation/text/charset_tables.h"
#include "foundation/text/strings.h"
#include "foundation/text/utf8.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace vantrel {

namespace {

constexpr std::size_t kLongestName = 40;
constexpr char32_t kByteOrderMark = 0xFEFF;

// Collects what a converter produces and hands it on in pieces.
template <class Out> class Collector final {
public:
    explicit Collector(Out& out) noexcept : m_out(out) {}

    void add(const char* bytes, std::size_t count) {
        if (count > m_piece.size() - m_used) {
            flush();
        }
        std::copy_n(bytes, count, m_piece.data() + m_used);
        m_used += count;
    }
    void addCharacter(char32_t character) {
        char bytes[4];
        add(bytes, text::encodeUtf8(character, bytes));
    }
    // Text of any length, without the detour.
    void addRun(std::string_view run) {
        flush();
        pass(run);
    }
    // False when memory ran out on the way.
    [[nodiscard]] bool finish() {
        flush();
        return m_ok;
    }

private:
    void flush() {
        pass({m_piece.data(), m_used});
        m_used = 0;
    }
    void pass(std::string_view bytes) {
        if constexpr (std::is_same_v<Out, StringBuffer>) {
            m_ok = m_ok && m_out.appendView(bytes);
        } else {
            m_ok = m_ok && m_out.append(asBytes(bytes));
        }
    }

    Out& m_out;
    std::array<char, 4096> m_piece;
    std::size_t m_used = 0;
    bool m_ok = true;
};

std::uint32_t unitAt(ByteView bytes, std::size_t at, std::size_t width, bool bigEndian) noexcept {
    std::uint32_t unit = 0;
    for (std::size_t i = 0; i < width; ++i) {
        unit = unit << 8 | bytes[at + (bigEndian ? i : width - 1 - i)];
    }
    return unit;
}

// Units of 2 bytes (UTF-16) or 4 (UTF-32).
bool wideToUtf8(ByteView bytes, std::size_t width, bool bigEndian, StringBuffer& out) {
    if (bytes.size() % width != 0) {
        return false;
    }
    Collector<StringBuffer> collector(out);
    std::size_t at = 0;
    if (!bytes.empty() && unitAt(bytes, 0, width, bigEndian) == kByteOrderMark) {
        at = width;
    }
    for (; at < bytes.size(); at += width) {
        char32_t character = unitAt(bytes, at, width, bigEndian);
        if (width == 2 && character >= 0xD800 && character <= 0xDBFF && bytes.size() - at >= 4) {
            const std::uint32_t low = unitAt(bytes, at + 2, width, bigEndian);
            if (low >= 0xDC00 && low <= 0xDFFF) {
                character = 0x10000 + ((character - 0xD800) << 10) + (low - 0xDC00);
                at += width;
            }
        }
        if (character > 0x10FFFF || (character >= 0xD800 && character <= 0xDFFF)) {
            return false;
        }
        collector.addCharacter(character);
    }
    return collector.finish();
}

bool singleByteToUtf8(ByteView bytes, const text::SingleByteCharset& set, StringBuffer& out) {
    Collector<StringBuffer> collector(out);
    std::string_view rest = asText(bytes);
    while (!rest.empty()) {
        const std::size_t run = text::asciiPrefix(rest);
        if (run >= 64) {
            collector.addRun(rest.substr(0, run));
        } else {
            collector.add(rest.data(), run);
        }
        rest.remove_prefix(run);
        while (!rest.empty() && static_cast<unsigned char>(rest.front()) >= 0x80) {
            const char16_t character = set.upper[static_cast<unsigned char>(rest.front()) - 0x80U];
            if (character == 0) {
                return false;
            }
            collector.addCharacter(character);
            rest.remove_prefix(1);
        }
    }
    return collector.finish();
}

// From characters back to bytes.
class ReverseTable final {
public:
    explicit ReverseTable(const text::SingleByteCharset& set) noexcept {
        for (std::size_t i = 0; i < set.upper.size(); ++i) {
            m_entries[i] = {set.upper[i], static_cast<char>(0x80 + i)};
        }
        std::sort(m_entries.begin(), m_entries.end());
    }
    [[nodiscard]] bool find(char32_t character, char& byte) const noexcept {
        const auto at = std::lower_bound(
            m_entries.begin(), m_entries.end(), character,
            [](const auto& entry, char32_t wanted) { return entry.first < wanted; });
        if (at == m_entries.end() || at->first != character) {
            return false;
        }
        byte = at->second;
        return true;
    }

private:
    std::array<std::pair<char16_t, char>, 128> m_entries;
};

bool utf8ToSingleByte(std::string_view text, const text::SingleByteCharset& set, DataBuffer& out) {
    Collector<DataBuffer> collector(out);
    std::optional<ReverseTable> table; // many a text is ASCII
    while (!text.empty()) {
        // In pieces that the collector has room for.
        const std::size_t run = text::asciiPrefix(text.substr(0, 64));
        collector.add(text.data(), run);
        text.remove_prefix(run);
        if (text.empty() || static_cast<unsigned char>(text.front()) < 0x80) {
            continue;
        }
        if (!table) {
            table.emplace(set);
        }
        char32_t character = 0;
        char byte = 0;
        const std::size_t length = text::decodeUtf8(text, character);
        if (length == 0 || !table->find(character, byte)) {
            return false;
        }
        collector.add(&byte, 1);
        text.remove_prefix(length);
    }
    return collector.finish();
}

void addUnit(Collector<DataBuffer>& collector, std::uint32_t unit, std::size_t width,
             bool bigEndian) {
    char bytes[4];
    for (std::size_t i = 0; i < width; ++i) {
        bytes[i] = static_cast<char>(unit >> 8 * (bigEndian ? width - 1 - i : i));
    }
    collector.add(bytes, width);
}

bool utf8ToWide(std::string_view text, std::size_t width, bool bigEndian, DataBuffer& out) {
    Collector<DataBuffer> collector(out);
    while (!text.empty()) {
        char32_t character = 0;
        const std::size_t length = text::decodeUtf8(text, character);
        if (length == 0) {
            return false;
        }
        if (width == 2 && character >= 0x10000) {
            addUnit(collector, 0xD800 + ((character - 0x10000) >> 10), width, bigEndian);
            addUnit(collector, 0xDC00 + (character & 0x3FF), width, bigEndian);
        } else {
            addUnit(collector, character, width, bigEndian);
        }
        text.remove_prefix(length);
    }
    return collector.finish();
}

// True when `name` is one of the names that spaces divide.
bool isOneOf(std::string_view name, std::string_view names) noexcept {
    while (!names.empty()) {
        const std::size_t end = std::min(names.find(' '), names.size());
        if (names.substr(0, end) == name) {
            return true;
        }
        names.remove_prefix(std::min(end + 1, names.size()));
    }
    return false;
}

} // namespace

bool _vlCharset::setByName(const char* name) noexcept { return setByName(text::viewOf(name)); }

bool _vlCharset::setByName(std::string_view name) noexcept {
    std::array<char, kLongestName> folded;
    std::size_t size = 0;
    for (const char c : name) {
        if (c == '-' || c == '_' || c == ' ') {
            continue;
        }
        if (size == folded.size()) {
            return false;
        }
        folded[size++] = text::toLowerAscii(c);
    }
    return choose({folded.data(), size});
}

bool _vlCharset::choose(std::string_view name) noexcept {
    struct Named {
        std::string_view names;
        Form form;
        bool orderFromMark;
    };
    static constexpr Named kForms[] = {
        {"utf8 unicode11utf8", Form::Utf8, false},
        {"utf16 ucs2 iso10646ucs2 unicode", Form::Utf16Le, true},
        {"utf16le ucs2le", Form::Utf16Le, false},
        {"utf16be ucs2be", Form::Utf16Be, false},
        {"utf32 ucs4 iso10646ucs4", Form::Utf32Le, true},
        {"utf32le ucs4le", Form::Utf32Le, false},
        {"utf32be ucs4be", Form::Utf32Be, false},
    };
    if (name.empty()) {
        return false;
    }
    for (const Named& named : kForms) {
        if (isOneOf(name, named.names)) {
            m_form = named.form;
            m_orderFromMark = named.orderFromMark;
            return true;
        }
    }
    for (const text::SingleByteCharset& set : text::singleByteCharsets()) {
        if (isOneOf(name, set.names)) {
            m_form = Form::SingleByte;
            m_table = &set;
            return true;
        }
    }
    return false;
}

bool _vlCharset::toUtf8(ByteView bytes, StringBuffer& out) const {
    StringBuffer converted;
    if (bytes.size() > kMaxTextSize) {
        return false;
    }
    // Room for ordinary text, so that a large document is not moved while it grows.
    const std::size_t usual = isWide() ? bytes.size() / 2 : bytes.size();
    static_cast<void>(converted.reserve(static_cast<std::uint32_t>(usual + usual / 16)));
    bool ok = false;
    bool bigEndian = m_form == Form::Utf16Be || m_form == Form::Utf32Be;
    const std::size_t width = m_form >= Form::Utf32Le ? 4 : 2;
    switch (m_form) {
    case Form::Utf8: {
        std::string_view text = asText(bytes);
        if (text.starts_with("\xEF\xBB\xBF")) {
            text.remove_prefix(3);
        }
        ok = text::isValidUtf8(text) && converted.appendView(text);
        break;
    }
    case Form::SingleByte: ok = singleByteToUtf8(bytes, *m_table, converted); break;
    default:
        if (m_orderFromMark && bytes.size() >= width) {
            bigEndian = unitAt(bytes, 0, width, true) == kByteOrderMark;
        }
        ok = wideToUtf8(bytes, width, bigEndian, converted);
    }
    return ok && out.append(converted);
}

bool _vlCharset::fromUtf8(std::string_view text, DataBuffer& out) const {
    const std::uint32_t before = out.getSize();
    if (text.size() <= kMaxTextSize - before) {
        static_cast<void>(out.reserve(static_cast<std::uint32_t>(before + text.size())));
    }
    bool ok = false;
    switch (m_form) {
    case Form::Utf8: ok = text::isValidUtf8(text) && out.append(asBytes(text)); break;
    case Form::SingleByte: ok = utf8ToSingleByte(text, *m_table, out); break;
    case Form::Utf16Le: ok = utf8ToWide(text, 2, false, out); break;
    case Form::Utf16Be: ok = utf8ToWide(text, 2, true, out); break;
    case Form::Utf32Le: ok = utf8ToWide(text, 4, false, out); break;
    case Form::Utf32Be: ok = utf8ToWide(text, 4, true, out); break;
    }
    if (!ok && out.getSize() != before) {
        static_cast<void>(out.resize(before));
    }
    return ok;
}

} // namespace vantrel
